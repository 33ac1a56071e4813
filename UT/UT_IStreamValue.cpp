// Values from a stream: numbers, binary and as text, and strings.

#include "UT_IStream.h"

#include "UT_AllocImpl.h"
#include "UT_CharImpl.h"
#include "UT_NumberImpl.h"
#include "UT_String.h"
#include "UT_SwapBytes.h"
#include "UT_WorkBuffer.h"

#include "SYS/SYS_Floor.h"

#include <algorithm>
#include <cfenv>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include <locale.h>

// Whether another read would find nothing. Only the next byte shows that,
// and its value may be that of the end.
bool
UT_IStream::isUsedUp() const
{
    return myStream->peekc() == -1 && isEof();
}

// Reverses the bytes of one value where it stands.
template <class Word>
static void
utSwapOne(char *bytes)
{
    Word word;
    memcpy(&word, bytes, sizeof(word));
    word = UTswapBytes(word);
    memcpy(bytes, &word, sizeof(word));
}

// A value's bytes as a number.
template <class T>
using ut_Word = std::conditional_t<
    sizeof(T) == 2, uint16, std::conditional_t<sizeof(T) == 4, uint32, uint64>>;

// One value, without what many need.
template <class T>
inline int
UT_IStream::readValue(T *value)
{
    char *const bytes = static_cast<char *>(static_cast<void *>(value));
    const int size = int(sizeof(T));
    // With nothing pending, that is all that the buffer's bread() does.
    const bool isDirect = !myStream->pending() && !myStream->hasError();
    const int got =
        isDirect ? myStream->read(bytes, size) : myStream->bread(bytes, size);
    if (got == size && !UThostIsBigEndian())
        utSwapOne<ut_Word<T>>(bytes);
    if (myStream->hasError())
        checked(true);
    return got == size;
}

// Swaps the values while they are in the cache.
template <class T>
__attribute__((noinline)) int
UT_IStream::readMany(T *values, int count)
{
    // Each look for the end between two parts has the source read ahead, which
    // costs a copy.
    const int most = (1 << 20) / int(sizeof(T));
    int whole = 0;
    int got = most;
    // Several reads act as one, which does not meet the end if it got
    // everything.
    while (!myError && !myStream->hasError() && whole < count && got == most &&
           (whole == 0 || !isUsedUp()))
    {
        T *const next = values + whole;
        const int wanted = std::min(count - whole, most);
        got = myStream->bread(
            static_cast<char *>(static_cast<void *>(next)),
            wanted * int(sizeof(T)));
        got /= int(sizeof(T));
        if (!UThostIsBigEndian())
            UTswapBytes(next, size_t(got));
        whole += got;
    }
    // Also for what was found while looking for the end.
    checked(true);
    return whole;
}

template <class T>
inline int
UT_IStream::readValues(T *values, int count)
{
    return count == 1 && !myError ? readValue(values) : readMany(values, count);
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

// The result of strtol() for a text that getNumber() stored.
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

// The standard library of a 32-bit processor may be built for one without
// floats of its own or, on x86, for one that rounds a product twice: to its
// wide registers, and from there to a double.
static constexpr bool theFromCharsIsExact = sizeof(void *) > 4;

double
utToDouble(const char *text, const char *end)
{
    // It knows no other direction of rounding.
    if (theFromCharsIsExact && fegetround() == FE_TONEAREST)
    {
        const char *const digits = text < end && *text == '+' ? text + 1 : text;
        double value = 0;
        const auto result = std::from_chars(digits, end, value);
        if (result.ec == std::errc() && *digits <= '9')
            return value;
        // A word, or a number at an end of the range.
    }
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

// The usual integer, if it ends before `end` and is nothing else: its value,
// and the byte after it. Null for what needs a full parse.
static const char *
utQuickNumber(const char *text, const char *end, long &value)
{
    const ut_LeadingDigits leading(text, end);
    const uint64 digits = leading.value;
    text = leading.after;
    if (text == end || text == leading.first ||
        text - leading.first > theExactDigits || *text == '.' || *text == 'e' ||
        *text == 'E' || digits > LONG_MAX)
        return nullptr;
    value = leading.isNegative ? -long(digits) : long(digits);
    return text;
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
    UT_IStreamBuf &in = *myStream;
    UT_WorkBuffer spare;
    UT_IStreamBuf::NumberText text;
    int read = 0;
    for (; read < count && in.skipLeadingWhitespace(); ++read)
    {
        std::conditional_t<std::is_floating_point_v<T>, double, long> value;
        const char *const after = utQuickNumber(
            in.myLoadBuffer + in.myLoadPos, in.myLoadBuffer + in.myLoadEnd,
            value);
        if (after)
        {
            in.myLoadPos = int(after - in.myLoadBuffer);
            values[read] = T(value);
            continue;
        }
        if (!in.nextNumber(spare, text))
            break;
        values[read] =
            utToNumber<T>(text.bytes, text.bytes + text.length, text.isFloat);
    }
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

// The next `length` bytes and a NUL; null when there are fewer. The block grows
// with the bytes that arrive: a stored length may be huge, and memory be
// allocated for it, when no bytes follow.
static ut_BlockOwner<char>
utReadText(UT_IStreamBuf &source, int length)
{
    int room = std::min(length, 1 << 20);
    ut_BlockOwner<char> text(static_cast<char *>(utAllocate(size_t(room) + 1)));
    for (int used = 0;;)
    {
        used += source.bread(text.get() + used, room - used);
        if (used < room)
            return nullptr;
        if (room == length)
            break;
        room = room > length / 2 ? length : room * 2;
        char *const longer = static_cast<char *>(
            utChecked(realloc(text.get(), size_t(room) + 1)));
        (void)text.release();
        text.reset(longer);
    }
    text.get()[length] = '\0';
    return text;
}

bool
UT_IStream::readBinaryString(UT_String &text, UT_ISTREAM_RLE_IO rle)
{
    int64 length = 0;
    if (myError)
        return false;
    ut_BlockOwner<char> read;
    if (readLength(rle, length) && length < INT_MAX)
        read = utReadText(*myStream, int(length));
    if (!read)
    {
        setError();
        return false;
    }
    text.own(read.release());
    return true;
}

namespace
{

// Another read type as long as the object is there.
class ut_ReadType
{
public:
    ut_ReadType(UT_IStream &stream, UT_ISTREAM_READTYPE type) : myStream(stream)
    {
        stream.pushBinary(type);
    }
    ~ut_ReadType() { myStream.popBinary(); }
    ut_ReadType(const ut_ReadType &) = delete;
    ut_ReadType &operator=(const ut_ReadType &) = delete;

private:
    UT_IStream &myStream;
};

} // namespace

bool
UT_IStream::readString(UT_String &text, bool binary)
{
    const ut_ReadType type(
        *this, binary ? UT_ISTREAM_BINARY : UT_ISTREAM_ASCII);
    return text.load(*this);
}
