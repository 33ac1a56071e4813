#include "UT/UT_Pattern.h"

#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

TEST(UT_Pattern, OneAlternativeEndsAtItsSeparator)
{
    static const struct
    {
        const char *subject;
        const char *pattern;
        const char *separators;
        int matches;
    } theCases[] = {
        {"cd",    "ab cd", " ",  0}, // the second one is not looked at
        {"ab",    "a?,x",  " ,", 1},
        {"^a",    "^a",    " ",  1}, // nor takes an exclusion for one
        {nullptr, "*",     " ",  1}, // null counts as ""
    };
    for (const auto &row : theCases)
        EXPECT_EQ(
            row.matches,
            multiStrMatch(
                row.subject, row.pattern, /*caseSensitive=*/1, row.separators))
            << (row.pattern ? row.pattern : "null");
    EXPECT_EQ(1, multiStrMatch("AB", "ab c", /*caseSensitive=*/0, " "));
}

TEST(UT_Pattern, ARunEndsAtARejectedByte)
{
    static const struct
    {
        const char *subject;
        const char *pattern;
        const char *reject;
        int caseSensitive;
        int offset; // -1 for none
    } theCases[] = {
        {"geo_12", "_1*2", "*",     1, 3 },
        {"GEO_12", "eo",   "",      0, 1 },
        {"a*b",    "*b",   nullptr, 1, 1 },
        {"abc",    "*b",   "*",     1, 0 }, // an empty run is at once
        {nullptr,  "a",    "",      1, -1},
    };
    for (const auto &row : theCases)
    {
        const char *const found = singleStrMatch(
            row.subject, row.pattern, row.reject, row.caseSensitive);
        EXPECT_EQ(row.offset, found ? int(found - row.subject) : -1)
            << (row.pattern ? row.pattern : "null");
    }
}

// On texts long enough for whole blocks.
TEST(UT_Pattern, ARunIsFoundWhereTheCLibraryFindsIt)
{
    std::mt19937 random(1);
    const auto text = [&random](size_t length)
    {
        std::string result;
        while (result.size() < length)
            result += "abA"[random() % 3];
        return result;
    };
    for (int round = 0; round < 20000; ++round)
    {
        const std::string subject = text(random() % 80);
        const std::string run = text(random() % 9);
        const char *const s = subject.c_str();
        ASSERT_EQ(
            strstr(s, run.c_str()), singleStrMatch(s, run.c_str(), nullptr, 1))
            << run << " in " << subject;
        ASSERT_EQ(
            strcasestr(s, run.c_str()),
            singleStrMatch(s, run.c_str(), nullptr, 0))
            << run << " in " << subject << ", either case";
    }
}

// What ranges mean is in the tables of docs/patterns.md.
TEST(UT_Pattern, ARangeHasNineParts)
{
    // Cycle, take, negated, the two stars, and both ends with their minor
    // indices.
    static const char *const theMalformed[] = {nullptr, "1:0,3"};
    using ut_Parts = std::vector<int>;
    ut_Parts parts;
    const auto read = [&parts](const char *text)
    {
        parts.assign(9, -77);
        return utRange(
            text, parts[0], parts[1], parts[2], parts[3], parts[4], parts[5],
            parts[6], parts[7], parts[8]);
    };
    EXPECT_EQ(1, read("!1.2-3.4:5,6"));
    EXPECT_EQ((ut_Parts{6, 5, 1, 0, 0, 1, 2, 3, 4}), parts);
    for (const char *const text : theMalformed)
    {
        EXPECT_EQ(0, read(text)) << (text ? text : "null");
        EXPECT_EQ(ut_Parts(9, -77), parts) << "left alone";
    }
}

TEST(UT_Pattern, AnIndexHasTwoParts)
{
    static const struct
    {
        const char *text;
        std::vector<int> parts; // result, major, is a star, minor, is a star
    } theCases[] = {
        {"1.2.3", {1, 1, 0, 2, 0}  }, // the number ends at the second dot
        {"x*.0y", {1, 0, 1, 0, 0}  },
        {"a.*",   {1, 0, 0, 0, 1}  },
        {"1.",    {0, -7, 7, -7, 7}},
    };
    for (const auto &row : theCases)
    {
        std::vector<int> parts = {0, -7, 7, -7, 7};
        parts[0] =
            utPatternMixed(row.text, parts[1], parts[2], parts[3], parts[4]);
        EXPECT_EQ(row.parts, parts) << row.text;
    }
}

// With room for one name, billions of others take no time.
TEST(UT_Pattern, WhatIsDroppedTakesNoTime)
{
    for (const char *const word :
         {"a[0-2147483647]", "a[0-2147483647][0-2147483647]"})
    {
        char *name = nullptr;
        stResultData result{&name, 0, /*maximum=*/1};
        EXPECT_EQ(1, stExpandArray(word, &result)) << word;
        EXPECT_EQ(1, result.count) << word;
        free(name);
    }
}
