// Patterns: matching a list of them, with a record of what the wildcards stood
// for.

#include "UT_String.h"

#include "UT_AllocImpl.h"
#include "UT_Pattern.h"
#include "UT_StringMatchImpl.h"

#include <cassert>
#include <vector>

utPatternRecord::utPatternRecord(int aMaximum, char *aSingles, char **aWords)
    : maximum(aMaximum), singles(aSingles), singleCount(0), words(aWords),
      wordCount(0)
{
}

void
utPatternRecord::addSingle(char c)
{
    if (singleCount < maximum)
        singles[singleCount++] = c;
}

// Adds a copy of the bytes of a text that continues after them: the last one
// is replaced by the NUL.
static char *
utCopyOf(const char *text, size_t length)
{
    char *const copy = static_cast<char *>(utAllocate(length + 1));
    memcpy(copy, text, length);
    copy[length - 1] = '\0';
    return copy;
}

void
utPatternRecord::addWord(const char *text, int length)
{
    assert(length != 0);
    if (wordCount >= maximum)
        return;
    words[wordCount] =
        length < 0 ? utDuplicate(text) : utCopyOf(text, size_t(length));
    ++wordCount;
}

// Set while multiMatchRecord() runs.
static utPatternRecord *thePatternRecord;

// The bytes that are special in a multi-pattern: the wildcard characters and,
// after them, the separators of the call that runs.
static char symbols[256] = "\\*?[";
static constexpr size_t theWildcardCount = 4;

namespace
{

// A star that the search has come to.
struct ut_Star
{
    const char *rest;      // the pattern after it
    const char *start;     // the subject from where it stands
    const char *candidate; // where in the subject to try the rest next
    int64 recorded;        // entries in the record when it got there
    const char *barren;    // from here on it fails and records nothing, or null
};

} // namespace

static int64
utEntries(const utPatternRecord &record)
{
    return int64(record.singleCount) + record.wordCount;
}

template <class Compare>
static const char *
utNextCandidate(
    const ut_Star &star, const char *patternEnd, const char *subjectEnd)
{
    if (star.barren && star.start >= star.barren)
        return nullptr;
    if (utRunLength(star.rest, patternEnd) == 0)
        return star.candidate == subjectEnd ? nullptr : star.candidate;
    return utFindRun<Compare>(star.candidate, subjectEnd, star.rest, symbols);
}

// The whole search, which leaves a record of all that its wildcards stood for.
//
// Deliberate: what is recorded on the way to a failure stays, ahead of what
// leads to success; callers count on the order.
//
// The search goes back to every star, not only the last, as long as that adds
// to the record. Where a search from a star failed and added nothing, so would
// every search from the same star further on: these are left out, and the time
// is not exponential once the record is full.
template <class Compare>
static bool
utMatchAndRecord(
    const char *pattern, const char *patternEnd, const char *subject,
    const char *subjectEnd, utPatternRecord &record)
{
    const auto onSingle = [&record](char c) { record.addSingle(c); };
    std::vector<ut_Star> stars; // from the first of the pattern
    size_t depth = 0;           // those that the search has passed
    for (;;)
    {
        const ut_Outcome outcome =
            utMatchUpToStar<Compare>(pattern, patternEnd, subject, onSingle);
        if (outcome == UT_MATCHES)
            return true;
        if (outcome == UT_AT_STAR)
        {
            pattern = utSkipStars(pattern, patternEnd);
            if (pattern == patternEnd)
            {
                record.addWord(subject, -1);
                return true;
            }
            if (stars.empty())
                stars.reserve(4); // few patterns have more
            if (depth == stars.size())
                stars.emplace_back();
            ut_Star &star = stars[depth++];
            star.rest = pattern;
            star.start = star.candidate = subject;
            star.recorded = utEntries(record);
        }
        // Continue from the last star with a position left to try.
        for (;; --depth)
        {
            if (depth == 0)
                return false;
            ut_Star &star = stars[depth - 1];
            subject = utNextCandidate<Compare>(star, patternEnd, subjectEnd);
            if (subject)
            {
                record.addWord(
                    star.start, SYSnarrow<int>(subject - star.start) + 1);
                pattern = star.rest;
                star.candidate = subject + 1;
                break;
            }
            if (star.recorded == utEntries(record))
                if (!star.barren || star.start < star.barren)
                    star.barren = star.start;
        }
    }
}

// Fills the separators into the special characters, and returns them there.
static const char *
utSetSeparators(const char *separators)
{
    const size_t room = sizeof(symbols) - theWildcardCount - 1;
    const size_t length = separators ? strnlen(separators, room) : 0;
    char *const copy = symbols + theWildcardCount;
    if (length)
        memcpy(copy, separators, length);
    copy[length] = '\0';
    return copy;
}

namespace
{

// The separators of a list, mostly two or one.
class ut_Separators
{
public:
    explicit ut_Separators(const char *bytes)
        : myFirst(*bytes), mySecond(*bytes ? bytes[1] : '\0'),
          myOthers(mySecond ? bytes + 2 : ""),
          myFirsts(ut_Block{} + uint8(myFirst)),
          mySeconds(ut_Block{} + uint8(mySecond))
    {
    }

    const char *skip(const char *list) const
    {
        while (has(*list))
            ++list;
        return list;
    }

