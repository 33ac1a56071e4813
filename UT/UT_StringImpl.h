// What the sources of strings and work buffers share.

#pragma once

#include "UT_CharImpl.h"

#include "SYS/SYS_Types.h"

#include <climits>

// What a text with blanks is put in quotes for; a carriage return does not
// count.
constexpr char theSpaceChars[] = " \t\n\v\f";

// What a backslash protects inside double quotes.
constexpr char theProtectedChars[] = "\"\\";

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
