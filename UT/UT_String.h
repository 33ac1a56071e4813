// Text that is either borrowed or owned. A string borrows by default, which
// costs nothing; harden() makes it own a copy, for a string that must outlive
// the text it points at.
//
// The class has more operations than one source should hold. A banner names the
// source of the operations under it.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <cstring>
#include <iosfwd>

class UT_IStream;
class UT_WorkArgs;
struct UT_ShellLine;

/// Selects the constructor of a string that copies on every assignment.
enum UT_AlwaysDeepType
{
    UT_ALWAYS_DEEP
};

/// A pointer to NUL-terminated text, and whether the string owns it.
///
/// A null string has no text at all; it is not the same value as "". Owned text
/// comes from malloc() and is freed with free(), once. A string that is always
/// deep owns a copy of whatever is assigned to it.
///
/// Thread-compatible.
class UT_API UT_String
{
public:
    // ---- Storage: UT_String.cpp

    /// A string for `text`. With `length` negative that is the text up to its
    /// NUL: copied when `deep` is non-zero, borrowed otherwise (kept, must
    /// outlive the string); null stays null. With `length` 0 or more the string
    /// owns a block of `length` + 1 bytes, regardless of `deep`: `text` up to
    /// its NUL or its first `length` bytes, and NULs for the rest; null counts
    /// as "". UT_String("geo12", 0, 3) is an owned "geo". O(length).
    UT_String(const char *text = nullptr, int deep = 0, int length = -1);

    /// A string that owns a copy of `text`, and of whatever is assigned to it
    /// later. Null stays null.
    UT_String(UT_AlwaysDeepType, const char *text = nullptr);

    /// Borrows the text of `source`, which must outlive this string or its next
    /// change. If `source` is always deep, so is this string, which owns a
    /// copy.
    UT_String(const UT_String &source);

    /// Takes over the text of `source`, owned or borrowed, and leaves `source`
    /// null. There is no move assignment: assignment from a temporary borrows,
    /// like every other, and the text is freed with the temporary. Use harden()
    /// or swap() to keep a result.
    UT_String(UT_String &&source) noexcept;

    ~UT_String();

    /// Borrows the text of `source` (kept, must outlive this string or its next
    /// change), or owns a copy when this string is always deep. Assigning a
    /// string that borrows this string's own text from its start has no effect;
    /// for one that borrows a later part see the next operator.
    UT_String &operator=(const UT_String &source);

    /// Borrows `text` (kept, must outlive this string or its next change), or
    /// owns a copy when this string is always deep. Only a string that is
    /// always deep may be assigned a text inside its own block: any other frees
    /// the block and then points into it.
    UT_String &operator=(const char *text);

    /// Makes the string null. A string that is always deep stays so.
    void freeData();

    /// Another name of freeData().
    void clear() { freeData(); }

    /// Makes a borrowing string own a copy of its text; null becomes an owned
    /// "". An owned text stays at its address.
    void harden();

    /// Makes the string own a copy of `text`, null counting as "". With
    /// `length` negative that is the text up to its NUL, and an owned text that
    /// is equal stays at its address. With `length` 0 or more the copy is a
    /// block of `length` + 1 bytes: `text` up to its NUL or its first `length`
    /// bytes, and NULs for the rest; `text` then needs no NUL: harden("geo12",
    /// 3) makes the string "geo". `text` may point into this string's own
    /// block. O(length).
    void harden(const char *text, int length = -1);

    /// Exchanges the texts and their ownership, but not whether a string is
    /// always deep. A side that is always deep is hardened afterwards, so it
    /// owns its text, "" for null.
    void swap(UT_String &other);

    /// A shared, owned "" for reading. Lives as long as the process. Call it
    /// once before threads share it.
    static UT_String &getEmptyString();

    /// The text, null for a null string. Borrowed until the string's next
    /// change.
    operator const char *() const { return myData; }

    /// The text, null for a null string. Borrowed until the string's next
    /// change. Only an owned text may be written to.
    [[nodiscard]] const char *buffer() const { return myData; }
    char *buffer() { return myData; }

    /// Bytes up to the NUL; 0 for a null string. O(length).
    [[nodiscard]] int length() const;

    /// Whether there is no text at all.
    [[nodiscard]] bool isNull() const { return !myData; }

    /// The byte at `index`, which counts from 0 and must not be past the NUL.
    /// The string must not be null.
    template <class Index>
    char operator()(Index index) const
    {
        return myData[index];
    }
    template <class Index>
    char operator[](Index index) const
    {
        return myData[index];
    }

