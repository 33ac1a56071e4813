// What all stream buffers share, and those over memory and over nothing.

#include "UT_IStreamBuf.h"

#include "UT_AllocImpl.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace
{

class ut_NullStreamBuf : public UT_IStreamBuf
{
public:
    int read(char *, int) override { return 0; }
    int streamPeek() override { return -1; }
    const char *loadBuffer(int &, int &) override { return nullptr; }
    [[nodiscard]] int64 tellPos() const override { return 0; }
    bool seekPos(int64, int) override { return false; }
    [[nodiscard]] bool endOfBuffer() const override { return true; }
};

class ut_MemoryStreamBuf : public UT_IStreamBuf
{
public:
    ut_MemoryStreamBuf(const char *data, int length)
        : myData(data), myLength(data ? std::max(length, 0) : 0)
    {
    }

    int read(char *buf, int n) override;
    int streamPeek() override;
    const char *loadBuffer(int &start, int &end) override;
    [[nodiscard]] int64 tellPos() const override { return myOffset; }
    bool seekPos(int64 offset, int whence) override;
    [[nodiscard]] bool endOfBuffer() const override
    {
        return myOffset >= myLength;
    }

private:
    const char *myData; // the caller's
    int myLength;
    int myOffset = 0; // past the load buffer
};

} // namespace

int
ut_MemoryStreamBuf::read(char *buf, int n)
{
    const int count = std::min(n, myLength - myOffset);
    if (count <= 0)
        return 0;
    memcpy(buf, myData + myOffset, size_t(count));
    myOffset += count;
    return count;
}

int
ut_MemoryStreamBuf::streamPeek()
{
    return endOfBuffer() ? -1 : int8(myData[myOffset]);
}

const char *
ut_MemoryStreamBuf::loadBuffer(int &start, int &end)
{
    if (endOfBuffer())
        return nullptr;
    const char *const block = myData + myOffset;
    start = 0;
    end = myLength - myOffset;
    myOffset = myLength;
    return block;
}

bool
ut_MemoryStreamBuf::seekPos(int64 offset, int whence)
{
    // Deliberate: from the end, the offset does not count.
    bool isValid = whence >= 0 && whence <= 2;
    int64 target = whence == 2 ? myLength - myOffset : offset;
    if (whence == 1)
        isValid = !__builtin_add_overflow(offset, int64(myOffset), &target);
    if (!isValid || target < 0 || target > myLength)
    {
        setError(nullptr);
        return false;
    }
    myOffset = int(target);
    return true;
}

UT_IStreamBuf *
UT_IStreamBuf::nullBuf()
{
    return new ut_NullStreamBuf;
}

UT_IStreamBuf *
UT_IStreamBuf::memoryBuf(const char *data, int length)
{
    return new ut_MemoryStreamBuf(data, length);
}

UT_IStreamBuf::~UT_IStreamBuf()
{
    free(myErrorString);
}

bool
UT_IStreamBuf::closeFile()
{
    return true;
}

void
UT_IStreamBuf::release()
{
    if (--myRefCount <= 0)
        delete this;
}

bool
UT_IStreamBuf::loadBuffer()
{
    if (myError)
        return false;
    // A load that is left in the middle leaves an empty buffer.
    clearLoadBuffer();
    int start = 0;
    int end = 0;
    const char *const block = loadBuffer(start, end);
    if (!block || end <= start)
        return false;
    myLoadBuffer = block;
    myLoadPos = start;
    myLoadEnd = end;
    return true;
}

void
UT_IStreamBuf::clearLoadBuffer()
{
    myLoadBuffer = nullptr;
    myLoadPos = 0;
    myLoadEnd = 0;
}

bool
UT_IStreamBuf::ensurePending()
{
    return !myError && (pending() > 0 || loadBuffer());
}

int
UT_IStreamBuf::bread(char *buf, int n)
{
    if (myError || n <= 0)
        return 0;
    const int count = std::min(n, pending());
    if (count > 0)
    {
        memcpy(buf, myLoadBuffer + myLoadPos, size_t(count));
        myLoadPos += count;
    }
    return count < n ? count + read(buf + count, n - count) : count;
}

int64
UT_IStreamBuf::tellg() const
{
    if (myError)
        return 0;
    const int64 position = tellPos();
    return position < 0 ? position : position - pending();
}

bool
UT_IStreamBuf::seekg(int64 offset, int whence)
{
    myError = false;
    clearLoadBuffer();
    return seekPos(offset, whence);
}

int
UT_IStreamBuf::peekc()
{
    if (myError)
        return -1;
    return pending() > 0 ? int8(myLoadBuffer[myLoadPos]) : streamPeek();
}

int
UT_IStreamBuf::unwind(int n)
{
    if (myError || n <= 0)
        return 0;
    const int moved = std::min(n, myLoadPos);
    myLoadPos -= moved;
    return moved;
}

const char *
UT_IStreamBuf::stealLoadBufferData(int &start, int &end, int max)
{
    if (max <= 0 || !ensurePending())
        return nullptr;
    // The pointer moves up instead of the index, so that no unwind goes to
    // bytes before those returned.
    const char *const bytes = myLoadBuffer + myLoadPos;
    start = 0;
    end = std::min(pending(), max);
    myLoadPos += end;
    return bytes;
}

void
UT_IStreamBuf::setError(const char *text)
{
    if (myError)
        return;
    const int error = errno;
    char *const copy = utDuplicate(text); // `text` may be ours
    myErrno = error;
    myError = true;
    free(myErrorString);
    myErrorString = copy;
}

const char *
UT_IStreamBuf::getErrorStr() const
{
    return myErrorString ? myErrorString : strerror(myErrno);
}
