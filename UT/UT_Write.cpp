#include "UT_Write.h"

#include "UT_NumberImpl.h"
#include "UT_SwapBytes.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <ostream>

static const size_t theBlockSize = 4096;

template <class T>
static bool
utWriteValues(std::ostream &out, const T *values, int count)
{
    char block[theBlockSize];
    while (count > 0 && out)
    {
        const int part = std::min(count, int(theBlockSize / sizeof(T)));
        const size_t size = size_t(part) * sizeof(T);
        if (UThostIsBigEndian())
            memcpy(block, values, size);
        else
            UTswapBytes(block, values, size_t(part), sizeof(T));
        out.write(block, std::streamsize(size));
        values += part;
        count -= part;
    }
    return !out.fail();
}

bool
UTbwrite(std::ostream &out, const char *values, int count)
{
    if (count > 0)
        out.write(values, count);
    return !out.fail();
}

bool
UTbwrite(std::ostream &out, const short *values, int count)
{
    return utWriteValues(out, values, count);
}

bool
UTbwrite(std::ostream &out, const int *values, int count)
{
    return utWriteValues(out, values, count);
}

bool
UTbwrite(std::ostream &out, const int64 *values, int count)
{
    return utWriteValues(out, values, count);
}

bool
UTbwrite(std::ostream &out, const float *values, int count)
{
    return utWriteValues(out, values, count);
}

bool
UTbwrite(std::ostream &out, const double *values, int count)
{
    return utWriteValues(out, values, count);
}

// The longest number is a double of 17 digits, with two signs, a point and
// an exponent of three digits; a separator is added.
static const int theNumberSize = 32;

template <class T>
static char *
utFormat(char *to, T value)
{
    return std::to_chars(to, to + theNumberSize, value).ptr;
}

// What a reader takes for a NaN or an infinity.
static char *
utFormatSpecial(char *to, bool isNan, bool isNegative)
{
    return stpcpy(to, isNan ? "nan" : isNegative ? "-1e999" : "1e999");
}

static char *
utFormat(char *to, double value)
{
    if (!std::isfinite(value))
        return utFormatSpecial(to, std::isnan(value), value < 0);
    return std::to_chars(to, to + theNumberSize, value).ptr;
}

static char *
utFormat(char *to, float value)
{
    if (!std::isfinite(value))
        return utFormatSpecial(to, std::isnan(value), value < 0);
    char *const last = to + theNumberSize;
    char *const end = std::to_chars(to, last, value).ptr;
    // A reader rounds to double first. A few texts, 7.038531e-26 is one, come
    // so close to the middle between two floats that they then end at the
    // other one. Nine digits never do.
    *end = ' ';
    double wide = 0;
    if (!utQuickNumber(to, end + 1, wide))
        wide = utToDouble(to, end);
    if (float(wide) == value)
        return end;
    return std::to_chars(to, last, value, std::chars_format::general, 9).ptr;
}

template <class T>
static bool
utWriteNumbers(std::ostream &out, const T *values, int count)
{
    char block[theBlockSize];
    char *at = block;
    for (int i = 0; i < count; ++i)
    {
        at = utFormat(at, values[i]);
        *at++ = i < count - 1 ? ' ' : '\n';
        if (block + theBlockSize - at < theNumberSize || i == count - 1)
        {
            out.write(block, at - block);
            at = block;
        }
    }
    return !out.fail();
}

bool
UTawrite(std::ostream &out, const short *values, int count)
{
    return utWriteNumbers(out, values, count);
}

bool
UTawrite(std::ostream &out, const unsigned short *values, int count)
{
    return utWriteNumbers(out, values, count);
}

bool
UTawrite(std::ostream &out, const int *values, int count)
{
    return utWriteNumbers(out, values, count);
}

bool
UTawrite(std::ostream &out, const unsigned *values, int count)
{
    return utWriteNumbers(out, values, count);
}

bool
UTawrite(std::ostream &out, const int64 *values, int count)
{
    return utWriteNumbers(out, values, count);
}

bool
UTawrite(std::ostream &out, const uint64 *values, int count)
{
    return utWriteNumbers(out, values, count);
}

bool
UTawrite(std::ostream &out, const float *values, int count)
{
    return utWriteNumbers(out, values, count);
}

bool
UTawrite(std::ostream &out, const double *values, int count)
{
    return utWriteNumbers(out, values, count);
}

// The length of a text that a caller passes, and a text instead of null.
static int
utMeasure(const char *&bytes, int length)
{
    if (!bytes)
    {
        bytes = "";
        return 0;
    }
    return length < 0 ? SYSnarrow<int>(strlen(bytes)) : length;
}

bool
UTsaveStringBinary(
    std::ostream &out, UT_ISTREAM_RLE_IO rle, const char *bytes, int length)
{
    length = utMeasure(bytes, length);
    char fields[1 + 2 + 4 + 8];
    char *at = fields;
    uint64 field = 0;
    uint64 escape = 0;
    for (int bits = 8; bits <= 64 && field == escape; bits *= 2)
    {
        if (bits < int(rle) && bits < 64)
            continue;
        escape = ~uint64(0) >> (64 - bits);
        field = std::min(uint64(length), escape);
        for (int shift = bits; shift > 0;)
            *at++ = char(field >> (shift -= 8));
    }
    out.write(fields, at - fields);
    out.write(bytes, length);
    return !out.fail();
}

static const char *
utFind(const char *bytes, const char *end, char byte)
{
    const void *const found = memchr(bytes, byte, size_t(end - bytes));
    return found ? static_cast<const char *>(found) : end;
}

bool
UTsaveStringAscii(std::ostream &out, const char *bytes, int length)
{
    length = utMeasure(bytes, length);
    const char *const end = bytes + length;
    const char *quote = utFind(bytes, end, '"');
    const char *backslash = utFind(bytes, end, '\\');
    out.put('"');
    for (;;)
    {
        const char *const run = bytes;
        bytes = std::min(quote, backslash);
        out.write(run, bytes - run);
        if (bytes == end)
            break;
        // The next run starts with the byte that this is for.
        out.put('\\');
        if (bytes == quote)
            quote = utFind(bytes + 1, end, '"');
        else
            backslash = utFind(bytes + 1, end, '\\');
    }
    out.put('"');
    return !out.fail();
}
