// What an expansion copies as it is: the bytes up to the next that may be
// special.

#pragma once

#include "UT_CharImpl.h"
#include "UT_StringImpl.h"
#include "UT_WorkBuffer.h"

#include "SYS/SYS_Types.h"
#include "SYS/SYS_VectorsImpl.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#ifdef __SSE2__
#include <immintrin.h>
#endif

// Characters that are not simply copied.
enum : unsigned char
{
    UT_SCAN_ALWAYS = 1,
    UT_SCAN_COMMENTS = 2, // where comments count
    UT_SCAN_BRACES = 4,   // between the braces of a reference
    UT_SCAN_NAME = 8      // nowhere: they are copied, and make up names
};

inline constexpr struct ut_ScanTable
{
    constexpr ut_ScanTable() : kinds()
    {
        for (const char c : {'\0', '\\', '$', '~', '`', '\''})
            kinds[uint8(c)] = UT_SCAN_ALWAYS;
        kinds[uint8('/')] = UT_SCAN_COMMENTS;
        kinds[uint8('{')] = kinds[uint8('}')] = UT_SCAN_BRACES;
        for (int c = 0; c < 128; ++c)
            if (utIsLetter(char(c)) || utIsDigit(char(c)) || c == '_')
                kinds[c] = UT_SCAN_NAME;
    }

    unsigned char kinds[256];
} theScanTable;

#ifdef __SSE2__
// Skips bytes that are simply copied, sixteen at a time; those from `start` to
// `text` are. Returns the first that is not, or `end`, or `text` when that is
// less than sixteen bytes before it.
//
// A bit that two bytes differ in does not count, so that one comparison finds
// both; the table separates the others that it finds from them.
inline const char *
utSkipOrdinary(const char *text, const char *end, unsigned special)
{
    const char *const start = text;
    const auto bits = [](__m128i block, char ignoredBits, char byte)
    {
        return _mm_cmpeq_epi8(
            _mm_or_si128(block, _mm_set1_epi8(ignoredBits)),
            _mm_set1_epi8(byte));
    };
    const char slash = special & UT_SCAN_COMMENTS ? '/' : '`';
    const char brace = special & UT_SCAN_BRACES ? '\x7f' : '`';
    const char braceBits = special & UT_SCAN_BRACES ? 6 : 0;
    const auto findIn = [&](const char *first) -> const char *
    {
        __m128i block;
        memcpy(&block, first, sizeof(block));
        const __m128i found = _mm_or_si128(
            _mm_or_si128(
                _mm_or_si128(
                    bits(block, 0x22, '~'), // and a backslash
                    bits(block, 3, '\'')),  // and a dollar sign
                bits(block, 0, '`')),
            _mm_or_si128(bits(block, 0, slash), bits(block, braceBits, brace)));
        for (int left = _mm_movemask_epi8(found); left; left &= left - 1)
        {
            const char *const candidate = first + __builtin_ctz(unsigned(left));
            if (theScanTable.kinds[uint8(*candidate)] & special)
                return candidate;
        }
        return nullptr;
    };
    for (; end - text >= 16; text += 16)
        if (const char *const found = findIn(text))
            return found;
    // The last bytes make a block with some that are known.
    if (text == end || end - start < 16)
        return text;
    const char *const found = findIn(end - 16);
    return found ? found : end;
}

// For each set of what is special, the bytes in it by their low halves, which
// all differ. NUL is left out, and stands where there is none.
inline constexpr struct ut_HalfTables
{
    constexpr ut_HalfTables() : bytes()
    {
        for (int byte = 1; byte < 128; ++byte)
            for (unsigned set = 0; set < 8; ++set)
                if (theScanTable.kinds[byte] & set)
                {
                    areDistinct = areDistinct && !bytes[set][byte % 16];
                    bytes[set][byte % 16] = char(byte);
                }
    }

    char bytes[8][16];
    bool areDistinct = true;
} theHalfTables;
static_assert(theHalfTables.areDistinct);

// In 32 bits longer vectors might linger.
#ifdef __i386__
#define UT_BLOCK(operation) _mm_##operation
using ut_Block = __m128i;
#else
#define UT_BLOCK(operation) _mm256_##operation
using ut_Block = __m256i;
#endif
constexpr int theBlock = sizeof(ut_Block);

// All bits are set where a byte of the block is special.
template <bool copies>
[[gnu::target("avx2"), gnu::always_inline]] inline ut_Block
utTakeBlock(
    const char *text, char *out, ptrdiff_t offset, ut_Block bytesByHalves)
{
    ut_Block block;
    memcpy(&block, text + offset, theBlock);
    if (copies)
        memcpy(out + offset, &block, theBlock);
    return UT_BLOCK(cmpeq_epi8)(
        UT_BLOCK(shuffle_epi8)(bytesByHalves, block), block);
}

// Bits are set where one of the two has a special byte.
template <bool copies>
[[gnu::target("avx2"), gnu::always_inline]] inline ut_Block
utTakeTwoBlocks(
    const char *text, char *out, ptrdiff_t offset, ut_Block bytesByHalves)
{
    return utTakeBlock<copies>(text, out, offset, bytesByHalves) |
           utTakeBlock<copies>(text, out, offset + theBlock, bytesByHalves);
}

[[gnu::target("avx2"), gnu::always_inline]] inline unsigned
utMask(ut_Block found)
{
    return unsigned(UT_BLOCK(movemask_epi8)(found));
}

// The bytes that are special, in each half of a long block.
[[gnu::target("avx2"), gnu::always_inline]] inline ut_Block
utHalves(unsigned special)
{
    __m128i bytes;
    memcpy(&bytes, theHalfTables.bytes[special], sizeof(bytes));
#ifdef __i386__
    return bytes;
#else
    return _mm256_broadcastsi128_si256(bytes);
#endif
}

