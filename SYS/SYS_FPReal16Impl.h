// The tables of the half floats, shared with the conversions of whole arrays.

#pragma once

#include "SYS_Types.h"

struct ut_HalfToFloat
{
    float values[65536];
};

struct ut_FloatToHalfExponent
{
    uint16 values[512];
};

extern const ut_HalfToFloat theHalfToFloat;
extern const ut_FloatToHalfExponent theFloatToHalfExponent;