    /// Compares as strcmp() does (negative, zero, positive; bytes unsigned).
    /// Null comes before every text, "" included, and equals null.
    [[nodiscard]] int compare(const char *text) const;

    // ---- Splitting: UT_StringSplit.cpp
    //
    // These write NULs into the text, owned or borrowed: it must be writable.
    // The string then ends at the first of them. The words point into the text,
    // and are borrowed until the next change of it.
    //
    // A null or empty text has no words. The forms that take a UT_WorkArgs
    // empty it first. Those that take an array of `max` slots store words in
    // order, and a null after them if there is a slot left; they change no
    // other slot. All return the number of words stored. O(length).

    /// Splits the text into words at white space, as isspace() defines it,
    /// except inside quotes; a backslash does not protect white space. Quoted
    /// sections, in double or single quotes, are part of a word and lose their
    /// quotes; one that is not closed extends to the end of the text. A quote
    /// with a backslash before it is an ordinary character: outside quotes it
    /// replaces the backslash, within its own kind both are kept. All other
    /// backslashes are kept. Empty quotes make an empty word. The words are
    /// packed at the beginning of the text, the first at its first byte. `a "b
    /// c"d ''` has the words "a", "b cd" and "".
    ///
    /// Deliberate: only the byte before a quote counts. The second quote of
    /// "a\\" does not close, although a backslash stands before the backslash.
    ///
    /// The array form drops the words after the first `max` - 1.
    int parseInPlace(UT_WorkArgs &args);
    int parseInPlace(char **argv, int max);

    /// Splits the text at every `separator`. There is an empty token between
    /// two in a row and before one at the beginning, but none after one at the
    /// end: ":a::b:" has the tokens "", "a", "" and "b".
    ///
    /// The array form stops after `max` - 1 tokens, so for a `max` of 1 it
    /// stores only the null; the last token ends at its separator.
    int tokenizeInPlace(UT_WorkArgs &args, char separator);
    int tokenizeInPlace(char **argv, int max, char separator);

    /// Splits the text at runs of bytes that are in `separators`, as strtok_r()
    /// does: no token is empty. Null separates nothing, like "".
    ///
    /// The array form stops after `max` - 1 tokens. Deliberate: in an array of
    /// one slot it stores one token, and no null.
    int tokenizeInPlace(UT_WorkArgs &args, const char *separators);
    int tokenizeInPlace(char **argv, int max, const char *separators);

    // ---- Matching: UT_StringMatch.cpp, UT_StringMatchList.cpp
    //
    // The pattern and range languages are in docs/patterns.md, and the
    // functions that do the work in UT_Pattern.h. Case is that of ASCII
    // letters, whatever the locale. `caseSensitive` 0 ignores it.

    /// Whether the whole text matches `pattern`, 1 or 0; 0 when either is null.
    /// At most O(length of text * of pattern).
    ///
    /// - `*` stands for any run of bytes, an empty one too.
    /// - `?` stands for any one byte.
    /// - `[abc]` stands for one of the bytes listed. A dash, `!` and `^` are
    ///   ordinary members; an empty set never matches, nor does one that is not
    ///   closed.
    /// - A backslash makes the next byte an ordinary one.
    /// - Any other byte stands for itself.
    ///
    /// `geo*` matches "geo" and "geo12", `geo[12]` matches "geo2" but not
    /// "geo12", and `a\*?` matches "a*b" but not "abc".
    ///
    /// Deliberate: a backslash that ends the pattern matches a backslash and
    /// whatever follows it, so `a\` matches "a\b".
    [[nodiscard]] int match(const char *pattern, int caseSensitive = 1) const;

    /// Whether the text, "" for a null string, matches a list of patterns, 1 or
    /// 0. The last alternative that matches decides: 1 for a plain one, 0 for
    /// an exclusion, which starts with `^`. 0 when none matches. `geo* ^geo2`
    /// matches "geo1" but not "geo2".
    ///
    /// `separators` holds the bytes that separate the alternatives, of which
    /// those from the 252nd on do not count; null separates nothing. A set or a
    /// backslash does not protect a separator.
    ///
    /// `excluded` is set to whether an exclusion matched after all plain
    /// alternatives that matched; null when not wanted. `index` is set to the
    /// offset in `pattern` of the alternative that matched last, -1 for none;
    /// null when not wanted. Without `index` plain alternatives are not tried
    /// on a text that already matches, and without `excluded` exclusions are
    /// tried only on such a text. With `excluded` the second of two exclusions
    /// in a row is not tried.
    ///
    /// One thread only, as for the members below that match lists.
    int multiMatch(
        const char *pattern, int caseSensitive, const char *separators,
        bool *excluded, int *index) const;

