// The splitting of strings beside plain models of it, for the tests and the
// search for inputs.

#pragma once

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
inline ut_Words
utModelParse(const std::string &text)
{
    ut_Words words;
    bool isInWord = false;
    char quote = '\0';
    char before = '\0';
    for (const char byte : text)
    {
        const bool opens = (byte == '"' || byte == '\'') && before != '\\';
        if (!quote && isspace(static_cast<unsigned char>(byte)))
            isInWord = false;
        else
        {
            if (!isInWord)
                words.emplace_back();
            isInWord = true;
            if (quote ? byte == quote && before != '\\' : opens)
                quote = quote ? '\0' : byte;
            else if (!quote && (byte == '"' || byte == '\''))
                words.back().back() = byte;
            else
                words.back() += byte;
        }
        before = byte;
    }
    return words;
}

// Whether `split(string, out...)` finds these words, in a vector and in arrays
// of all kinds of sizes. Some splits store one word without a null.
template <class Split>
bool
utFinds(const std::string &text, const ut_Words &words, bool one, Split split)
{
    const int count = int(words.size());
    std::string copy(text);
    UT_String string(copy.c_str());
    UT_WorkArgs args;
    args.setArg(3, copy.data());
    if (split(string, args) != count || args.getArgc() != count ||
        args.getArg(count) ||
        ut_Words(args.getArgv(), args.getArgv() + count) != words)
        return false;
    for (const int max : {0, 1, 2, count, count + 1, count + 2})
    {
        copy = text;
        string = copy.c_str();
        const size_t stored =
            size_t(std::min(count, one && max == 1 ? 1 : std::max(max - 1, 0)));
        char untouched[] = "";
        std::vector<char *> argv(size_t(count) + 3, untouched);
        std::vector<char *> expected(argv);
        if (split(string, argv.data(), max) != int(stored) ||
            !std::equal(
                words.begin(), words.begin() + int(stored), argv.begin()))
            return false;
        std::copy_n(argv.begin(), stored, expected.begin());
        if (int(stored) < max)
            expected[stored] = nullptr;
        if (argv != expected)
            return false;
    }
    return true;
}

// Whether every way to split `text`, which holds no NUL, does as its model; the
// first of `separators` is the one that separates alone.
inline bool
utSplitsAsModelled(const std::string &text, const char *separators)
{
    ut_Words tokens;
    std::istringstream in(text);
    for (std::string token; std::getline(in, token, separators[0]);)
        tokens.push_back(token);
    ut_Words runs;
    std::string copy(text);
    for (char *left = copy.data(), *run;
         (run = strtok_r(left, separators, &left));)
        runs.push_back(run);
    return utFinds(
               text, utModelParse(text), false,
               [](UT_String &string, auto &&...out)
               { return string.parseInPlace(out...); }) &&
           utFinds(
               text, tokens, false,
               [&](UT_String &string, auto &&...out)
               { return string.tokenizeInPlace(out..., separators[0]); }) &&
           utFinds(
               text, runs, true,
               [&](UT_String &string, auto &&...out)
               { return string.tokenizeInPlace(out..., separators); });
}
