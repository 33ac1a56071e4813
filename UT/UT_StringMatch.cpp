// Patterns: matching one, and matching a list of them with a record of what the
// wildcards stood for.

#include "UT_String.h"

#include "UT_AllocImpl.h"
#include "UT_CharImpl.h"
#include "UT_Pattern.h"
#include "UT_WorkArgs.h"
#include "UT_WorkBuffer.h"

#include "SYS/SYS_Types.h"

#include <cassert>
#include <cstdlib>
#include <vector>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

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

// How bytes compare: as they are ...
struct ut_Exact
{
    static char fold(char c) { return c; }

    // The bits in which a byte may differ from `c` and be the same.
    static uint8 ignoredBits(char) { return 0; }
};

// ... or without regard to the case of ASCII letters.
struct ut_Folded
{
    static char fold(char c) { return utToLower(c); }
    static uint8 ignoredBits(char c) { return utIsLetter(c) ? 0x20 : 0; }
};

// Sixteen bytes of a text, or what became of them.
using ut_Block = uint8 __attribute__((vector_size(16)));

// Shows in which blocks a byte may be, one operation for all of a block.
class ut_ByteFilter
{
public:
    ut_ByteFilter(char c, uint8 ignoredBits)
        : myIgnoredBits(ut_Block{} + ignoredBits),
          myByte((ut_Block{} + uint8(c)) | myIgnoredBits)
    {
    }

    // All bits of the bytes that are it.
    ut_Block operator()(const char *block) const
    {
        ut_Block bytes;
        memcpy(&bytes, block, sizeof(bytes));
        return ut_Block((bytes | myIgnoredBits) == myByte);
    }

private:
    ut_Block myIgnoredBits;
    ut_Block myByte;
};

enum ut_Outcome
{
    UT_FAILS,
    UT_MATCHES,
    UT_AT_STAR
};

} // namespace

#ifdef __SSE2__
// The bytes of a block that are not 0, a bit for each: they are 0 or 255.
static unsigned
utBits(ut_Block block)
{
    __m128i bytes;
    memcpy(&bytes, &block, sizeof(bytes));
    return unsigned(_mm_movemask_epi8(bytes));
}

static bool
utHasAny(ut_Block block)
{
    return utBits(block) != 0;
}

// The first byte of a block that is not 0; there is one.
static int
utFirst(ut_Block block)
{
    return __builtin_ctz(utBits(block));
}
#else
static bool
utHasAny(ut_Block block)
{
    uint64 halves[2];
    memcpy(halves, &block, sizeof(block));
    return (halves[0] | halves[1]) != 0;
}

static int
utFirst(ut_Block block)
{
    int first = 0;
    while (block[first] == 0)
        ++first;
    return first;
}
#endif

template <class Compare>
static bool
utEqual(const char *a, const char *b, size_t length)
{
    for (size_t i = 0; i < length; ++i)
        if (Compare::fold(a[i]) != Compare::fold(b[i]))
            return false;
    return true;
}

// Skips blocks of a text in which no run starts, by its first and last byte.
// Returns where it may be, at the latest 16 bytes before the end.
template <class Compare>
static const char *
utSkipBlocks(const char *begin, const char *end, const char *run, size_t length)
{
    const char *const last = run + length - 1;
    const ut_ByteFilter isFirst(*run, Compare::ignoredBits(*run));
    const ut_ByteFilter isLast(*last, Compare::ignoredBits(*last));
    for (; size_t(end - begin) >= sizeof(ut_Block) + length;
         begin += sizeof(ut_Block))
    {
        if (utHasAny(isFirst(begin) & isLast(begin + length - 1)))
            break;
    }
    return begin;
}

// The first `run` in the text from `begin` to `end`, or null. An empty one is
// at once.
template <class Compare>
static const char *
utFind(const char *begin, const char *end, const char *run, size_t length)
{
    if (size_t(end - begin) < length)
        return nullptr;
    if (utEqual<Compare>(begin, run, length))
        return begin;
    const char *looked = ++begin; // the blocks before it may hold one
    for (; size_t(end - begin) >= length; ++begin)
    {
        if (begin >= looked && size_t(end - begin) >= sizeof(ut_Block) + length)
        {
            begin = utSkipBlocks<Compare>(begin, end, run, length);
            looked = begin + sizeof(ut_Block);
        }
        if (utEqual<Compare>(begin, run, length))
            return begin;
    }
    return nullptr;
}

