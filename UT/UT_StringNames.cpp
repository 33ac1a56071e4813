#include "UT_String.h"

#include "UT_StringImpl.h"

namespace
{

// A run of digits without its leading zeros.
struct ut_Number
{
    const char *digits;
    size_t count;
    unsigned value; // modulo 2^32

    bool fitsInt() const
    {
        return count < 10 ||
               (count == 10 && memcmp(digits, "2147483647", 10) <= 0);
    }
};

} // namespace

// Leaves `text` behind the digits.
static ut_Number
utReadNumber(const char *&text)
{
    while (*text == '0')
        ++text;
    ut_Number number = {text, 0, 0};
    for (; utIsDigit(*text); ++text)
        number.value = number.value * 10 + unsigned(*text - '0');
    number.count = size_t(text - number.digits);
    return number;
}

static int
utCompareNumbers(const ut_Number &a, const ut_Number &b)
{
    if (a.fitsInt() && b.fitsInt())
        return int(a.value) - int(b.value);
    if (a.count != b.count)
        return a.count < b.count ? -1 : 1;
    const int sense = memcmp(a.digits, b.digits, a.count);
    return int(sense > 0) - int(sense < 0);
}

template <bool dotComesFirst>
static int
utCompareNumbered(const char *a, const char *b)
{
    if (!a || !b)
        return int(a != nullptr) - int(b != nullptr);
    for (;;)
    {
        const char *const start = a;
        while (*a == *b && *a)
        {
            ++a;
            ++b;
        }
        if (!utIsDigit(*a) && !utIsDigit(*b))
            break;
        // The digits that they share belong to the numbers that differ.
        while (a != start && utIsDigit(a[-1]))
        {
            --a;
            --b;
        }
        if (!utIsDigit(*a) || !utIsDigit(*b))
            break;
        const ut_Number numberA = utReadNumber(a);
        const ut_Number numberB = utReadNumber(b);
        if (const int sense = utCompareNumbers(numberA, numberB))
            return sense;
    }
    if (dotComesFirst && *a != *b)
    {
        if (*a == '.')
            return -1;
        if (*b == '.')
            return 1;
    }
    return int8(*a) - int8(*b);
}

int
UT_String::compareNumberedString(const char *a, const char *b)
{
    return utCompareNumbered</*dotComesFirst=*/false>(a, b);
}

int
UT_String::qsortCmpNumberedString(const void *a, const void *b)
{
    return compareNumberedString(
        *static_cast<const char *const *>(a),
        *static_cast<const char *const *>(b));
}

int
UT_String::qsortCmpNumberedString(char *const *a, char *const *b)
{
    return compareNumberedString(*a, *b);
}

int
UT_String::compareNumberedFilename(const char *a, const char *b)
{
    return utCompareNumbered</*dotComesFirst=*/true>(a, b);
}

int
UT_String::qsortCmpNumberedFilename(const void *a, const void *b)
{
    return compareNumberedFilename(
        *static_cast<const char *const *>(a),
        *static_cast<const char *const *>(b));
}

int
UT_String::qsortCmpNumberedFilename(char *const *a, char *const *b)
{
    return compareNumberedFilename(*a, *b);
}