    /// Whether the text matches a list of patterns, as the form above, with one
    /// separator (NUL for none) and without the outputs.
    int multiMatch(
        const char *pattern, int caseSensitive = 1, char separator = ' ') const;

    /// Whether the text matches a list of patterns, as multiMatch(), recording
    /// what the wildcards stand for. `singles` gets the byte for each `?`,
    /// without a NUL, and `words` the text for each `*`, which the caller frees
    /// with free(). Both have room for `maximum`; the rest is dropped. The
    /// counts are set, and there may be words to free, whether or not the text
    /// matches, and also when memory runs out. For "geo12" and `*1?` the word
    /// is "geo" and the single "2".
    ///
    /// Deliberate: failed attempts are recorded too, in their order. A `*`
    /// tries the shortest run first, and only those before a place where the
    /// pattern up to the next wildcard occurs.
    int multiMatchRecord(
        const char *pattern, int maximum, char *singles, int &singleCount,
        char **words, int &wordCount, int caseSensitive,
        const char *separators) const;

    /// Whether `text` may stand for more than one plain name: it contains a
    /// blank or one of `,?*[`. False for null.
    static bool multiMatchCheck(const char *text);

    /// Whether the last of `patterns` that matches, case-sensitively, is a
    /// plain one; false when it is an exclusion, which starts with `^`.
    /// `resultIfNone` when none matches.
    [[nodiscard]] bool
    matchPattern(const UT_WorkArgs &patterns, bool resultIfNone) const;

    /// Whether the text matches `*`, then `text`, then `*`: wildcards in `text`
    /// are wildcards. False when either is null.
    [[nodiscard]] bool contains(const char *text, int caseSensitive = 1) const;

    /// Whether the text starts with `prefix`, which is neither null nor empty.
    [[nodiscard]] bool startsWith(const char *prefix) const;

    /// Whether the text ends with `suffix`, which is neither null nor empty,
    /// and is longer. Deliberate: "abc" does not end with "abc".
    [[nodiscard]] bool endsWith(const char *suffix) const;

    // ---- Renaming: UT_StringRename.cpp

    /// Renames the text if it matches `fromPattern`, a list separated by blanks
    /// and commas. The new name is `toPattern`, in which each `*` and `?`
    /// becomes the text that one in `fromPattern` stood for, as
    /// multiMatchRecord() records it, up to 256 of each. They are taken in
    /// order; the last one is repeated when there are no more. `*(N)` and
    /// `?(N)` continue from number N, counted from 0: its leading digits, or 0
    /// without digits. A number that is too great stands for nothing. With
    /// `*_*` and `*(1)_*(0)`, "arm_left" becomes "left_arm".
    ///
    /// Returns 1, and the string owns its new text. Returns 0 and changes
    /// nothing when the text does not match, a pattern is null, a parenthesis
    /// after a wildcard is not closed, or the name is longer than INT_MAX.
    int patternRename(const char *fromPattern, const char *toPattern);

    // ---- Ranges: UT_StringRange.cpp

    /// Reads the text as a range, `[!]FIRST[-LAST][:[TAKE,]CYCLE]`, and calls
    /// `emit` for each index that it selects, in order; the minor index is -1
    /// in a range without one. "2-9:3" selects 2, 5 and 8. Returns 1; 0 when
    /// the range is malformed, when `emit` returned 0, which ends the walk, and
    /// when `maximum` is 0.
    ///
    /// Major indices are those below `maximum`. A negative `maximum` means no
    /// limit: a star is then only 0, and a range with a `!` selects only from
    /// 0. `offset` is added to the majors of the text; the range is malformed
    /// if one becomes negative. A range beyond `maximum` ends at the last major
    /// index, with the minor index that is written for its own last major.
    ///
    /// `minorCount` returns the number of minor indices of a major one. A range
    /// with minor indices is malformed when it is null.
    ///
    /// Both functions get `data`. Deliberate: when both ends are beyond
    /// `maximum` nothing is selected, with or without a `!`. Majors that a
    /// cycle leaves out take no time, unless there are minor indices or a `!`.
    int traversePattern(
        int maximum, void *data, int (*emit)(int major, int minor, void *data),
        unsigned (*minorCount)(int major, void *data), int offset) const;

