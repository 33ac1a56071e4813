// What the sources of strings and work buffers share. The kinds of characters
// are ASCII's whatever the locale, and bytes above 127 are of no kind.

#pragma once

#include "SYS/SYS_Types.h"

#include <climits>

// What a text with blanks is put in quotes for; a carriage return does not
// count.
constexpr char theSpaceChars[] = " \t\n\v\f";

// What a backslash protects inside double quotes.
constexpr char theProtectedChars[] = "\"\\";

// What separates words: the space characters and the carriage return.
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

// The number that the digits at the front of a text make, 0 when there are
// none; INT_MAX for all that are greater. Signs and blanks are no digits.
inline int
utLeadingNumber(const char *text, const char *end)
{
    int64 value = 0;
    for (; text != end && utIsDigit(*text) && value < INT_MAX; ++text)
        value = value * 10 + (*text - '0');
    return value < INT_MAX ? int(value) : INT_MAX;
}

// As much of `text`, which may be null, as 64 bits hold, in such a way that
// keys have the order that UT_String::compareNumberedString() gives to their
// texts. Equal keys leave it open. No number may begin before the text.
uint64 utNumberedKey(const char *text);
