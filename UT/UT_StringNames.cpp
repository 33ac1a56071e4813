// Names with numbers in them: their order, their parts and the next name.

#include "UT_String.h"

#include "UT_CharImpl.h"
#include "UT_StringImpl.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

// The value of a digit; more than 9 for any other byte.
static unsigned
utDigit(char c)
{
    return unsigned(c) - '0';
}

namespace
{

// A run of digits without its leading zeros.
struct ut_Number
{
    const char *digits;
    size_t count;
    unsigned value; // modulo 2^32

    [[nodiscard]] bool fitsInt() const
    {
        return count < 10 ||
               (count == 10 && memcmp(digits, "2147483647", 10) <= 0);
    }
};

} // namespace

// Leaves `text` past the digits.
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

// Compares by the first bytes that differ, or the ends.
template <bool dotComesFirst>
static int
utCompareBytes(char a, char b)
{
    if (dotComesFirst && a != b)
    {
        if (a == '.')
            return -1;
        if (b == '.')
            return 1;
    }
    return int8(a) - int8(b);
}

// The comparison itself, of texts that no number extends into.
template <bool dotComesFirst>
[[gnu::noinline]] static int
utWalkNumbered(const char *a, const char *b)
{
    for (;;)
    {
        if (utIsDigit(*a) && utIsDigit(*b))
        {
            const ut_Number numberA = utReadNumber(a);
            const ut_Number numberB = utReadNumber(b);
            if (const int difference = utCompareNumbers(numberA, numberB))
                return difference;
            continue;
        }
        if (*a != *b || !*a)
            return utCompareBytes<dotComesFirst>(*a, *b);
        ++a;
        ++b;
    }
}

// Bytes that are the same in both, the NUL apart.
static inline ptrdiff_t
utSharedBytes(const char *a, const char *b)
{
    for (ptrdiff_t i = 0;; i += 4)
    {
        if (a[i] != b[i] || !a[i])
            return i;
        if (a[i + 1] != b[i + 1] || !a[i + 1])
            return i + 1;
        if (a[i + 2] != b[i + 2] || !a[i + 2])
            return i + 2;
        if (a[i + 3] != b[i + 3] || !a[i + 3])
            return i + 3;
    }
}

// The difference of two numbers whose digits at `at` are the first that
// differ; 0 when it takes more than a look at the digits from there on.
[[gnu::always_inline]] static inline int
utQuickDifference(const char *a, const char *b, ptrdiff_t at)
{
    unsigned valueA = 0;
    unsigned valueB = 0;
    unsigned digitA = utDigit(a[at]);
    unsigned digitB = utDigit(b[at]);
    ptrdiff_t end = at;
    do
    {
        valueA = valueA * 10 + digitA;
        valueB = valueB * 10 + digitB;
        ++end;
        digitA = utDigit(a[end]);
        digitB = utDigit(b[end]);
    } while (digitA < 10 && digitB < 10);
    if (digitA >= 10 && digitB >= 10)
    {
        // As many digits: those that they share cancel out. One this far in
        // front would be the tenth.
        const ptrdiff_t tenth = end - 10;
        const bool isShort = tenth < at && (tenth < 0 || !utIsDigit(a[tenth]));
        return isShort ? int(valueA - valueB) : 0;
    }
    if (at > 0 && utIsDigit(a[at - 1]))
        return 0;
    for (; digitA < 10; digitA = utDigit(a[++end]))
        valueA = valueA * 10 + digitA;
    for (; digitB < 10; digitB = utDigit(b[++end]))
        valueB = valueB * 10 + digitB;
    return end - at < 10 ? int(valueA - valueB) : 0;
}