    /// Splits the text into words as parseInPlace() does and expands the
    /// bracket groups of the first `maximum` words: `a[1-2]b[xy]` becomes a1bx,
    /// a1by, a2bx, a2by. A group that begins with a letter is a list of
    /// letters, in which other bytes are ignored; any other is a range of
    /// majors without a maximum. A word with a group that selects nothing, or
    /// is malformed, gives no names; one without a complete group is a name.
    ///
    /// Stores up to `maximum` names in `out` and returns their number; the rest
    /// are dropped. Caller frees each with free(); when memory runs out there
    /// are none to free. The string then owns its text, which means nothing
    /// afterwards.
    int expandArrays(char **out, int maximum);

    // ---- Quoting: UT_StringQuote.cpp
    //
    // If a quoted text would be longer than INT_MAX the result is "", and
    // protectString() leaves the text unchanged.

    /// The text between two `quote`s, with a backslash before each `quote` and
    /// backslash in it: `say "hi"` becomes `"say \"hi\""`. The result owns its
    /// text; a null string is like "". expandControlSequences() turns the part
    /// between the quotes back into the text, unless `quote` is n, r or t.
    /// O(length).
    [[nodiscard]] UT_String makeQuotedString(char quote = '"') const;

    /// The text in quotes as by makeQuotedString(), but if it contains `quote`
    /// and not the other one of the single and the double quote, with that one.
    [[nodiscard]] UT_String makeSmartQuotedString(char quote = '"') const;

    /// Puts a text with white space in double quotes, with a backslash before
    /// each double quote and backslash in it. Every other text is unchanged,
    /// borrowed or owned, as is one that begins and ends with a double quote.
    ///
    /// Deliberate: only those two bytes are checked, so `"a" "b"` counts as
    /// quoted, and so does a text of one double quote.
    void protectString();

    /// Whether the text contains a space, tab, newline, vertical tab or form
    /// feed. Deliberate: a carriage return is not white space here.
    [[nodiscard]] bool hasWhiteSpace() const;

    /// Replaces each backslash and the character after it: by a newline, tab or
    /// carriage return for n, t or r, otherwise by that character. A backslash
    /// at the very end stays. The string owns its text; null becomes "".
    /// Deliberate: there are no numeric codes: `\0` is the digit 0.
    void expandControlSequences();

    // ---- Variables: UT_StringVariables.cpp

    /// Replaces variables and home directories in the text as UTVariableScan()
    /// does, with the values from the environment and with comments as ordinary
    /// text: `$HOME/a` becomes "/home/me/a". The string owns the result; null
    /// becomes "". One thread only.
    void expandVariables();

    // ---- Command lines of shells: UT_StringShell.cpp
    //
    // One command, with its redirections. Nothing is run and no file is opened.
    // docs/shell-lines.md has examples of all rules.
    //
    // White space separates words. A quoted section is part of a word; empty
    // quotes make an empty word. A redirection needs no white space around it,
    // and names its file by one word. The text after a `|` is a command of its
    // own and is not parsed. Deliberate: all other characters that have a
    // meaning for a shell are ordinary: `;`, `&`, parentheses, wildcards, `#`
    // and the `!` of a history.
    //
    // References are replaced as by UTExprVariableScan(), with the same
    // look-ups, frame numbers and modifiers. A variable or an expression
    // without a value is removed. A null `varLookup` stands for
    // wrapValdrinGetenv(); backquotes are ordinary characters when `exprLookup`
    // is null. Values are never parsed: nothing in them quotes, redirects or is
    // replaced. Outside quotes they are split at white space, into any number
    // of words.
    //
    // Both functions return the number of words, which are in `args`. The
    // string then owns its text, which holds the words, the first at its first
    // byte, and the texts of `line`; it reads as "" when there are no words. A
    // null or empty text has no words and is unchanged.
    //
    // A line is refused when a quote, backquote or brace is not closed, when a
    // redirection has no file name or more than one word for it, when input,
    // output or errors are redirected twice, when a pipe has no command before
    // or after it, when it is longer than 2^26 bytes, and when its references
    // would make it longer by more than 2^24 bytes. The result is then -1,
    // `line` holds the reason and the place, `args` is empty and the text is
    // unchanged.
    //
    // O(length of text and values). As thread-safe as the look-ups; `~` and a
    // colon after a name read the settings, which are for one thread only.

