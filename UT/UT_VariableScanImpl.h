// One reference at a time, for scanners that have quotes and escapes of their
// own. What a reference is, and becomes, is said in UT_VariableScan.h.

#pragma once

class UT_WorkBuffer;

// Where the values come from.
struct ut_Lookups
{
    const char *(*variable)(const char *name, void *data);
    const char *(*expression)(const char *expression, void *data);
    void *data;
};

// These append what the reference at `text` stands for to `out`, and return the
// end of the reference.

// `$NAME:h` or `${...}`; a dollar before anything else stands for itself. Null
// when a brace is not closed; what `out` has then means nothing.
const char *utReplaceVariable(
    UT_WorkBuffer &out, const char *text, const ut_Lookups &lookups);

// `%NAME%` or `%NAME:h%`; `%%` stands for one of them, and a percent sign that
// begins nothing of that kind for itself.
const char *utReplacePercent(
    UT_WorkBuffer &out, const char *text, const ut_Lookups &lookups);

// A text in backquotes. Null when they are not closed.
const char *utReplaceExpression(
    UT_WorkBuffer &out, const char *text, const ut_Lookups &lookups);

// `~` or `~user`.
const char *utReplaceHome(UT_WorkBuffer &out, const char *text);
