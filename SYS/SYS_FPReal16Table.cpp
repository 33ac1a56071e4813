// The compiler calculates the tables, so they are there before any code runs.

#include "SYS_FPReal16Impl.h"

static constexpr uint32
utFloatBits(uint32 half)
{
    const uint32 sign = (half & 0x8000) << 16;
    const uint32 exponent = half >> 10 & 31;
    uint32 mantissa = half & 0x3FF;
    if (exponent == 31)
        return sign | 0x7F800000 | mantissa << 13;
    if (exponent != 0)
        return sign | (exponent + 112) << 23 | mantissa << 13;
    if (mantissa == 0)
        return sign;
    uint32 shift = 0;
    for (; !(mantissa & 0x400); ++shift)
        mantissa <<= 1;
    return sign | (113 - shift) << 23 | (mantissa & 0x3FF) << 13;
}

static constexpr ut_HalfToFloat
utHalfToFloat()
{
    ut_HalfToFloat table{};
    for (uint32 half = 0; half < 65536; ++half)
        table.values[half] = __builtin_bit_cast(float, utFloatBits(half));
    return table;
}

static constexpr ut_FloatToHalfExponent
utFloatToHalfExponent()
{
    ut_FloatToHalfExponent table{};
    for (int i = 0; i < 512; ++i)
    {
        const int exponent = (i & 255) - 112;
        if (exponent >= 1 && exponent <= 29)
            table.values[i] = uint16((i & 256) << 7 | exponent << 10);
    }
    return table;
}

constexpr ut_HalfToFloat theHalfToFloat = utHalfToFloat();
constexpr ut_FloatToHalfExponent theFloatToHalfExponent =
    utFloatToHalfExponent();
