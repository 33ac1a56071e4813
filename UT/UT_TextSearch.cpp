// The search for a short text by vectors, block by block until one has the NUL.
// A block is aligned, so that it lies on one page: if one byte of it may be
// read all may.

#include "UT_TextSearchImpl.h"

#include "SYS/SYS_Types.h"
#include "SYS/SYS_VectorsImpl.h"

#include <cstdint>
#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>

// The sanitizers do not know what may be read of a block.
#define UT_VECTORS                                                         \
    [[gnu::target("avx512bw,avx512vl,bmi,bmi2"), gnu::no_sanitize_address, \
      gnu::no_sanitize_thread, SYS_ALIGNS_STACK]]
// In 32 bits the compiler inlines nothing here on its own.
#define UT_VECTORS_INLINE \
    [[gnu::target("avx512bw,avx512vl,bmi,bmi2"), gnu::always_inline]]

namespace
{

// In 32 bits longer vectors might linger.
#ifdef __i386__
#define UT_BYTES(operation) _mm_##operation
using ut_Bytes = __m128i;
using ut_Mask = __mmask16;
#else
#define UT_BYTES(operation) _mm256_##operation
using ut_Bytes = __m256i;
using ut_Mask = __mmask32;
#endif
constexpr size_t theBlock = sizeof(ut_Bytes);
constexpr size_t thePair = 2 * theBlock;
constexpr size_t theFour = 4 * theBlock; // on one page, too

// A bit for each byte of a block, the lowest for the first.
using ut_Places = uint32;
constexpr ut_Places theAllPlaces = ut_Mask(-1);
static_assert(theLongestVectorText == theBlock);

UT_VECTORS_INLINE inline ut_Bytes
utLoad(const char *from)
{
    ut_Bytes bytes;
    memcpy(&bytes, from, sizeof(bytes));
    return bytes;
}

// Bytes at other places are not read, and are zero.
UT_VECTORS_INLINE inline ut_Bytes
utLoadAt(ut_Places places, const char *from)
{
    return UT_BYTES(maskz_loadu_epi8)(ut_Mask(places), from);
}

// The result of a comparison. One whose result is a mask takes longer.
UT_VECTORS_INLINE inline ut_Places
utPlaces(ut_Bytes isSame)
{
    return ut_Places(UT_BYTES(movemask_epi8)(isSame));
}

UT_VECTORS_INLINE inline ut_Places
utZeros(ut_Bytes bytes)
{
    return utPlaces(UT_BYTES(cmpeq_epi8)(bytes, ut_Bytes()));
}

class ut_VectorSearch
{
public:
    UT_VECTORS_INLINE ut_VectorSearch(const char *text, size_t length)
        : myToLast(length - 1), myPlaces(theAllPlaces >> (theBlock - length)),
          myText(utLoadAt(myPlaces, text)),
          myFirst(UT_BYTES(set1_epi8)(text[0])),
          myLast(UT_BYTES(set1_epi8)(text[length - 1]))
    {
    }

    // Looks at these places of a block. Returns whether the search ends there,
    // and then sets `found` to the text, or to null for the NUL.
    UT_VECTORS_INLINE [[nodiscard]] bool
    endsIn(const char *block, ut_Places places, const char *&found) const
    {
        const ut_Bytes bytes = utLoad(block);
        const ut_Places ends = places & utZeros(bytes);
        if (!ends)
        {
            // The next block may be read, too.
            const ut_Bytes lasts = utLoad(block + myToLast);
            found = findAt(places & utPlaces(candidates(bytes, lasts)), block);
            return found != nullptr;
        }
        const ut_Places beforeEnd = ~ends & (ends - 1);
        const ut_Bytes lasts =
            utLoadAt(theAllPlaces >> myToLast, block + myToLast);
        places &= beforeEnd >> myToLast;
        found = findAt(places & utPlaces(candidates(bytes, lasts)), block);
        return true;
    }

    // Whether endsIn() may be true for one of the two blocks of a pair.
    UT_VECTORS_INLINE [[nodiscard]] bool mayEndIn(const char *pair) const
    {
        const ut_Bytes a = utLoad(pair);
        const ut_Bytes b = utLoad(pair + theBlock);
        if (utZeros(UT_BYTES(min_epu8)(a, b)))
            return true;
        return utPlaces(
            candidates(a, utLoad(pair + myToLast)) |
            candidates(b, utLoad(pair + theBlock + myToLast)));
    }

    // The first block with a NUL or the first byte of the text, or that of the
    // four that have one.
    UT_VECTORS_INLINE [[nodiscard]] const char *skip(const char *block) const
    {
        for (; uintptr_t(block) % theFour != 0; block += theBlock)
            if (utZeros(zeroIfEither(block)))
                return block;
        for (;; block += theFour)
        {
            const ut_Bytes a = UT_BYTES(min_epu8)(
                zeroIfEither(block), zeroIfEither(block + theBlock));
            const ut_Bytes b = UT_BYTES(min_epu8)(
                zeroIfEither(block + 2 * theBlock),
                zeroIfEither(block + 3 * theBlock));
            if (utZeros(UT_BYTES(min_epu8)(a, b)))
                return block;
        }
    }

private:
    // Bytes that are zero for a NUL and for the first byte of the text.
    UT_VECTORS_INLINE [[nodiscard]] ut_Bytes
    zeroIfEither(const char *block) const
    {
        const ut_Bytes bytes = utLoad(block);
        return UT_BYTES(min_epu8)(bytes, bytes ^ myFirst);
    }

    // Places that the first and the last byte of the text would fit.
    UT_VECTORS_INLINE [[nodiscard]] ut_Bytes
    candidates(ut_Bytes firsts, ut_Bytes lasts) const
    {
        return UT_BYTES(cmpeq_epi8)(firsts, myFirst) &
               UT_BYTES(cmpeq_epi8)(lasts, myLast);
    }

    UT_VECTORS_INLINE [[nodiscard]] const char *
    findAt(ut_Places candidates, const char *block) const
    {
        for (; candidates; candidates &= candidates - 1)
        {
            const char *const place = block + __builtin_ctz(candidates);
            if (!UT_BYTES(cmpneq_epi8_mask)(utLoadAt(myPlaces, place), myText))
                return place;
        }
        return nullptr;
    }

    size_t myToLast;    // bytes from the first to the last
    ut_Places myPlaces; // of the text in a block
    ut_Bytes myText;    // and zeros
    ut_Bytes myFirst;
    ut_Bytes myLast;
};

} // namespace

UT_VECTORS const char *
utFindByVectors(const char *begin, const char *text, size_t length)
{
    const ut_VectorSearch search(text, length);
    const size_t before = uintptr_t(begin) % theBlock;
    const char *block = begin - before;
    const char *found;
    if (search.endsIn(block, theAllPlaces << before, found))
        return found;
    block += theBlock;
    if (search.endsIn(block, theAllPlaces, found))
        return found;
    block += theBlock;
    // Where the first byte is rare it is faster to look for it alone, where it
    // is not it is slower: each time more blocks follow in which it is not.
    for (size_t size = thePair;; size *= 2)
    {
        block = search.skip(block);
        block -= uintptr_t(block) % thePair; // some are looked at twice
        for (const char *const end = block + size; block != end;
             block += thePair)
            if (search.mayEndIn(block) &&
                (search.endsIn(block, theAllPlaces, found) ||
                 search.endsIn(block + theBlock, theAllPlaces, found)))
                return found;
    }
}

#else
const char *
utFindByVectors(const char *, const char *, size_t)
{
    return nullptr;
}
#endif
