// The rule by which the toolkit's containers grow.

#pragma once

/// Capacity of a container that must hold `slots` elements and cannot: `slots`
/// and a step of 4 up to 127 slots, of 128 up to 1023, and of an eighth from
/// there.
constexpr unsigned
UTgrownCapacity(unsigned slots)
{
    return slots + (slots < 128 ? 4 : slots < 1024 ? 128 : slots / 8);
}
