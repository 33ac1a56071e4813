// Stream buffers over files, C streams and the standard input.

#include "UT_IStreamBuf.h"

#include "UT_CancelImpl.h"
#include "UT_WorkBuffer.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

static constexpr int theBlockSize = 4096; // of what is loaded at a time
static bool theStdinIsByLines = false;
static UT_IStreamBuf *theStdinBuf = nullptr; // never destroyed

// Moves `file`; clears its end-of-file mark unless it also has an error.
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
    [[nodiscard]] int64 tellPos() const override
    {
        return myFile ? ftell(myFile) : -1;
    }
    bool seekPos(int64 offset, int whence) override;
    [[nodiscard]] bool endOfBuffer() const override
    {
        return !myFile || feof(myFile);
    }

private:
    FILE *myFile; // the caller's, or null
    char myBlock[theBlockSize];
};

// A file of our own. It need not go through a FILE, and reads ahead as much as
// pays; what shows of it is what a FILE would show.
class ut_FilePtrStreamBuf : public UT_IStreamBuf
{
public:
    ~ut_FilePtrStreamBuf() override { closeOnce(); }

    // Opens the file, once. A failure sets the error.
    void open(const char *path);

    // The bytes that are left, as far as the system knows.
    [[nodiscard]] int64 bytesLeft() const;

    // Reads up to `n` bytes, as many as one call of the system returns. Returns
    // 0 at the end, which is not an error, and -1 after an error.
    int readSome(char *buf, int n);

    int read(char *buf, int n) override;
    int streamPeek() override;
    bool closeFile() override;
    const char *loadBuffer(int &start, int &end) override;
    [[nodiscard]] int64 tellPos() const override;
    bool seekPos(int64 offset, int whence) override;
    [[nodiscard]] bool endOfBuffer() const override
    {
        return myFile < 0 || myIsAtEnd;
    }

private:
    static constexpr int theWindowSize = 16 * theBlockSize;

    [[nodiscard]] int unread() const { return myWindowEnd - myWindowPos; }
    bool closeOnce();
    void drop();
    int readFile(char *buf, int n);
    int readOn(char *buf, int n);
    void fillWindow(int wanted);
    bool seekFile(int64 offset, int whence);

    int myFile = -1;       // -1 when closed
    int64 myPosition = -1; // of the file, after the window; -1: has none
    bool myIsAtEnd = false;
    int myNextFill = theBlockSize; // grows until a seek
    int myWindowPos = 0;           // the next byte of the window
    int myWindowEnd = 0;
    char myWindow[theWindowSize];
    char myBlock[theBlockSize]; // stays while the window moves on
};

// Returns one line at a time, with its newline, of standard input or another
// terminal.
class ut_StdinStreamBuf : public UT_IStreamBuf
{
public:
    explicit ut_StdinStreamBuf(FILE *file) : myFile(file) {}

    int read(char *buf, int n) override;
    int streamPeek() override { return utPeekFile(myFile); }
    const char *loadBuffer(int &start, int &end) override;
    [[nodiscard]] int64 tellPos() const override { return ftell(myFile); }
    bool seekPos(int64 offset, int whence) override;
    [[nodiscard]] bool endOfBuffer() const override
    {
        return feof(myFile) != 0;
    }

private:
    FILE *myFile;
    UT_WorkBuffer myLine;
};

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
    // The end is not an error; but whoever waits for it must not wait forever.
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

void
ut_FilePtrStreamBuf::open(const char *path)
{
    const ut_CancelGuard guard;
    myFile = open64(path, O_RDONLY | O_CLOEXEC);
    if (myFile < 0)
        setError(nullptr);
    else
        myPosition = lseek64(myFile, 0, SEEK_CUR);
}

bool
ut_FilePtrStreamBuf::closeOnce()
{
    const ut_CancelGuard guard; // the destructor comes here
    const int file = myFile;
    myFile = -1;
    drop();
    // It is closed in any case.
    return file < 0 || close(file) == 0 || errno == EINTR;
}

bool
ut_FilePtrStreamBuf::closeFile()
{
    if (closeOnce())
        return true;
    setError(nullptr);
    return false;
}

void
ut_FilePtrStreamBuf::drop()
{
    myWindowPos = 0;
    myWindowEnd = 0;
    myNextFill = theBlockSize;
}

// Up to `n` bytes after the window; 0 at the end, which sticks, and -1 for an
// error, which is left in errno.
int
ut_FilePtrStreamBuf::readFile(char *buf, int n)
{
    if (endOfBuffer())
        return 0;
    ssize_t count = 0;
    do
    {
        count = ::read(myFile, buf, size_t(n));
    } while (count < 0 && errno == EINTR);
    myIsAtEnd = count == 0;
    if (count > 0 && myPosition >= 0)
        myPosition += count;
    return int(count);
}

int64
ut_FilePtrStreamBuf::bytesLeft() const
{
    struct stat64 status;
    if (myPosition < 0 || fstat64(myFile, &status) != 0)
        return unread();
    return std::max(status.st_size - myPosition, int64(0)) + unread();
}

int
ut_FilePtrStreamBuf::readSome(char *buf, int n)
{
    const int count = std::min(n, unread());
    memcpy(buf, myWindow + myWindowPos, size_t(count));
    myWindowPos += count;
    if (count > 0)
        return count;
    // The window would no longer be what lies before myPosition.
    myWindowPos = 0;
    myWindowEnd = 0;
    return readFile(buf, n);
}