    /// Parses a line as csh does.
    ///
    /// - In `'...'` every character is ordinary. In `"..."` variables,
    ///   expressions and backslashes keep their meaning.
    /// - A backslash makes the next character ordinary. Deliberate: in double
    ///   quotes too, as UT_WorkBuffer::protectedStrcat() writes it, but only
    ///   before `"`, `$`, a backquote or a backslash; before any other
    ///   character, and at the end of the text, it is kept. Outside quotes a
    ///   newline after it is white space.
    /// - `$NAME`, `$NAME:h` and `${...}` are variables; any other `$` is
    ///   ordinary.
    /// - `~` and `~user` at the start of a word become a home directory.
    /// - The redirections are `<`, `>`, `>>`, `>&` and `>>&`, those of output
    ///   with or without a `!` at the end, and `|` and `|&`.
    int parseCsh(
        UT_WorkArgs &args, UT_ShellLine &line,
        const char *(*varLookup)(const char *name, void *data) = nullptr,
        const char *(*exprLookup)(const char *expression, void *data) = nullptr,
        void *data = nullptr);

    /// Parses a line as DOS does. Backslashes, single quotes and tildes are
    /// ordinary.
    ///
    /// - In `"..."` variables and expressions keep their meaning, and two
    ///   double quotes stand for one; all else is ordinary.
    /// - Outside quotes a `^` makes the next character ordinary. At the end of
    ///   the text it is kept. A newline after it is white space.
    /// - `%NAME%` and `%NAME:h%` are variables. A name has no white space, no
    ///   backquote and none of `%:="<>|^&`. Deliberate: case counts. `%%` is
    ///   one percent sign; any other `%` is ordinary.
    /// - The redirections are `<`, `>`, `>>`, `2>`, `2>>`, `2>&1` and `|`. At
    ///   the start of a word the digit of `0<`, `1>` and `1>>` has no effect.
    int parseDos(
        UT_WorkArgs &args, UT_ShellLine &line,
        const char *(*varLookup)(const char *name, void *data) = nullptr,
        const char *(*exprLookup)(const char *expression, void *data) = nullptr,
        void *data = nullptr);

    // ---- Modifiers: UT_StringModify.cpp
    //
    // A list of modifiers edits a text as a path or as a list of words. Each
    // one is a colon, flags and a letter: ":t:r" is the name of a file without
    // its extension, ":gas/a/b/" a substitution in every word.

    /// Number of bytes at the start of `text`, which begins at a colon, that
    /// form a list of modifiers. The list consists of colons before a letter or
    /// digit, of letters, digits and `_`, and of three slashes after each `s`;
    /// any other character ends it. ":t:r/x" has four such bytes. O(length).
    ///
    /// Deliberate: the meaning of the modifiers is not checked. Any `s` starts
    /// a substitution, whose texts can contain letters, digits and `_` only.
    static int findModifiers(const char *text);

    /// Whether `c` can be a part of a modifier: a letter, a digit, `_`, `:` or,
    /// with `allowSlash`, a slash.
    static bool isValidModifier(char c, bool allowSlash);

    /// Cuts the text at its first colon. `modifiers`, which must be another
    /// string, then owns the part from the colon on, or "" when there is no
    /// colon.
    void extractModifiers(UT_String &modifiers);

    /// Applies each modifier of a list that begins with a colon, and returns
    /// the result of the last one: with ":t:r" "/a/b.tif" becomes "b". Returns
    /// false, and does nothing, for any other list and when this string is null
    /// or "".
    ///
    /// The flags are `g` and `a`, in any order and number. With `a` the
    /// modifier changes all occurrences; see applyNextModifier(). With `g` it
    /// works on each word, separated by white space; the result is then also
    /// true when that of the modifier before or of any word is, and a blank
    /// follows each word that had anything after it.
    bool applyModifiers(const UT_String &modifiers);

