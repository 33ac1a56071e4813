#include "UT/UT_String.h"

#include "UT/UT_WorkArgs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

using ut_Strings = std::vector<std::string>;

namespace
{

// What the wildcards stood for.
struct ut_Record
{
    std::string singles; // for each `?`
    ut_Strings words;    // for each `*`
};

} // namespace

static bool utModel(
    const std::string &pattern, const std::string &subject, ut_Record &record);

// A star, of which `rest` is what follows in the pattern. Only places where the
// bytes up to the next wildcard occur are tried.
static bool
utModelStar(std::string rest, const std::string &subject, ut_Record &record)
{
    rest.erase(0, rest.find_first_not_of('*'));
    if (rest.empty())
    {
        record.words.push_back(subject);
        return true;
    }
    const std::string run = rest.substr(0, rest.find_first_of("*?[\\"));
    for (size_t place = 0; place < subject.size(); ++place)
    {
        if (subject.compare(place, run.size(), run) != 0)
            continue;
        record.words.push_back(subject.substr(0, place));
        if (utModel(rest, subject.substr(place), record))
            return true;
    }
    return false;
}

// One pattern as its page describes it, on all of a subject. Tries everything,
// one byte after the other.
static bool
utModel(
    const std::string &pattern, const std::string &subject, ut_Record &record)
{
    if (pattern.empty())
        return subject.empty();
    std::string rest = pattern.substr(1);
    if (pattern[0] == '*')
        return utModelStar(rest, subject, record);
    if (subject.empty())
        return false;
    const char byte = subject[0];
    switch (pattern[0])
    {
    case '?':
        record.singles += byte;
        break;
    case '[':
    {
        const size_t close = rest.find(']');
        if (close == rest.npos || rest.find(byte) >= close)
            return false;
        rest.erase(0, close + 1);
        break;
    }
    case '\\':
        if (rest.empty())
            return byte == '\\';
        if (rest[0] != byte)
            return false;
        rest.erase(0, 1);
        break;
    default:
        if (pattern[0] != byte)
            return false;
    }
    return utModel(rest, subject.substr(1), record);
}

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

// One pattern, with room for all that it records or for little of it.
static void
utCheckPattern(
    const std::string &pattern, const std::string &subject, int caseSensitive)
{
    ut_Record expected;
    const bool matches = utModel(pattern, subject, expected);
    const int maximum = caseSensitive ? 300 : 2;
    if (expected.singles.size() > size_t(maximum))
        expected.singles.resize(size_t(maximum));
    if (expected.words.size() > size_t(maximum))
        expected.words.resize(size_t(maximum));

    std::string written = pattern;
    if (!caseSensitive)
        std::replace(written.begin(), written.end(), 'a', 'A');
    // In blocks of just their size, which the address checker watches.
    const UT_String string(subject.c_str(), /*deep=*/1);
    const UT_String text(written.c_str(), /*deep=*/1);
    EXPECT_EQ(matches, string.match(text, caseSensitive))
        << written << " on " << subject;
    const ut_Record actual = utRecord(string, text, maximum, caseSensitive);
    EXPECT_EQ(expected.singles, actual.singles) << written << " on " << subject;
    EXPECT_EQ(expected.words, actual.words) << written << " on " << subject;
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
TEST(UT_StringMatch, MatchesAsAModelThatTriesEverything)
{
    const ut_Strings elements = {"a", "a", "ba", "?", "[ab]", "[b]", "\\a"};
    const ut_Strings ends = {"", "\\", "[a", "]", "*"};
    std::mt19937 random(1);
    int matches = 0;
    for (int i = 0; i < 4000; ++i)
    {
        const std::string pattern = utRandomText({"", "a", "?"}, 1, random) +
                                    "*" + utRandomText(elements, 5, random) +
                                    "*" + utRandomText(elements, 3, random) +
                                    ends[random() % ends.size()];
        const std::string subject =
            utRandomText({"a", "a", "a", "a", "b", "]", "\\"}, 70, random);
        ut_Record record;
        matches += utModel(pattern, subject, record);
        utCheckPattern(pattern, subject, /*caseSensitive=*/0);
        utCheckPattern(pattern, subject, /*caseSensitive=*/1);
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(matches, 500);
    EXPECT_LT(matches, 3500);
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

TEST(UT_StringMatch, ANullStringIsAnEmptyTextForListsAlone)
{
    EXPECT_EQ(1, UT_String().multiMatch("*"));
    EXPECT_EQ(0, UT_String().match("*"));
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
    EXPECT_FALSE(UT_String().contains(""));
    const UT_String ab("ab");
    EXPECT_FALSE(ab.startsWith(nullptr));
    EXPECT_FALSE(ab.endsWith(nullptr));
    EXPECT_FALSE(ab.contains(nullptr));
    EXPECT_TRUE(ab.contains("?B", /*caseSensitive=*/0));
}
