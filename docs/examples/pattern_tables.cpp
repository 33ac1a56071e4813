// Tries every row of the tables in the page on patterns, and prints those whose
// results come out otherwise as they should be. Fails when there are any, or
// when a table is missing. Argument: the page.

#include "UT/UT_String.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

using Row = std::vector<std::string>;

static std::string
expand(const Row &row)
{
    char *words[32];
    UT_String text(row[0].c_str());
    const int count = text.expandArrays(words, 32);
    std::string names;
    for (int i = 0; i < count; i++)
    {
        names += (i ? " " : "") + std::string(words[i]);
        std::free(words[i]);
    }
    return names;
}

// What a range emits, and how many minor indices each major has.
struct Walk
{
    std::string items;
    unsigned minors = 0;
};

static int
emit(int major, int minor, void *data)
{
    std::string &items = static_cast<Walk *>(data)->items;
    items += (items.empty() ? "" : " ") + std::to_string(major);
    if (minor >= 0)
        items += "." + std::to_string(minor);
    return 1;
}

static unsigned
countMinors(int, void *data)
{
    return static_cast<Walk *>(data)->minors;
}

static std::string
traverse(const Row &row)
{
    Walk walk;
    int maximum = -1;
    std::sscanf(row[1].c_str(), "%dx%u", &maximum, &walk.minors);
    const UT_String range(row[0].c_str());
    const int result =
        range.traversePattern(maximum, &walk, emit, countMinors, 0);
    return result ? walk.items : "malformed";
}

static std::string
rename(const Row &row)
{
    UT_String name(row[0].c_str());
    const int isRenamed = name.patternRename(row[1].c_str(), row[2].c_str());
    return isRenamed || row[0] != name.buffer() ? name.buffer() : "stays";
}

static std::string
match(const Row &row)
{
    return std::to_string(UT_String(row[0].c_str()).match(row[1].c_str()));
}

static std::string
multiMatch(const Row &row)
{
    bool excluded;
    int index;
    const int result =
        UT_String(row[0].c_str())
            .multiMatch(
                row[1].c_str(), /*caseSensitive=*/1, ", ", &excluded, &index);
    return std::to_string(result) + (excluded ? " 1 " : " 0 ") +
           std::to_string(index);
}

// The cells of a row, without the blanks and then the back quotes around them.
static Row
split(const std::string &line)
{
    Row row;
    size_t start = line.find('|');
    while (start != line.npos)
    {
        const size_t end = line.find('|', ++start);
        if (end == line.npos)
            break;
        std::string cell = line.substr(start, end - start);
        for (const char c : {' ', '`'})
        {
            cell.erase(0, cell.find_first_not_of(c));
            cell.erase(cell.find_last_not_of(c) + 1);
        }
        row.push_back(cell);
        start = end;
    }
    return row;
}

// Each table is known by the heading of its results, the last but one.
static struct Table
{
    const char *heading;
    std::string (*result)(const Row &);
    int rows;
} theTables[] = {
    {"match",                       match,      0},
    {"multiMatch, excluded, index", multiMatch, 0},
    {"becomes",                     rename,     0},
    {"selects",                     traverse,   0},
    {"expand to",                   expand,     0},
};

int
main(int argc, char **argv)
{
    if (argc != 2)
        return std::fprintf(stderr, "usage: %s PAGE\n", argv[0]), 2;
    std::ifstream page(argv[1]);
    bool isRight = true;
    Table *table = nullptr; // that the lines belong to
    for (std::string line; std::getline(page, line);)
    {
        const Row row = split(line);
        if (row.size() < 3)
            table = nullptr;
        else if (table && line[1] != '-')
        {
            table->rows++;
            const std::string result = table->result(row);
            if (result == row[row.size() - 2])
                continue;
            isRight = false;
            std::cout << line << " gives " << result << '\n';
        }
        for (Table &each : theTables)
            if (row.size() >= 3 && row[row.size() - 2] == each.heading)
                table = &each;
    }
    for (const Table &each : theTables)
        isRight = isRight && each.rows > 0;
    return isRight ? 0 : 1;
}