// The patterns below end where they are said to, not with a NUL: those of a
// list are matched where they stand.

static bool
utIsOrdinary(char c)
{
    // By a table: most bytes of most patterns are looked at.
    struct ut_Table
    {
        bool isOrdinary[256] = {};

        constexpr ut_Table()
        {
            for (bool &each : isOrdinary)
                each = true;
            for (const char special : {'*', '?', '[', '\\'})
                isOrdinary[uint8(special)] = false;
        }
    };
    static constexpr ut_Table theTable;
    return theTable.isOrdinary[uint8(c)];
}

static size_t
utRunLength(const char *pattern, const char *patternEnd)
{
    const char *end = pattern;
    while (end != patternEnd && utIsOrdinary(*end))
        ++end;
    return size_t(end - pattern);
}

static const char *
utSkipStars(const char *pattern, const char *patternEnd)
{
    while (pattern != patternEnd && *pattern == '*')
        ++pattern;
    return pattern;
}

// The bracket that closes a set, or the end of the pattern.
static const char *
utSetEnd(const char *set, const char *patternEnd)
{
    while (set != patternEnd && *set != ']')
        ++set;
    return set;
}

// Matches all of a pattern that stands before its next star, and moves both
// positions past what matched: to the star, or to what fails. Calls
// `onSingle` for what a `?` matches.
template <class Compare, class OnSingle>
static inline ut_Outcome
utMatchUpToStar(
    const char *&pattern, const char *patternEnd, const char *&subject,
    OnSingle onSingle)
{
    for (;; ++pattern, ++subject)
    {
        if (pattern == patternEnd)
            return *subject ? UT_FAILS : UT_MATCHES;
        switch (*pattern)
        {
        case '*':
            return UT_AT_STAR;
        case '?':
            if (!*subject)
                return UT_FAILS;
            onSingle(*subject);
            break;
        case '[':
        {
            // Deliberate: a dash, an exclamation mark and a circumflex are
            // members like others. An unclosed set never matches.
            bool isMember = false;
            const char *member = pattern + 1;
            for (; member != patternEnd && *member != ']'; ++member)
                isMember |= Compare::fold(*member) == Compare::fold(*subject);
            if (!isMember || member == patternEnd)
                return UT_FAILS;
            pattern = member;
            break;
        }
        case '\\':
            // Deliberate: a backslash at the end of the pattern matches one,
            // whatever follows it in the subject.
            if (pattern + 1 == patternEnd)
                return *subject == '\\' ? UT_MATCHES : UT_FAILS;
            if (Compare::fold(pattern[1]) != Compare::fold(*subject))
                return UT_FAILS;
            ++pattern;
            break;
        default:
            if (Compare::fold(*pattern) != Compare::fold(*subject))
                return UT_FAILS;
        }
    }
}

namespace
{

// What stands between a star and the next, or the end of the pattern.
struct ut_Segment
{
    size_t length = 0;    // bytes of the subject that it takes
    bool isEnd = false;   // they have to be the last ones
    const char *run = ""; // its longest run of ordinary bytes
    size_t runLength = 0;
    size_t runOffset = 0; // in these bytes
};

} // namespace

static ut_Segment
utReadSegment(const char *pattern, const char *patternEnd)
{
    ut_Segment segment;
    for (;; ++pattern, ++segment.length)
    {
        const size_t length = utRunLength(pattern, patternEnd);
        if (length > 0 && length >= segment.runLength)
        {
            segment.run = pattern;
            segment.runLength = length;
            segment.runOffset = segment.length;
        }
        pattern += length;
        segment.length += length;
        if (pattern != patternEnd && *pattern == '*')
            return segment;
        if (pattern != patternEnd && *pattern == '[')
            pattern = utSetEnd(pattern, patternEnd);
        if (pattern == patternEnd)
        {
            segment.isEnd = true;
            return segment;
        }
        // A backslash at the end takes whatever follows.
        if (*pattern == '\\' && ++pattern == patternEnd)
            return segment;
    }
}

