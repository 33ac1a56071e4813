// Text that is either borrowed or owned. A string borrows by default, which
// costs nothing; it is hardened when it must outlive the text it points at.
//
// The class has more operations than one source should hold. They stand here
// under a banner each, which names the source.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <cstring>
#include <iosfwd>

class UT_IStream;
class UT_WorkArgs;
struct UT_ShellLine;

/// Asks a constructor for a string that copies on every assignment.
enum UT_AlwaysDeepType
{
    UT_ALWAYS_DEEP
};

/// A pointer to NUL-terminated text, and whether the string owns it.
///
/// A null string has no text at all; it is not the same value as "". Owned
/// text comes from malloc() and is freed with free(), once. A string that is
/// always deep owns its text whatever is assigned to it.
///
/// Thread-compatible.
class UT_API UT_String
{
public:
    // ---- Storage: UT_String.cpp

    /// A string for `text`. With `length` negative the text is taken up to
    /// its NUL: copied when `deep` is non-zero, borrowed otherwise (kept, must
    /// outlive the string); null stays null. With `length` 0 or more the
    /// string owns a block of `length` + 1 bytes whatever `deep` says, which
    /// holds `text` up to its NUL or its first `length` bytes, the rest NULs;
    /// null counts as "". O(length).
    UT_String(const char *text = nullptr, int deep = 0, int length = -1);

    /// A string that owns a copy of `text`, and of all that is assigned to it
    /// later. Null stays null.
    UT_String(UT_AlwaysDeepType, const char *text = nullptr);

    /// Borrows the text of `source`, which must outlive this string or its
    /// next change; owns a copy, and goes on copying, when `source` is always
    /// deep.
    UT_String(const UT_String &source);

    /// Takes over the text of `source`, owned or borrowed, and leaves it null.
    /// There is no move assignment: assignment from a temporary borrows, like
    /// every other, and the text is gone with the temporary. Use harden() or
    /// swap() to keep a result.
    UT_String(UT_String &&source) noexcept;

    ~UT_String();

    /// Borrows the text of `source` (kept, must outlive this string or its
    /// next change), or owns a copy when this string is always deep. Assigning
    /// a string that borrows this string's own text changes nothing; one that
    /// borrows a later part of it is like a plain text below.
    UT_String &operator=(const UT_String &source);

    /// The same for a plain text. A text inside this string's own block is
    /// safe only for a string that is always deep: otherwise the block is
    /// freed and the string left pointing into it.
    UT_String &operator=(const char *text);

    /// Makes the string null. It stays always deep if it was.
    void freeData();

    /// The same as freeData().
    void clear() { freeData(); }

    /// Makes a borrowing string own a copy of its text. The string is not null
    /// afterwards: null becomes an owned "". An owned text stays in place.
    void harden();

    /// Makes the string own a copy of `text`, null counting as "". With
    /// `length` negative the text is taken up to its NUL, and an owned text
    /// that is equal stays in place, at the same address. With `length` 0 or
    /// more the copy is a block of `length` + 1 bytes: `text` up to its NUL or
    /// its first `length` bytes, the rest NULs; `text` then needs no NUL.
    /// `text` may point into this string's own block. O(length).
    void harden(const char *text, int length = -1);

    /// Exchanges the texts and their ownership; not whether a string is always
    /// deep. A side that is always deep is hardened afterwards, so it ends up
    /// with a text of its own, "" for null.
    void swap(UT_String &other);

    /// An owned "" that everybody may read. Lives as long as the process. Call
    /// it once before threads share it.
    static UT_String &getEmptyString();

    /// The text, null for a null string. Borrowed until the string's next
    /// change.
    operator const char *() const { return myData; }

    /// The same. Only an owned text may be written.
    [[nodiscard]] const char *buffer() const { return myData; }
    char *buffer() { return myData; }

    /// Bytes up to the NUL; 0 for a null string. O(length).
    [[nodiscard]] int length() const;

    /// Whether there is no text at all.
    [[nodiscard]] bool isNull() const { return !myData; }

