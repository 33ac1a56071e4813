// The fuzz entry compares searches and substitutions with those of std::string.

#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

// Short ones are searched for in blocks, of which the last may end with the
// page, and long ones in one window after the other.
TEST(UT_StringEdit, TextsAreFoundUpToTheEndOfMemory)
{
    const size_t page = size_t(getpagesize());
    char *const pages = static_cast<char *>(mmap(
        nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS,
        -1, 0));
    ASSERT_EQ(0, mprotect(pages + page, page, PROT_NONE));
    std::mt19937 random(1);
    for (int i = 0; i < 30000; ++i)
    {
        // The more letters there are, the rarer is each.
        const size_t letters = 2 + random() % 20;
        std::string text(random() % 1100, 'a');
        for (char &letter : text)
            letter = char('a' + random() % letters);
        std::string wanted =
            text.substr(random() % (text.size() + 1), random() % 40 + 1);
        if (random() % 4 == 0)
            wanted += "b";
        const size_t from = random() % (text.size() + 1);
        char *const copy = pages + page - (text.size() + 1);
        memcpy(copy, text.c_str(), text.size() + 1);
        const int expected = wanted.empty() ? -1 : int(text.find(wanted, from));
        ASSERT_EQ(expected, UT_String(copy).find(wanted.c_str(), int(from)))
            << i << ": " << wanted << " in " << text;
    }
    munmap(pages, 2 * page);
}

// Each edit returns how much it did: bytes changed or taken away, or true.
TEST(UT_StringEdit, EditsReturnWhatTheyDidAndCopyOnlyThen)
{
    static const struct
    {
        const char *what;
        const char *text;
        const char *edited;
        int result;
        int (*edit)(UT_String &);
    } theEdits[] = {
        {"change",                             "ab",        "a\xE9",     1,
         [](UT_String &s) { return s.change('b', '\xE9'); }  },
        {"change to NUL",                      "ab",        "ab",        0,
         [](UT_String &s) { return s.change('b', '\0'); }    },
        {"toUpper leaves all but a to z",      "`azA{\xE9", "`AZA{\xE9", 2,
         [](UT_String &s) { return s.toUpper(); }            },
        {"toLower leaves all but A to Z",      "@AZa[\xC9", "@aza[\xC9", 2,
         [](UT_String &s) { return s.toLower(); }            },
        {"strip bytes listed in its own tail", "abcab",     "c",         4,
         [](UT_String &s) { return s.strip(s.buffer() + 3); }},
        {"stripStart",                         "a/b/a",     "b/a",       2,
         [](UT_String &s) { return s.stripStart("/a"); }     },
        {"stripEnd, to nothing",               "///",       "",          3,
         [](UT_String &s) { return s.stripEnd("/"); }        },
        {"insert into null",                   nullptr,     nullptr,     0,
         [](UT_String &s) { return int(s.insert(1, "x")); }  },
        {"erase to the end",                   "ab",        "a",         1,
         [](UT_String &s) { return int(s.erase(1)); }        },
    };
    for (const auto &row : theEdits)
        for (const int isDeep : {0, 1})
        {
            UT_String string(row.text, isDeep);
            const char *const before = string.buffer();
            EXPECT_EQ(row.result, row.edit(string)) << row.what;
            EXPECT_STREQ(row.edited, string) << row.what;
            const char *const after = string.buffer();
            if (row.result == 0)
            {
                EXPECT_EQ(before, after) << row.what;
                continue;
            }
            string.harden();
            EXPECT_EQ(after, string.buffer()) << row.what << ": not its own";
        }
}

TEST(UT_StringEdit, BytesChangeInTextsOfAnyLength)
{
    for (const size_t length : {1u, 15u, 16u, 17u, 254u, 4080u, 4081u, 9000u})
    {
        std::string text;
        for (size_t i = 0; i < length; ++i)
            text += char(1 + i * 7 % 255);
        std::string lower = text;
        for (char &byte : lower)
            if (byte >= 'A' && byte <= 'Z')
                byte = char(byte + 'a' - 'A');
        std::string changed = lower;
        std::replace(changed.begin(), changed.end(), 'e', '\xE9');
        const auto countIn = [&](const char *bytes)
        {
            return std::count_if(
                text.begin(), text.end(),
                [=](char byte) { return strchr(bytes, byte); });
        };
        for (const bool isBorrowed : {true, false})
        {
            SCOPED_TRACE(testing::Message() << length << isBorrowed);
            UT_String found(text.c_str());
            if (!isBorrowed)
                found.harden();
            EXPECT_EQ(countIn("ABCDEFGHIJKLMNOPQRSTUVWXYZ"), found.toLower());
            EXPECT_EQ(lower.c_str(), found);
            EXPECT_EQ(countIn("Ee"), found.change('e', '\xE9'));
            EXPECT_EQ(changed.c_str(), found);
        }
    }
}

// A script of random replacements, some by a part of the text itself.
TEST(UT_StringEdit, ReplacesAsAStandardStringDoes)
{
    std::mt19937 random(1);
    UT_String text("borrowed");
    std::string expected("borrowed");
    for (int step = 0; step < 5000; ++step)
    {
        const size_t start = random() % (expected.size() + 2);
        const int length = int(random() % 9) - 1; // -1 for all of the rest
        const char *by = &"0123456789abcdefghij"[random() % 21];
        if (random() % 4 == 0 && text.buffer())
            by = text.buffer() + random() % (expected.size() + 1);
        const std::string copy(by);
        const bool isInside = start <= expected.size();
        ASSERT_EQ(isInside, text.replace(int(start), length, by)) << step;
        if (isInside)
            expected.replace(start, size_t(length), copy);
        ASSERT_EQ(expected.c_str(), text) << step;
        if (expected.size() > 500)
        {
            text.erase(3);
            expected.erase(3);
        }
    }
}

TEST(UT_StringEdit, SubstitutesManyNearAndFarApart)
{
    const std::string near(20000, 'a');
    std::string far;
    for (int i = 0; i < 300; ++i)
        far += 'a' + std::string(500, '-');
    for (const std::string &text : {far + near, near + far})
        for (const std::string by : {"", "x", "xyz"})
        {
            std::string expected;
            for (const char byte : text)
                expected += byte == 'a' ? by : std::string(1, byte);
            UT_String string(text.c_str());
            EXPECT_EQ(20300, string.substitute("a", by.c_str())) << by;
            EXPECT_EQ(expected, string.buffer()) << by;
        }
}

// In 32 bits the length would be that of a short text again.
TEST(UT_StringEdit, TextsLongerThanIntMaxAreNotMade)
{
    const std::string many(1 << 17, 'a');
    const std::string wide(1 << 15, 'b');
    UT_String string(many.c_str());
    EXPECT_EQ(0, string.substitute("a", wide.c_str()));
    EXPECT_EQ(many.c_str(), string.buffer());
}
