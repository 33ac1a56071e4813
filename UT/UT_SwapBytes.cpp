#include "UT_SwapBytes.h"

#include "SYS/SYS_VectorsImpl.h"

#include <cstring>

// The loops, with what they call, are inlined into a function for each kind of
// processor, and this file is compiled so that they become vector code there.

template <class Word>
[[gnu::always_inline]] static inline void
utSwapInPlace(char *bytes, size_t count)
{
    for (size_t i = 0; i < count; ++i)
    {
        Word word;
        memcpy(&word, bytes + i * sizeof(word), sizeof(word));
        word = UTswapBytes(word);
        memcpy(bytes + i * sizeof(word), &word, sizeof(word));
    }
}

template <class Word>
[[gnu::always_inline]] static inline void
utSwapCopy(char *__restrict to, const char *__restrict from, size_t count)
{
    for (size_t i = 0; i < count; ++i)
    {
        Word word;
        memcpy(&word, from + i * sizeof(word), sizeof(word));
        word = UTswapBytes(word);
        memcpy(to + i * sizeof(word), &word, sizeof(word));
    }
}

template <class Word>
[[gnu::always_inline]] static inline void
utSwapWords(char *to, const char *from, size_t count)
{
    if (to == from)
        utSwapInPlace<Word>(to, count);
    else
        utSwapCopy<Word>(to, from, count);
}

[[gnu::always_inline]] static inline void
utSwap(char *to, const char *from, size_t count, size_t width)
{
    switch (width)
    {
    case 2:
        utSwapWords<uint16>(to, from, count);
        break;
    case 4:
        utSwapWords<uint32>(to, from, count);
        break;
    case 8:
        utSwapWords<uint64>(to, from, count);
        break;
    default:
        memmove(to, from, count);
        break;
    }
}

#if defined(__x86_64__) || defined(__i386__)
// In 32 bits longer vectors might linger.
#ifdef __i386__
#define UT_VECTORS "ssse3"
#else
#define UT_VECTORS "avx2"
#endif

// Bytes from which on vectors pay for the call.
static constexpr size_t theLongBytes = 64;

[[gnu::target(UT_VECTORS), SYS_ALIGNS_STACK]] static void
utSwapByVectors(char *to, const char *from, size_t count, size_t width)
{
    utSwap(to, from, count, width);
}
#endif

void
UTswapBytes(void *to, const void *from, size_t count, size_t width)
{
    char *const target = static_cast<char *>(to);
    const char *const source = static_cast<const char *>(from);
#if defined(__x86_64__) || defined(__i386__)
    if (count * width >= theLongBytes && __builtin_cpu_supports(UT_VECTORS))
    {
        utSwapByVectors(target, source, count, width);
        return;
    }
#endif
    utSwap(target, source, count, width);
}
