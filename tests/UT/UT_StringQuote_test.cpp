#include "UT/UT_String.h"

#include <gtest/gtest.h>

TEST(UT_StringQuote, TextsAreQuotedWhereTheyMustBe)
{
    // A text; in smart single quotes; protected; with its codes expanded.
    static const char *const theCases[][4] = {
        {"it's\r",       "\"it's\r\"",             "it's\r",           "it's\r"  },
        {"'\"\\a",       "'\\'\"\\\\a'",           "'\"\\a",           "'\"a"    },
        {"a\"\tb\\",     "'a\"\tb\\\\'",           "\"a\\\"\tb\\\\\"", "a\"\tb\\"},
        {"\"\" \"",      "'\"\" \"'",              "\"\" \"",          "\"\" \"" },
        {"\\n\\r\\t\\0", "'\\\\n\\\\r\\\\t\\\\0'", "\\n\\r\\t\\0",     "\n\r\t0" },
        {nullptr,        "''",                     nullptr,            ""        },
    };
    for (const auto &[text, smart, guarded, expanded] : theCases)
    {
        UT_String string(text);
        EXPECT_STREQ(smart, string.makeSmartQuotedString('\''));
        EXPECT_EQ(text && strpbrk(text, "\t "), string.hasWhiteSpace());
        string.protectString();
        EXPECT_STREQ(guarded, string);
        string = text;
        string.expandControlSequences();
        EXPECT_STREQ(expanded, string);
    }
    EXPECT_STREQ("'\"'", UT_String("\"").makeSmartQuotedString('"'));
}
