// Helpers of the sources of strings and work buffers.

#pragma once

#include "UT_CharImpl.h"

#include "SYS/SYS_Types.h"

#include <climits>
#include <cstring>

// The bytes for which a text is put in quotes; a carriage return is not one.
constexpr char theSpaceChars[] = " \t\n\v\f";

// The bytes that get a backslash inside double quotes.
constexpr char theProtectedChars[] = "\"\\";

// The number that the leading digits of a text form, 0 without digits, INT_MAX
// for any greater number. Signs and blanks are not digits.
inline int
utLeadingNumber(const char *text, const char *end)
{
    int64 value = 0;
    for (; text != end && utIsDigit(*text) && value < INT_MAX; ++text)
        value = value * 10 + (*text - '0');
    return value < INT_MAX ? int(value) : INT_MAX;
}

// The first such byte of a text that may be long, or its NUL. In 32 bits the C
// library's strchrnul() goes byte by byte, while the others have vectors.
inline const char *
utFindOrEnd(const char *text, char byte)
{
#ifdef __i386__
    const char *const found = strchr(text, byte);
    return found ? found : text + strlen(text);
#else
    return strchrnul(text, byte);
#endif
}

// strnlen(), which takes twice as long as memchr() for a short text in 32 bits.
inline size_t
utLengthWithin(const char *text, size_t limit)
{
#ifdef __i386__
    const void *const end = memchr(text, '\0', limit);
    return end ? size_t(static_cast<const char *>(end) - text) : limit;
#else
    return strnlen(text, limit);
#endif
}

// A key for as much of `text`, which may be null, as 64 bits hold. Two
// different keys are in the order that UT_String::compareNumberedString() gives
// to their texts; equal keys leave the order open. No number may begin before
// the text.
uint64 utNumberedKey(const char *text);