    /// The byte at `index`, which counts from 0 and must not lie behind the
    /// NUL. The string must not be null.
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

    /// Compares like strcmp() (negative, zero, positive; bytes unsigned). Null
    /// comes before every text, "" included, and equals null.
    [[nodiscard]] int compare(const char *text) const;

    // ---- Splitting: UT_StringSplit.cpp
    //
    // These write NULs into the text, owned or borrowed: it must be writable.
    // The string then reads as what its first bytes have become. The words
    // point into the text, and are borrowed until it changes or goes.
    //
    // A null or empty text has no words. The forms that take a UT_WorkArgs
    // empty it first. Those that take an array of `max` slots store words in
    // order, and a null behind them as long as there is a slot; they touch no
    // slot but these. All return the number of words stored. O(length).

    /// Cuts the text into words at white space, as isspace() defines it, which
    /// quotes protect and backslashes do not. Quoted sections, in double or
    /// single quotes, are part of a word and lose their quotes; one that is
    /// not closed goes on to the end of the text. A quote with a backslash
    /// before it is an ordinary character: outside quotes it replaces the
    /// backslash, within its own kind both are kept. All other backslashes are
    /// kept. Empty quotes make an empty word. The words lie packed at the front
    /// of the text, the first at its first byte.
    ///
    /// Deliberate: only the byte before a quote counts. The second quote of
    /// "a\\" does not close, although a backslash stands before the backslash.
    ///
    /// The array form drops words behind the first `max` - 1 ones.
    int parseInPlace(UT_WorkArgs &args);
    int parseInPlace(char **argv, int max);

    /// Cuts the text at every `separator`. Two in a row have an empty token
    /// between them, and so does one at the front before it; one at the end
    /// has none behind it.
    ///
    /// The array form stops after `max` - 1 tokens, so for a `max` of 1 it
    /// stores the null only; the last token ends at its separator.
    int tokenizeInPlace(UT_WorkArgs &args, char separator);
    int tokenizeInPlace(char **argv, int max, char separator);

    /// Cuts the text at runs of bytes that are in `separators`, as strtok_r()
    /// does: no token is empty. Null separates nothing, like "".
    ///
    /// The array form stops after `max` - 1 tokens. Deliberate: it stores one
    /// token in an array of one slot, and no null then.
    int tokenizeInPlace(UT_WorkArgs &args, const char *separators);
    int tokenizeInPlace(char **argv, int max, const char *separators);

    // ---- Matching: UT_StringMatch.cpp
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
    ///   listed like others; an empty set never matches, nor does one that is
    ///   not closed.
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
    /// an exclusion, which starts with `^`. 0 when none matches.
    ///
    /// `separators` holds the bytes that divide the alternatives, of which
    /// those from the 252nd on do not count; null divides nothing. A separator
    /// always divides: neither a set nor a backslash protects it.
    ///
    /// `excluded` is set to whether an exclusion matched after all plain
    /// alternatives that matched; null when not wanted. `index` is set to the
    /// offset in `pattern` of the alternative that matched last, -1 for none;
    /// null when not wanted. Without it plain alternatives are not tried on a
    /// text that matches already, and without `excluded` exclusions are tried
    /// on such a text only. With it the second of two exclusions in a row is
    /// not tried.
    ///
    /// One thread only, and so are the members below that match lists.
    int multiMatch(
        const char *pattern, int caseSensitive, const char *separators,
        bool *excluded, int *index) const;

    /// The same with one separator, NUL for none, and without the outputs.
    int multiMatch(
        const char *pattern, int caseSensitive = 1, char separator = ' ') const;

    /// multiMatch() that records what the wildcards stand for. `singles` gets
    /// the byte for each `?`, without a NUL, and `words` the text for each `*`,
    /// which the caller frees with free(). Both have room for `maximum`, and
    /// the rest is dropped. The counts are set, and words are there to free,
    /// whether or not the text matches, and also when memory runs out.
    ///
    /// Deliberate: what wildcards stood for in attempts that failed is recorded
    /// too, in the order of the attempts. A `*` tries the shortest run first,
    /// and only those before a place where the text up to the next wildcard
    /// occurs.
    int multiMatchRecord(
        const char *pattern, int maximum, char *singles, int &singleCount,
        char **words, int &wordCount, int caseSensitive,
        const char *separators) const;

