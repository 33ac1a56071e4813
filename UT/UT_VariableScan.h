// Replaces variables, home directories and expressions in a text. What stands
// for them comes from look-up functions, or from the process environment.

#pragma once

#include "UT_API.h"

class UT_WorkBuffer;

/// Copies `text` to `out`, which is emptied first, with its references
/// replaced, and returns the number of replacements. Null counts as "". The
/// text must not be `out`'s own.
///
/// - `$NAME` (letters, digits and `_`) becomes `varLookup(NAME, data)`. A list
///   of modifiers right behind the name (`$FILE:h`; see
///   UT_String::findModifiers()) is applied to the value; not so while the
///   setting VALDRIN8_COMPATIBILITY is on, which leaves the colon alone. A
///   substitution that would make the value longer than 2^20 bytes is left
///   out.
/// - `${...}` becomes the value of the name between the braces, in which
///   variables and home directories are replaced first: `${A$B}`. It takes no
///   modifiers. Replacements inside count too. A brace that is never closed
///   ends the scan: the rest is copied from its `$` on.
/// - `$F` and digits, also in braces, becomes the value of F in at least that
///   many characters (at most 4096): in front come zeros when the value is a
///   number (behind its sign), else blanks.
/// - `~` and `~user` become a home directory, the plain one that of the
///   setting HOME, at the start of the text, behind white space, a replaced
///   reference or quotes. They stay as they are when there is none, or
///   without `expandTilde`.
/// - A text between backquotes becomes `exprLookup(text, data)`. A backquote
///   behind a backslash does not end it, and the last one may be missing.
///
/// A variable or an expression without a value (the look-up returns null)
/// disappears and does not count; an empty value does. Without `expandVars`
/// dollars are ordinary characters, and so are backquotes when `exprLookup` is
/// null. A null `varLookup` stands for wrapValdrinGetenv().
///
/// Text in single quotes is copied without the quotes and otherwise as it is;
/// quotes that are never closed lose the opening one only. A backslash takes
/// the special meaning of a `$`, `~`, backquote or single quote behind it, and
/// disappears then; two of them give one, and any other stays. Comments, from
/// `//` to the end of the line or between `/*` and `*/`, are copied as they
/// are unless `ignoreComments` is set: they are ordinary text then.
///
/// A look-up's result is read before the next call of a look-up. It may be
/// the name that it was given. O(length of text and values); no nesting of
/// braces takes more than 16 kilobytes of stack. Thread-safe as far as the
/// look-ups are: the environment and the settings are not.
UT_API int UTExprVariableScan(
    UT_WorkBuffer &out, const char *text,
    const char *(*varLookup)(const char *name, void *data),
    const char *(*exprLookup)(const char *expression, void *data), void *data,
    bool expandVars, bool expandTilde, bool ignoreComments);

/// The same for variables and home directories alone: backquotes are ordinary
/// characters.
UT_API int UTVariableScan(
    UT_WorkBuffer &out, const char *text,
    const char *(*varLookup)(const char *name, void *data), void *data,
    bool expandTilde, bool ignoreComments);

/// The value of the environment variable `name`, or null. Borrowed until the
/// environment's next change. One thread only.
UT_API const char *wrapValdrinGetenv(const char *name, void *data);
