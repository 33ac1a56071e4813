// Scanning a stream buffer: lines, words, numbers, quoted strings.

#include "UT_IStreamBuf.h"

#include "UT_CharImpl.h"
#include "UT_WorkBuffer.h"

#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

// Texts are short as a rule: the fast ways look at a fixed number of bytes, so
// that no branch depends on a length, and give up on longer texts and near the
// end of the block. A work buffer has room for more bytes than they copy.
#ifdef __SSE2__
static __m128i
utLoad(const char *bytes)
{
    __m128i block;
    memcpy(&block, bytes, sizeof(block));
    return block;
}

// Which of 16 bytes are white space, a bit for each.
static uint32
utSpaces(const char *bytes)
{
    const __m128i block = utLoad(bytes);
    const __m128i blanks = _mm_cmpeq_epi8(block, _mm_set1_epi8(' '));
    // From the tab to the carriage return.
    const __m128i above = _mm_sub_epi8(block, _mm_set1_epi8('\t'));
    const __m128i others =
        _mm_cmpeq_epi8(_mm_min_epu8(above, _mm_set1_epi8('\r' - '\t')), above);
    return uint32(_mm_movemask_epi8(_mm_or_si128(blanks, others)));
}

// Bytes that the fast ways may copy. Each work buffer has room for them from
// the start, and is never smaller.
static const int theShortLine = 256;
static const int theShortWord = 32;

// A line of less than theShortLine bytes.
inline bool
UT_IStreamBuf::getShortLine(UT_WorkBuffer &buffer, int delimiter)
{
    static_assert(theShortLine <= sizeof(buffer.myStackBuffer));
    const char *const line = myLoadBuffer + myLoadPos;
    const int available = buffer.myLockCount ? 0 : pending();
    const __m128i wanted = _mm_set1_epi8(char(delimiter));
    const auto same = [&](int at)
    {
        const __m128i equal = _mm_cmpeq_epi8(utLoad(line + at), wanted);
        return uint64(uint32(_mm_movemask_epi8(equal)));
    };
    for (int at = 0; at < theShortLine && at + 64 <= available; at += 64)
    {
        memcpy(buffer.myBuffer + at, line + at, 64);
        const uint64 found = same(at) | same(at + 16) << 16 |
                             same(at + 32) << 32 | same(at + 48) << 48;
        if (!found)
            continue;
        int length = at + __builtin_ctzll(found);
        myLoadPos += length + 1;
        if (delimiter == '\n' && length > 0 && line[length - 1] == '\r')
            --length;
        buffer.myBuffer[length] = '\0';
        buffer.myLength = length;
        return true;
    }
    return false;
}

// A word that ends at white space within the next theShortWord of 64
// bytes.
inline bool
UT_IStreamBuf::getShortWord(UT_WorkBuffer &buffer)
{
    static_assert(theShortWord <= sizeof(buffer.myStackBuffer));
    if (buffer.myLockCount || pending() < 64)
        return false;
    const char *const bytes = myLoadBuffer + myLoadPos;
    const uint32 spaces = utSpaces(bytes) | utSpaces(bytes + 16) << 16;
    if (spaces == ~uint32(0))
        return false;
    const int start = __builtin_ctz(~spaces);
    const uint32 behind = spaces >> start;
    if (behind == 0)
        return false;
    const int length = __builtin_ctz(behind);
    memcpy(buffer.myBuffer, bytes + start, theShortWord);
    buffer.myBuffer[length] = '\0';
    buffer.myLength = length;
    myLoadPos += start + length;
    return true;
}
#else
inline bool
UT_IStreamBuf::getShortLine(UT_WorkBuffer &, int)
{
    return false;
}

inline bool
UT_IStreamBuf::getShortWord(UT_WorkBuffer &)
{
    return false;
}
#endif

// The first white space from `bytes` on, or `end`.
static const char *
utFindSpace(const char *bytes, const char *end)
{
    while (bytes < end && !utIsSpace(*bytes))
        ++bytes;
    return bytes;
}

bool
UT_IStreamBuf::getLine(UT_WorkBuffer &buffer, int delimiter)
{
    if (myError)
        return false;
    if (getShortLine(buffer, delimiter))
        return true;
    buffer.clear();
    if (!ensurePending())
        return false;
    do
    {
        const char *const from = myLoadBuffer + myLoadPos;
        const void *const found =
            memchr(from, delimiter, size_t(myLoadEnd - myLoadPos));
        if (found)
        {
            const int count = int(static_cast<const char *>(found) - from);
            buffer.append(from, count);
            myLoadPos += count + 1;
            break;
        }
        buffer.append(from, pending());
        myLoadPos = myLoadEnd;
    } while (loadBuffer());

    const int length = buffer.length();
    if (delimiter == '\n' && length > 0 && buffer(length - 1) == '\r' &&
        !buffer.isLocked())
        buffer.write(length - 1, '\0');
    return true;
}

bool
UT_IStreamBuf::skipLine(int delimiter)
{
    if (!ensurePending())
        return false;
    do
    {
        const char *const from = myLoadBuffer + myLoadPos;
        const void *const found =
            memchr(from, delimiter, size_t(myLoadEnd - myLoadPos));
        if (found)
        {
            myLoadPos += int(static_cast<const char *>(found) - from) + 1;
            break;
        }
        myLoadPos = myLoadEnd;
    } while (loadBuffer());
    return true;
}

bool
UT_IStreamBuf::skipLeadingWhitespace()
{
    while (ensurePending())
    {
        const char *byte = myLoadBuffer + myLoadPos;
        const char *const end = myLoadBuffer + myLoadEnd;
        while (byte < end && utIsSpace(*byte))
            ++byte;
        myLoadPos = int(byte - myLoadBuffer);
        if (byte < end)
            return true;
    }
    return false;
}

