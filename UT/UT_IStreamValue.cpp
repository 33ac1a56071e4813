#include "UT_IStream.h"

#include "UT_String.h"
#include "UT_WorkBuffer.h"

#include "SYS/SYS_Floor.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <cstring>

#include <locale.h>

static uint16
utSwapped(uint16 bits)
{
    return __builtin_bswap16(bits);
}

static uint32
utSwapped(uint32 bits)
{
    return __builtin_bswap32(bits);
}

static uint64
utSwapped(uint64 bits)
{
    return __builtin_bswap64(bits);
}

template <class Bits, class T>
static void
utSwap(T *values, int count)
{
    static_assert(sizeof(Bits) == sizeof(T));
    for (int i = 0; i < count; ++i)
    {
        Bits bits;
        memcpy(&bits, values + i, sizeof(T));
        bits = utSwapped(bits);
        memcpy(values + i, &bits, sizeof(T));
    }
}

template <class T>
static void
utSwapBytes(T *values, int count)
{
    if constexpr (sizeof(T) == 2)
        utSwap<uint16>(values, count);
    else if constexpr (sizeof(T) == 4)
        utSwap<uint32>(values, count);
    else
        utSwap<uint64>(values, count);
}

// Reads whole values and leaves the rest of the input's bytes aside.
template <class T>
int
UT_IStream::readValues(T *values, int count)
{
    if (myError || count <= 0)
        return 0;
    // The buffer counts bytes by an int.
    const int most = INT_MAX / int(sizeof(T));
    int whole = 0;
    int got = most;
    while (whole < count && got == most)
    {
        char *const bytes = static_cast<char *>(static_cast<void *>(values));
        const int wanted = std::min(count - whole, most);
        got = myStream->bread(
            bytes + size_t(whole) * sizeof(T), wanted * int(sizeof(T)));
        got /= int(sizeof(T));
        whole += got;
    }
    checked(true);
    utSwapBytes(values, whole);
    return whole;
}

int
UT_IStream::bread(char *values, int count)
{
    if (myError)
        return 0;
    const int got = myStream->bread(values, count);
    checked(true);
    return got;
}

int
UT_IStream::bread(short *values, int count)
{
    return readValues(values, count);
}

int
UT_IStream::bread(int *values, int count)
{
    return readValues(values, count);
}

int
UT_IStream::bread(int64 *values, int count)
{
    return readValues(values, count);
}

int
UT_IStream::bread(float *values, int count)
{
    return readValues(values, count);
}

int
UT_IStream::bread(double *values, int count)
{
    return readValues(values, count);
}

// What strtol() says of a text that getNumber() stored.
static long
utToLong(const char *text, const char *end)
{
    if (text < end && *text == '+')
        ++text;
    long value = 0;
    const auto result = std::from_chars(text, end, value);
    if (result.ec == std::errc::result_out_of_range)
        return *text == '-' ? LONG_MIN : LONG_MAX;
    return value;
}

// What strtod() says of a text that getNumber() stored, where the decimal point
// is ".".
static double
utToDouble(const char *text, const char *end)
{
    const char *const digits = text < end && *text == '+' ? text + 1 : text;
    double value = 0;
    const auto result = std::from_chars(digits, end, value);
    if (result.ec == std::errc() && *digits <= '9')
        return value;
    // A word, or a number at an end of the range.
    static const locale_t theCLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    UT_WorkBuffer copy;
    copy.append(text, int(end - text));
    return strtod_l(copy.buffer(), nullptr, theCLocale);
}

// Deliberate: in single precision, the sum too.
static long
utRounded(double number)
{
    const volatile float value = float(number);
    const volatile float sum = value + 0.5f;
    return SYSfloorIL(sum);
}

template <class T>
static T
utToNumber(const char *text, const char *end, bool isFloat)
{
    if constexpr (std::is_floating_point_v<T>)
        return T(utToDouble(text, end));
    else
        return T(
            isFloat ? utRounded(utToDouble(text, end)) : utToLong(text, end));
}

template <class T>
int
UT_IStream::readNumbers(T *values, int count)
{
    if (myError)
        return 0;
    UT_WorkBuffer spare;
    int read = 0;
    UT_IStreamBuf::NumberText text;
    for (; read < count && myStream->nextNumber(spare, text); ++read)
        values[read] =
            utToNumber<T>(text.bytes, text.bytes + text.length, text.isFloat);
    checked(true);
    return read;
}

int
UT_IStream::aread(short *values, int count)
{
    return readNumbers(values, count);
}

int
UT_IStream::aread(unsigned short *values, int count)
{
    return readNumbers(values, count);
}

int
UT_IStream::aread(int *values, int count)
{
    return readNumbers(values, count);
}

int
UT_IStream::aread(unsigned *values, int count)
{
    return readNumbers(values, count);
}

int
UT_IStream::aread(int64 *values, int count)
{
    return readNumbers(values, count);
}

int
UT_IStream::aread(uint64 *values, int count)
{
    return readNumbers(values, count);
}

int
UT_IStream::aread(float *values, int count)
{
    return readNumbers(values, count);
}

int
UT_IStream::aread(double *values, int count)
{
    return readNumbers(values, count);
}

// The chain of length fields, each as wide again as the one before.
bool
UT_IStream::readLength(UT_ISTREAM_RLE_IO rle, int64 &length)
{
    static const int theWidths[] = {1, 2, 4, 8};
    for (const int width : theWidths)
    {
        // Deliberate: a width in between takes the next field.
        if (width < 8 && rle > 8 * width)
            continue;
        unsigned char field[8];
        if (myStream->bread(
                static_cast<char *>(static_cast<void *>(field)), width) !=
            width)
            return false;
        uint64 value = 0;
        for (int i = 0; i < width; ++i)
            value = value << 8 | field[i];
        length = int64(value);
        if (width == 8 || value != (uint64(1) << (8 * width)) - 1)
            break;
    }
    return length >= 0;
}

// The text grows with the bytes that arrive: a great length is easily told, and
// memory for it asked for, when nothing is behind.
static bool
utReadText(UT_IStreamBuf &source, UT_String &text, int length)
{
    int room = std::min(length, 1 << 16);
    text.harden("", room);
    for (int used = 0;;)
    {
        used += source.bread(text.buffer() + used, room - used);
        if (used < room)
            return false;
        if (room == length)
            return true;
        room = room > length / 2 ? length : room * 2;
        UT_String longer;
        longer.harden("", room);
        memcpy(longer.buffer(), text.buffer(), size_t(used));
        text.swap(longer);
    }
}

bool
UT_IStream::readBinaryString(UT_String &text, UT_ISTREAM_RLE_IO rle)
{
    int64 length = 0;
    if (myError)
        return false;
    UT_String read;
    if (!readLength(rle, length) || length >= INT_MAX ||
        !utReadText(*myStream, read, int(length)))
    {
        setError();
        return false;
    }
    text.swap(read);
    return true;
}
