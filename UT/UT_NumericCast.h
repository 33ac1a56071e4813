// Numbers of one type as numbers of another, one by one or whole arrays.
//
// One rule holds for all of them: the result is the nearest value that the
// other type can hold. In detail:
// - To a whole number: rounds, ties away from zero (2.5 gives 3, -2.5 gives
//   -3). A value outside the type's range, infinities included, gives its
//   nearest end. NaN gives 0.
// - To a float or double: rounds as the processor does, ties to the even
//   neighbour. A value that is too large gives infinity.
// - To an fpreal16: converts to float, and then rounds, ties away from zero. A
//   value that is too large gives infinity, and negative zero becomes zero.
// - From an fpreal16: its exact value as a float is converted.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_FPReal16.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>

/// Whether numbers of this type can be converted.
template <class Number>
constexpr bool UTisNumeric =
    std::is_arithmetic_v<Number> || std::is_same_v<Number, fpreal16>;

/// `value` as a `To`, by the rule above.
template <class To, class From>
inline To
UTnumericCast(From value)
{
    static_assert(UTisNumeric<To> && UTisNumeric<From>);
    if constexpr (std::is_same_v<To, From>)
        return value;
    else if constexpr (std::is_same_v<From, fpreal16>)
        return UTnumericCast<To>(float(value));
    else if constexpr (!std::is_integral_v<To>)
        return static_cast<To>(value);
    else if constexpr (std::is_integral_v<From>)
    {
        using Limits = std::numeric_limits<To>;
        if constexpr (std::is_signed_v<From>)
        {
            if (value < 0 && !std::is_signed_v<To>)
                return 0;
            if (value < 0 && int64(value) < int64(Limits::min()))
                return Limits::min();
        }
        if (value > 0 && uint64(value) > uint64(Limits::max()))
            return Limits::max();
        return static_cast<To>(value);
    }
    else
    {
        // The ends as floating-point numbers; the upper one may round up to a
        // power of two, below which there are no fractions.
        constexpr From low = From(std::numeric_limits<To>::min());
        constexpr From high = From(std::numeric_limits<To>::max());
        if (!(value > low))
            return std::isnan(value) ? To(0) : std::numeric_limits<To>::min();
        if (value >= high)
            return std::numeric_limits<To>::max();
        using Wide = std::conditional_t<(sizeof(To) < 4), int32, To>;
        Wide whole = static_cast<Wide>(value);
        const From rest = value - static_cast<From>(whole);
        if (rest >= From(0.5))
            ++whole;
        if (rest <= From(-0.5))
            --whole;
        return static_cast<To>(whole);
    }
}

/// Stores the `count` halves at `from` as floats at `to`, or floats as halves.
/// The results are those of the single conversions, bit for bit. Uses AVX2
/// instructions where the processor has them and VALDRIN_DISABLE_SSE and
/// related settings allow them. The arrays must not overlap; any alignment will
/// do. Thread-safe.
UT_API void UTnumericCast(float *to, const fpreal16 *from, std::size_t count);
UT_API void UTnumericCast(fpreal16 *to, const float *from, std::size_t count);

/// Stores the `count` numbers at `from`, converted by the rule above, at `to`.
/// The arrays must not overlap.
template <class To, class From>
inline void
UTnumericCast(To *to, const From *from, std::size_t count)
{
    static_assert(UTisNumeric<To> && UTisNumeric<From>);
    const bool isFromHalf = std::is_same_v<From, fpreal16>;
    const bool isToHalf = std::is_same_v<To, fpreal16>;
    if constexpr (isFromHalf != isToHalf)
    {
        // By way of floats, a block of them at a time.
        float floats[256];
        for (std::size_t done = 0; done < count;)
        {
            const std::size_t some =
                std::min(count - done, sizeof(floats) / sizeof(*floats));
            UTnumericCast(floats, from + done, some);
            UTnumericCast(to + done, floats, some);
            done += some;
        }
    }
    else
        for (std::size_t i = 0; i < count; ++i)
            to[i] = UTnumericCast<To>(from[i]);
}
