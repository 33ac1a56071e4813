// Arithmetic on arrays of floats, element by element.

#pragma once

#include "UT/UT_API.h"

/// Operations on arrays of floats, of any alignment.
///
/// Thread-safe, but for the switch.
class UT_API VM_Math
{
public:
    /// Whether vector instructions may be used; off at the start. Set it
    /// before other threads run.
    static bool theSIMD;

    /// Sets `count` floats at `data` to `value`, with vector instructions when
    /// theSIMD is on and the processor has them. The result is the same either
    /// way, bit for bit.
    static void set(float *data, float value, unsigned count);
};
