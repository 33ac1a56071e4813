// The lines of the input as names: how they compare, sort and split, and which
// are numbers.

#include "ut_FuzzCheck.h"

#include "UT/UT_StringArray.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include <regex.h>

using ut_Names = std::vector<std::string>;

static const char theDigits[] = "0123456789";
static const char theNumbers[] =
    "^[ \t-\r]*[+-]*[0-9]*(\\.[0-9]*)?([eE][+-]*[0-9]*)?[ \t-\r]*$";

static void
utCheckSorting(const ut_Names &names, bool up, bool numbered)
{
    const auto compare = numbered ? UT_String::compareNumberedString : strcmp;
    UT_StringArray array;
    array.fromStdVectorOfStrings(names);
    array.sort(up, numbered);
    // All pairs: an order that is not transitive sorts only neighbours.
    for (int i = 0; i < array.entries(); ++i)
        for (int j = i; j < array.entries(); ++j)
        {
            const int sense = compare(array(i), array(j));
            utRequire(up ? sense <= 0 : sense >= 0);
        }
}

static void
utCheckNumber(const std::string &text)
{
    static regex_t form;
    static const bool isForm =
        regcomp(&form, theNumbers, REG_EXTENDED | REG_NOSUB) == 0;
    const bool isNumber =
        isForm && !regexec(&form, text.c_str(), 0, nullptr, 0);
    const bool isWhole = text.find_first_of(".eE") > text.size();
    const bool isPlain = text.find_first_of(" \t\n\v\f\r") > text.size();
    const bool hasDigits = text.find_first_of(theDigits) < text.size();
    const UT_String string(text.c_str());
    utRequire(string.isInteger(1) == (isNumber && isWhole));
    utRequire(string.isInteger() == (isNumber && isWhole && isPlain));
    utRequire(string.isFloat(1, 2) == (isNumber && !text.empty()));
    utRequire(string.isFloat() == (isNumber && isPlain && hasDigits));

    const long long value = strtoll(text.c_str(), nullptr, 10);
    const int limited = int(std::clamp<long long>(value, INT_MIN, INT_MAX));
    utRequire(string.toInt() == limited);
}

void
utTry(const std::string &input)
{
    std::istringstream in(input);
    ut_Names names;
    for (std::string line; names.size() < 20 && std::getline(in, line);)
    {
        line = line.substr(0, 100).c_str(); // up to a NUL
        names.push_back(line);
        utCheckNumber(line);
        UT_String next(line.c_str());
        next.incrementNumberedName();
        utRequire(UT_String::compareNumberedString(line.c_str(), next) < 0);
        UT_String text(line.c_str());
        UT_String number;
        UT_String rest;
        const int found = text.parseNumberedFilename(
            text, number, rest, line.size() & 1, line.size() & 2);
        utRequire(found == (number != ""));
        utRequire(
            line == text.buffer() + (number.buffer() + std::string(rest)));
    }
    for (int order = 0; order < 4; ++order)
        utCheckSorting(names, order & 1, order & 2);
}
