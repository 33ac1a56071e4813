// Tries every row of the tables in the page on names and quotes, and prints
// those with a wrong result. Argument: the page.

#include "page_tables.h"

#include "UT/UT_String.h"

#include <string>

static std::string
compare(const Row &row)
{
    return std::to_string(
        UT_String::compareNumberedString(row[0].c_str(), row[1].c_str()));
}

static std::string
makeNext(const Row &row)
{
    UT_String name(row[0].c_str());
    name.incrementNumberedName();
    return name.buffer();
}

static std::string
parseFrame(const Row &row)
{
    const UT_String name(row[0].c_str());
    UT_String prefix;
    UT_String number;
    UT_String rest;
    name.parseNumberedFilename(
        prefix, number, rest, row[1] == "minus", row[1] == "point");
    return inBrackets(prefix) + ' ' + inBrackets(number) + ' ' +
           inBrackets(rest);
}

static std::string
quote(const Row &row)
{
    return UT_String(row[0].c_str()).makeSmartQuotedString('\'').buffer();
}

static std::string
protect(const Row &row)
{
    UT_String text(row[0].c_str());
    text.protectString();
    return text.buffer();
}

static std::string
expand(const Row &row)
{
    UT_String text(row[0].c_str());
    text.expandControlSequences();
    return text.buffer();
}

int
main(int argc, char **argv)
{
    return checkTables(
        argc, argv,
        {
            {"difference",           compare   },
            {"next",                 makeNext  },
            {"prefix, number, rest", parseFrame},
            {"in quotes",            quote     },
            {"protected",            protect   },
            {"expanded",             expand    },
    });
}
