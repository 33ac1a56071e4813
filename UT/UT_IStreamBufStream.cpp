// Stream buffers over streams of the standard library.

#include "UT_IStreamBuf.h"

#include <istream>

#include <cxxabi.h>

// Declared here: <iostream> would make the library initialise the standard
// streams whenever it is loaded.
namespace std
{
extern istream cin;
}

namespace
{

class ut_StreamStreamBuf : public UT_IStreamBuf
{
public:
    explicit ut_StreamStreamBuf(std::istream &stream) : myStream(stream) {}

    int read(char *buf, int n) override;
    int streamPeek() override;
    const char *loadBuffer(int &start, int &end) override;
    [[nodiscard]] int64 tellPos() const override;
    bool seekPos(int64 offset, int whence) override;
    [[nodiscard]] bool endOfBuffer() const override { return myStream.eof(); }

private:
    std::istream &myStream;
    char myBlock[4096];
};

// A stream that was asked to throw has noted the failure before it does. It
// passes on what its bytes' source throws, which may be of any type.
template <class Function>
void
utWithoutThrow(Function function)
{
    try
    {
        function();
    }
    catch (abi::__forced_unwind &)
    {
        throw; // the thread is being ended
    }
    catch (...)
    {
    }
}

} // namespace

int
ut_StreamStreamBuf::read(char *buf, int n)
{
    utWithoutThrow([&] { myStream.read(buf, n); });
    if (myStream.fail() && !myStream.eof())
        setError(nullptr);
    return int(myStream.gcount());
}

int
ut_StreamStreamBuf::streamPeek()
{
    int byte = -1;
    utWithoutThrow([&] { byte = myStream.peek(); });
    return int8(byte);
}

const char *
ut_StreamStreamBuf::loadBuffer(int &start, int &end)
{
    start = 0;
    end = read(myBlock, sizeof(myBlock));
    return end > 0 ? myBlock : nullptr;
}

int64
ut_StreamStreamBuf::tellPos() const
{
    // tellg() fails once the end has been reached.
    std::streambuf *const source = myStream.rdbuf();
    int64 position = -1;
    if (source && !myStream.bad())
        utWithoutThrow(
            [&]
            { position = source->pubseekoff(0, std::ios::cur, std::ios::in); });
    return position;
}

bool
ut_StreamStreamBuf::seekPos(int64 offset, int whence)
{
    static const std::ios::seekdir theWhences[] = {
        std::ios::beg, std::ios::cur, std::ios::end};
    if (myStream.eof() && !myStream.bad())
        utWithoutThrow([&] { myStream.clear(); });
    const bool hadFailed = myStream.fail();
    if (whence >= 0 && whence <= 2)
    {
        utWithoutThrow([&] { myStream.seekg(offset, theWhences[whence]); });
        if (!myStream.fail())
            return true;
        // The stream is where it was, and may be sought again. A failure that
        // was there before is its owner's.
        if (!hadFailed)
            utWithoutThrow(
                [&]
                { myStream.clear(myStream.rdstate() & ~std::ios::failbit); });
    }
    setError(nullptr);
    return false;
}

UT_IStreamBuf *
UT_IStreamBuf::istreamBuf(std::istream &stream)
{
    if (&stream == &std::cin)
        return fileBuf(stdin);
    return new ut_StreamStreamBuf(stream);
}