// Most pairs of names are decided at the first difference.
template <bool dotComesFirst>
[[gnu::always_inline]] static inline int
utCompareNumbered(const char *a, const char *b)
{
    if (!a || !b)
        return int(a != nullptr) - int(b != nullptr);
    ptrdiff_t at = utSharedBytes(a, b);
    const unsigned digitA = utDigit(a[at]);
    const unsigned digitB = utDigit(b[at]);
    if (digitA < 10 && digitB < 10)
    {
        if (const int difference = utQuickDifference(a, b, at))
            return difference;
    }
    // Only a number that began in both can continue in one of them.
    else if ((digitA >= 10 && digitB >= 10) || at == 0 || !utIsDigit(a[at - 1]))
        return utCompareBytes<dotComesFirst>(a[at], b[at]);
    while (at > 0 && utIsDigit(a[at - 1]))
        --at;
    return utWalkNumbered<dotComesFirst>(a + at, b + at);
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

// Bytes come as the comparison orders them. Of those of the digits a number
// uses the one of its count of digits, and its value follows.
uint64
utNumberedKey(const char *text)
{
    static constexpr int theValueBits[] = {0, 4, 7, 10, 14, 17, 20, 24, 27};
    static constexpr unsigned theMostDigits = std::size(theValueBits) - 1;
    uint64 key = 0;
    int room = 64;
    const auto push = [&key, &room](unsigned value, int bits)
    {
        const int excess = std::max(bits - room, 0);
        key = key << (bits - excess) | value >> excess;
        room -= bits - excess;
    };
    while (text && room > 0)
    {
        if (utIsDigit(*text))
        {
            const ut_Number number = utReadNumber(text);
            const bool isShort = number.count <= theMostDigits;
            push(0xB0 + (isShort ? unsigned(number.count) : 9), 8);
            if (!isShort)
                break;
            push(number.value, theValueBits[number.count]);
            continue;
        }
        push(uint8(*text) ^ 0x80u, 8);
        if (!*text++)
            break;
    }
    return text ? key << room : 0;
}

const char *
UT_String::suffix() const
{
    if (!myData || !*myData)
        return nullptr;
    const char *digits = myData + length();
    while (digits != myData && utIsDigit(digits[-1]))
        --digits;
    return digits;
}

// The start of the backward search for a file name's number: at the
// extension's dot, or at the end. The component's first byte is not such a dot.
static const char *
utNumberSearchStart(const char *component, const char *end)
{
    for (const char *dot = end; dot-- > component + 1;)
        if (*dot == '.')
            return dot;
    return end;
}

int
UT_String::parseNumberedFilename(
    UT_String &prefix, UT_String &number, UT_String &rest, bool allowNegative,
    bool allowFraction) const
{
    if (!myData)
        return 0;
    const char *const textEnd = myData + length();
    const char *component = strrchr(myData, '/');
    if (!component)
        component = myData;

    const char *end = utNumberSearchStart(component, textEnd);
    while (end != component && !utIsDigit(end[-1]))
        --end;
    const bool isFound = end != component;
    if (!isFound)
        end = textEnd;
    const char *start = end;
    while (isFound && start != component &&
           (utIsDigit(start[-1]) || (allowNegative && start[-1] == '-') ||
            (allowFraction && start[-1] == '.')))
        --start;

    // All are there before one is set: the results may be this string.
    UT_String before(myData, /*deep=*/1, int(start - myData));
    UT_String digits(start, /*deep=*/1, int(end - start));
    UT_String tail(end, /*deep=*/1);
    prefix.swap(before);
    number.swap(digits);
    rest.swap(tail);
    return isFound;
}

void
UT_String::incrementNumberedName()
{
    harden();
    const int end = length();
    const int start = end > 0 ? int(suffix() - myData) : 0;
    if (start == end)
    {
        harden(myData, end + 1);
        myData[end] = '2';
        return;
    }

    int nines = end;
    while (nines > start && myData[nines - 1] == '9')
        --nines;
    const size_t count = size_t(end - nines);
    const size_t zeros = strspn(myData + start, "0");
    if (count > 0 && zeros == size_t(nines - start))
    {
        // The number gets a digit more: all zeros go, or the
        // block grows.
        if (zeros == 0)
            harden(myData, end + 1);
        char *const digits = myData + start;
        digits[0] = '1';
        memset(digits + 1, '0', count);
        digits[1 + count] = '\0';
        return;
    }
    ++myData[nines - 1];
    memset(myData + nines, '0', count);
}
