// Storage, and text put together: appending and formatting.

#include "UT_WorkBuffer.h"

#include "UT_AllocImpl.h"
#include "UT_String.h"
#include "UT_StringImpl.h"

#include "SYS/SYS_Types.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <ostream>

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
    // All of the old storage: a lock holder may have written after the text.
    if (size > unsigned(myAllocatedSize))
        move(size, /*kept=*/myAllocatedSize);
}

// Moves the first `kept` bytes, at least, to a block of `size` bytes.
void
UT_WorkBuffer::move(unsigned size, int kept)
{
    if (myBuffer == myStackBuffer)
    {
        char *const block = static_cast<char *>(utAllocate(size));
        memcpy(block, myStackBuffer, size_t(kept));
        myBuffer = block;
    }
    else
        myBuffer = static_cast<char *>(utChecked(realloc(myBuffer, size)));
    // Room past INT_MAX exists, but is not reported.
    myAllocatedSize = int(std::min(size, unsigned(INT_MAX)));
}

bool
UT_WorkBuffer::isOwn(const char *bytes) const
{
    return uintptr_t(bytes) - uintptr_t(myBuffer) < uintptr_t(myAllocatedSize);
}

// Room for `length` bytes and their NUL, by doubling. Doubling ends at INT_MAX,
// the most that the capacity can be. Keeps `kept` bytes of the old storage.
bool
UT_WorkBuffer::growTo(int length, int kept)
{
    if (length == INT_MAX)
        return false;
    unsigned size = unsigned(myAllocatedSize);
    while (size < unsigned(length) + 1)
        size = std::min(size * 2, unsigned(INT_MAX));
    if (size > unsigned(myAllocatedSize))
        move(size, kept);
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
UT_WorkBuffer::appendSlowly(char byte)
{
    appendSlowly(&byte, 1);
}

void
UT_WorkBuffer::appendSlowly(const char *bytes, size_t count)
{
    if (myLockCount || count >= size_t(INT_MAX - myLength))
        return;
    const int newLength = myLength + int(count);
    if (newLength >= myAllocatedSize)
    {
        // Our own bytes move with the storage. Else nothing but the text has
        // to: the append covers what was after it.
        const bool own = isOwn(bytes);
        const size_t offset = own ? size_t(bytes - myBuffer) : 0;
        growTo(newLength, own ? myAllocatedSize : myLength);
        if (own)
            bytes = myBuffer + offset;
    }
    appendBytes(bytes, count);
}

void
UT_WorkBuffer::protectedStrcat(const char *text, bool forceQuotes)
{
    if (!text || !*text)
    {
        append("\"\"", 2);
        return;
    }
    if (isOwn(text))
    {
        // The first append overwrites its NUL.
        UT_WorkBuffer copy;
        copy.append(text);
        protectedStrcat(copy.buffer(), forceQuotes);
        return;
    }
    const bool quotes = forceQuotes || strpbrk(text, theSpaceChars);
    const int length = myLength;
    try
    {
        if (quotes)
            append('"');
        for (;;)
        {
            const size_t run = strcspn(text, theProtectedChars);
            appendBytes(text, run);
            text += run;
            if (!*text)
                break;
            append('\\');
            append(*text++);
        }
        if (quotes)
            append('"');
    }
    catch (...)
    {
        myLength = length;
        myBuffer[length] = '\0';
        throw;
    }
}

void
UT_WorkBuffer::write(int index, char byte)
{
    if (index < 0)
        return;
    if (index >= myLength)
    {
        if (myLockCount || index == INT_MAX ||
            !growTo(index + 1, myAllocatedSize))
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
    if (extra > UINT_MAX - unsigned(offset))
        throw std::bad_alloc();
    reserve(unsigned(offset) + extra);
    ++myLockCount;
    return myBuffer + offset;
}

void
UT_WorkBuffer::release(int recomputeLength)
{
    if (myLockCount != 1 || !recomputeLength)
    {
        --myLockCount;
        return;
    }
    // A holder who wrote to the last byte of the storage left no NUL in it.
    size_t length = strnlen(myBuffer, size_t(myAllocatedSize));
    if (length == size_t(myAllocatedSize) &&
        !growTo(int(length), myAllocatedSize))
        --length;
    myBuffer[length] = '\0';
    myLength = int(length);
    myLockCount = 0;
}

std::ostream &
operator<<(std::ostream &out, const UT_WorkBuffer &buffer)
{
    return out << buffer.buffer();
}
