#include "UT/UT_String.h"
#include "UT/UT_WorkArgs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

using ut_Strings = std::vector<std::string>;

// One pattern as its page tells it, on `s` from `j` on. Tries everything, and
// records what multiMatchRecord() does: the singles, then each word.
static bool
utModel(const char *p, const std::string &s, size_t j, ut_Strings &record)
{
    if (*p == '*')
    {
        p += strspn(p, "*");
        const std::string run(p, strcspn(p, "*?[\\"));
        for (size_t k = *p ? j : s.size(); k < s.size() || !*p; ++k)
        {
            if (s.compare(k, run.size(), run) != 0)
                continue;
            record.push_back(s.substr(j, k - j));
            if (utModel(p, s, k, record))
                return true;
        }
        return false;
    }
    if (!*p || j == s.size())
        return !*p && j == s.size();
    const char *end = *p == '[' ? strchr(p, ']') : p;
    if (*p == '?')
        record[0] += s[j];
    else if (!end || (end > p && std::find(p + 1, end, s[j]) == end))
        return false;
    else if (p[0] == '\\' && !p[1])
        return s[j] == '\\';
    else if (end == p && *(end += *p == '\\') != s[j])
        return false;
    return utModel(end + 1, s, j + 1, record);
}

static ut_Strings
utRecord(const UT_String &string, const char *list, int maximum, int cs)
{
    std::vector<char> singles(size_t(maximum) + 1);
    std::vector<char *> words(singles.size());
    int counts[2];
    string.multiMatchRecord(
        list, maximum, singles.data(), counts[0], words.data(), counts[1], cs,
        " ");
    ut_Strings record{std::string(singles.data(), size_t(counts[0]))};
    record.insert(record.end(), words.data(), words.data() + counts[1]);
    std::for_each(words.begin(), words.end(), free);
    return record;
}

static void
utCheck(const std::string &list, const std::string &subject, int cs)
{
    ut_Strings record{""};
    const bool matches = utModel(list.c_str(), subject, 0, record);
    const size_t maximum = cs ? 300 : 2;
    record.resize(std::min(record.size(), maximum + 1));
    record[0].resize(std::min(record[0].size(), maximum));
    // In blocks of just their size.
    const UT_String string(subject.c_str(), 1);
    UT_String pattern(list.c_str(), 1);
    if (!cs)
        std::replace(pattern.buffer(), strchr(pattern.buffer(), 0), 'a', 'A');
    EXPECT_EQ(matches, string.match(pattern, cs)) << list << " on " << subject;
    if (!list.empty() && list[0] != '^' && list.find(' ') == list.npos &&
        record != utRecord(string, pattern, int(maximum), cs))
        ADD_FAILURE() << list << " records wrongly on " << subject;
    // Lists go forward, vectors backward.
    const int sense = string.multiMatch(pattern, 1);
    UT_WorkArgs words;
    pattern.tokenizeInPlace(words, " ");
    EXPECT_EQ(sense, string.matchPattern(words, false)) << list;
}

static ut_Strings
utAllTexts(const std::string &letters, size_t length)
{
    ut_Strings texts{""};
    for (size_t i = 0; texts[i].size() < length; ++i)
        for (const char c : letters)
            texts.push_back(texts[i] + c);
    return texts;
}

TEST(UT_StringMatch, MatchesAsAModelThatTriesEverything)
{
    for (const auto &[letters, length, subjects] : {
             std::tuple("ab*?", 6u, utAllTexts("ab", 4)),
             {"a*?[]\\ ^", 5u, utAllTexts("a*\\]", 2)}
    })
        for (const std::string &list : utAllTexts(letters, length))
            for (size_t i = 0; i < 2 * subjects.size() && !HasFailure(); ++i)
                utCheck(list, subjects[i / 2], i % 2);
}

// Exponential in the stars, or as deep as there are, without what the search
// remembers.
TEST(UT_StringMatch, ManyStarsAreQuick)
{
    std::string stars;
    for (int i = 0; i < 20000; ++i)
        stars += "*a";
    const UT_String subject(std::string(60000, 'a').c_str(), 1);
    const UT_String few(subject.buffer() + 59800);
    for (const std::string end : {"b", "b?", "?b", "?b?"})
    {
        EXPECT_EQ(0, subject.match((stars + end).c_str()));
        utRecord(few, (stars.substr(0, 40) + end).c_str(), 9, 1);
    }
    EXPECT_EQ((ut_Strings{"", ""}), utRecord(subject, stars.c_str(), 1, 0));
}

TEST(UT_StringMatch, LooksAtWhatMattersOnly)
{
    const UT_String ab("ab");
    EXPECT_EQ(ut_Strings{"b"}, utRecord(ab, "^?x a? ?b", 9, 1));
    EXPECT_EQ(ut_Strings{"ba"}, utRecord(ab, "a? ^?x", 9, 1));
    int index;
    EXPECT_FALSE(ab.multiMatch("^ab", 1, " ", nullptr, &index) || index != -1);
    // Of 252 separators the last does not count; the next call has its own.
    const std::string many = std::string(250, 'x') + ",;";
    EXPECT_TRUE(ab.multiMatch("q,ab", 1, many.c_str(), nullptr, nullptr));
    EXPECT_FALSE(ab.multiMatch("q;ab", 1, many.c_str(), nullptr, nullptr));
    EXPECT_FALSE(ab.multiMatch("qxab", 1, ',') || ab.multiMatch("q ab", 1, 0));
    EXPECT_TRUE(UT_String().multiMatch("*") && ab.multiMatchCheck("a,"));
    EXPECT_FALSE(UT_String().match("*") || ab.multiMatchCheck("]"));
    EXPECT_TRUE(ab.endsWith("b") && ab.startsWith("a") && ab.startsWith("ab"));
    EXPECT_FALSE(ab.endsWith("a") || ab.startsWith("b") || ab.startsWith(""));
    EXPECT_FALSE(ab.endsWith("ab") || ab.endsWith("") || ab.contains("ba"));
    EXPECT_TRUE(ab.contains("") && ab.contains("?B", 0));
}
