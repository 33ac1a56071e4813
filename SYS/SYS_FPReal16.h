// Half floats of 16 bits, for large arrays that need no more precision.

#pragma once

#include "SYS_API.h"
#include "SYS_Types.h"

#include <cstring>
#include <iosfwd>
#include <type_traits>

/// A floating-point number of 16 bits: sign, five exponent bits with bias 15,
/// ten mantissa bits. Normal values range from 2^-14 to 65504, with 11 bits of
/// precision; smaller ones are multiples of 2^-24.
///
/// It converts to and from float implicitly, so mixed expressions and
/// comparisons are calculated in float, or wider. Arithmetic on two halves
/// gives a half: each result is converted back.
///
/// Thread-compatible. The tables are constants: conversions work at any time,
/// including in constructors of static objects.
class SYS_API fpreal16
{
public:
    /// An undefined value, as for a float; fpreal16() is 0.
    fpreal16() = default;

    /// The nearest half, ties away from zero. Too large a value becomes an
    /// infinity, and the processor's overflow condition is raised. Zero and
    /// magnitudes below 2^-25 become +0, whatever their sign. A NaN keeps the
    /// ten upper bits of its mantissa, and is an infinity when these are 0.
    /// By reference, so that the bits of `value` pass through no register that
    /// would change a signalling NaN.
    fpreal16(const float &value) : myBits(utFromFloat(value)) {}

    /// The half for the float nearest to `value`. Volatile floats use this
    /// constructor too.
    template <
        class Number, class = std::enable_if_t<std::is_arithmetic_v<Number>>>
    fpreal16(Number value) : fpreal16(static_cast<float>(value))
    {
    }

    /// The half with this bit pattern.
    static fpreal16 fromBits(uint16 bits)
    {
        fpreal16 half;
        half.myBits = bits;
        return half;
    }

    /// The bit pattern.
    [[nodiscard]] uint16 bits() const { return myBits; }

    /// The exact value. A signalling NaN stays one, unless the compiler passes
    /// floats in x87 registers; UTnumericCast() of an array always keeps it.
    operator float() const { return _toFloat[myBits]; }

    /// Calculated in float, and the result converted back.
    fpreal16 operator-() const { return fpreal16(-float(*this)); }
    fpreal16 &operator+=(float b) { return *this = fpreal16(*this + b); }
    fpreal16 &operator-=(float b) { return *this = fpreal16(*this - b); }
    fpreal16 &operator*=(float b) { return *this = fpreal16(*this * b); }
    fpreal16 &operator/=(float b) { return *this = fpreal16(*this / b); }

    /// The pattern, as a signed number, of the half for the float pattern `x`:
    /// the constructor's conversion of nonzero values without its tables.
    static int16 convert(int32 x);

    /// Raises the processor's floating-point overflow condition, and returns
    /// the infinity that raised it.
    static float overflow();

    /// Converts some values of each kind there and back, for debuggers to step
    /// through; always true.
    static bool selftest();

private:
    static uint16 utFromFloat(const float &value)
    {
        uint32 x;
        std::memcpy(&x, &value, sizeof(x));
        const uint32 signAndExponent = _eLut[x >> 23];
        if (signAndExponent)
            return static_cast<uint16>(
                signAndExponent + (((x & 0x7FFFFF) + 0x1000) >> 13));
        // Deliberate: zero loses its sign.
        if ((x & 0x7FFFFFFF) == 0)
            return 0;
        return static_cast<uint16>(convert(static_cast<int32>(x)));
    }

    // The float of each pattern.
    static const float *const _toFloat;

    // Sign and exponent of the half for the upper 9 bits of a float; 0 where
    // convert() is needed: exponents 30 and above, which rounding may carry
    // into infinity, and those below 1.
    static const uint16 *const _eLut;

    static bool _itWorks; // selftest() has run

    uint16 myBits;
};

static_assert(sizeof(fpreal16) == 2);

/// Arithmetic on halves: calculated in float, and the result converted back.
inline fpreal16
operator+(fpreal16 a, fpreal16 b)
{
    return fpreal16(float(a) + float(b));
}
inline fpreal16
operator-(fpreal16 a, fpreal16 b)
{
    return fpreal16(float(a) - float(b));
}
inline fpreal16
operator*(fpreal16 a, fpreal16 b)
{
    return fpreal16(float(a) * float(b));
}
inline fpreal16
operator/(fpreal16 a, fpreal16 b)
{
    return fpreal16(float(a) / float(b));
}

/// The result type of arithmetic between a float and a `Number`.
template <class Number>
using SYS_FloatWith = std::enable_if_t<
    std::is_arithmetic_v<Number>, std::common_type_t<float, Number>>;

/// Arithmetic with a number of another type: a half counts as its float.
template <class Number>
SYS_FloatWith<Number>
operator+(fpreal16 a, Number b)
{
    return float(a) + SYS_FloatWith<Number>(b);
}
template <class Number>
SYS_FloatWith<Number>
operator+(Number a, fpreal16 b)
{
    return SYS_FloatWith<Number>(a) + float(b);
}
template <class Number>
SYS_FloatWith<Number>
operator-(fpreal16 a, Number b)
{
    return float(a) - SYS_FloatWith<Number>(b);
}
template <class Number>
SYS_FloatWith<Number>
operator-(Number a, fpreal16 b)
{
    return SYS_FloatWith<Number>(a) - float(b);
}
template <class Number>
SYS_FloatWith<Number>
operator*(fpreal16 a, Number b)
{
    return float(a) * SYS_FloatWith<Number>(b);
}
template <class Number>
SYS_FloatWith<Number>
operator*(Number a, fpreal16 b)
{
    return SYS_FloatWith<Number>(a) * float(b);
}
template <class Number>
SYS_FloatWith<Number>
operator/(fpreal16 a, Number b)
{
    return float(a) / SYS_FloatWith<Number>(b);
}
template <class Number>
SYS_FloatWith<Number>
operator/(Number a, fpreal16 b)
{
    return SYS_FloatWith<Number>(a) / float(b);
}

/// Writes the value as `out` writes floats.
SYS_API std::ostream &operator<<(std::ostream &out, fpreal16 half);

/// Reads a float and stores the half for it. On failure leaves `half` alone.
SYS_API std::istream &operator>>(std::istream &in, fpreal16 &half);

/// Writes the bits as 0 and 1, the highest first, with a blank after the sign
/// and after the exponent: 18 characters for a half, 34 for a float. The half
/// 1.0 is "0 01111 0000000000".
SYS_API void SYSprintBits(std::ostream &out, fpreal16 half);
SYS_API void SYSprintBits(std::ostream &out, const float &value);

/// Writes the bits to `buffer` in the same form, with a NUL: 19 or 35 bytes in
/// all.
SYS_API void SYSprintBits(char *buffer, fpreal16 half);
SYS_API void SYSprintBits(char *buffer, const float &value);

/// Writes the bits of a volatile float, which would otherwise be converted to a
/// half.
inline void
SYSprintBits(std::ostream &out, const volatile float &value)
{
    const float copy = value;
    SYSprintBits(out, copy);
}
inline void
SYSprintBits(char *buffer, const volatile float &value)
{
    const float copy = value;
    SYSprintBits(buffer, copy);
}
