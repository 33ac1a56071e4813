// The half for a float and the float of a half, from the definition of the
// formats, with whole numbers and ldexp().

#pragma once

#include "SYS/SYS_Types.h"

#include <cmath>
#include <cstring>

inline uint32
utFloatBits(const float &value)
{
    uint32 bits;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

inline float
utFloatOfBits(uint32 bits)
{
    float value;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

// Bits of the float that half `bits` stands for.
inline uint32
utOracleFloatBits(uint32 bits)
{
    const uint32 sign = bits >> 15 << 31;
    const int exponent = bits >> 10 & 31;
    const int mantissa = bits & 1023;
    if (exponent == 31)
        return sign | 0x7F800000 | uint32(mantissa) << 13;
    const double value = exponent ? std::ldexp(1024 + mantissa, exponent - 25)
                                  : std::ldexp(mantissa, -24);
    return sign | utFloatBits(float(value));
}

// Bits of the half for the float with these bits: the nearest, ties away from
// zero.
inline uint32
utOracleHalfBits(uint32 bits)
{
    const uint32 sign = bits >> 31 << 15;
    const uint32 magnitude = bits & 0x7FFFFFFF;
    if (magnitude >= 0x7F800000)
        return sign | 0x7C00 | (magnitude & 0x7FFFFF) >> 13;
    const double value = double(utFloatOfBits(magnitude));
    if (value < std::ldexp(1, -25))
        return 0;
    const int exponent = value < std::ldexp(1, -14) ? -14 : std::ilogb(value);
    const double units = std::floor(std::ldexp(value, 10 - exponent) + 0.5);
    // A carry goes on into the exponent.
    const double half = (exponent + 14) * 1024.0 + units;
    return sign | (half < 0x7C00 ? uint32(half) : 0x7C00);
}
