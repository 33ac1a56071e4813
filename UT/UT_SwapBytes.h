// Conversion of the byte order. Values in files are big-endian.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <cstddef>
#include <cstring>
#include <type_traits>

/// Whether this machine stores the low byte of a value last, as in files.
constexpr bool
UThostIsBigEndian()
{
    return __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
}

/// `value`, an integer of 16, 32 or 64 bits, with its bytes reversed: 0x1234
/// becomes 0x3412. Floats can be converted in arrays only: passing a float
/// whose bytes are reversed may change its bits.
template <class T>
[[gnu::always_inline]] constexpr T
UTswapBytes(T value)
{
    static_assert(std::is_integral_v<T>);
    static_assert(sizeof(T) == 2 || sizeof(T) == 4 || sizeof(T) == 8);
    if constexpr (sizeof(T) == 2)
        return T(__builtin_bswap16(uint16(value)));
    else if constexpr (sizeof(T) == 4)
        return T(__builtin_bswap32(uint32(value)));
    else
        return T(__builtin_bswap64(uint64(value)));
}

/// Copies `count` values of `width` bytes (1, 2, 4 or 8), reversing the bytes
/// of each. `to` and `from` are the same or do not overlap, and need no
/// alignment. O(count), with the processor's widest vectors.
UT_API void UTswapBytes(void *to, const void *from, size_t count, size_t width);

/// Copies the elements of an array, reversing the bytes of each. `to` and
/// `from` are the same or do not overlap.
template <class T>
void
UTswapBytes(T *to, const T *from, size_t count)
{
    static_assert(std::is_arithmetic_v<T>);
    if constexpr (sizeof(T) == 2 || sizeof(T) == 4 || sizeof(T) == 8)
    {
        // A few, for which a call would cost more.
        if (count < 64 / sizeof(T))
        {
            using Word = std::conditional_t<
                sizeof(T) == 2, uint16,
                std::conditional_t<sizeof(T) == 4, uint32, uint64>>;
            for (size_t i = 0; i < count; ++i)
            {
                Word word;
                memcpy(&word, from + i, sizeof(word));
                word = UTswapBytes(word);
                memcpy(to + i, &word, sizeof(word));
            }
            return;
        }
    }
    UTswapBytes(to, from, count, sizeof(T));
}

/// Reverses the bytes of each element of an array.
template <class T>
void
UTswapBytes(T *values, size_t count)
{
    UTswapBytes(values, values, count);
}
