// The rows of the settings, for the two sources of UT_EnvControl.

#pragma once

#include "UT_EnvControl.h"

struct ut_ExistRow
{
    UT_IntControl id;
    const char *name;
    int32 defaultValue; // 0 or 1
    const char *formerName;
    const char *use;
};

template <class Id, class Number>
struct ut_NumberRow
{
    Id id;
    const char *name;
    Number defaultValue;
    Number minimum;
    Number maximum;
    const char *formerName;
    const char *use;
};

using ut_IntRow = ut_NumberRow<UT_IntControl, int32>;
using ut_FltRow = ut_NumberRow<UT_FltControl, float>;

struct ut_StringRow
{
    UT_StrControl id;
    const char *name;
    const char *defaultText; // null: none, or a computed one
    const char *formerName;
    const char *use;
};

// Every id has one row, in any order; the last row has no name.
extern const ut_ExistRow theExistLookups[];
extern const ut_IntRow theIntLookups[];
extern const ut_FltRow theFltLookups[];
extern const ut_StringRow theStringLookups[];

// The variables of those that this library obeys, in any order; null ends them.
extern const char *const theObeyedNames[];