// Reads until the window has `wanted` bytes, if there are as many.
void
ut_FilePtrStreamBuf::fillWindow(int wanted)
{
    const int kept = unread();
    memmove(myWindow, myWindow + myWindowPos, size_t(kept));
    myWindowPos = 0;
    myWindowEnd = kept;
    int count = 1;
    while (unread() < wanted && count > 0)
    {
        const int room = theWindowSize - myWindowEnd;
        count = readFile(myWindow + myWindowEnd, std::min(room, myNextFill));
        myWindowEnd += std::max(count, 0);
        myNextFill = std::min(myNextFill * 2, theWindowSize);
    }
}

// Copies bytes and returns their number.
__attribute__((noinline)) static int
utCopyMany(char *to, const char *from, int count)
{
    memcpy(to, from, size_t(count));
    return count;
}

// The same, without a call for the bytes of most values.
static inline int
utCopy(char *to, const char *from, int count)
{
    if (count == 4)
        memcpy(to, from, 4);
    else if (count == 8)
        memcpy(to, from, 8);
    else
        return utCopyMany(to, from, count);
    return count;
}

int
ut_FilePtrStreamBuf::read(char *buf, int n)
{
    if (n > unread())
        return readOn(buf, n);
    const char *const next = myWindow + myWindowPos;
    myWindowPos += n;
    return utCopy(buf, next, n);
}

// Reads what the window does not have. A function of its own: what it keeps in
// registers would cost those that need no more than the window as much again.
__attribute__((noinline)) int
ut_FilePtrStreamBuf::readOn(char *buf, int n)
{
    errno = 0; // the end of a file sets none, and an older one would mislead
    int total = 0;
    for (;;)
    {
        const int count = std::min(n - total, unread());
        memcpy(buf + total, myWindow + myWindowPos, size_t(count));
        myWindowPos += count;
        total += count;
        if (total == n)
            return total;
        if (n - total < theWindowSize)
        {
            fillWindow(1);
            if (unread() > 0)
                continue;
            break;
        }
        const int direct = readSome(buf + total, n - total);
        if (direct <= 0)
            break;
        total += direct;
    }
    if (total == 0)
        setError(nullptr);
    return total;
}

int
ut_FilePtrStreamBuf::streamPeek()
{
    if (unread() == 0)
        fillWindow(1);
    return unread() > 0 ? int8(myWindow[myWindowPos]) : -1;
}

const char *
ut_FilePtrStreamBuf::loadBuffer(int &start, int &end)
{
    errno = 0;
    if (unread() < theBlockSize)
        fillWindow(theBlockSize);
    start = 0;
    end = std::min(unread(), theBlockSize);
    memcpy(myBlock, myWindow + myWindowPos, size_t(end));
    myWindowPos += end;
    if (end > 0)
        return myBlock;
    // The end is not an error; but whoever waits for it must not wait forever.
    if (!endOfBuffer())
        setError(nullptr);
    return nullptr;
}

int64
ut_FilePtrStreamBuf::tellPos() const
{
    if (myFile < 0 || myPosition < 0)
        return -1;
    const int64 position = myPosition - unread();
    return position > LONG_MAX ? -1 : position;
}

// Moves within the window if that will do.
bool
ut_FilePtrStreamBuf::seekFile(int64 offset, int whence)
{
    // Positions are limited to the range of long.
    int64 target = 0;
    if (whence < 0 || whence > 2 || long(offset) != offset || myPosition < 0 ||
        __builtin_add_overflow(
            offset, whence == 1 ? myPosition - unread() : 0, &target))
    {
        errno = myPosition < 0 ? ESPIPE : EINVAL;
        return false;
    }
    const int64 first = myPosition - myWindowEnd;
    if (whence != 2 && target >= first && target <= myPosition)
    {
        myWindowPos = int(target - first);
        return true;
    }
    const int64 place =
        lseek64(myFile, target, whence == 2 ? SEEK_END : SEEK_SET);
    if (place < 0)
        return false;
    myPosition = place;
    drop();
    return true;
}

bool
ut_FilePtrStreamBuf::seekPos(int64 offset, int whence)
{
    myIsAtEnd = false;
    if (myFile < 0)
        errno = EBADF;
    else if (seekFile(offset, whence))
        return true;
    setError(nullptr);
    return false;
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

// Appends the rest of a file of our own but for its last blocks, which go
// through the load buffer as all others would, and makes room for those.
void
UT_IStreamBuf::appendRestOfFile(UT_WorkBuffer &buffer)
{
    const int64 theMostRoom = 1 << 26; // a file may claim any length
    auto *const file = dynamic_cast<ut_FilePtrStreamBuf *>(this);
    if (!file || buffer.myLockCount)
        return;
    const int left = int(std::min(file->bytesLeft(), theMostRoom));
    buffer.reserve(unsigned(buffer.myLength + left) + 1);
    const int blocks = std::max(left / theBlockSize - 1, 0);
    const int end = buffer.myLength + blocks * theBlockSize;
    if (blocks > 0)
        clearLoadBuffer();
    int count = 1;
    while (count > 0 && buffer.myLength < end)
    {
        count = file->readSome(
            buffer.myBuffer + buffer.myLength, end - buffer.myLength);
        buffer.myLength += std::max(count, 0);
        buffer.myBuffer[buffer.myLength] = '\0';
    }
}

UT_IStreamBuf *
UT_IStreamBuf::fileBuf(const char *path)
{
    // Its blocks are not cleared, as make_unique() would have it.
    std::unique_ptr<ut_FilePtrStreamBuf> buffer(new ut_FilePtrStreamBuf);
    buffer->open(path ? path : "");
    return buffer.release();
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
        // Deliberate: a reference that is never released.
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

void
UT_IStreamBuf::setStdinCompatible(bool byLines)
{
    theStdinIsByLines = byLines;
}