    /// Whether `text` may be more than one plain name: it holds a blank or one
    /// of `,?*[`. False for null.
    static bool multiMatchCheck(const char *text);

    /// Whether the last of `patterns` that matches, case-sensitively, is a
    /// plain one; false when it starts with `^`, which is not part of its
    /// pattern. `resultIfNone` when none matches.
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

    /// Renames the text when it matches `fromPattern`, a list divided by
    /// blanks and commas: to `toPattern`, in which each `*` and `?` becomes
    /// what one of `fromPattern` stood for, as multiMatchRecord() records it,
    /// up to 256 of each. They are taken in order, the last one again and again
    /// when there are no more; `*(N)` and `?(N)` go on from number N, counted
    /// from 0: the leading digits, 0 when there are none. A number that is too
    /// great stands for nothing.
    ///
    /// Returns 1, and the string owns its new text. Returns 0 and changes
    /// nothing when the text does not match, a pattern is null, a parenthesis
    /// after a wildcard is not closed, or the name is longer than INT_MAX.
    int patternRename(const char *fromPattern, const char *toPattern);

    // ---- Ranges: UT_StringRange.cpp

    /// Reads the text as a range, `[!]FIRST[-LAST][:[TAKE,]CYCLE]`, and calls
    /// `emit` for each index that it selects, in order; -1 stands for the
    /// minor index of a range without any. Returns 1; 0 when the range is
    /// malformed, when `emit` returned 0, which ends the walk, and when
    /// `maximum` is 0.
    ///
    /// Major indices are those below `maximum`, which is unbounded when it is
    /// negative: a star is then 0 alone, and a range with a `!` selects from 0
    /// alone. `offset` is added to the majors of the text; the range is
    /// malformed when that makes one negative. The last major of a range that
    /// goes past `maximum` is the last there is, and keeps the minor index
    /// written for the one that is not.
    ///
    /// `minorCount` returns how many minor indices there are below a major one.
    /// A range with minor indices is malformed when it is null.
    ///
    /// Both functions get `data`. Deliberate: when both ends are past `maximum`
    /// nothing is selected, with or without a `!`. Takes no time for the majors
    /// that a cycle leaves out, unless there are minor indices or a `!`.
    int traversePattern(
        int maximum, void *data, int (*emit)(int major, int minor, void *data),
        unsigned (*minorCount)(int major, void *data), int offset) const;

    /// Splits the text into words as parseInPlace() does and expands the
    /// bracket groups of the first `maximum` of them: `a[1-2]b[xy]` becomes
    /// a1bx, a1by, a2bx, a2by. A group that begins with a letter is a list of
    /// letters, of which other bytes are no part; any other is a range of
    /// majors without a maximum. A word with a group that selects nothing, or
    /// is malformed, gives no names; one without a whole group is a name.
    ///
    /// Stores up to `maximum` names in `out` and returns their number; more are
    /// dropped. The caller frees each with free(); without memory to finish,
    /// none are there to free. The text becomes the string's own and is cut up:
    /// it means nothing afterwards.
    int expandArrays(char **out, int maximum);

    // ---- Quoting: UT_StringQuote.cpp
    //
    // A quoted text whose length would be no int is not made: the result is
    // "", and protectString() leaves the text as it is.

    /// The text between two `quote`s, with a backslash before each `quote` and
    /// backslash in it. Owned; a null string is like "". What stands between
    /// the quotes becomes the text again by expandControlSequences(), unless
    /// `quote` is n, r or t. O(length).
    [[nodiscard]] UT_String makeQuotedString(char quote = '"') const;

    /// The same, but with the other one of the single and the double quote
    /// where the text holds `quote` and not that one.
    [[nodiscard]] UT_String makeSmartQuotedString(char quote = '"') const;

