// Conversion of floating-point numbers to integers, also where the language
// leaves the result undefined.

#pragma once

#include <climits>

/// The largest integer that is not above `value`, limited to the range of a
/// long; 0 for a NaN.
inline long
SYSfloorIL(float value)
{
    // A float holds the lower end of the range exactly, and one more than the
    // upper end.
    constexpr float lowest = float(LONG_MIN);
    if (value < lowest)
        return LONG_MIN;
    if (value >= -lowest)
        return LONG_MAX;
    if (value != value)
        return 0;
    const long towardsZero = long(value);
    return towardsZero - (float(towardsZero) > value);
}
