// Arithmetic on arrays of floats, element by element.

#pragma once

#include "SYS/SYS_API.h"

/// Operations on arrays of floats, of any alignment.
///
/// Each has a form for any processor and one for those with long vectors
/// (AVX2); theSIMD selects. The results are the same bit for bit, except for
/// the payload of a NaN. The result may be one of the operands, but must not
/// overlap them otherwise.
///
/// Thread-safe, except for theSIMD. Linear time.
class SYS_API VM_Math
{
public:
    /// Whether long vectors may be used; off at the start. Set it before other
    /// threads run. It has no effect where the processor lacks them, or
    /// VALDRIN_DISABLE_SSE and related settings forbid them.
    static bool theSIMD;

    /// Sets `count` floats at `data` to `value`.
    static void set(float *data, float value, unsigned count);

    /// Stores a + b, a - b, a * b or a / b.
    static void
    add(float *result, const float *a, const float *b, unsigned count);
    static void add(float *result, const float *a, float b, unsigned count);
    static void
    subtract(float *result, const float *a, const float *b, unsigned count);
    static void
    multiply(float *result, const float *a, const float *b, unsigned count);
    static void
    multiply(float *result, const float *a, float b, unsigned count);
    static void
    divide(float *result, const float *a, const float *b, unsigned count);

    /// Stores a * b + c; the product is rounded before c is added.
    static void multiplyAdd(
        float *result, const float *a, const float *b, const float *c,
        unsigned count);
    static void multiplyAdd(
        float *result, const float *a, float b, const float *c, unsigned count);

    /// Stores the smaller or the larger of a and b; b where they are equal, as
    /// are zeros of different sign, and where one is NaN.
    static void
    min(float *result, const float *a, const float *b, unsigned count);
    static void
    max(float *result, const float *a, const float *b, unsigned count);

    /// Stores a, limited to the range from `low` to `high`; `low` where a is
    /// NaN. `low` must not be above `high`.
    static void
    clamp(float *result, const float *a, float low, float high, unsigned count);

    /// Stores the square roots; NaN for negative numbers.
    static void squareRoot(float *result, const float *a, unsigned count);

    /// The sum of a * b, 0 for empty arrays. Calculated in double, as four sums
    /// of every fourth product, which are added at the end.
    static double dot(const float *a, const float *b, unsigned count);
};
