// Patterns: matching one.

#include "UT_String.h"

#include "UT_Pattern.h"
#include "UT_StringMatchImpl.h"
#include "UT_WorkArgs.h"
#include "UT_WorkBuffer.h"

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

// The bracket that closes a set, or the end of the pattern.
static const char *
utSetEnd(const char *set, const char *patternEnd)
{
    while (set != patternEnd && *set != ']')
        ++set;
    return set;
}

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
    if (subject == subjectEnd)
        return true;
    // The analyzer does not know the length of "".
    // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage)
    return Compare::fold(subjectEnd[-1]) != Compare::fold(last);
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

bool
utMatches(
    const char *pattern, const char *patternEnd, const char *subject,
    const char *subjectEnd, bool caseSensitive)
{
    return caseSensitive
               ? utMatch<ut_Exact>(pattern, patternEnd, subject, subjectEnd)
               : utMatch<ut_Folded>(pattern, patternEnd, subject, subjectEnd);
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

int
UT_String::match(const char *pattern, int caseSensitive) const
{
    return strMatch(myData, pattern, caseSensitive);
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
