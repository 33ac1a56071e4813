#include "UT_WorkBuffer.h"

#include "UT_String.h"

#include "SYS/SYS_Types.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ostream>

// What separates words; a carriage return does not.
static const char theSpaceChars[] = " \t\n\v\f";

UT_WorkBuffer::UT_WorkBuffer()
    : myBuffer(myStackBuffer), myAllocatedSize(theInlineSize), myLength(0),
      myLockCount(0)
{
    myStackBuffer[0] = '\0';
}

UT_WorkBuffer::~UT_WorkBuffer()
{
    if (myBuffer != myStackBuffer)
        free(myBuffer);
}

void
UT_WorkBuffer::copyIntoString(UT_String &out) const
{
    out.harden(myBuffer, myLength);
}

void
UT_WorkBuffer::copyIntoString(char *out, int size) const
{
    if (size < 1)
        return;
    const int used = std::min(size - 1, myLength);
    memcpy(out, myBuffer, size_t(used));
    out[used] = '\0';
}

void
UT_WorkBuffer::reserve(unsigned size)
{
    if (size <= unsigned(myAllocatedSize))
        return;
    if (myBuffer == myStackBuffer)
    {
        // All of it: a lock holder may have written behind the text.
        myBuffer = static_cast<char *>(malloc(size));
        memcpy(myBuffer, myStackBuffer, theInlineSize);
    }
    else
        myBuffer = static_cast<char *>(realloc(myBuffer, size));
    myAllocatedSize = int(size);
}

// Room for `length` bytes and their NUL, by doubling. Doubling ends just below
// INT_MAX, the most that the capacity can tell.
bool
UT_WorkBuffer::growTo(int length)
{
    if (length == INT_MAX)
        return false;
    unsigned size = unsigned(myAllocatedSize);
    while (size < unsigned(length) + 1)
        size = std::min(size * 2, unsigned(INT_MAX));
    reserve(size);
    return true;
}

void
UT_WorkBuffer::clear()
{
    if (myLockCount)
        return;
    myLength = 0;
    myBuffer[0] = '\0';
}

void
UT_WorkBuffer::strcat(const char *bytes, int length)
{
    if (myLockCount || !bytes)
        return;
    const size_t count = length < 0 ? strlen(bytes) : size_t(length);
    if (count >= size_t(INT_MAX - myLength))
        return;
    const int newLength = myLength + int(count);
    if (newLength >= myAllocatedSize)
    {
        // The bytes may be our own, and move with the storage.
        const uintptr_t offset = uintptr_t(bytes) - uintptr_t(myBuffer);
        const bool isOwn = offset <= uintptr_t(myLength);
        growTo(newLength);
        if (isOwn)
            bytes = myBuffer + offset;
    }
    memcpy(myBuffer + myLength, bytes, count);
    myLength = newLength;
    myBuffer[myLength] = '\0';
}

void
UT_WorkBuffer::strcat(const UT_WorkBuffer &other)
{
    strcat(other.myBuffer, other.myLength);
}

void
UT_WorkBuffer::append(char byte)
{
    strcat(&byte, 1);
}

void
UT_WorkBuffer::protectedStrcat(const char *text, bool forceQuotes)
{
    if (!text || !*text)
    {
        strcat("\"\"", 2);
        return;
    }
    const bool quotes = forceQuotes || strpbrk(text, theSpaceChars);
    if (quotes)
        append('"');
    for (;;)
    {
        const size_t run = strcspn(text, "\"\\");
        strcat(text, SYSnarrow<int>(run));
        text += run;
        if (!*text)
            break;
        append('\\');
        append(*text++);
    }
    if (quotes)
        append('"');
}

int
UT_WorkBuffer::vsprintf(const char *format, va_list args)
{
    // The first attempt tells the length, so a second one always fits; only a
    // text that no capacity can hold is cut.
    const unsigned limit = INT_MAX - 1;
    unsigned usable = unsigned(myAllocatedSize) - 16;
    for (;;)
    {
        va_list again;
        va_copy(again, args);
        const int formatted = vsnprintf(myBuffer, usable, format, again);
        va_end(again);
        myBuffer[usable - 1] = '\0';
        if (formatted >= 0 && unsigned(formatted) >= usable && usable < limit)
        {
            while (usable <= unsigned(formatted) && usable < limit)
                usable = std::min(usable * 2, limit);
            growTo(int(usable));
            continue;
        }
        myLength = SYSnarrow<int>(strlen(myBuffer));
        return formatted < 0 ? myLength : formatted;
    }
}

int
UT_WorkBuffer::sprintf(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    const int formatted = vsprintf(format, args);
    va_end(args);
    return formatted;
}

int
UT_WorkBuffer::appendSprintf(const char *format, ...)
{
    UT_WorkBuffer text;
    va_list args;
    va_start(args, format);
    const int formatted = text.vsprintf(format, args);
    va_end(args);
    strcat(text);
    return formatted;
}

void
UT_WorkBuffer::write(int index, char byte)
{
    if (index < 0)
        return;
    if (index >= myLength)
    {
        if (myLockCount || index == INT_MAX || !growTo(index + 1))
            return;
        myLength = index + 1;
        myBuffer[myLength] = '\0';
    }
    myBuffer[index] = byte;
    if (!byte)
        myLength = index;
}

char *
UT_WorkBuffer::lock(int offset, unsigned extra)
{
    ++myLockCount;
    reserve(unsigned(offset) + extra);
    return myBuffer + offset;
}

void
UT_WorkBuffer::release(int recomputeLength)
{
    if (--myLockCount == 0 && recomputeLength)
        myLength = SYSnarrow<int>(strlen(myBuffer));
}

std::ostream &
operator<<(std::ostream &out, const UT_WorkBuffer &buffer)
{
    return out << buffer.buffer();
}
