// The values of decimal texts, for readers and writers of numbers.

#pragma once

#include "UT_CharImpl.h"

#include "SYS/SYS_Types.h"

#include <cfloat>

// The number of digits that always fit a 64-bit integer.
constexpr int theExactDigits = 18;

// The value that strtod() reads in the C locale from the bytes up to `end`.
double utToDouble(const char *text, const char *end);

// Adds the digits at `text` to those of `number`, and returns the address of
// the byte after them.
inline const char *
utAddDigits(const char *text, const char *end, uint64 &number)
{
    for (; text < end && utIsDigit(*text); ++text)
        number = number * 10 + uint64(*text - '0');
    return text;
}

// The sign and the digits that a number starts with.
struct ut_LeadingDigits
{
    ut_LeadingDigits(const char *text, const char *end)
        : isNegative(*text == '-'), first(text + isNegative),
          after(utAddDigits(first, end, value))
    {
    }

    const bool isNegative;
    uint64 value = 0;
    const char *const first;
    const char *const after;
};

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

    const ut_LeadingDigits leading(text, end);
    uint64 digits = leading.value;
    text = leading.after;
    if (text == leading.first || text == end)
        return nullptr;
    int exponent = 0;
    if (*text == '.')
    {
        const char *const point = text;
        text = utAddDigits(point + 1, end, digits);
        exponent = int(point + 1 - text);
    }
    if (text == end || text - leading.first > theExactDigits ||
        digits >> 53 != 0 || FLT_EVAL_METHOD != 0)
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
        leading.isNegative ? -double(int64(digits)) : double(int64(digits));
    value = exponent < 0 ? whole / thePowers[-exponent]
                         : whole * thePowers[exponent];
    return text;
}