    /// Applies the modifier at the beginning of `modifier`, which has no colon
    /// and no flags. The string owns its text afterwards, "" for null. Returns
    /// whether the text changed, except for the deliberate results below.
    ///
    /// - `h`: the part before the last slash. False when there is none.
    /// - `t`: the part after the last slash. False when there is none.
    /// - `r`: the part before the last dot, if that is after the last slash.
    /// - `e`: the part after that dot. Deliberate: always true.
    /// - `s/old/new/`: substitute(), with `all` for every `old`. A colon ends
    ///   the texts too, and the last slash may be missing.
    /// - `u`, `l`: changes the first letter of the other case, with `all` every
    ///   one. Deliberate: with `all`, `u` is always true and `l` always false.
    /// - Any other modifier changes nothing and returns false.
    bool applyNextModifier(const char *modifier, bool all);

    // ---- Numbers and names: UT_StringNames.cpp, UT_StringNumber.cpp
    //
    // Digits and white space are those of ASCII in every locale. A number in a
    // name may have any number of digits.

    /// Orders names with numbers: `a2, a10` sorts so. Returns a negative
    /// number, 0 or a positive one as `a` comes before, equals or comes after
    /// `b`. Where both have a run of digits the numbers decide, and the result
    /// is their difference (1 or -1 when an int cannot hold them); otherwise
    /// the first different bytes decide in the same way. Null comes before
    /// every text and equals null. A total order, except that numbers with and
    /// without leading zeros are equal: a01 equals a1. O(length).
    ///
    /// Deliberate: bytes compare as signed, so bytes from 128 on come before
    /// all others and before the end of the text.
    static int compareNumberedString(const char *a, const char *b);

    /// Comparator for qsort() on an array of `char *` or `const char *`:
    /// compareNumberedString() of the texts at `a` and `b`.
    static int qsortCmpNumberedString(const void *a, const void *b);
    static int qsortCmpNumberedString(char *const *a, char *const *b);

    /// Orders file names with numbers, as compareNumberedString() does except
    /// for one rule.
    ///
    /// Deliberate: at the first difference a `.` comes before everything else,
    /// even the end of the text, so that a shorter stem comes first: foo.tif,
    /// foo_a.tif, and foo.tif before foo.
    static int compareNumberedFilename(const char *a, const char *b);

    /// Comparator for qsort(): compareNumberedFilename() of the texts at `a`
    /// and `b`.
    static int qsortCmpNumberedFilename(const void *a, const void *b);
    static int qsortCmpNumberedFilename(char *const *a, char *const *b);

    /// The digits at the end of the text, or its end when there are none. Null
    /// for a null string and for "". Borrowed until the string's next change.
    /// O(length).
    [[nodiscard]] const char *suffix() const;

    /// Splits the name of a frame file into the part before its number, the
    /// number and the part after it: img.0012.tif gives img., 0012 and .tif.
    /// The number is the last one in the last path component, before its
    /// extension if it has one; a dot at the start of a file's name does not
    /// begin an extension. With `allowNegative` the number includes each `-`
    /// before or in it, and with `allowFraction` each `.`.
    ///
    /// Returns 1 and sets the results, which then own their texts and may be
    /// this string itself. Without a number returns 0, and sets `prefix` to all
    /// of the text and the others to "". A null string returns 0 and sets
    /// nothing.
    int parseNumberedFilename(
        UT_String &prefix, UT_String &number, UT_String &rest,
        bool allowNegative, bool allowFraction) const;

    /// Changes the text to the next name: adds one to the number at its end, or
    /// appends "2". The string then owns its text.
    ///
    /// Deliberate: leading zeros are kept only if the number without them keeps
    /// its length: a007 becomes a008, but a0099 becomes a100.
    void incrementNumberedName();

    /// Whether the text is a decimal number: signs, digits with at most one
    /// point, and an optional exponent, as in "-1.5e3". With `allowSpace` white
    /// space may surround it. For a text of this form without any digit, the
    /// result is whether `resultWithoutDigits` is non-zero. False for null and
    /// "".
    ///
    /// Deliberate: signs may be repeated, and the exponent needs no digits.
    [[nodiscard]] bool
    isFloat(int allowSpace = 0, int resultWithoutDigits = 0) const;

    /// Whether the text is an integer: signs and then digits. With `allowSpace`
    /// white space may surround it. False for null.
    ///
    /// Deliberate: signs may be repeated and digits may be missing, so "" is
    /// an integer, and so is "+-".
    [[nodiscard]] bool isInteger(int allowSpace = 0) const;

    /// The decimal number at the start of the text, as strtol() reads it,
    /// limited to the range of an int; 0 when there is none and for null.
    [[nodiscard]] int toInt() const;

