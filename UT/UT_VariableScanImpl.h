// Replacement of one reference at a time, for scanners with quotes and escapes
// of their own. UT_VariableScan.h describes the references.

#pragma once

class UT_WorkBuffer;

// Whether the text has no byte that a scan, with comments as ordinary text,
// would not simply copy.
bool utHasNothingToReplace(const char *text);

// The sources of the values: a null `variable` stands for the environment.
struct ut_Lookups
{
    const char *(*variable)(const char *name, void *data);
    const char *(*expression)(const char *expression, void *data);
    void *data;
};

// These append the value of the reference at `text` to `out`, and return the
// end of the reference.

// `$NAME:h` or `${...}`; a dollar before anything else stands for itself. Null
// when a brace is not closed; the contents of `out` then mean nothing.
const char *utReplaceVariable(
    UT_WorkBuffer &out, const char *text, const ut_Lookups &lookups);

// `%NAME%` or `%NAME:h%`; `%%` stands for one percent sign, and any other
// percent sign for itself.
const char *utReplacePercent(
    UT_WorkBuffer &out, const char *text, const ut_Lookups &lookups);

// A text in backquotes. Null when they are not closed.
const char *utReplaceExpression(
    UT_WorkBuffer &out, const char *text, const ut_Lookups &lookups);

// `~` or `~user`.
const char *utReplaceHome(UT_WorkBuffer &out, const char *text);
