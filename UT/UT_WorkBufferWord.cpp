// Words and tokens taken off a text, and comments cut from it.

#include "UT_WorkBuffer.h"

#include "UT_CharImpl.h"
#include "UT_String.h"

#include <algorithm>
#include <climits>
#include <cstring>

// By value: a copy borrows, which costs nothing.
bool
// NOLINTNEXTLINE(performance-unnecessary-value-param)
UT_WorkBuffer::getNextToken(const char *&cursor, UT_String separators)
{
    const char *const token = cursor + strspn(cursor, separators);
    const size_t count = strcspn(token, separators);
    const char *const end = token + count;
    const char *const next = *end ? end + 1 : end;
    if (count && !myLockCount)
    {
        // Room for a long token comes first, so that the old text stays where
        // there is none.
        if (count >= size_t(myAllocatedSize) && count < INT_MAX)
            growTo(int(count), myAllocatedSize);
        // Not clear(): its NUL could fall on the token.
        myLength = 0;
        appendBytes(token, count);
    }
    cursor = count ? next : end;
    return count != 0;
}

bool
UT_WorkBuffer::stripComments(char commentChar)
{
    // Most lines have none.
    if (!commentChar || !strchr(myBuffer, commentChar))
        return false;
    char quote = '\0';
    for (char *at = myBuffer; *at; ++at)
    {
        if (quote ? *at == quote : *at == '"' || *at == '\'')
            quote = quote ? '\0' : *at;
        else if (!quote && *at == commentChar)
        {
            *at = '\0';
            myLength = int(at - myBuffer);
            return true;
        }
        else if (*at == '\\' && !*++at)
            break;
    }
    return false;
}

void
UT_WorkBuffer::strcatFirstWord(const char *text)
{
    if (!text)
        return;
    while (utIsSpace(*text))
        ++text;
    size_t count = 0;
    while (text[count] && !utIsSpace(text[count]))
        ++count;
    const size_t end = strnlen(myBuffer, size_t(myAllocatedSize));
    const size_t used = std::max(end, size_t(myLength));
    if (!count || count >= INT_MAX - used)
        return;
    const bool own = isOwn(text);
    const size_t offset = own ? size_t(text - myBuffer) : 0;
    growTo(int(used + count), myAllocatedSize);
    if (own)
        text = myBuffer + offset;
    memmove(myBuffer + end, text, count);
    myBuffer[end + count] = '\0';
    myLength = int(end + count);
}
