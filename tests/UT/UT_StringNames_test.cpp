// What names mean is in the tables of docs/names.md. Here is what a page cannot
// show. The fuzz entry looks at the orders as such.

#include "UT/UT_String.h"

#include <gtest/gtest.h>

TEST(UT_StringNames, NullHasNoNumberAndComesFirst)
{
    EXPECT_EQ(-1, UT_String::compareNumberedString(nullptr, ""));
    UT_String prefix, number, rest;
    EXPECT_EQ(
        0, UT_String().parseNumberedFilename(
               prefix, number, rest, /*allowNegative=*/true, true));
    EXPECT_EQ(nullptr, prefix.buffer());
    EXPECT_STREQ("''", UT_String().makeSmartQuotedString('\''));
    EXPECT_FALSE(UT_String().hasWhiteSpace());
}

// Without the extension the rest of the name decides, "." among it.
TEST(UT_StringNames, FilesAreOrderedWithoutTheirExtensions)
{
    const char *files[] = {"foo.tif", "foo"};
    EXPECT_EQ(-1, UT_String::qsortCmpNumberedFilename(&files[0], &files[1]));
}

TEST(UT_StringNames, ControlCharactersAreWrittenWithLetters)
{
    UT_String text("\\n\\r\\t\\0");
    text.expandControlSequences();
    EXPECT_STREQ("\n\r\t0", text);
    EXPECT_TRUE(text.hasWhiteSpace());
    text.protectString();
    EXPECT_STREQ("\"\n\r\t0\"", text);
    EXPECT_FALSE(UT_String("\r").hasWhiteSpace());
}