    // The first separator of a list, or its end: whole blocks at a time.
    const char *find(const char *list, const char *listEnd) const
    {
        for (; listEnd - list >= ptrdiff_t(sizeof(ut_Block));
             list += sizeof(ut_Block))
        {
            ut_Block bytes;
            memcpy(&bytes, list, sizeof(bytes));
            auto found = (bytes == myFirsts) | (bytes == mySeconds);
            for (const char *other = myOthers; *other; ++other)
                found |= bytes == ut_Block{} + uint8(*other);
            if (utHasAny(ut_Block(found)))
                return list + utFirst(ut_Block(found));
        }
        while (list != listEnd && !has(*list))
            ++list;
        return list;
    }

private:
    [[nodiscard]] bool has(char c) const
    {
        return c && (c == myFirst || c == mySecond ||
                     (*myOthers && strchr(myOthers, c)));
    }

    char myFirst; // NUL, which no list has, when there are fewer
    char mySecond;
    const char *myOthers;
    ut_Block myFirsts;
    ut_Block mySeconds;
};

} // namespace

// Whether the first and the last byte of an alternative leave open that it
// matches. Most of a list's do not. A last one that is ordinary is the last of
// all that match; but a search that is recorded leaves what it met before.
static inline bool
utMayMatch(
    const char *subject, const char *subjectEnd, const char *pattern,
    const char *patternEnd)
{
    if (pattern == patternEnd)
        return true;
    if (utIsOrdinary(*pattern) && utToLower(*pattern) != utToLower(*subject))
        return false;
    const char last = patternEnd[-1];
    if (!utIsOrdinary(last) || last == ']' || thePatternRecord)
        return true;
    return subject != subjectEnd &&
           utToLower(subjectEnd[-1]) == utToLower(last);
}

// Matches one alternative, once the separators are set.
static int
utMatchAlternative(
    const char *subject, const char *subjectEnd, const char *pattern,
    const char *patternEnd, int caseSensitive)
{
    if (!thePatternRecord)
        return utMatches(
            pattern, patternEnd, subject, subjectEnd, caseSensitive != 0);
    utPatternRecord &record = *thePatternRecord;
    return caseSensitive
               ? utMatchAndRecord<ut_Exact>(
                     pattern, patternEnd, subject, subjectEnd, record)
               : utMatchAndRecord<ut_Folded>(
                     pattern, patternEnd, subject, subjectEnd, record);
}

int
multiStrMatch(
    const char *subject, const char *pattern, int caseSensitive,
    const char *separators)
{
    if (!pattern)
        return 0;
    if (!subject)
        subject = "";
    const char *const patternEnd =
        pattern + strcspn(pattern, utSetSeparators(separators));
    return utMatchAlternative(
        subject, subject + strlen(subject), pattern, patternEnd, caseSensitive);
}

int
UT_String::multiMatch(
    const char *pattern, int caseSensitive, const char *separators,
    bool *excluded, int *index) const
{
    if (excluded)
        *excluded = false;
    if (index)
        *index = -1;
    if (!pattern)
        return 0;
    const ut_Separators set(utSetSeparators(separators));
    const char *const subject = myData ? myData : "";
    const char *const subjectEnd = subject + strlen(subject);
    const char *const listEnd = pattern + strlen(pattern);
    bool matches = false;
    const char *at = set.skip(pattern);
    while (*at)
    {
        const char *const end = set.find(at, listEnd);
        const bool isExclusion = *at == '^';
        // What cannot change the result is tried for the outputs alone.
        // Deliberate: with both, the first of two exclusions is reported and
        // the last of two others.
        const bool isTried = isExclusion ? matches || (excluded && !*excluded)
                                         : !matches || index;
        const char *const alternative = at + isExclusion;
        if (isTried && utMayMatch(subject, subjectEnd, alternative, end) &&
            utMatchAlternative(
                subject, subjectEnd, alternative, end, caseSensitive))
        {
            matches = !isExclusion;
            if (excluded)
                *excluded = isExclusion;
            if (index)
                *index = SYSnarrow<int>(at - pattern);
        }
        at = set.skip(end);
    }
    return matches;
}

int
UT_String::multiMatch(
    const char *pattern, int caseSensitive, char separator) const
{
    const char separators[] = {separator, '\0'};
    return multiMatch(pattern, caseSensitive, separators, nullptr, nullptr);
}

namespace
{

// A record that matches write into as long as this lives. However that ends,
// the caller gets the counts: the words are there to free.
class ut_ActiveRecord
{
public:
    ut_ActiveRecord(
        int maximum, char *singles, int &singleCount, char **words,
        int &wordCount)
        : myRecord(maximum, singles, words), mySingleCount(singleCount),
          myWordCount(wordCount)
    {
        thePatternRecord = &myRecord;
    }
    ~ut_ActiveRecord()
    {
        thePatternRecord = nullptr;
        mySingleCount = myRecord.singleCount;
        myWordCount = myRecord.wordCount;
    }
    ut_ActiveRecord(const ut_ActiveRecord &) = delete;
    ut_ActiveRecord &operator=(const ut_ActiveRecord &) = delete;

private:
    utPatternRecord myRecord;
    int &mySingleCount;
    int &myWordCount;
};

} // namespace

int
UT_String::multiMatchRecord(
    const char *pattern, int maximum, char *singles, int &singleCount,
    char **words, int &wordCount, int caseSensitive,
    const char *separators) const
{
    const ut_ActiveRecord active(
        maximum, singles, singleCount, words, wordCount);
    return multiMatch(pattern, caseSensitive, separators, nullptr, nullptr);
}

bool
UT_String::multiMatchCheck(const char *text)
{
    return text && strpbrk(text, " ,?*[");
}
