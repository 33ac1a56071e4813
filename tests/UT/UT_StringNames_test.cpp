#include "UT/UT_String.h"

#include <gtest/gtest.h>

// The orders as such, and the next names, are what the fuzz entry looks at.
TEST(UT_StringNames, ComparisonsGiveDifferences)
{
    const auto compare = UT_String::compareNumberedString;
    EXPECT_EQ(-8, compare("a01b2", "a1b10"));
    EXPECT_EQ(INT32_MAX, compare("2147483647", "000"));
    EXPECT_EQ(-1, compare("30000000001", "30000000005")); // no ints
    EXPECT_EQ(-0x17, compare("a\xE9", "a"));              // signed bytes
    EXPECT_EQ(-1, compare(nullptr, ""));
    const char *files[] = {"foo.tif", "foo"}; // the dot comes first
    EXPECT_EQ(-1, UT_String::qsortCmpNumberedFilename(files, files + 1));
}

static std::string
utParts(const char *text, bool minus, bool point)
{
    UT_String prefix(text), number, rest;
    prefix.parseNumberedFilename(prefix, number, rest, minus, point);
    return std::string(prefix) + '|' + number.buffer() + '|' + rest.buffer();
}

TEST(UT_StringNames, FileNamesSplitAtTheirNumber)
{
    EXPECT_EQ("img.|0012|.tif", utParts("img.0012.tif", true, false));
    EXPECT_EQ("img|.0012|.tif", utParts("img.0012.tif", false, true));
    EXPECT_EQ("|-1-2|b", utParts("-1-2b", true, false));
    EXPECT_EQ("|7|.", utParts("7.", false, false));
    EXPECT_EQ(".|5|", utParts(".5", true, false));
    EXPECT_EQ("/x3/.5||", utParts("/x3/.5", false, false)); // an extension
    UT_String null, left("left");
    EXPECT_EQ(0, null.parseNumberedFilename(left, left, left, true, true));
    EXPECT_STREQ("left", left);
    EXPECT_EQ(nullptr, null.suffix());
    null.incrementNumberedName();
    EXPECT_STREQ("2", null);
}