    /// Puts a text with white space in double quotes, with a backslash before
    /// each double quote and backslash in it. Every other text stays as it is,
    /// borrowed or owned, and so does one that begins and ends with a double
    /// quote.
    ///
    /// Deliberate: only those two bytes are looked at, so `"a" "b"` is quoted
    /// enough, and so is a text of one double quote.
    void protectString();

    /// Whether the text holds a space, tab, newline, vertical tab or form feed.
    /// Deliberate: a carriage return is not white space here.
    [[nodiscard]] bool hasWhiteSpace() const;

    /// Makes the string own its text, and one character of each backslash and
    /// the character behind it: a newline, tab or carriage return of n, t or r,
    /// else that character. A backslash at the very end stays. Null becomes "".
    /// Deliberate: there are no codes in digits, `\0` is the digit 0.
    void expandControlSequences();

    // ---- Variables: UT_StringVariables.cpp

    /// Replaces the text by what UTVariableScan() makes of it with the
    /// environment's variables, home directories, and comments as ordinary
    /// text. The string owns the result; null becomes "". One thread only.
    void expandVariables();

    // ---- Command lines of shells: UT_StringShell.cpp
    //
    // One command, with its redirections. Nothing is run and no file is opened.
    // Examples of all that follows are in docs/shell-lines.md.
    //
    // White space separates words. A quoted section is part of a word; empty
    // quotes make an empty word. A redirection needs no white space around it,
    // and names its file by one word. What follows a `|` is a command of its
    // own and is not parsed. Deliberate: all other characters that have a
    // meaning for a shell are ordinary: `;`, `&`, parentheses, wildcards, `#`
    // and the `!` of a history.
    //
    // References are replaced as UTExprVariableScan() does it, with the same
    // look-ups, frame numbers and modifiers. A variable or an expression
    // without a value disappears. A null `varLookup` stands for
    // wrapValdrinGetenv(); backquotes are ordinary characters when `exprLookup`
    // is null. Values are never parsed: nothing in them quotes, redirects or is
    // replaced. Outside quotes they are split at white space, into any number
    // of words.
    //
    // Both functions return the number of words, which are in `args`. The
    // string then owns its text, which holds the words, the first at its first
    // byte, and the texts of `line`; it reads as "" when there are no words. A
    // null or empty text has no words and stays as it is.
    //
    // A line is refused when a quote, backquote or brace is not closed, when a
    // redirection has no file name or more than one word for it, when input,
    // output or errors are redirected twice, when a pipe has no command before
    // or after it, when it is longer than 2^26 bytes, and when its references
    // would make it longer by more than 2^24. Then the result is -1, `line`
    // says where and why, `args` is empty and the text stays as it is.
    //
    // O(length of text and values). As thread-safe as the look-ups; `~` and a
    // colon after a name read the settings, which are for one thread only.

    /// Parses a line as csh does.
    ///
    /// - In `'...'` every character is ordinary. In `"..."` variables,
    ///   expressions and backslashes keep their meaning.
    /// - A backslash makes the next character ordinary. Deliberate: it does so
    ///   in double quotes too, as UT_WorkBuffer::protectedStrcat() writes it,
    ///   but only before `"`, `$`, a backquote or a backslash; before all
    ///   others it stays. At the end of the text it stays. Outside quotes a
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
    ///   the text it stays. A newline after it is white space.
    /// - `%NAME%` and `%NAME:h%` are variables. A name has no white space, no
    ///   backquote and none of `%:="<>|^&`. Deliberate: case counts. `%%` is
    ///   one percent sign; any other `%` is ordinary.
    /// - The redirections are `<`, `>`, `>>`, `2>`, `2>>`, `2>&1` and `|`. At
    ///   the start of a word `0<`, `1>` and `1>>` are the same as without the
    ///   digit.
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

