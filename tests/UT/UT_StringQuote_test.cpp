#include "UT/UT_String.h"

#include <gtest/gtest.h>

TEST(UT_StringQuote, TextsAreQuotedWhereTheyMustBe)
{
    // A text; in smart single quotes; protected; with its codes expanded.
    static const char *const theCases[][4] = {
        {"it's",            "\"it's\"",                  "it's",             "it's"    },
        {"'\"\\a",          "'\\'\"\\\\a'",              "'\"\\a",           "'\"a"    },
        {"a\"\tb\\",        "'a\"\tb\\\\'",              "\"a\\\"\tb\\\\\"", "a\"\tb\\"},
        {"\"\" \"",         "'\"\" \"'",                 "\"\" \"",          "\"\" \"" },
        {"a\r\\n\\r\\t\\0", "'a\r\\\\n\\\\r\\\\t\\\\0'", "a\r\\n\\r\\t\\0",
         "a\r\n\r\t0"                                                                  },
        {nullptr,           "''",                        nullptr,            ""        },
    };
    for (const auto &[text, smart, guarded, expanded] : theCases)
    {
        UT_String string(text);
        EXPECT_STREQ(smart, string.makeSmartQuotedString('\''));
        const bool isSpaced = string.hasWhiteSpace();
        string.protectString();
        EXPECT_STREQ(guarded, string);
        EXPECT_TRUE(isSpaced || text == string.buffer());
        string = text;
        string.expandControlSequences();
        EXPECT_STREQ(expanded, string);
    }
    EXPECT_STREQ("'\"'", UT_String("\"").makeSmartQuotedString('"'));
}