// The bytes of the 16 from `subject` on where a segment may begin: all its
// elements are compared with sixteen places at once.
template <class Compare>
static ut_Block
utPlaces(const char *pattern, const char *patternEnd, const char *subject)
{
    ut_Block places = ut_Block{} - uint8(1);
    for (; pattern != patternEnd && *pattern != '*' && utHasAny(places);
         ++pattern, ++subject)
    {
        if (*pattern == '?')
            continue;
        if (*pattern == '[')
        {
            const char *const end = utSetEnd(pattern, patternEnd);
            ut_Block members{};
            while (++pattern < end)
                members |= ut_ByteFilter(
                    *pattern, Compare::ignoredBits(*pattern))(subject);
            places &= members;
            if (end == patternEnd)
                break;
            continue;
        }
        if (*pattern == '\\' && ++pattern == patternEnd)
            break;
        places &=
            ut_ByteFilter(*pattern, Compare::ignoredBits(*pattern))(subject);
    }
    return places;
}

// Skips places of a subject at which a segment does not begin. Returns the
// first where it may, or where there are too few left for a block.
template <class Compare>
static const char *
utSkipPlaces(
    const char *pattern, const char *patternEnd, const char *subject,
    const char *last)
{
    for (; last - subject >= ptrdiff_t(sizeof(ut_Block));
         subject += sizeof(ut_Block))
    {
        const ut_Block places = utPlaces<Compare>(pattern, patternEnd, subject);
        if (utHasAny(places))
            return subject + utFirst(places);
    }
    return subject;
}

// Matches a segment as early as it can be, and moves both positions past it.
template <class Compare>
static ut_Outcome
utMatchSegment(
    const ut_Segment &segment, const char *&pattern, const char *patternEnd,
    const char *&subject, const char *subjectEnd)
{
    if (size_t(subjectEnd - subject) < segment.length)
        return UT_FAILS;
    const char *const start = pattern;
    const char *const first = subject;
    const char *const last = subjectEnd - segment.length;
    for (const char *at = first; at <= last; ++at)
    {
        // Its run is found sooner than all of it, but may be everywhere.
        if (at != first)
            at = utSkipPlaces<Compare>(start, patternEnd, at, last);
        at = utFind<Compare>(
            at + segment.runOffset,
            last + segment.runOffset + segment.runLength, segment.run,
            segment.runLength);
        if (!at)
            return UT_FAILS;
        at -= segment.runOffset;
        pattern = start;
        subject = at;
        const ut_Outcome outcome =
            utMatchUpToStar<Compare>(pattern, patternEnd, subject, [](char) {});
        if (outcome != UT_FAILS)
            return outcome;
    }
    return UT_FAILS;
}

// Whether the last byte of a pattern says that it cannot match: one that is
// ordinary, or has a backslash before it, is the last of all that match. Of a
// set that is not closed it does not matter, which never matches.
template <class Compare>
static bool
utEndsOtherwise(
    const char *pattern, const char *patternEnd, const char *subject,
    const char *subjectEnd)
{
    const char last = patternEnd[-1];
    if (patternEnd - pattern < 2 || !utIsOrdinary(last) || last == ']')
        return false;
    return subject == subjectEnd ||
           Compare::fold(subjectEnd[-1]) != Compare::fold(last);
}

