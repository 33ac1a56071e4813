#include "UT_IStreamBuf.h"

#include "UT_WorkBuffer.h"

#include <cerrno>
#include <exception>
#include <istream>

#include <unistd.h>

// Declared here: <iostream> would make the library initialise the standard
// streams whenever it is loaded.
namespace std
{
extern istream cin;
}

static bool theStdinIsByLines = false;
static UT_IStreamBuf *theStdinBuf = nullptr; // never destroyed

// Moves `file`; one that has met its end, but no error, forgets about it.
static bool
utSeekFile(FILE *file, int64 offset, int whence)
{
    static const int theWhences[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    if (!file)
        return false;
    if (feof(file) && !ferror(file))
        clearerr(file);
    // A long may be too narrow for the offset.
    const long target = long(offset);
    if (whence < 0 || whence > 2 || target != offset)
    {
        errno = EINVAL;
        return false;
    }
    return fseek(file, target, theWhences[whence]) == 0;
}

// A char of value 255 is -1 here, like the end.
static int
utPeekFile(FILE *file)
{
    const int byte = file ? fgetc(file) : EOF;
    return byte == EOF ? -1 : int8(ungetc(byte, file));
}

namespace
{

class ut_FileStreamBuf : public UT_IStreamBuf
{
public:
    explicit ut_FileStreamBuf(FILE *file) : myFile(file) {}

    int read(char *buf, int n) override;
    int streamPeek() override { return utPeekFile(myFile); }
    const char *loadBuffer(int &start, int &end) override;
    int64 tellPos() const override { return myFile ? ftell(myFile) : -1; }
    bool seekPos(int64 offset, int whence) override;
    bool endOfBuffer() const override { return !myFile || feof(myFile); }

protected:
    FILE *myFile; // the caller's; null when closed

private:
    char myBlock[4096];
};

class ut_FilePtrStreamBuf : public ut_FileStreamBuf
{
public:
    using ut_FileStreamBuf::ut_FileStreamBuf;
    ~ut_FilePtrStreamBuf() override { closeOnce(); }

    bool closeFile() override;

private:
    bool closeOnce();
};

// Hands out a line at a time, with its newline, of standard input or another
// terminal.
class ut_StdinStreamBuf : public UT_IStreamBuf
{
public:
    explicit ut_StdinStreamBuf(FILE *file) : myFile(file) {}

    int read(char *buf, int n) override;
    int streamPeek() override { return utPeekFile(myFile); }
    const char *loadBuffer(int &start, int &end) override;
    int64 tellPos() const override { return ftell(myFile); }
    bool seekPos(int64 offset, int whence) override;
    bool endOfBuffer() const override { return feof(myFile) != 0; }

private:
    FILE *myFile;
    UT_WorkBuffer myLine;
};

class ut_StreamStreamBuf : public UT_IStreamBuf
{
public:
    explicit ut_StreamStreamBuf(std::istream &stream) : myStream(stream) {}

    int read(char *buf, int n) override;
    int streamPeek() override;
    const char *loadBuffer(int &start, int &end) override;
    int64 tellPos() const override;
    bool seekPos(int64 offset, int whence) override;
    bool endOfBuffer() const override { return myStream.eof(); }

private:
    std::istream &myStream;
    char myBlock[4096];
};

// A stream that was asked to throw has noted the failure before it does.
template <class Function>
void
utWithoutThrow(Function function)
{
    try
    {
        function();
    }
    catch (const std::exception &)
    {
    }
}

} // namespace

int
ut_FileStreamBuf::read(char *buf, int n)
{
    errno = 0; // the end of a file sets none, and an older one would mislead
    const size_t count = myFile ? fread(buf, 1, size_t(n), myFile) : 0;
    if (count == 0)
        setError(nullptr);
    return int(count);
}

const char *
ut_FileStreamBuf::loadBuffer(int &start, int &end)
{
    if (!myFile)
        return nullptr;
    start = 0;
    end = int(fread(myBlock, 1, sizeof(myBlock), myFile));
    if (end > 0)
        return myBlock;
    // The end is none; but who waits for the end must not wait for ever.
    if (ferror(myFile))
        setError(nullptr);
    return nullptr;
}

bool
ut_FileStreamBuf::seekPos(int64 offset, int whence)
{
    if (utSeekFile(myFile, offset, whence))
        return true;
    setError(nullptr);
    return false;
}

bool
ut_FilePtrStreamBuf::closeFile()
{
    if (closeOnce())
        return true;
    setError(nullptr);
    return false;
}

bool
ut_FilePtrStreamBuf::closeOnce()
{
    FILE *const file = myFile;
    myFile = nullptr;
    return !file || fclose(file) == 0;
}

int
ut_StdinStreamBuf::read(char *buf, int n)
{
    errno = 0;
    const size_t count = fread(buf, 1, size_t(n), myFile);
    if (count < size_t(n))
        setError(nullptr);
    return int(count);
}

const char *
ut_StdinStreamBuf::loadBuffer(int &start, int &end)
{
    if (!myLine.getline(myFile))
    {
        if (ferror(myFile))
            setError(nullptr);
        return nullptr;
    }
    myLine.append('\n');
    start = 0;
    end = myLine.length();
    return myLine.buffer();
}

bool
ut_StdinStreamBuf::seekPos(int64 offset, int whence)
{
    if (utSeekFile(myFile, offset, whence))
        return true;
    setError(nullptr);
    return false;
}

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
    // tellg() would say nothing once the end has been met.
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
    if (whence >= 0 && whence <= 2)
    {
        utWithoutThrow([&] { myStream.seekg(offset, theWhences[whence]); });
        if (!myStream.fail())
            return true;
        // The stream is where it was, and may be sought again.
        utWithoutThrow(
            [&] { myStream.clear(myStream.rdstate() & ~std::ios::failbit); });
    }
    setError(nullptr);
    return false;
}

UT_IStreamBuf *
UT_IStreamBuf::fileBuf(const char *path)
{
    FILE *const file = fopen64(path ? path : "", "rb");
    const int openErrno = errno;
    UT_IStreamBuf *const buffer = new ut_FilePtrStreamBuf(file);
    if (!file)
    {
        errno = openErrno; // setError() takes it
        buffer->setError(nullptr);
    }
    return buffer;
}

static UT_IStreamBuf *
utShareStdin()
{
    if (!theStdinBuf)
    {
        if (theStdinIsByLines || isatty(fileno(stdin)))
            theStdinBuf = new ut_StdinStreamBuf(stdin);
        else
            theStdinBuf = new ut_FileStreamBuf(stdin);
        // Deliberate: a reference that nobody gives back.
        theStdinBuf->addReference();
    }
    theStdinBuf->addReference();
    return theStdinBuf;
}

UT_IStreamBuf *
UT_IStreamBuf::fileBuf(FILE *file)
{
    if (file == stdin)
        return utShareStdin();
    if (file && isatty(fileno(file)))
        return new ut_StdinStreamBuf(file);
    return new ut_FileStreamBuf(file);
}

UT_IStreamBuf *
UT_IStreamBuf::istreamBuf(std::istream &stream)
{
    if (&stream == &std::cin)
        return utShareStdin();
    return new ut_StreamStreamBuf(stream);
}

void
UT_IStreamBuf::setStdinCompatible(bool byLines)
{
    theStdinIsByLines = byLines;
}
