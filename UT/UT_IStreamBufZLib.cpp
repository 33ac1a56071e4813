// Stream buffers that decode zlib and gzip data.

#include "UT_IStreamBuf.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include <zlib.h>

namespace
{

class ut_ZLibStreamBuf : public UT_IStreamBuf
{
public:
    explicit ut_ZLibStreamBuf(UT_IStreamBuf *source);
    ~ut_ZLibStreamBuf() override;

    int read(char *buf, int n) override;
    int streamPeek() override;
    const char *loadBuffer(int &start, int &end) override;
    [[nodiscard]] int64 tellPos() const override { return myDelivered; }
    bool seekPos(int64 offset, int whence) override;
    [[nodiscard]] bool endOfBuffer() const override
    {
        return myIsAtEnd && ahead() == 0;
    }

    // Prepares for the first read. The factories call it, once the object is
    // complete.
    virtual bool initStream();

    // Starts again at the beginning.
    virtual bool zstreamReset();

protected:
    UT_IStreamBuf *mySource; // one reference is ours
    z_stream myZStream = {}; // not initialised: inflate() refuses it

private:
    [[nodiscard]] int ahead() const { return myAheadEnd - myAheadPos; }
    [[nodiscard]] bool hasSourceFailed() const;
    int inflateInto(char *buf, int n, int &result);
    int fetch(char *buf, int n, int &result);
    void setFailure(int result);

    int64 myStart;         // the source's position at the front
    int64 myDelivered = 0; // bytes, without those ahead
    bool myIsAtEnd = false;
    int myAheadPos = 0; // small reads share a call of inflate()
    int myAheadEnd = 0;
    unsigned char myInput[4096];
    char myAhead[4096];
    char myBlock[4096];
};

class ut_GZipStreamBuf : public ut_ZLibStreamBuf
{
public:
    using ut_ZLibStreamBuf::ut_ZLibStreamBuf;

    bool initStream() override;
    bool zstreamReset() override;

private:
    bool readHeader();
    bool readByte(int &byte);
    bool skipBytes(int count);
    bool skipText();

    int64 myDataStart = 0; // the source's position after the header
};

} // namespace

ut_ZLibStreamBuf::ut_ZLibStreamBuf(UT_IStreamBuf *source)
    : mySource(source), myStart(source->tellg())
{
    mySource->addReference();
}

ut_ZLibStreamBuf::~ut_ZLibStreamBuf()
{
    inflateEnd(&myZStream);
    mySource->release();
}

bool
ut_ZLibStreamBuf::initStream()
{
    return inflateInit(&myZStream) == Z_OK;
}

bool
ut_ZLibStreamBuf::zstreamReset()
{
    myZStream.avail_in = 0;
    myAheadPos = 0;
    myAheadEnd = 0;
    myDelivered = 0;
    myIsAtEnd = false;
    return mySource->seekg(myStart, 0) && inflateReset(&myZStream) == Z_OK;
}

// A source that fails must not look like the end of the data, though files
// report their end as an error, too: one without a reason.
bool
ut_ZLibStreamBuf::hasSourceFailed() const
{
    return mySource->hasError() &&
           (!mySource->endOfBuffer() ||
            strcmp(mySource->getErrorStr(), strerror(0)) != 0);
}

// Decompresses up to `n` bytes and returns how many it got; `result` is that of
// the last inflate(), Z_OK at an end of the source too, Z_ERRNO where it
// failed.
int
ut_ZLibStreamBuf::inflateInto(char *buf, int n, int &result)
{
    result = Z_OK;
    myZStream.next_out = static_cast<Bytef *>(static_cast<void *>(buf));
    myZStream.avail_out = uInt(n);
    while (myZStream.avail_out > 0 && !myIsAtEnd && result == Z_OK)
    {
        bool isSourceAtEnd = false;
        if (myZStream.avail_in == 0)
        {
            const int count = mySource->bread(
                static_cast<char *>(static_cast<void *>(myInput)),
                sizeof(myInput));
            myZStream.next_in = myInput;
            myZStream.avail_in = uInt(count);
            isSourceAtEnd = count == 0;
        }
        // Without input too: it may hold output, and must refuse a stream that
        // was not initialised.
        result = inflate(&myZStream, Z_NO_FLUSH);
        if (result == Z_BUF_ERROR && isSourceAtEnd && hasSourceFailed())
            result = Z_ERRNO;
        myIsAtEnd =
            result == Z_STREAM_END || (result == Z_BUF_ERROR && isSourceAtEnd);
    }
    if (myIsAtEnd)
        result = Z_OK;
    return n - int(myZStream.avail_out);
}

