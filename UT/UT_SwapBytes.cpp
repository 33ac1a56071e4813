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
// Bytes from which on the longest vectors pay for the call, and where they
// linger.
static constexpr size_t theLongBytes = 64;
static constexpr size_t theLongLingeringBytes = 4096;

[[gnu::target("avx2")]] static void
utSwapAvx2(char *to, const char *from, size_t count, size_t width)
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
    if (sysVectorsPay(count * width, theLongBytes, theLongLingeringBytes) &&
        __builtin_cpu_supports("avx2"))
    {
        const sys_VectorUse use;
        utSwapAvx2(target, source, count, width);
        return;
    }
#endif
    utSwap(target, source, count, width);
}
