// How patterns match, for single ones and for lists of them.

#pragma once

#include "UT_ByteBlockImpl.h"
#include "UT_CharImpl.h"

#include "SYS/SYS_Types.h"

#include <cstring>
#include <initializer_list>

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

template <class Compare>
bool
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
const char *
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
const char *
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

// The first occurrence in a subject of the beginning of `pattern`, up to a byte
// of `reject`, or null.
template <class Compare>
const char *
utFindRun(
    const char *subject, const char *subjectEnd, const char *pattern,
    const char *reject)
{
    return utFind<Compare>(
        subject, subjectEnd, pattern, strcspn(pattern, reject));
}

// The patterns below end where they are said to, not with a NUL: those of a
// list are matched where they stand.

inline bool
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

inline size_t
utRunLength(const char *pattern, const char *patternEnd)
{
    const char *end = pattern;
    while (end != patternEnd && utIsOrdinary(*end))
        ++end;
    return size_t(end - pattern);
}

inline const char *
utSkipStars(const char *pattern, const char *patternEnd)
{
    while (pattern != patternEnd && *pattern == '*')
        ++pattern;
    return pattern;
}

// Matches all of a pattern that stands before its next star, and moves both
// positions past what matched: to the star, or to what fails. Calls
// `onSingle` for what a `?` matches.
template <class Compare, class OnSingle>
ut_Outcome
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

// Whether a subject matches a pattern. `subjectEnd` may be null.
bool utMatches(
    const char *pattern, const char *patternEnd, const char *subject,
    const char *subjectEnd, bool caseSensitive);
