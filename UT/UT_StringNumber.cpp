// Numbers as text: recognising, reading and writing them.

#include "UT_String.h"

#include "UT_AllocImpl.h"
#include "UT_CharImpl.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>

static bool
utIsSign(char c)
{
    return c == '+' || c == '-';
}

static const char *
utSkipSpace(const char *text)
{
    while (utIsSpace(*text))
        ++text;
    return text;
}

static const char *
utSkipSigns(const char *text)
{
    while (utIsSign(*text))
        ++text;
    return text;
}

static const char *
utSkipDigits(const char *text)
{
    while (utIsDigit(*text))
        ++text;
    return text;
}

bool
UT_String::isFloat(int allowSpace, int resultWithoutDigits) const
{
    if (!myData || !*myData)
        return false;
    const char *at = utSkipSigns(allowSpace ? utSkipSpace(myData) : myData);
    const char *const whole = at;
    at = utSkipDigits(at);
    bool hasDigits = at != whole;
    if (*at == '.')
    {
        const char *const fraction = ++at;
        at = utSkipDigits(at);
        hasDigits |= at != fraction;
    }
    if (*at == 'e' || *at == 'E')
    {
        const char *const exponent = utSkipSigns(at + 1);
        at = utSkipDigits(exponent);
        hasDigits |= at != exponent;
    }
    if (allowSpace)
        at = utSkipSpace(at);
    return !*at && (hasDigits || resultWithoutDigits);
}

bool
UT_String::isInteger(int allowSpace) const
{
    if (!myData)
        return false;
    const char *at = allowSpace ? utSkipSpace(myData) : myData;
    at = utSkipDigits(utSkipSigns(at));
    return !*(allowSpace ? utSkipSpace(at) : at);
}

int
UT_String::toInt() const
{
    if (!myData)
        return 0;
    const long value = strtol(myData, nullptr, 10);
    return int(std::clamp<long>(value, INT_MIN, INT_MAX));
}

float
UT_String::toFloat() const
{
    return myData ? float(strtod(myData, nullptr)) : 0;
}

// ---- Writing

namespace
{

// The numbers from 00 to 99.
struct ut_DigitPairs
{
    char text[200] = {};

    constexpr ut_DigitPairs()
    {
        for (int i = 0; i < 100; ++i)
        {
            text[2 * i] = char('0' + i / 10);
            text[2 * i + 1] = char('0' + i % 10);
        }
    }
};

} // namespace

static constexpr ut_DigitPairs theDigitPairs;

// Writes a number below 100 without a leading zero. What comes next covers a
// second byte that is none of its digits: no jump, which would be
// unpredictable.
static char *
utWriteFirst(char *at, unsigned pair)
{
    const unsigned zeros = pair < 10;
    memcpy(at, theDigitPairs.text + pair * 2 + zeros, 2);
    return at + 2 - zeros;
}

static char *
utWritePair(char *at, unsigned pair)
{
    memcpy(at, theDigitPairs.text + pair * 2, 2);
    return at + 2;
}

static char *
utWriteFour(char *at, unsigned four)
{
    return utWritePair(utWritePair(at, four / 100), four % 100);
}

int
UT_String::utoa(char *buffer, unsigned value)
{
    char *at = buffer;
    if (value < 100)
        at = utWriteFirst(at, value);
    else if (value < 10000)
    {
        at = utWriteFirst(at, value / 100);
        at = utWritePair(at, value % 100);
    }
    else if (value < 1000000)
    {
        at = utWriteFirst(at, value / 10000);
        at = utWriteFour(at, value % 10000);
    }
    else if (value < 100000000)
    {
        at = utWriteFirst(at, value / 1000000);
        at = utWritePair(at, value / 10000 % 100);
        at = utWriteFour(at, value % 10000);
    }
    else
    {
        at = utWriteFirst(at, value / 100000000);
        at = utWriteFour(at, value / 10000 % 10000);
        at = utWriteFour(at, value % 10000);
    }
    *at = '\0';
    return int(at - buffer);
}

int
UT_String::itoa(char *buffer, int value)
{
    // The sign is written in any case, and covered when there is none.
    const int sign = value < 0;
    *buffer = '-';
    const unsigned magnitude = sign ? 0u - unsigned(value) : unsigned(value);
    return sign + utoa(buffer + sign, magnitude);
}

void
UT_String::itoa(int value)
{
    char text[12];
    harden(text, itoa(text, value));
}

void
UT_String::utoa(int value)
{
    char text[12];
    harden(text, utoa(text, unsigned(value)));
}

namespace
{

// The numbers from 000 to 999, each after a comma.
struct ut_Groups
{
    char text[4000] = {};

    constexpr ut_Groups()
    {
        for (int i = 0; i < 1000; ++i)
        {
            text[4 * i] = ',';
            text[4 * i + 1] = char('0' + i / 100);
            text[4 * i + 2] = char('0' + i / 10 % 10);
            text[4 * i + 3] = char('0' + i % 10);
        }
    }
};

} // namespace

static constexpr ut_Groups theGroups;

// Writes a comma and three digits before `end`.
static char *
utWriteGroup(char *end, unsigned group)
{
    memcpy(end - 4, theGroups.text + group * 4, 4);
    return end - 4;
}

static char *
utWriteTwoGroups(char *end, unsigned groups)
{
    return utWriteGroup(utWriteGroup(end, groups % 1000), groups / 1000);
}

void
UT_String::itoa_pretty(int64 value)
{
    // From the right, group by group, each with the comma before it. Three
    // groups at a time leave what fits a word, in 32 bits.
    uint64 rest = value < 0 ? 0 - uint64(value) : uint64(value);
    constexpr size_t theUsualSize = 24; // of a block, less is not smaller
    char text[40 + theUsualSize] = {};  // what is copied may begin at its end
    char *const end = text + 40;
    char *at = end;
    for (; rest > SIZE_MAX; rest /= 1000000000)
    {
        const unsigned groups = unsigned(rest % 1000000000);
        at = utWriteGroup(at, groups % 1000);
        at = utWriteGroup(at, groups / 1000 % 1000);
        at = utWriteGroup(at, groups / 1000000);
    }
    // As many groups as most numbers have at most, then without those that are
    // zero: the end of a loop over the number's own would be unpredictable.
    constexpr bool theWordIsLong = sizeof(size_t) > 4;
    const size_t whole = size_t(rest);
    size_t left = whole;
    for (int i = 0; i < 2; ++i, left /= 1000000)
        at = utWriteTwoGroups(at, unsigned(left % 1000000));
    if (theWordIsLong)
    {
        at = utWriteGroup(at, unsigned(left % 1000));
        left /= 1000;
    }
    for (; left > 0; left /= 1000)
        at = utWriteGroup(at, unsigned(left % 1000));
    const int zeroGroups = (whole < 1000) + (whole < 1000000) +
                           (whole < 1000000000) +
                           (theWordIsLong && rest < 1000000000000);
    at += 4 * zeroGroups + 1;
    const int isBelow100 = at[0] == '0';
    at += isBelow100 + (isBelow100 & (at[1] == '0'));
    if (value < 0)
        *--at = '-';
    // Not harden(), which would look for a NUL first.
    const size_t length = size_t(end - at);
    char *const block =
        static_cast<char *>(utAllocate(std::max(length + 1, theUsualSize)));
    if (length < theUsualSize) // a copy of known size needs no call
        memcpy(block, at, theUsualSize);
    else
        memcpy(block, at, length);
    block[length] = '\0';
    freeData();
    myData = block;
    myIsReference = 0;
}
