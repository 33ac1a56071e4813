// Values of the other byte order. Files hold theirs big-endian.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <cstddef>
#include <type_traits>

/// Whether this machine stores the low byte of a value last, as files do.
constexpr bool
UThostIsBigEndian()
{
    return __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
}

/// `value`, an integer of 16, 32 or 64 bits, with its bytes in reverse. For
/// floats there are arrays only: a float whose bytes are reversed is no value
/// that survives being passed along.
template <class T>
constexpr T
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

/// Copies `count` values of `width` bytes (1, 2, 4 or 8), each with its bytes
/// in reverse. `to` and `from` are the same or do not overlap, and need no
/// alignment. O(count), with the processor's widest vectors.
UT_API void UTswapBytes(void *to, const void *from, size_t count, size_t width);

/// The same for an array in place, and from one array to another.
template <class T>
void
UTswapBytes(T *values, size_t count)
{
    static_assert(std::is_arithmetic_v<T>);
    UTswapBytes(values, values, count, sizeof(T));
}
template <class T>
void
UTswapBytes(T *to, const T *from, size_t count)
{
    static_assert(std::is_arithmetic_v<T>);
    UTswapBytes(to, from, count, sizeof(T));
}
