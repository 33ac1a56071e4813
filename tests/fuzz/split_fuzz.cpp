// All ways to split a text, beside the library's functions that do the same or
// a plain model. The separators come before the text, with a NUL after them.

#include "ut_FuzzCheck.h"

#include "SYS/SYS_Types.h"
#include "UT/UT_String.h"
#include "UT/UT_WorkArgs.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

using ut_Words = std::vector<std::string>;

// Byte by byte, with the quote that is open.
static ut_Words
utModelParse(const std::string &text)
{
    ut_Words words;
    char quote = '\0';
    char before = ' ';
    for (const char byte : text)
    {
        const bool isQuote =
            quote ? byte == quote : byte == '"' || byte == '\'';
        const bool isBetween = !quote && isspace(uint8(byte));
        if (!quote && !isBetween && isspace(uint8(before)))
            words.emplace_back();
        if (isQuote && before != '\\')
            quote = quote ? '\0' : byte;
        else if (isQuote && !quote)
            words.back().back() = byte;
        else if (!isBetween)
            words.back() += byte;
        before = byte;
    }
    return words;
}

// A copy of the text has to split into these words, in a vector and in arrays
// of all kinds of sizes; one slot may hold one word without a null.
template <class Split>
static void
utTrySplit(
    const std::string &text, const ut_Words &words, bool takesOne, Split split)
{
    std::string copy(text);
    UT_String string(copy.c_str());
    UT_WorkArgs args;
    const int count = split(string, args);
    utRequire(count == args.getArgc());
    utRequire(ut_Words(args.getArgv(), args.getArgv() + count) == words);
    for (const int max : {0, 1, 2, count, count + 1, count + 2})
    {
        text.copy(copy.data(), text.size());
        char untouched[] = "untouched";
        std::vector<char *> argv(words.size() + 3, untouched);
        const int stored = split(string, argv.data(), max);
        const int slots = takesOne && max == 1 ? 1 : std::max(max - 1, 0);
        utRequire(stored == std::min(count, slots));
        utRequire(std::equal(&argv[0], &argv[size_t(stored)], words.begin()));
        utRequire(argv[size_t(stored)] == (stored < max ? nullptr : untouched));
        utRequire(argv[size_t(stored) + 1] == untouched);
    }
}

void
utTry(const std::string &input)
{
    std::string rest(input);
    const std::string separators = utTakeText(rest);
    const std::string text = utTakeText(rest);
    ut_Words tokens;
    std::istringstream in(text);
    while (std::getline(in, tokens.emplace_back(), separators[0]))
        continue;
    tokens.pop_back();
    ut_Words runs;
    std::string copy(text);
    char *left = copy.data();
    while (const char *run = strtok_r(left, separators.c_str(), &left))
        runs.push_back(run);
    const auto parse = [](UT_String &string, auto &&...out)
    { return string.parseInPlace(out...); };
    utTrySplit(text, utModelParse(text), false, parse);
    const auto splitAtEach = [&](UT_String &string, auto &&...out)
    { return string.tokenizeInPlace(out..., separators[0]); };
    utTrySplit(text, tokens, false, splitAtEach);
    // With runs of separators, a lone slot holds a word and no null.
    const auto splitAtRuns = [&](UT_String &string, auto &&...out)
    { return string.tokenizeInPlace(out..., separators.c_str()); };
    utTrySplit(text, runs, true, splitAtRuns);
}
