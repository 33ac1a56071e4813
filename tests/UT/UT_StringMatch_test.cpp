#include "UT/UT_String.h"

#include "UT/UT_WorkArgs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include <fnmatch.h>

using ut_Strings = std::vector<std::string>;

// What the wildcards stood for.
struct ut_Record
{
    std::string singles; // for each `?`
    ut_Strings words;    // for each `*`
};

static ut_Record
utRecord(
    const UT_String &string, const char *list, int maximum, int caseSensitive)
{
    std::vector<char> singles(size_t(maximum) + 1);
    std::vector<char *> words(singles.size());
    int singleCount;
    int wordCount;
    string.multiMatchRecord(
        list, maximum, singles.data(), singleCount, words.data(), wordCount,
        caseSensitive, " ");
    ut_Record record;
    record.singles.assign(singles.data(), size_t(singleCount));
    record.words.assign(words.data(), words.data() + wordCount);
    for (char *word : words)
        free(word);
    return record;
}

// A text of up to `most` items.
static std::string
utRandomText(const ut_Strings &items, int most, std::mt19937 &random)
{
    std::string text;
    for (int count = int(random() % unsigned(most + 1)); count > 0; --count)
        text += items[random() % items.size()];
    return text;
}

// Long subjects are searched by whole blocks. What lists mean is tested by the
// tables of docs/patterns.md.
TEST(UT_StringMatch, MatchesWhatTheCLibraryMatches)
{
    const ut_Strings elements = {"a", "a", "ba", "?", "[ab]", "[b]", "\\a"};
    std::mt19937 random(1);
    int matches = 0;
    for (int i = 0; i < 4000; ++i)
    {
        const std::string pattern = utRandomText({"", "a", "?"}, 1, random) +
                                    "*" + utRandomText(elements, 5, random) +
                                    "*" + utRandomText(elements, 3, random) +
                                    utRandomText({"]", "*"}, 1, random);
        const std::string subject =
            utRandomText({"a", "a", "a", "a", "b", "]", "\\"}, 70, random);
        SCOPED_TRACE(pattern + " on " + subject);
        const bool isMatch =
            fnmatch(pattern.c_str(), subject.c_str(), /*flags=*/0) == 0;
        matches += isMatch;
        std::string upper = pattern;
        std::replace(upper.begin(), upper.end(), 'a', 'A');
        // In blocks of just their size, which the address checker watches.
        const UT_String string(subject.c_str(), /*deep=*/1);
        const UT_String text(pattern.c_str(), /*deep=*/1);
        ASSERT_EQ(isMatch, string.match(text));
        ASSERT_EQ(isMatch, string.match(upper.c_str(), /*caseSensitive=*/0));
    }
    EXPECT_GT(matches, 500);
    EXPECT_LT(matches, 3500);
}

// Deliberate: failed attempts are recorded, too.
TEST(UT_StringMatch, WildcardsAreRecordedAsTheyAreTried)
{
    const std::string many(70, 'a');
    const struct
    {
        std::string pattern;
        std::string subject;
        int maximum;
        std::string singles;
        ut_Strings words;
    } cases[] = {
        {"*1?",   "geo12",    9, "2",  {"geo"}              },
        {"*a?",   "1a2a3a",   9, "23", {"1", "1a2", "1a2a3"}},
        {"*a?",   "1a2a3a",   1, "2",  {"1"}                },
        {"?*b**", many + "b", 9, "a",  {many.substr(1), ""} },
        {"*\\",   "a\\",      9, "",   {"", "a"}            },
    };
    for (const auto &row : cases)
    {
        const UT_String subject(row.subject.c_str());
        const ut_Record record =
            utRecord(subject, row.pattern.c_str(), row.maximum, 1);
        EXPECT_EQ(row.singles, record.singles) << row.pattern;
        EXPECT_EQ(row.words, record.words) << row.pattern;
    }
}

TEST(UT_StringMatch, TheLastOfAVectorThatMatchesDecides)
{
    static const struct
    {
        const char *patterns;
        bool resultIfNone;
        bool result;
    } theCases[] = {
        {"a* ^*c x", true,  false},
        {"^*c a* x", false, true },
        {"x ^y",     false, false},
        {"x ^y",     true,  true },
    };
    for (const auto &row : theCases)
    {
        UT_String list(row.patterns, /*deep=*/1);
        UT_WorkArgs patterns;
        list.tokenizeInPlace(patterns, " ");
        EXPECT_EQ(
            row.result,
            UT_String("abc").matchPattern(patterns, row.resultIfNone))
            << row.patterns;
    }
}

// Exponential in the stars, or as deep as there are, without what the search
// remembers.
TEST(UT_StringMatch, ManyStarsAreQuick)
{
    std::string stars;
    for (int i = 0; i < 20000; ++i)
        stars += "*a";
    const UT_String subject(std::string(60000, 'a').c_str(), /*deep=*/1);
    const UT_String few(subject.buffer() + 59800);
    for (const std::string end : {"b", "b?", "?b", "?b?"})
    {
        EXPECT_EQ(0, subject.match((stars + end).c_str())) << end;
        utRecord(few, (stars.substr(0, 40) + end).c_str(), 9, 1);
    }
    const ut_Record record = utRecord(subject, stars.c_str(), 1, 0);
    EXPECT_EQ("", record.singles);
    EXPECT_EQ(ut_Strings{""}, record.words);
}

TEST(UT_StringMatch, ATextWithAnyOfFiveBytesMayBeSeveralNames)
{
    for (const char *const text : {"a b", "a,", "?", "*", "a[1"})
        EXPECT_TRUE(UT_String::multiMatchCheck(text)) << text;
    for (const char *const text : {"", "a]", "a\\b", "^a\t"})
        EXPECT_FALSE(UT_String::multiMatchCheck(text)) << text;
    EXPECT_FALSE(UT_String::multiMatchCheck(nullptr));
}

TEST(UT_StringMatch, NullHasNoPartsAndIsNone)
{
    EXPECT_EQ(1, UT_String().multiMatch("*")); // an empty text for lists alone
    EXPECT_EQ(0, UT_String().match("*"));
    EXPECT_FALSE(UT_String().contains(""));
    const UT_String ab("ab");
    EXPECT_FALSE(ab.startsWith(nullptr));
    EXPECT_FALSE(ab.endsWith(nullptr));
    EXPECT_FALSE(ab.contains(nullptr));
    EXPECT_TRUE(ab.contains("?B", /*caseSensitive=*/0));
}