// The answer alone. What stands between two stars may as well match as early
// as it can, so only the last star is ever tried again, and the time is at
// most the product of the two lengths. `subjectEnd` may be null.
template <class Compare>
static bool
utMatch(
    const char *pattern, const char *patternEnd, const char *subject,
    const char *subjectEnd)
{
    const auto onSingle = [](char) {};
    ut_Outcome outcome =
        utMatchUpToStar<Compare>(pattern, patternEnd, subject, onSingle);
    if (outcome != UT_AT_STAR)
        return outcome == UT_MATCHES;
    if (!subjectEnd)
        subjectEnd = subject + strlen(subject);
    if (utEndsOtherwise<Compare>(pattern, patternEnd, subject, subjectEnd))
        return false;
    while (outcome == UT_AT_STAR)
    {
        pattern = utSkipStars(pattern, patternEnd);
        if (pattern == patternEnd)
            return true;
        const ut_Segment segment = utReadSegment(pattern, patternEnd);
        if (segment.isEnd && segment.length <= size_t(subjectEnd - subject))
        {
            subject = subjectEnd - segment.length;
            outcome = utMatchUpToStar<Compare>(
                pattern, patternEnd, subject, onSingle);
            break;
        }
        outcome = utMatchSegment<Compare>(
            segment, pattern, patternEnd, subject, subjectEnd);
    }
    return outcome == UT_MATCHES;
}

int
strMatch(const char *subject, const char *pattern, int caseSensitive)
{
    if (!subject || !pattern)
        return 0;
    const char *const patternEnd = pattern + strlen(pattern);
    return caseSensitive
               ? utMatch<ut_Exact>(pattern, patternEnd, subject, nullptr)
               : utMatch<ut_Folded>(pattern, patternEnd, subject, nullptr);
}

// singleStrMatch() in a subject that ends at `subjectEnd`.
template <class Compare>
static const char *
utFindRun(
    const char *subject, const char *subjectEnd, const char *pattern,
    const char *reject)
{
    return utFind<Compare>(
        subject, subjectEnd, pattern, strcspn(pattern, reject));
}

const char *
singleStrMatch(
    const char *subject, const char *pattern, const char *reject,
    int caseSensitive)
{
    if (!subject || !pattern)
        return nullptr;
    if (!reject)
        reject = "";
    const char *const subjectEnd = subject + strlen(subject);
    return caseSensitive
               ? utFindRun<ut_Exact>(subject, subjectEnd, pattern, reject)
               : utFindRun<ut_Folded>(subject, subjectEnd, pattern, reject);
}

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

// Matches one alternative, once the separators are set.
static int
utMatchAlternative(
    const char *subject, const char *subjectEnd, const char *pattern,
    const char *patternEnd, int caseSensitive)
{
    if (!thePatternRecord)
        return caseSensitive
                   ? utMatch<ut_Exact>(pattern, patternEnd, subject, subjectEnd)
                   : utMatch<ut_Folded>(
                         pattern, patternEnd, subject, subjectEnd);
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
UT_String::match(const char *pattern, int caseSensitive) const
{
    return strMatch(myData, pattern, caseSensitive);
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
        if (isTried &&
            utMatchAlternative(
                subject, subjectEnd, at + isExclusion, end, caseSensitive))
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

bool
UT_String::matchPattern(const UT_WorkArgs &patterns, bool resultIfNone) const
{
    for (int i = patterns.getArgc(); i-- > 0;)
    {
        const char *const pattern = patterns(i);
        const bool isExclusion = pattern && *pattern == '^';
        if (match(pattern + isExclusion, /*caseSensitive=*/1))
            return !isExclusion;
    }
    return resultIfNone;
}

bool
UT_String::contains(const char *text, int caseSensitive) const
{
    if (!text)
        return false;
    UT_WorkBuffer pattern;
    pattern.append('*');
    pattern.append(text);
    pattern.append('*');
    // A text that the buffer has no room for is in no other.
    return size_t(pattern.length()) == strlen(text) + 2 &&
           match(pattern.buffer(), caseSensitive) != 0;
}

bool
UT_String::startsWith(const char *prefix) const
{
    if (!myData || !*myData || !prefix || !*prefix)
        return false;
    return strncmp(myData, prefix, strlen(prefix)) == 0;
}

bool
UT_String::endsWith(const char *suffix) const
{
    if (!myData || !suffix || !*suffix)
        return false;
    const size_t length = strlen(myData);
    const size_t suffixLength = strlen(suffix);
    // Deliberate: a string never ends with itself.
    if (suffixLength >= length)
        return false;
    return strcmp(myData + length - suffixLength, suffix) == 0;
}
