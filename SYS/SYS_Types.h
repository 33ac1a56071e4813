// Integers of a known width, for formats and layouts.

#pragma once

#include <cassert>
#include <cstdint>
#include <type_traits>

/// Integers of a known width.
using int8 = std::int8_t;
using uint8 = std::uint8_t;
using int16 = std::int16_t;
using uint16 = std::uint16_t;
using int32 = std::int32_t;
using uint32 = std::uint32_t;
using int64 = std::int64_t;
using uint64 = std::uint64_t;

/// `value` as a `To`, for wide integers that are known to fit a narrower type.
/// `value` must fit, which is asserted.
template <class To, class From>
constexpr To
SYSnarrow(From value)
{
    static_assert(std::is_integral_v<To> && std::is_integral_v<From>);
    assert(
        From(To(value)) == value && (To(value) < To(0)) == (value < From(0)));
    return To(value);
}
