// Quoting, escapes and their removal.

#include "UT_String.h"

#include "UT_StringImpl.h"

#include "SYS/SYS_Types.h"

#include <climits>

using ut_Escaped = const char (&)[3]; // two characters

static UT_String
utQuoted(const char *text, char quote, ut_Escaped escaped)
{
    const auto isEscaped = [&](char c)
    { return c == escaped[0] || c == escaped[1]; };
    size_t size = 2;
    for (const char *c = text; *c; ++c)
        size += 1 + size_t(isEscaped(*c));
    if (size >= INT_MAX)
        return UT_String("", /*deep=*/1, 0);
    UT_String quoted("", /*deep=*/1, SYSnarrow<int>(size));
    char *write = quoted.buffer();
    *write++ = quote;
    for (; *text; ++text)
    {
        if (isEscaped(*text))
            *write++ = '\\';
        *write++ = *text;
    }
    *write = quote;
    return quoted;
}

UT_String
UT_String::makeQuotedString(char quote) const
{
    return utQuoted(myData ? myData : "", quote, {quote, '\\', '\0'});
}

UT_String
UT_String::makeSmartQuotedString(char quote) const
{
    if (myData && (quote == '\'' || quote == '"'))
    {
        const char other = quote == '"' ? '\'' : '"';
        if (strchr(myData, quote) && !strchr(myData, other))
            quote = other;
    }
    return makeQuotedString(quote);
}

void
UT_String::protectString()
{
    if (!hasWhiteSpace())
        return;
    if (*myData == '"' && myData[strlen(myData) - 1] == '"')
        return;
    UT_String quoted = utQuoted(myData, '"', theProtectedChars);
    if (*quoted.buffer())
        swap(quoted);
}

bool
UT_String::hasWhiteSpace() const
{
    return myData && strpbrk(myData, theSpaceChars);
}

// The byte that a backslash and this character stand for.
static char
utControl(char c)
{
    switch (c)
    {
    case 'n':
        return '\n';
    case 't':
        return '\t';
    case 'r':
        return '\r';
    default:
        return c;
    }
}

void
UT_String::expandControlSequences()
{
    harden();
    const char *read = utFindOrEnd(myData, '\\');
    char *write = myData + (read - myData);
    for (; *read; ++read)
    {
        // A backslash at the very end is followed by the NUL, and stays.
        if (*read == '\\' && read[1])
            *write++ = utControl(*++read);
        else
            *write++ = *read;
    }
    *write = '\0';
}
