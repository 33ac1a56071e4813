// The functions that implement UT_String's patterns, ranges and bracket groups.
// They take plain texts, and give access to intermediate results: the parts of
// a range, and the names that one group stands for.
//
// The languages are in docs/patterns.md. Case is that of ASCII letters,
// whatever the locale; `caseSensitive` 0 ignores it. Several threads may call
// everything at once except multiStrMatch().

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <cstddef>

// ---- Matching: UT_StringMatch.cpp, UT_StringMatchList.cpp

/// Whether all of `subject` matches `pattern`, as UT_String::match() says: 1 or
/// 0, and 0 when either is null. At most O(length of subject * of pattern).
UT_API int
strMatch(const char *subject, const char *pattern, int caseSensitive);

/// Whether all of `subject`, null counting as "", matches the first alternative
/// of `pattern`: 1 or 0, and 0 for a null pattern. The alternative ends before
/// the first of `separators`, as UT_String::multiMatch() reads them, or with
/// the pattern. A `^` at its beginning is an ordinary byte. Costs as much as
/// strMatch(), except while UT_String::multiMatchRecord() runs.
///
/// One thread only.
UT_API int multiStrMatch(
    const char *subject, const char *pattern, int caseSensitive,
    const char *separators);

/// The first occurrence in `subject` of the beginning of `pattern`: the bytes
/// before the first one of `reject`, or all of it when that is null. No byte is
/// a wildcard. Null when there is none, and when a text is null; "" occurs at
/// the start. Points into `subject`. "b2" is found in "a1b2c3" with the pattern
/// "b2,x" and "," rejected.
UT_API const char *singleStrMatch(
    const char *subject, const char *pattern, const char *reject,
    int caseSensitive);

/// A record of the texts that the wildcards of a match stood for, in arrays
/// that the caller owns.
///
/// Thread-compatible.
struct UT_API utPatternRecord
{
    /// An empty record. Both arrays are kept, must outlive the record, and must
    /// have room for `maximum` entries.
    utPatternRecord(int maximum, char *singles, char **words);

    /// Adds the byte that a `?` stood for. Dropped when there is no room.
    void addSingle(char c);

    /// Adds the text that a `*` stood for: a copy of the first `length` - 1
    /// bytes of `text`, which has at least `length` bytes, or of all up to its
    /// NUL when `length` is negative. `length` is never 0. Dropped when there
    /// is no room.
    void addWord(const char *text, int length);

    // Programs hold records by value: order and size stay.
    int32 maximum;     ///< capacity of each array
    char *singles;     ///< without a NUL
    int32 singleCount; ///< entries in `singles`
    char **words;      ///< caller frees each with free()
    int32 wordCount;   ///< entries in `words`
};

static_assert(sizeof(void *) != 4 || sizeof(utPatternRecord) == 20);
static_assert(offsetof(utPatternRecord, maximum) == 0);
static_assert(offsetof(utPatternRecord, singles) == 1 * sizeof(void *));
static_assert(offsetof(utPatternRecord, singleCount) == 2 * sizeof(void *));
static_assert(offsetof(utPatternRecord, words) == 3 * sizeof(void *));
static_assert(offsetof(utPatternRecord, wordCount) == 4 * sizeof(void *));

// ---- Ranges: UT_StringRange.cpp

/// Reads a range, which UT_String::traversePattern() describes: of every
/// `cycle` indices from FIRST to LAST the first `take` are selected, or the
/// others when `negated` is 1. A range without a LAST ends at FIRST. A star
/// sets its flag to 1 and the index to 0 in FIRST and LAST; a missing minor
/// index is -1. "5-7.*" is malformed, "5.*-7.*:2" reads as
///
///     cycle 2, take 1, negated 0, majorIsStar 0, minorIsStar 1,
///     firstMajor 5, firstMinor 0, lastMajor 7, lastMinor 0
///
/// Returns 1. Returns 0 and sets nothing when the range is malformed or `text`
/// null.
UT_API int utRange(
    const char *text, int &cycle, int &take, int &negated, int &majorIsStar,
    int &minorIsStar, int &firstMajor, int &firstMinor, int &lastMajor,
    int &lastMinor);

/// Reads one end of a range, MAJOR[.MINOR]. A part with a `*` anywhere in it is
/// a star: its flag is 1 and its index 0. Any other part is the number that its
/// leading digits form, 0 without digits and INT_MAX for any greater number.
/// Without a dot the minor index is -1: "5" is major 5 and minor -1.
///
/// Returns 1. Returns 0 and sets nothing when a part is empty or `text` null.
UT_API int utPatternMixed(
    const char *text, int &major, int &majorIsStar, int &minor,
    int &minorIsStar);

// ---- Bracket groups: UT_StringRange.cpp

/// The names that words expand to.
struct stResultData
{
    char **list;   ///< caller frees each name with free()
    int32 count;   ///< names in it
    int32 maximum; ///< names that there is room for
};

/// A bracket group of a word, and the destination of its names.
struct stExpandData
{
    const char *prefix;   ///< the text before the group, never null
    const char *suffix;   ///< the text after it, never null
    stResultData *result; ///< gets the names
};

// Programs fill these in themselves: order and size stay.
static_assert(sizeof(void *) != 4 || sizeof(stResultData) == 12);
static_assert(offsetof(stResultData, list) == 0);
static_assert(offsetof(stResultData, count) == sizeof(void *));
static_assert(offsetof(stResultData, maximum) == sizeof(void *) + 4);
static_assert(sizeof(stExpandData) == 3 * sizeof(void *));
static_assert(offsetof(stExpandData, prefix) == 0);
static_assert(offsetof(stExpandData, suffix) == 1 * sizeof(void *));
static_assert(offsetof(stExpandData, result) == 2 * sizeof(void *));

/// Adds the names that `word` expands to, as described at
/// UT_String::expandArrays(), to `result`; names without room are dropped,
/// which takes no time. Returns 1, also when there are no names. Returns 0 and
/// adds nothing when the word has no complete group or is null.
UT_API int stExpandArray(const char *word, stResultData *result);

/// Adds one name for each letter of `contents`, in order, as stAddName() does
/// for a number: the prefix, the letter and the suffix. Other bytes are
/// ignored. Stops when the result is full. Returns 1.
UT_API int stExpandLetterPattern(const char *contents, stExpandData *data);

/// Adds the name of one index; a callback for UT_String::traversePattern().
/// `data` is a `stExpandData`, and the name is its prefix, `major` in decimal
/// and its suffix. A suffix with a complete group is expanded in turn. The
/// minor index is not used. Returns 1, so that the walk continues.
///
/// Deliberate: returns 1 also when the result is full and the name dropped.
UT_API int stAddName(int major, int minor, void *data);
