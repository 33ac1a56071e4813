// Sixteen bytes of a text at a time.

#pragma once

#include "SYS/SYS_Types.h"

#include <cstddef>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

// Sixteen bytes of a text, or what became of them.
using ut_Block = uint8 __attribute__((vector_size(16)));

inline ut_Block
utLoadBlock(const char *bytes)
{
    ut_Block block;
    memcpy(&block, bytes, sizeof(block));
    return block;
}

#ifdef __SSE2__
// The bytes of a block that are not 0, a bit for each: they are 0 or 255.
inline unsigned
utBits(ut_Block block)
{
    __m128i bytes;
    memcpy(&bytes, &block, sizeof(bytes));
    return unsigned(_mm_movemask_epi8(bytes));
}

inline bool
utHasAny(ut_Block block)
{
    return utBits(block) != 0;
}

// The first byte of a block that is not 0; there is one.
inline int
utFirst(ut_Block block)
{
    return __builtin_ctz(utBits(block));
}
#else
inline bool
utHasAny(ut_Block block)
{
    uint64 halves[2];
    memcpy(halves, &block, sizeof(block));
    return (halves[0] | halves[1]) != 0;
}

inline int
utFirst(ut_Block block)
{
    int first = 0;
    while (block[first] == 0)
        ++first;
    return first;
}
#endif
