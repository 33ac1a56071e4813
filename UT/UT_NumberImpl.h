// The values of decimal texts, for readers and writers of numbers.

#pragma once

#include "UT_CharImpl.h"

#include "SYS/SYS_Types.h"

#include <cfloat>

// The number of digits that always fit a 64-bit integer.
constexpr int theExactDigits = 18;

// The value that strtod() reads in the C locale from the bytes up to `end`.
double utToDouble(const char *text, const char *end);

// Reads a common number that ends before `end`: stores its value and returns
// the address of the byte after it. Null for a text that needs the general
// reader.
//
// A double holds both the digits as an integer and the power of ten exactly, so
// one multiplication or division rounds once, as strtod() does. A processor
// that computes in a wider format rounds twice, so there the result is always
// null.
inline const char *
utQuickNumber(const char *text, const char *end, double &value)
{
    static const double thePowers[] = {
        1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
        1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    const int thePowerLimit = 22;

    const bool isNegative = *text == '-';
    text += isNegative;
    uint64 digits = 0;
    const char *const first = text;
    for (; text < end && utIsDigit(*text); ++text)
        digits = digits * 10 + uint64(*text - '0');
    if (text == first || text == end)
        return nullptr;
    int exponent = 0;
    if (*text == '.')
    {
        const char *const point = text;
        for (++text; text < end && utIsDigit(*text); ++text)
            digits = digits * 10 + uint64(*text - '0');
        exponent = int(point + 1 - text);
    }
    if (text == end || text - first > theExactDigits || digits >> 53 != 0 ||
        FLT_EVAL_METHOD != 0)
        return nullptr;
    if (*text == 'e' || *text == 'E')
    {
        ++text;
        const bool isBelow = text < end && *text == '-';
        text += isBelow || (text < end && *text == '+');
        const char *const start = text;
        int power = 0;
        for (; text < end && utIsDigit(*text) && power < 1000; ++text)
            power = power * 10 + (*text - '0');
        if (text == start || text == end || utIsDigit(*text))
            return nullptr;
        exponent += isBelow ? -power : power;
        if (exponent < -thePowerLimit || exponent > thePowerLimit)
            return nullptr;
    }
    // The sign is applied first, so that rounding modes other than to nearest
    // work.
    const double whole =
        isNegative ? -double(int64(digits)) : double(int64(digits));
    value = exponent < 0 ? whole / thePowers[-exponent]
                         : whole * thePowers[exponent];
    return text;
}
