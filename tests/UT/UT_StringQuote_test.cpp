#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <cstring>

static const struct
{
    const char *text;
    const char *smart;    // makeSmartQuotedString('\'')
    const char *guarded;  // protectString()
    const char *expanded; // expandControlSequences()
    bool hasWhiteSpace;
} theTexts[] = {
    {"'\"\\a",       "'\\'\"\\\\a'",           "'\"\\a",           "'\"a",     false}, // both kinds of quotes
    {"a\"\tb\\",     "'a\"\tb\\\\'",           "\"a\\\"\tb\\\\\"", "a\"\tb\\", true },
    {"\"\" \"",      "'\"\" \"'",              "\"\" \"",          "\"\" \"",  true }, // quoted as it is
    {"\\n\\r\\t\\0", "'\\\\n\\\\r\\\\t\\\\0'", "\\n\\r\\t\\0",     "\n\r\t0",
     false                                                                          },
    {nullptr,        "''",                     nullptr,            "",         false},
};

TEST(UT_StringQuote, TextsAreQuotedWhereTheyMustBe)
{
    for (const auto &row : theTexts)
    {
        SCOPED_TRACE(row.text ? row.text : "null");
        UT_String string(row.text);
        EXPECT_STREQ(row.smart, string.makeSmartQuotedString('\''));
        EXPECT_EQ(row.hasWhiteSpace, string.hasWhiteSpace());
        string.protectString();
        EXPECT_STREQ(row.guarded, string);
        string = row.text;
        string.expandControlSequences();
        EXPECT_STREQ(row.expanded, string);
    }
}

TEST(UT_StringQuote, SmartQuotesPreferTheOneAskedFor)
{
    EXPECT_STREQ("\"a\"", UT_String("a").makeSmartQuotedString('"'));
}
