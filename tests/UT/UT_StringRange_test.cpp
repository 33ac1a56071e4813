// What ranges select is tested by the tables of docs/patterns.md.

#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

static int
utEmit(int major, int minor, void *items)
{
    static_cast<std::string *>(items)->append(
        std::to_string(major) + '.' + std::to_string(minor) + ' ');
    return 1;
}

TEST(UT_StringRange, AWalkEndsWhereItsFunctionSays)
{
    const auto stop = [](int, int, void *) { return 0; };
    for (const char *const text : {"0", "!1", "9.1", ""})
        EXPECT_EQ(
            0, UT_String(text).traversePattern(2, nullptr, stop, nullptr, 0))
            << text;
}

// No step for the majors in between.
TEST(UT_StringRange, ARangeGoesAsFarAsTheNumbers)
{
    const UT_String text("99999999999-1:2147483645");
    std::string items;
    EXPECT_EQ(0, text.traversePattern(0, &items, utEmit, nullptr, 0));
    EXPECT_EQ(0, text.traversePattern(-1, &items, utEmit, nullptr, -2));
    EXPECT_EQ("", items);
    EXPECT_EQ(1, text.traversePattern(-1, &items, utEmit, nullptr, 1));
    EXPECT_EQ("2147483647.-1 2.-1 ", items);
}

TEST(UT_StringRange, AWordMayHaveAnyNumberOfGroups)
{
    std::string word;
    for (int i = 0; i < 50000; ++i)
        word += "[1-2]";
    char *name;
    ASSERT_EQ(1, UT_String(word.c_str()).expandArrays(&name, 1));
    EXPECT_EQ(std::string(50000, '1'), name);
    free(name);
}
