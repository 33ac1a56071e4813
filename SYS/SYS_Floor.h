// Floating-point numbers to integers, also where the language leaves the
// result open.

#pragma once

#include <climits>

/// The largest integer that is not above `value`; the nearest long for one
/// that no long is near, and 0 for no number.
inline long
SYSfloorIL(float value)
{
    // A float is exact for the end of the range, and for one behind the other.
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
