// Tries every row of the tables in the page on patterns, and prints the
// rows with a wrong result. Fails when there are any, or when a table is
// missing. Argument: the page.

#include "page_tables.h"

#include "UT/UT_String.h"

#include <cstdio>
#include <cstdlib>
#include <string>

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
findParts(const Row &row)
{
    const UT_String text(row[0].c_str());
    const char *const part = row[1].c_str();
    return std::to_string(text.startsWith(part)) + ' ' +
           std::to_string(text.endsWith(part)) + ' ' +
           std::to_string(text.contains(part));
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

int
main(int argc, char **argv)
{
    return checkTables(
        argc, argv,
        {
            {"match",                          match     },
            {"startsWith, endsWith, contains", findParts },
            {"multiMatch, excluded, index",    multiMatch},
            {"becomes",                        rename    },
            {"selects",                        traverse  },
            {"expand to",                      expand    },
    });
}
