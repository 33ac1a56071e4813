// Characters of UTF-8, strictly: no overlong forms, no surrogates, and nothing
// above U+10FFFF.

#pragma once

#include "SYS/SYS_Types.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

/// Whether a byte continues a character.
inline bool
utIsContinuation(char byte)
{
    return (uint8(byte) & 0xc0) == 0x80;
}

/// The length of the character of several bytes that starts `text`, which is
/// not empty; 0 when there is none, also for ASCII.
inline size_t
utCharacterBytes(std::string_view text)
{
    const uint8 first = uint8(text[0]);
    const size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4 || text.size() < length)
        return 0;
    // What the second byte may be keeps out overlong forms, surrogates and
    // numbers that are too large.
    const uint8 second = uint8(text[1]);
    const uint8 low = first == 0xe0 ? 0xa0 : first == 0xf0 ? 0x90 : 0x80;
    const uint8 high = first == 0xed ? 0x9f : first == 0xf4 ? 0x8f : 0xbf;
    if (second < low || second > high)
        return 0;
    const auto rest = text.substr(2, length - 2);
    return std::all_of(rest.begin(), rest.end(), utIsContinuation) ? length : 0;
}