    /// How many bytes at the start of `text`, which begins at a colon, are a
    /// list of modifiers. A colon belongs to it before a letter or digit;
    /// letters, digits and `_` do; and three slashes do behind each `s`. Other
    /// characters end it. O(length).
    ///
    /// Deliberate: there is no look at what the modifiers mean. Any `s` starts
    /// a substitution, whose texts can have letters, digits and `_` only.
    static int findModifiers(const char *text);

    /// Whether `c` can be a part of a modifier: a letter, a digit, `_`, `:` or,
    /// with `allowSlash`, a slash.
    static bool isValidModifier(char c, bool allowSlash);

    /// Cuts the text at its first colon. `modifiers`, which must be another
    /// string, owns the text from there on, or "" when there is no colon and
    /// nothing is cut.
    void extractModifiers(UT_String &modifiers);

    /// Applies each modifier of a list that begins with a colon, and returns
    /// the result of the last one. Returns false, and does nothing, for every
    /// other list and when this string is null or "".
    ///
    /// The flags are `g` and `a`, in any order and number. With `a` the
    /// modifier changes all occurrences, as applyNextModifier() says. With `g`
    /// it works on each word, where words are divided by white space; then the
    /// result is also true when that of the modifier before or of any word is,
    /// and a blank follows each word behind which there was anything.
    bool applyModifiers(const UT_String &modifiers);

    /// Applies the modifier that `modifier` begins with, which has no colon and
    /// no flags. The string owns its text afterwards, "" for null. Returns
    /// whether the text changed, but for the deliberate results below.
    ///
    /// - `h`: what is before the last slash. False when there is none.
    /// - `t`: what is behind the last slash. False when there is none.
    /// - `r`: what is before the last dot, when that is behind the last slash.
    /// - `e`: what is behind that dot. Deliberate: always true.
    /// - `s/old/new/`: substitute(), with `all` of every `old`. A colon ends
    ///   the texts too, and the last slash may be missing.
    /// - `u`, `l`: the first letter of the other case changes, with `all` every
    ///   one. Deliberate: with `all`, `u` is always true and `l` always false.
    /// - Everything else changes nothing and is false.
    bool applyNextModifier(const char *modifier, bool all);

    // ---- Numbers and names: UT_StringNames.cpp, UT_StringNumber.cpp
    //
    // Digits and white space are those of ASCII, whatever the locale. A number
    // in a name may have any number of digits.

    /// Orders names with numbers: negative, 0 or positive as `a` comes before,
    /// with or after `b`. Where both have a run of digits the numbers decide,
    /// and the result is their difference (1 or -1 when an int cannot hold
    /// them); elsewhere the first different bytes do, and the result is their
    /// difference. Null comes before every text and equals null. A total order
    /// but for numbers that differ in leading zeros, which are equal: a2, a10;
    /// a01 is a1. O(length).
    ///
    /// Deliberate: bytes compare signed, so bytes from 128 on come before all
    /// others and before the end of the text.
    static int compareNumberedString(const char *a, const char *b);

    /// compareNumberedString() of the texts at `a` and `b`, for qsort() on an
    /// array of `char *` or `const char *`.
    static int qsortCmpNumberedString(const void *a, const void *b);
    static int qsortCmpNumberedString(char *const *a, char *const *b);

    /// Orders file names with numbers, as compareNumberedString() does but for
    /// one rule.
    ///
    /// Deliberate: at the first difference a `.` comes before all else, the
    /// end of the text included, so that a shorter stem comes first: foo.tif,
    /// foo_a.tif, and foo.tif before foo.
    static int compareNumberedFilename(const char *a, const char *b);

    /// compareNumberedFilename() of the texts at `a` and `b`, for qsort().
    static int qsortCmpNumberedFilename(const void *a, const void *b);
    static int qsortCmpNumberedFilename(char *const *a, char *const *b);

    /// The digits at the end of the text; the end of the text when it has
    /// none. Null for a null string and for "". Borrowed until the string's
    /// next change. O(length).
    [[nodiscard]] const char *suffix() const;

