// The search that records and the one that does not give the same answer, a
// range and its negation select nothing twice, a text that is not a range
// selects nothing, and a short expansion is the front of a longer one.

#include "ut_FuzzCheck.h"

#include "UT/UT_Pattern.h"
#include "UT/UT_String.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

static void
utMatch(const UT_String &text, const char *pattern)
{
    char singles[30];
    char *words[30];
    int singleCount;
    int wordCount;
    for (const int caseSensitive : {0, 1})
    {
        const int recorded = text.multiMatchRecord(
            pattern, 30, singles, singleCount, words, wordCount, caseSensitive,
            " ");
        std::for_each(words, words + wordCount, free);
        utRequire(recorded == text.multiMatch(pattern, caseSensitive));
    }
    UT_String(text).patternRename("?*?*", pattern);
}

static const int theMaximum = 9; // majors, with up to three minors each

static unsigned
utMinorCount(int major, void *)
{
    return unsigned(major % 4);
}

static int
utSeeOnce(int major, int minor, void *data)
{
    bool &isSeen = static_cast<bool(*)[4]>(data)[major][minor + 1];
    utRequire(!isSeen);
    isSeen = true;
    return 1;
}

static void
utTraverse(const char *range)
{
    bool seen[theMaximum][4] = {};
    for (const char *const mark : {"", "!"})
    {
        const std::string text = std::string(mark) + range;
        int parts[9];
        const int isRange = utRange(
            text.c_str(), parts[0], parts[1], parts[2], parts[3], parts[4],
            parts[5], parts[6], parts[7], parts[8]);
        const int isDone =
            UT_String(text.c_str())
                .traversePattern(theMaximum, seen, utSeeOnce, utMinorCount, 1);
        utRequire(isRange || !isDone);
    }
}

static void
utExpand(const UT_String &text)
{
    char *many[20];
    char *few[10];
    const int manyCount = UT_String(text, 1).expandArrays(many, 20);
    const int fewCount = UT_String(text, 1).expandArrays(few, 10);
    utRequire(fewCount <= manyCount);
    for (int i = 0; i < fewCount; ++i)
        utRequire(strcmp(many[i], few[i]) == 0);
    std::for_each(many, many + manyCount, free);
    std::for_each(few, few + fewCount, free);
}

void
utTry(const std::string &input)
{
    // A pattern, a newline and a text.
    const std::string start = input.substr(0, 400);
    const UT_String pattern(start.substr(0, start.find('\n')).c_str(), 1);
    const UT_String text(start.c_str() + pattern.length(), 1);
    utMatch(text, pattern);
    utTraverse(pattern.buffer() + strspn(pattern, "!"));
    utExpand(text);
}