    /// The number at the start of the text, as strtod() reads it, with
    /// hexadecimal numbers, infinities and the locale's decimal point. Rounded
    /// to double first. 0 when there is none and for null.
    [[nodiscard]] float toFloat() const;

    /// Writes `value` in decimal and a NUL, and returns the number of bytes
    /// before the NUL. No bytes after the NUL change: 12 bytes are enough for
    /// every value.
    static int utoa(char *buffer, unsigned value);
    static int itoa(char *buffer, int value);

    /// Makes the string own `value` in decimal.
    void itoa(int value);

    /// Makes the string own `value`, taken as unsigned, in decimal.
    void utoa(int value);

    /// Makes the string own `value` in decimal, with a comma between groups of
    /// three digits: -1,234,567.
    void itoa_pretty(int64 value);

    // ---- Path text: UT_StringPath.cpp
    //
    // These work on the text alone, with slashes between its parts, and never
    // access the file system.

    /// A new string that owns the text without the digits at its end, which
    /// suffix() finds; "" for a null string. Caller deletes.
    [[nodiscard]] UT_String *base() const;

    /// The text before its last dot, if that is after the last slash; otherwise
    /// all of it. The result owns its text, "" for a null string. Deliberate:
    /// ".cshrc" gives "", and ".." gives ".".
    [[nodiscard]] UT_String pathUpToExtension() const;

    /// Splits the text at its last slash: "/a/b/c" into "/a/b" and "c". Both
    /// results own their texts, and either may be this string.
    ///
    /// `directory` is set to the part before the slash, or to "/" when that is
    /// empty, and `file` to the part after it. `directory` becomes null when
    /// there is no slash, and `file` when nothing follows.
    void splitPath(UT_String &directory, UT_String &file) const;

    /// Rewrites a path that begins with a slash without its components "." and
    /// "..", doubled slashes and a slash at the end: "/a/./b//../c/" becomes
    /// "/a/c", and "/.." fails. O(length).
    ///
    /// Returns false for any other text, which is unchanged, and for a path
    /// that climbs above the root: the text then means nothing. The argument is
    /// not used.
    bool collapseAbsolutePath(bool = false);

    // ---- Editing: UT_StringEdit.cpp
    //
    // Indices and lengths count bytes. A null string is like an empty one, a
    // null argument like "". Arguments may be parts of this string's own text.
    // A call that changes nothing leaves the text in place, borrowed or owned;
    // a changed text is owned. A call whose result would be longer than INT_MAX
    // changes nothing. Each call takes O(length), however often a text occurs
    // or nearly occurs.

    /// Index of the first `text`, or byte, at or after `from`; -1 when there is
    /// none. "" and NUL are never found. `from` must not be negative or past
    /// the NUL.
    [[nodiscard]] int find(const char *text, int from = 0) const;
    [[nodiscard]] int find(char byte, int from = 0) const;

    /// Index of the first byte at or after `from` that is one of `bytes`; -1
    /// when there is none.
    [[nodiscard]] int findAny(const char *bytes, int from = 0) const;

    /// Index of the last `text`, or byte; -1 when there is none. "" and NUL are
    /// never found. The form for a text allocates memory.
    [[nodiscard]] int findLast(const char *text) const;
    [[nodiscard]] int findLast(char byte) const;

    /// Number of occurrences of `text`, from left to right and without
    /// overlaps: "aaa" has one of "aa". 0 when `text` is "".
    [[nodiscard]] int count(const char *text) const;

    /// Replaces each `text` that count() counts, or only the first one, by
    /// `replacement`. Returns the number of replacements. Replaced parts are
    /// not searched again.
    int substitute(const char *text, const char *replacement, bool all = true);

    /// Replaces `length` bytes from `start` on by `text`, or all bytes from
    /// there when `length` is negative or too large: replace(1, 2, "x") makes
    /// "abcd" into "axd". Returns false, and changes nothing, when `start` is
    /// negative or past the NUL, or the text would be too long.
    bool replace(int start, int length, const char *text);

    /// Inserts, removes or appends bytes by replace(). For a text of many small
    /// pieces a UT_WorkBuffer is faster.
    bool insert(int index, const char *text) { return replace(index, 0, text); }
    bool erase(int start, int length = -1)
    {
        return replace(start, length, "");
    }
    void append(const char *text) { replace(length(), 0, text); }

    /// Changes every byte `from` to `to` and returns their number. Returns 0,
    /// and changes nothing, when either is NUL.
    int change(char from, char to);

