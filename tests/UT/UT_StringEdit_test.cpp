#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

static int
utSubstitute(
    std::string &text, const std::string &old, const std::string &by, bool all)
{
    int count = 0;
    for (size_t at = 0; !old.empty() && (all || !count) &&
                        (at = text.find(old, at)) != std::string::npos;
         at += by.size(), ++count)
        text.replace(at, old.size(), by);
    return count;
}

TEST(UT_StringEdit, ReplacementsAgreeWithPlainOnesAlsoOfTheirOwnParts)
{
    std::mt19937 random(1);
    const auto make = [&](size_t limit)
    {
        std::string text(random() % limit, ' ');
        for (char &byte : text)
            byte = "aab\xE9"[random() % 4];
        return text;
    };
    for (int round = 0; round < 20000; ++round)
    {
        std::string text = make(round % 64 ? 12 : 2000);
        const std::string lent = text, other = make(4);
        const bool all = round % 2;
        UT_String string(lent.c_str(), /*deep=*/round % 5);
        const char *const before = string.buffer();
        const char *const by = before + random() % (text.size() + 1);
        const char *const old =
            round % 3 ? other.c_str() : before + random() % (text.size() + 1);
        SCOPED_TRACE(lent + '|' + old + '|' + by);

        const size_t from = random() % (text.size() + 1);
        ASSERT_EQ(
            *old ? int(text.find(old, from)) : -1, string.find(old, int(from)));
        const int count = utSubstitute(text, old, by, all);
        ASSERT_TRUE(!all || count == string.count(old));
        ASSERT_EQ(count, string.substitute(old, by, all));
        ASSERT_EQ(text, string.buffer());
        ASSERT_TRUE(count || before == string.buffer());
        const size_t at = random() % (text.size() + 1);
        ASSERT_TRUE(string.replace(int(at), 2, string.buffer() + at / 2));
        text.replace(at, 2, std::string(text, at / 2));
        ASSERT_EQ(text, string.buffer());
    }
}

TEST(UT_StringEdit, EditsReturnWhatTheyDidAndCopyOnlyThen)
{
    using String = UT_String;
    static const struct
    {
        const char *text;
        const char *edited;
        int result;
        int (*edit)(UT_String &);
    } theCases[] = {
        {"abab",      "abab",      3,  [](String &s) { return s.find('b', 2); }         },
        {"abab",      "abab",      3,  [](String &s) { return s.findAny("xb", 2); }     },
        {"abab",      "abab",      3,  [](String &s) { return s.findLast('b'); }        },
        {"a",         "a",         -1, [](String &s) { return s.find('\0'); }           },
        {"ab",        "a\xE9",     1,  [](String &s) { return s.change('b', '\xE9'); }  },
        {"ab",        "ab",        0,  [](String &s) { return s.change('b', '\0'); }    },
        {"`azA{\xE9", "`AZA{\xE9", 2,  [](String &s) { return s.toUpper(); }            },
        {"@AZa[\xC9", "@aza[\xC9", 2,  [](String &s) { return s.toLower(); }            },
        {"abcab",     "c",         4,  [](String &s) { return s.strip(s.buffer() + 3); }},
        {"a",         "a",         0,  [](String &s) { return s.strip(nullptr); }       },
        {" \ra \xA0", "a \xA0",    2,  [](String &s) { return s.stripStart(); }         },
        {" a \v\n",   " a",        3,  [](String &s) { return s.stripEnd(); }           },
        {"///",       "",          3,  [](String &s) { return s.stripEnd("/"); }        },
        {nullptr,     nullptr,     0,  [](String &s) { return +s.insert(1, "x"); }      },
        {"ab",        "a",         1,  [](String &s) { return +s.erase(1); }            },
    };
    for (const auto &row : theCases)
        for (int deep : {0, 1})
        {
            SCOPED_TRACE(&row - theCases);
            UT_String string(row.text, deep);
            const char *const before = string.buffer();
            EXPECT_EQ(row.result, row.edit(string));
            EXPECT_STREQ(row.edited, string);
            EXPECT_TRUE(before == string.buffer() || row.result > 0);
        }
}

TEST(UT_StringEdit, RelativePathsLeadBack)
{
    static const char *const theCases[][3] = {
        {"/a//b/c", "/a/d/",   "../b/c" },
        {"/a/b",    "/a/bc/d", "../../b"},
        {"/a/b",    "/",       "a/b"    },
        {"/",       "/a",      ".."     },
        {"/x/../a", "/a",      "."      },
        {"/a",      "a",       "/a"     },
        {"/..",     "/",       "/.."    },
    };
    for (const auto &[text, directory, relative] : theCases)
    {
        UT_String path(text);
        const bool done = path.makeRelativePath(directory);
        EXPECT_STREQ(relative, path);
        EXPECT_EQ(done, *relative != '/');
    }
}
