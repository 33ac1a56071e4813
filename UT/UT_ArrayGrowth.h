// The growth rule of the toolkit's containers.

#pragma once

/// The new capacity of a container that is too small for `slots` elements:
/// `slots` plus 4 up to 127 slots, plus 128 up to 1023, and plus an eighth from
/// there on. 10 becomes 14, and 2000 becomes 2250.
constexpr unsigned
UTgrownCapacity(unsigned slots)
{
    return slots + (slots < 128 ? 4 : slots < 1024 ? 128 : slots / 8);
}