    /// Changes the ASCII letters of the other case, in every locale. Returns
    /// the number of changes.
    int toUpper();
    int toLower();

    /// Removes every byte that is one of `bytes`, anywhere in the text. Returns
    /// their number.
    int strip(const char *bytes);

    /// Removes the bytes at the start, or at the end, that are among `bytes`:
    /// by default blanks, tabs, newlines, vertical tabs, form feeds and
    /// carriage returns. Returns their number.
    int stripStart(const char *bytes = " \t\n\v\f\r");
    int stripEnd(const char *bytes = " \t\n\v\f\r");

    /// Changes a path that begins with a slash into the relative path from
    /// `directory`, which begins with a slash too: "/a/b/c" seen from "/a/d" is
    /// "../b/c", and a directory from itself is ".". Both are collapsed first,
    /// as by collapseAbsolutePath(). Symbolic links are not considered.
    /// UTmakeAbsoluteFilePath() is the reverse.
    ///
    /// Returns false, and changes nothing, when either cannot be collapsed.
    bool makeRelativePath(const char *directory);

    // ---- Saving: UT_StringSave.cpp

    /// Writes the text for load(): after its length, in a field of 8 bits or
    /// more, when `binary` is set, otherwise in quotes (see UT_Write.h). Null
    /// is saved as "". Returns whether `out` is without failure afterwards.
    bool save(std::ostream &out, bool binary) const;

    /// Reads a text that save() wrote, binary or quoted according to the
    /// stream's read type, or any other that UT_IStream::getString() accepts,
    /// and owns it. The text ends at the first NUL that was read. Returns
    /// false, and keeps the old text, when there is none.
    bool load(UT_IStream &in);

private:
    friend class UT_IStream;

    UT_LOCAL void ownCopyOf(const char *text);
    UT_LOCAL void own(char *block);

    // Programs hold strings by value and in arrays: order and size stay.
    char *myData;                // malloc'ed when owned, or null
    unsigned myIsReference : 1;  // myData is borrowed
    unsigned myIsAlwaysDeep : 1; // assignments copy
};

static_assert(sizeof(UT_String) == 2 * sizeof(void *));

/// Comparisons in the sense of UT_String::compare().
inline bool
operator==(const UT_String &a, const char *b)
{
    return a.compare(b) == 0;
}
inline bool
operator==(const UT_String &a, const UT_String &b)
{
    return a.compare(b.buffer()) == 0;
}
inline bool
operator==(const char *a, const UT_String &b)
{
    return b.compare(a) == 0;
}
inline bool
operator!=(const UT_String &a, const char *b)
{
    return a.compare(b) != 0;
}
inline bool
operator!=(const UT_String &a, const UT_String &b)
{
    return a.compare(b.buffer()) != 0;
}
inline bool
operator!=(const char *a, const UT_String &b)
{
    return b.compare(a) != 0;
}
inline bool
operator<(const UT_String &a, const char *b)
{
    return a.compare(b) < 0;
}
inline bool
operator<(const UT_String &a, const UT_String &b)
{
    return a.compare(b.buffer()) < 0;
}
inline bool
operator<(const char *a, const UT_String &b)
{
    return 0 < b.compare(a);
}
inline bool
operator>(const UT_String &a, const char *b)
{
    return a.compare(b) > 0;
}
inline bool
operator>(const UT_String &a, const UT_String &b)
{
    return a.compare(b.buffer()) > 0;
}
inline bool
operator>(const char *a, const UT_String &b)
{
    return 0 > b.compare(a);
}
inline bool
operator<=(const UT_String &a, const char *b)
{
    return a.compare(b) <= 0;
}
inline bool
operator<=(const UT_String &a, const UT_String &b)
{
    return a.compare(b.buffer()) <= 0;
}
inline bool
operator<=(const char *a, const UT_String &b)
{
    return 0 <= b.compare(a);
}
inline bool
operator>=(const UT_String &a, const char *b)
{
    return a.compare(b) >= 0;
}
inline bool
operator>=(const UT_String &a, const UT_String &b)
{
    return a.compare(b.buffer()) >= 0;
}
inline bool
operator>=(const char *a, const UT_String &b)
{
    return 0 >= b.compare(a);
}

/// Exchanges two strings by UT_String::swap(), so that generic code does so
/// safely. Generic code that assigns strings borrows: std::sort() cannot sort
/// them.
inline void
swap(UT_String &a, UT_String &b)
{
    a.swap(b);
}
