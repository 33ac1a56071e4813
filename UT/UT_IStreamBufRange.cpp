// Stream buffers over a part of another one.

#include "UT_IStreamBuf.h"

#include <algorithm>
#include <climits>

// The sum, or the end of the range of positions that it runs over.
static int64
utAdd(int64 a, int64 b)
{
    int64 sum = 0;
    if (__builtin_add_overflow(a, b, &sum))
        return b < 0 ? INT64_MIN : INT64_MAX;
    return sum;
}

namespace
{

class ut_RangeStreamBuf : public UT_IStreamBuf
{
public:
    ut_RangeStreamBuf(UT_IStreamBuf *source, int64 start, int64 length);
    ~ut_RangeStreamBuf() override { mySource->release(); }

    int read(char *buf, int n) override;
    int streamPeek() override;
    const char *loadBuffer(int &start, int &end) override;
    [[nodiscard]] int64 tellPos() const override;
    bool seekPos(int64 offset, int whence) override;
    [[nodiscard]] bool endOfBuffer() const override;

private:
    [[nodiscard]] int remaining() const
    {
        return int(std::clamp(myRemaining, int64(0), int64(INT_MAX)));
    }
    void takeError();

    UT_IStreamBuf *mySource; // one reference is ours
    int64 myStart;           // positions of the source
    int64 myEnd;
    int64 myRemaining; // bytes; negative past the end
};

} // namespace

ut_RangeStreamBuf::ut_RangeStreamBuf(
    UT_IStreamBuf *source, int64 start, int64 length)
    : mySource(source), myStart(start), myEnd(utAdd(start, length)),
      myRemaining(0)
{
    if (mySource->seekg(myStart, 0))
        myRemaining = length;
    // Last: it is not released for an object that was not constructed.
    mySource->addReference();
}

// A source that fails must not look like the end of the range.
void
ut_RangeStreamBuf::takeError()
{
    if (mySource->hasError())
        setError(mySource->getErrorStr());
}

int
ut_RangeStreamBuf::read(char *buf, int n)
{
    const int wanted = std::min(n, remaining());
    const int count = mySource->bread(buf, wanted);
    myRemaining -= count;
    if (count < wanted)
        takeError();
    return count;
}

int
ut_RangeStreamBuf::streamPeek()
{
    return myRemaining <= 0 ? -1 : mySource->peekc();
}

const char *
ut_RangeStreamBuf::loadBuffer(int &start, int &end)
{
    if (myRemaining <= 0)
        return nullptr;
    const char *const block =
        mySource->stealLoadBufferData(start, end, remaining());
    if (block)
        myRemaining -= end - start;
    else
        takeError();
    return block;
}

int64
ut_RangeStreamBuf::tellPos() const
{
    const int64 position = mySource->tellg();
    return position < 0 ? position : position - myStart;
}

bool
ut_RangeStreamBuf::seekPos(int64 offset, int whence)
{
    bool isDone = false;
    if (whence == 0)
        isDone = mySource->seekg(utAdd(myStart, offset), 0);
    else if (whence == 1)
        isDone = mySource->seekg(offset, 1);
    else if (whence == 2)
        // Deliberate: relative to where the source is.
        isDone = mySource->seekg(utAdd(myEnd, offset), 1);
    else
        setError(nullptr);
    if (!isDone)
        return false;

    const int64 position = mySource->tellg();
    if (position < myStart)
    {
        setError(nullptr);
        return false;
    }
    myRemaining = utAdd(myEnd, -position);
    return true;
}

bool
ut_RangeStreamBuf::endOfBuffer() const
{
    // The source may hold bytes that it has not returned yet.
    return myRemaining <= 0 || mySource->hasError() ||
           (mySource->pending() == 0 && mySource->endOfBuffer());
}

UT_IStreamBuf *
UT_IStreamBuf::rangeBuf(UT_IStreamBuf *source, int64 start, int64 length)
{
    return new ut_RangeStreamBuf(source, start, length);
}