// Decompressed bytes, those ahead first. An error after bytes that are ahead
// is reported when they are used up: inflateInto() finds it again.
int
ut_ZLibStreamBuf::fetch(char *buf, int n, int &result)
{
    int count = 0;
    result = Z_OK;
    if (n - ahead() >= int(sizeof(myAhead)))
    {
        count = ahead();
        memcpy(buf, myAhead + myAheadPos, size_t(count));
        myAheadPos = myAheadEnd;
        return count + inflateInto(buf + count, n - count, result);
    }
    while (count < n && result == Z_OK)
    {
        if (ahead() == 0)
        {
            myAheadPos = 0;
            myAheadEnd = inflateInto(myAhead, sizeof(myAhead), result);
            if (ahead() == 0)
                break;
            result = Z_OK;
        }
        const int piece = std::min(n - count, ahead());
        memcpy(buf + count, myAhead + myAheadPos, size_t(piece));
        myAheadPos += piece;
        count += piece;
    }
    return count;
}

void
ut_ZLibStreamBuf::setFailure(int result)
{
    setError(result == Z_ERRNO ? mySource->getErrorStr() : zError(result));
}

int
ut_ZLibStreamBuf::read(char *buf, int n)
{
    int result = Z_OK;
    const int count = fetch(buf, n, result);
    if (result != Z_OK)
        setFailure(result);
    myDelivered += count;
    return count;
}

int
ut_ZLibStreamBuf::streamPeek()
{
    char byte = 0;
    if (read(&byte, 1) == 0)
        return -1;
    --myAheadPos;
    --myDelivered;
    return int8(byte);
}

const char *
ut_ZLibStreamBuf::loadBuffer(int &start, int &end)
{
    // Bytes before an error are read before it is reported.
    int result = Z_OK;
    start = 0;
    end = fetch(myBlock, sizeof(myBlock), result);
    if (result != Z_OK && end == 0)
        setFailure(result);
    myDelivered += end;
    return end > 0 ? myBlock : nullptr;
}

bool
ut_ZLibStreamBuf::seekPos(int64 offset, int whence)
{
    int64 target = offset;
    if (whence != 0 &&
        (whence != 1 || __builtin_add_overflow(myDelivered, offset, &target)))
        return false;
    if (target < myDelivered && !zstreamReset())
        return false;
    char skipped[1024];
    while (myDelivered < target)
    {
        const int64 left = target - myDelivered;
        const int wanted = int(std::min(left, int64(sizeof(skipped))));
        if (read(skipped, wanted) < wanted)
            return false;
    }
    return myDelivered == target;
}

bool
ut_GZipStreamBuf::initStream()
{
    const bool isHeader = readHeader();
    myDataStart = mySource->tellg();
    return isHeader && inflateInit2(&myZStream, -MAX_WBITS) == Z_OK;
}

bool
ut_GZipStreamBuf::zstreamReset()
{
    return ut_ZLibStreamBuf::zstreamReset() && mySource->seekg(myDataStart, 0);
}

bool
ut_GZipStreamBuf::readByte(int &byte)
{
    char read = 0;
    const bool isRead = mySource->bread(&read, 1) == 1;
    byte = uint8(read);
    return isRead;
}

bool
ut_GZipStreamBuf::skipBytes(int count)
{
    char skipped[256];
    while (count > 0)
    {
        const int wanted = std::min(count, int(sizeof(skipped)));
        if (mySource->bread(skipped, wanted) < wanted)
            return false;
        count -= wanted;
    }
    return true;
}

bool
ut_GZipStreamBuf::skipText()
{
    int byte = 0;
    do
    {
        if (!readByte(byte))
            return false;
    } while (byte != 0);
    return true;
}

bool
ut_GZipStreamBuf::readHeader()
{
    enum
    {
        theHeaderCrc = 2,
        theExtraField = 4,
        theName = 8,
        theComment = 16,
        theReservedFlags = 32
    };
    int id1 = 0;
    int id2 = 0;
    int method = 0;
    int flags = 0;
    if (!readByte(id1) || !readByte(id2) || !readByte(method) ||
        !readByte(flags))
        return false;
    if (id1 != 31 || id2 != 139 || method != Z_DEFLATED ||
        flags >= theReservedFlags)
        return false;
    // Time, extra flags, operating system.
    if (!skipBytes(6))
        return false;
    if (flags & theExtraField)
    {
        int low = 0;
        int high = 0;
        if (!readByte(low) || !readByte(high) || !skipBytes(high << 8 | low))
            return false;
    }
    if ((flags & theName) && !skipText())
        return false;
    if ((flags & theComment) && !skipText())
        return false;
    return !(flags & theHeaderCrc) || skipBytes(2);
}

UT_IStreamBuf *
UT_IStreamBuf::zlibBuf(UT_IStreamBuf *source)
{
    std::unique_ptr<ut_ZLibStreamBuf> buffer(new ut_ZLibStreamBuf(source));
    buffer->initStream();
    return buffer.release();
}

UT_IStreamBuf *
UT_IStreamBuf::gzipBuf(UT_IStreamBuf *source)
{
    std::unique_ptr<ut_GZipStreamBuf> buffer(new ut_GZipStreamBuf(source));
    buffer->initStream();
    return buffer.release();
}
