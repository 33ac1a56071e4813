// Replaces variables, home directories and expressions in a text. Their values
// come from look-up functions, or from the process environment.

#pragma once

#include "UT_API.h"

class UT_WorkBuffer;

/// Copies `text` to `out`, which is emptied first, with its references
/// replaced, and returns the number of replacements. Null counts as "". The
/// text must not be `out`'s own.
///
/// - `$NAME` (letters, digits and `_`) becomes `varLookup(NAME, data)`. A list
///   of modifiers directly after the name (`$FILE:h`; see
///   UT_String::findModifiers()) is applied to the value, except while the
///   setting VALDRIN8_COMPATIBILITY is on, which leaves the colon alone. A
///   substitution that would make the value longer than 2^20 bytes is skipped.
/// - `${...}` becomes the value of the name between the braces, in which
///   variables and home directories are replaced first: `${A$B}`. It has no
///   modifiers. Replacements inside count too. A brace that is never closed
///   ends the scan: the rest of the text, from its `$` on, is copied.
/// - `$F` with digits, also in braces, becomes the value of F with at least
///   that many characters (at most 4096), padded on the left: with zeros after
///   the sign if the value is a number, otherwise with blanks. `$F4` becomes
///   "0012" for the frame 12.
/// - `~` and `~user` become a home directory at the start of the text and after
///   white space, a replaced reference or quotes; `~` is that of the setting
///   HOME. They are copied when there is none, or without `expandTilde`.
/// - A text between backquotes becomes `exprLookup(text, data)`. A backquote
///   after a backslash does not end it, and the last one may be missing.
///
/// A variable or an expression without a value (the look-up returns null) is
/// removed and does not count; an empty value does. Without `expandVars`
/// dollars are ordinary characters, and so are backquotes when `exprLookup` is
/// null. A null `varLookup` stands for wrapValdrinGetenv().
///
/// Text in single quotes is copied without the quotes and otherwise unchanged;
/// for quotes that are never closed only the opening one is removed. A
/// backslash makes a `$`, `~`, backquote or single quote after it ordinary and
/// is removed; two backslashes give one, and any other is kept. Comments, from
/// `//` to the end of the line or between `/*` and `*/`, are copied unchanged,
/// unless `ignoreComments` is set: they are then ordinary text.
///
/// A look-up's result is read before the next look-up. It may be the name that
/// it was given. O(length of text and values); nested braces take at most 16
/// kilobytes of stack. As thread-safe as the look-ups: the environment and the
/// settings are not.
UT_API int UTExprVariableScan(
    UT_WorkBuffer &out, const char *text,
    const char *(*varLookup)(const char *name, void *data),
    const char *(*exprLookup)(const char *expression, void *data), void *data,
    bool expandVars, bool expandTilde, bool ignoreComments);

/// Replaces variables and home directories as UTExprVariableScan() does;
/// backquotes are ordinary characters.
UT_API int UTVariableScan(
    UT_WorkBuffer &out, const char *text,
    const char *(*varLookup)(const char *name, void *data), void *data,
    bool expandTilde, bool ignoreComments);

/// The value of the environment variable `name`, or null. Borrowed until the
/// environment's next change. One thread only.
UT_API const char *wrapValdrinGetenv(const char *name, void *data);