    /// Cuts the name of a frame file into what is before its number, the
    /// number and what is behind it: img.0012.tif gives img., 0012 and .tif.
    /// The number is the last one of the last path component, and before its
    /// extension if it has one: a dot at the start of a file's name begins no
    /// extension. With `allowNegative` the number takes each `-` along that
    /// stands before or in it, and with `allowFraction` each `.`.
    ///
    /// Returns 1 and sets the results, which then own their texts and may be
    /// this very string. Without a number returns 0, and `prefix` is all of
    /// the text, the others "". A null string returns 0 and sets nothing.
    int parseNumberedFilename(
        UT_String &prefix, UT_String &number, UT_String &rest,
        bool allowNegative, bool allowFraction) const;

    /// Steps to the next name: raises the number at the end of the text by
    /// one, or appends "2". The string then owns its text.
    ///
    /// Deliberate: leading zeros stay only while the number without them keeps
    /// its length: a007 becomes a008, but a0099 becomes a100.
    void incrementNumberedName();

    /// Whether the text is a decimal number: signs, digits with at most one
    /// point, and perhaps an exponent. With `allowSpace` white space may
    /// surround it. For a text of the right form that has no digit, the result
    /// is whether `resultWithoutDigits` is non-zero. False for null and "".
    ///
    /// Deliberate: signs may be repeated, and the exponent needs no digits.
    [[nodiscard]] bool
    isFloat(int allowSpace = 0, int resultWithoutDigits = 0) const;

    /// Whether the text is signs and then digits. With `allowSpace` white
    /// space may surround it. False for null.
    ///
    /// Deliberate: signs may be repeated and digits may be missing, so "" is
    /// an integer, and so is "+-".
    [[nodiscard]] bool isInteger(int allowSpace = 0) const;

    /// The decimal number at the start of the text, as strtol() reads it, or
    /// the nearest int; 0 when there is none and for null.
    [[nodiscard]] int toInt() const;

    /// The number at the start of the text, as strtod() reads it: also
    /// hexadecimals, infinities and the locale's decimal point. Rounded to a
    /// double first. 0 when there is none and for null.
    [[nodiscard]] float toFloat() const;

    /// Writes `value` in decimal with a NUL behind it, and returns the number
    /// of bytes before that. Nothing beyond the NUL is touched: 12 bytes are
    /// room for every value.
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
    // Text alone, with slashes between its parts: no file system is asked.

    /// A new string that owns the text without the digits at its end, as
    /// suffix() finds them; "" for a null string. The caller deletes it.
    [[nodiscard]] UT_String *base() const;

    /// The text before its last dot, when that comes behind the last slash;
    /// else all of it. It owns its text, "" for a null string.
    /// Deliberate: ".cshrc" gives "", and ".." gives ".".
    [[nodiscard]] UT_String pathUpToExtension() const;

    /// Splits the text at its last slash. Both results own their texts, and
    /// either may be this string.
    ///
    /// `directory` becomes what comes before the slash, "/" at least, and
    /// `file` what comes behind it. `directory` becomes null when there is no
    /// slash, and `file` when nothing is left for it.
    void splitPath(UT_String &directory, UT_String &file) const;

    /// Rewrites a path that begins with a slash without its components "." and
    /// "..", doubled slashes and a slash at the end: "/a/./b//../c/" becomes
    /// "/a/c", and "/.." fails. O(length).
    ///
    /// Returns false for every other text, which stays as it is, and when the
    /// path climbs above the root: the text is then half rewritten and means
    /// nothing. The argument is not used.
    bool collapseAbsolutePath(bool = false);

    // ---- Editing: UT_StringEdit.cpp
    //
    // Indices and lengths count bytes. A null string is like an empty one, a
    // null argument like "". Arguments may be parts of this string's own text.
    // What changes nothing leaves the text where it is, borrowed or owned; a
    // changed text is owned; a text whose length would be no int is not made,
    // and nothing changes. Each call takes O(length), however often a text
    // occurs or nearly does.