bool
UT_IStreamBuf::getWord(UT_WorkBuffer &buffer)
{
    if (myError)
        return false;
    if (getShortWord(buffer))
        return true;
    buffer.clear();
    if (!skipLeadingWhitespace())
        return false;
    do
    {
        const char *const from = myLoadBuffer + myLoadPos;
        const char *const end = myLoadBuffer + myLoadEnd;
        const char *const space = utFindSpace(from, end);
        buffer.append(from, int(space - from));
        myLoadPos = int(space - myLoadBuffer);
        if (space < end)
            break;
    } while (loadBuffer());
    return true;
}

namespace
{

// What of a number has been seen, from block to block: the bytes before may
// not be stored anywhere.
struct ut_NumberScan
{
    // The first byte that does not belong to the number, or `end`.
    const char *run(const char *byte, const char *end)
    {
        for (; byte < end; ++byte)
        {
            if (utIsDigit(*byte) ||
                (myIsSignNext && (*byte == '+' || *byte == '-')))
                myIsSignNext = false;
            else if (*byte == '.' && !myHasPoint && !myHasExponent)
                myHasPoint = true;
            else if ((*byte == 'e' || *byte == 'E') && !myHasExponent)
                myHasExponent = myIsSignNext = true;
            else
                break;
        }
        return byte;
    }

    [[nodiscard]] bool isFloat() const { return myHasPoint || myHasExponent; }

    bool myHasPoint = false;
    bool myHasExponent = false;
    bool myIsSignNext = false; // the last byte was the exponent letter
};

} // namespace

static bool
utStartsNumber(char byte)
{
    return utIsDigit(byte) || byte == '.' || byte == '+' || byte == '-';
}

bool
UT_IStreamBuf::getNumber(UT_WorkBuffer &buffer, bool &isFloat)
{
    isFloat = false;
    if (myError)
        return false;
    buffer.clear();
    if (!skipLeadingWhitespace())
        return false;
    if (!utStartsNumber(myLoadBuffer[myLoadPos]))
        return getWord(buffer);

    ut_NumberScan scan;
    // Deliberate: the first byte is not looked at.
    int skipped = 1;
    do
    {
        const char *const from = myLoadBuffer + myLoadPos;
        const char *const end = myLoadBuffer + myLoadEnd;
        const char *const stop = scan.run(from + skipped, end);
        skipped = 0;
        buffer.append(from, int(stop - from));
        myLoadPos = int(stop - myLoadBuffer);
        if (stop < end)
            break;
    } while (loadBuffer());
    isFloat = scan.isFloat();
    return true;
}

// As getNumber(), but a number that ends before the block does is not copied.
bool
UT_IStreamBuf::nextNumber(UT_WorkBuffer &spare, NumberText &number)
{
    if (!skipLeadingWhitespace())
        return false;
    const char *const from = myLoadBuffer + myLoadPos;
    const char *const end = myLoadBuffer + myLoadEnd;
    if (utStartsNumber(*from))
    {
        ut_NumberScan scan;
        const char *const stop = scan.run(from + 1, end);
        if (stop < end)
        {
            number = {from, int(stop - from), scan.isFloat()};
            myLoadPos = int(stop - myLoadBuffer);
            return true;
        }
    }
    if (!getNumber(spare, number.isFloat))
        return false;
    number.bytes = spare.buffer();
    number.length = spare.length();
    return true;
}

// Consumes a double quote or backslash after a backslash just consumed.
void
UT_IStreamBuf::takeEscaped(char &byte)
{
    if (!ensurePending())
        return;
    const char next = myLoadBuffer[myLoadPos];
    if (next != '"' && next != '\\')
        return;
    byte = next;
    ++myLoadPos;
}

bool
UT_IStreamBuf::getString(UT_WorkBuffer &buffer)
{
    if (myError)
        return false;
    buffer.clear();
    if (!skipLeadingWhitespace())
        return false;
    const char first = myLoadBuffer[myLoadPos++];
    // Deliberate: a text does not start with a byte of 128 or more.
    if (int8(first) < 0)
        return false;
    const bool isQuoted = first == '"';
    const bool isQuoteNext =
        first == '\\' && ensurePending() && myLoadBuffer[myLoadPos] == '"';
    if (!isQuoted && !isQuoteNext)
        buffer.append(first);

    while (ensurePending())
    {
        const char *const from = myLoadBuffer + myLoadPos;
        const char *const end = myLoadBuffer + myLoadEnd;
        const char *stop = from;
        while (stop < end && *stop != '\\' &&
               !(isQuoted ? *stop == '"' : utIsSpace(*stop)))
            ++stop;
        buffer.append(from, int(stop - from));
        myLoadPos = int(stop - myLoadBuffer);
        if (stop == end)
            continue;
        if (*stop != '\\')
        {
            myLoadPos += isQuoted; // white space is left
            return true;
        }
        ++myLoadPos;
        char byte = '\\';
        takeEscaped(byte);
        buffer.append(byte);
    }
    return !isQuoted;
}

bool
UT_IStreamBuf::getAll(UT_WorkBuffer &buffer)
{
    if (myError)
        return false;
    buffer.clear();
    buffer.append(myLoadBuffer + myLoadPos, pending());
    myLoadPos = myLoadEnd;
    appendRestOfFile(buffer);
    while (!endOfBuffer() && loadBuffer())
    {
        buffer.append(myLoadBuffer + myLoadPos, pending());
        myLoadPos = myLoadEnd;
    }
    return true;
}
