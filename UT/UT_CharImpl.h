// Kinds of characters: those of ASCII in every locale. Bytes above 127 are of
// no kind.

#pragma once

#include "SYS/SYS_Types.h"

// Whether `c` separates words: a space character or the carriage return.
constexpr bool
utIsSpace(char c)
{
    return c == ' ' || unsigned(uint8(c)) - '\t' <= '\r' - '\t';
}

constexpr bool
utIsDigit(char c)
{
    return unsigned(uint8(c)) - '0' <= 9;
}

constexpr bool
utIsUpper(char c)
{
    return unsigned(uint8(c)) - 'A' <= 'Z' - 'A';
}

constexpr bool
utIsLower(char c)
{
    return unsigned(uint8(c)) - 'a' <= 'z' - 'a';
}

constexpr bool
utIsLetter(char c)
{
    return utIsUpper(char(c & ~0x20));
}

constexpr char
utToUpper(char c)
{
    return utIsLower(c) ? char(c - ('a' - 'A')) : c;
}

constexpr char
utToLower(char c)
{
    return utIsUpper(c) ? char(c + ('a' - 'A')) : c;
}