    /// Index of the first `text`, or byte, at `from` or behind it; -1 when
    /// there is none. "" and NUL are found nowhere. `from` must not be negative
    /// or lie behind the NUL.
    [[nodiscard]] int find(const char *text, int from = 0) const;
    [[nodiscard]] int find(char byte, int from = 0) const;

    /// The same for the first byte that is one of `bytes`.
    [[nodiscard]] int findAny(const char *bytes, int from = 0) const;

    /// Index of the last one; -1 when there is none. "" and NUL are found
    /// nowhere. For a text it takes memory too.
    [[nodiscard]] int findLast(const char *text) const;
    [[nodiscard]] int findLast(char byte) const;

    /// How often `text` occurs: from left to right, without overlaps, and never
    /// when it is "".
    [[nodiscard]] int count(const char *text) const;

    /// Puts `replacement` in the place of each `text` that count() counts, or
    /// of the first one only. Returns how many were replaced. What has come in
    /// is not searched again.
    int substitute(const char *text, const char *replacement, bool all = true);

    /// Puts `text` in the place of `length` bytes from `start` on; of all that
    /// follow when `length` is negative or too large. Returns false, and
    /// changes nothing, when `start` is negative or lies behind the NUL, or the
    /// text would be too long.
    bool replace(int start, int length, const char *text);

    /// The same for the ends of what replace() does. A text that grows by many
    /// small pieces is put together in a UT_WorkBuffer.
    bool insert(int index, const char *text) { return replace(index, 0, text); }
    bool erase(int start, int length = -1)
    {
        return replace(start, length, "");
    }
    void append(const char *text) { replace(length(), 0, text); }

    /// Changes every byte `from` to `to` and returns how many they were. NUL is
    /// not changed, and nothing is changed to it: 0.
    int change(char from, char to);

    /// Changes the letters of the other case, ASCII's whatever the locale.
    /// Returns how many they were.
    int toUpper();
    int toLower();

    /// Removes every byte that is one of `bytes`, wherever it stands. Returns
    /// how many they were.
    int strip(const char *bytes);

    /// The same for such bytes at the start, or at the end, only. By default
    /// they are blanks, tabs, newlines, vertical tabs, form feeds and carriage
    /// returns.
    int stripStart(const char *bytes = " \t\n\v\f\r");
    int stripEnd(const char *bytes = " \t\n\v\f\r");

    /// Turns a path that begins with a slash into the one that leads there from
    /// `directory`, which begins with a slash too: "/a/b/c" seen from "/a/d" is
    /// "../b/c", and a directory from itself ".". Both are collapsed first, as
    /// collapseAbsolutePath() does. It looks at the text alone and knows of no
    /// symbolic links. UTmakeAbsoluteFilePath() leads back.
    ///
    /// Returns false, and changes nothing, when either does not collapse.
    bool makeRelativePath(const char *directory);

    // ---- Saving: UT_StringSave.cpp

    /// Writes the text for load(): behind its length, from a field of 8 bits
    /// up, when `binary` is set, in quotes otherwise (see UT_Write.h). Null is
    /// saved as "". Whether `out` is without failure afterwards.
    bool save(std::ostream &out, bool binary) const;

    /// Reads a text that save() wrote, as the stream's read type tells, or any
    /// other that UT_IStream::getString() takes, and owns it. The text ends at
    /// the first NUL of what was read. False, with the old text in place, when
    /// there is none.
    bool load(UT_IStream &in);

private:
    UT_LOCAL void ownCopyOf(const char *text);

    // Programs hold strings by value and in arrays: order and size stay.
    char *myData;                // malloc'ed when owned, or null
    unsigned myIsReference : 1;  // myData is borrowed
    unsigned myIsAlwaysDeep : 1; // assignments copy
};

static_assert(sizeof(UT_String) == 2 * sizeof(void *));

/// Comparison in the sense of UT_String::compare().
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

/// UT_String::swap(), so that generic code exchanges strings safely. Generic
/// code that assigns them borrows, and cannot sort strings, say.
inline void
swap(UT_String &a, UT_String &b)
{
    a.swap(b);
}
