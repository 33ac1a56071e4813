#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <string>

TEST(UT_StringEdit, EditsReturnWhatTheyDidAndCopyOnlyThen)
{
    static const struct
    {
        const char *text;
        const char *edited;
        int result;
        int (*edit)(UT_String &);
    } theCases[] = {
        {"abab",      "abab",      3, [](auto &s) { return s.find('b', 2); }         },
        {"abab",      "abab",      3, [](auto &s) { return s.findLast('b'); }        },
        {"abab",      "abab",      3, [](auto &s) { return s.findAny("xb", 2); }     },
        {"ab",        "a\xE9",     1, [](auto &s) { return s.change('b', '\xE9'); }  },
        {"ab",        "ab",        0, [](auto &s) { return s.change('b', '\0'); }    },
        {"`azA{\xE9", "`AZA{\xE9", 2, [](auto &s) { return s.toUpper(); }            },
        {"@AZa[\xC9", "@aza[\xC9", 2, [](auto &s) { return s.toLower(); }            },
        {"abcab",     "c",         4, [](auto &s) { return s.strip(s.buffer() + 3); }},
        {" \ra \xA0", "a \xA0",    2, [](auto &s) { return s.stripStart(); }         },
        {"///",       "",          3, [](auto &s) { return s.stripEnd("/"); }        },
        {nullptr,     nullptr,     0, [](auto &s) { return +s.insert(1, "x"); }      },
        {"ab",        "a",         1, [](auto &s) { return +s.erase(1); }            },
    };
    for (const auto &row : theCases)
        for (int deep : {0, 1})
        {
            UT_String string(row.text, deep);
            const char *const before = string.buffer();
            EXPECT_EQ(row.result, row.edit(string)) << &row - theCases;
            EXPECT_STREQ(row.edited, string);
            EXPECT_TRUE(before == string.buffer() || row.result > 0);
        }
}

// In 32 bits the length would be that of a short text again.
TEST(UT_StringEdit, WhatCannotBeMeasuredIsNotMade)
{
    const std::string many(1 << 17, 'a');
    const std::string wide(1 << 15, 'b');
    UT_String string(many.c_str());
    EXPECT_EQ(0, string.substitute("a", wide.c_str()));
    EXPECT_EQ(many.c_str(), string.buffer());
}
