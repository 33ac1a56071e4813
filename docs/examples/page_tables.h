// Tries the rows of the tables in a page.

#pragma once

#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

using Row = std::vector<std::string>;

// What a cell shows: code is shown without its backquotes, and without the
// blanks that keep them apart from others.
inline std::string
shownCell(std::string cell)
{
    cell.erase(0, cell.find_first_not_of(' '));
    cell.erase(cell.find_last_not_of(' ') + 1);
    size_t quotes = 0;
    while (2 * (quotes + 1) <= cell.size() && cell[quotes] == '`')
        ++quotes;
    cell = cell.substr(quotes, cell.size() - 2 * quotes);
    if (quotes > 0 && cell.size() > 2 && cell.front() == ' ' &&
        cell.back() == ' ')
        cell = cell.substr(1, cell.size() - 2);
    return cell;
}

// The cells of a line. A bar after a backslash is text.
inline Row
splitRow(const std::string &line)
{
    Row row;
    if (line.empty() || line[0] != '|')
        return row;
    std::string cell;
    for (size_t i = 1; i < line.size(); ++i)
    {
        if (line[i] == '|')
        {
            row.push_back(shownCell(cell));
            cell.clear();
            continue;
        }
        if (line.compare(i, 2, "\\|") == 0)
            ++i;
        cell += line[i];
    }
    return row;
}

// A text in the notation of the pages.
inline std::string
inBrackets(const char *text)
{
    return text ? std::string("[") + text + "]" : "null";
}

// A table is known by the heading of its results, the last but one.
struct Table
{
    const char *heading;
    std::string (*result)(const Row &);
    int rows = 0;
};

// For main(): tries every row of the page that is the only argument, and prints
// the rows with a wrong result. Fails when there are any, or when a table is
// missing.
inline int
checkTables(int argc, char **argv, std::vector<Table> tables)
{
    if (argc != 2)
        return std::fprintf(stderr, "usage: %s PAGE\n", argv[0]), 2;
    std::ifstream page(argv[1]);
    bool isRight = true;
    Table *table = nullptr; // that the lines belong to
    for (std::string line; std::getline(page, line);)
    {
        const Row row = splitRow(line);
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
        for (Table &each : tables)
            if (row.size() >= 3 && row[row.size() - 2] == each.heading)
                table = &each;
    }
    for (const Table &each : tables)
        isRight = isRight && each.rows > 0;
    return isRight ? 0 : 1;
}
