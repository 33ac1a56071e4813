// Kinds of characters: those of ASCII in every locale. Bytes above 127 are of
// no kind.

#pragma once

#include "SYS/SYS_Types.h"

// Whether `c` separates words: a space character or the carriage return.
inline bool
utIsSpace(char c)
{
    return c == ' ' || unsigned(uint8(c)) - '\t' <= '\r' - '\t';
}

inline bool
utIsDigit(char c)
{
    return unsigned(uint8(c)) - '0' <= 9;
}

inline bool
utIsUpper(char c)
{
    return unsigned(uint8(c)) - 'A' <= 'Z' - 'A';
}

inline bool
utIsLower(char c)
{
    return unsigned(uint8(c)) - 'a' <= 'z' - 'a';
}

inline bool
utIsLetter(char c)
{
    return utIsUpper(char(c & ~0x20));
}

inline char
utToUpper(char c)
{
    return utIsLower(c) ? char(c - ('a' - 'A')) : c;
}

inline char
utToLower(char c)
{
    return utIsUpper(c) ? char(c + ('a' - 'A')) : c;
}