// Does what utSkipOrdinary() does, with the vectors of AVX2, for a text of at
// least one block without a NUL, and may copy on the way: whole blocks, so that
// `out` has room up to `end`. Returns the first byte that is not simply copied,
// or `end`.
template <bool copies>
[[gnu::target("avx2"), SYS_ALIGNS_STACK]] const char *
utSkipBlocks(
    const char *text, const char *end, unsigned special, char *out = nullptr)
{
    const ut_Block byHalves = utHalves(special);
    const ptrdiff_t length = end - text;
    ptrdiff_t i = 0;
    // Many texts end, or have something special, in the first 64 bytes.
    for (; i < 64 && length - i >= theBlock; i += theBlock)
        if (const unsigned mask =
                utMask(utTakeBlock<copies>(text, out, i, byHalves)))
            return text + i + __builtin_ctz(mask);
    // Stores that cross the end of a cache line cost twice.
    if (copies && length - i >= 4 * theBlock)
        i -= ptrdiff_t(uintptr_t(out) % theBlock);
    // Four that have something special are looked at again, one by one.
    for (; length - i >= 4 * theBlock; i += 4 * theBlock)
        if (utMask(
                utTakeTwoBlocks<copies>(text, out, i, byHalves) |
                utTakeTwoBlocks<copies>(text, out, i + 2 * theBlock, byHalves)))
            break;
    // The last block begins with some that are known.
    for (; i < length; i += theBlock)
    {
        i = std::min(i, length - theBlock);
        if (const unsigned mask =
                utMask(utTakeBlock<copies>(text, out, i, byHalves)))
            return text + i + __builtin_ctz(mask);
    }
    return end;
}

inline bool
utHasBlocks(const char *text, const char *end)
{
    return end - text >= theBlock && __builtin_cpu_supports("avx2");
}
#else
constexpr int theBlock = 32;

inline const char *
utSkipOrdinary(const char *text, const char *, unsigned)
{
    return text;
}

template <bool copies>
const char *
utSkipBlocks(const char *text, const char *, unsigned, char * = nullptr)
{
    return text;
}

inline bool
utHasBlocks(const char *, const char *)
{
    return false;
}
#endif

// `end` is as far as the text is known to have no NUL: at its end, or some way
// on, which is close enough to stay in the cache.
inline void
utLookAhead(const char *text, const char *&end)
{
    if (end - text < 32 && *end)
        end = text + utLengthWithin(text, 4096);
}

inline bool
utIsSpecial(char c, unsigned special)
{
    return (theScanTable.kinds[uint8(c)] & special) != 0;
}

inline unsigned
utSpecialOutsideBraces(bool ignoreComments)
{
    return ignoreComments ? UT_SCAN_ALWAYS : UT_SCAN_ALWAYS | UT_SCAN_COMMENTS;
}

// The first byte that is not simply copied. There is no NUL before `wholeEnd`,
// which moves as more of the text is looked at.
inline const char *
utEndOfOrdinary(const char *text, const char *&wholeEnd, unsigned special)
{
    for (;;)
    {
        utLookAhead(text, wholeEnd);
        text = utHasBlocks(text, wholeEnd)
                   ? utSkipBlocks</*copies=*/false>(text, wholeEnd, special)
                   : utSkipOrdinary(text, wholeEnd, special);
        while (text != wholeEnd && !utIsSpecial(*text, special))
            ++text;
        if (utIsSpecial(*text, special))
            return text;
    }
}

// Ends a text whose bytes have been put into the storage.
struct ut_ScanOutput
{
    static void endAt(UT_WorkBuffer &out, int length)
    {
        out.myLength = length;
        out.myBuffer[length] = '\0';
    }
};

// Appends the bytes that are simply copied, and returns the first that is not.
inline const char *
utCopyOrdinary(
    UT_WorkBuffer &out, const char *text, const char *&wholeEnd,
    unsigned special)
{
    for (;;)
    {
        const int length = out.length();
        const int room = out.isLocked() ? 0 : out.capacity() - 1 - length;
        utLookAhead(text, wholeEnd);
        const char *const end =
            text + std::min<ptrdiff_t>(wholeEnd - text, room);
        if (!utHasBlocks(text, end))
            break;
        const char *const start = text;
        text = utSkipBlocks</*copies=*/true>(text, end, special, &out[length]);
        ut_ScanOutput::endAt(out, length + int(text - start));
        if (utIsSpecial(*text, special))
            return text;
    }
    const char *const end = utEndOfOrdinary(text, wholeEnd, special);
    if (end != text)
        out.append(text, int(end - text));
    return end;
}

struct ut_Position
{
    const char *next;     // what is not copied yet
    const char *wholeEnd; // there is no NUL before it
};

// Empties the buffer and copies what the text begins with.
[[gnu::noinline]] inline ut_Position
utCopyStart(UT_WorkBuffer &out, const char *text, unsigned special)
{
    const char *next = text;
    const char *end = text;
    if (!out.isLocked() && !utIsSpecial(*text, special))
        end += utLengthWithin(text, size_t(std::min(out.capacity() - 1, 4096)));
    if (!utHasBlocks(text, end))
        out.clear();
    else
    {
        next = utSkipBlocks</*copies=*/true>(text, end, special, &out[0]);
        ut_ScanOutput::endAt(out, int(next - text));
    }
    if (!utIsSpecial(*next, special))
        next = utCopyOrdinary(out, next, end, special);
    return {next, end};
}
