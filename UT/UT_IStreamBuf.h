// Where an input stream's bytes come from: a file, memory, a standard stream,
// a byte range of another buffer or what that decompresses to. Buffers stack,
// and parsers scan the text of each in the same way.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <cstdio>
#include <iosfwd>

class UT_IStream;
class UT_WorkBuffer;

/// A source of bytes, read block by block, with text scanners on top.
///
/// The current block is the load buffer: what getc(), the scanners and bread()
/// have not taken of it yet is pending. Only bread() goes past it, and then
/// reads from the source straight to where the caller wants the bytes.
///
/// The first failure sets the error, which stays until seekg(). While it is
/// set, everything that reads returns nothing (0, false or -1), and so do
/// tellg(), unwind() and stealLoadBufferData().
///
/// A buffer counts references: the factories return one, which the caller
/// gives back with release(). A layer (range, zlib, gzip) holds one on its
/// source and shares the source's position: read from one of the two at a
/// time, and seek after changing over.
///
/// The scanners that fill a work buffer empty it first. When it is locked they
/// store nothing, consume the same bytes and return the same. White space is
/// what isspace() says it is. Bytes may be anything, NUL included. They work
/// by whole runs of bytes: O(bytes), without a call for each.
///
/// Thread-compatible; the shared buffer of standard input and its switch are
/// for one thread only.
class UT_API UT_IStreamBuf
{
public:
    // ---- Factories: each returns a buffer that holds one reference for the
    // caller, unless said otherwise. None returns null.

    /// A buffer without bytes, which cannot seek.
    [[nodiscard]] static UT_IStreamBuf *nullBuf();

    /// The file at `path`, which the buffer closes. When it cannot be opened
    /// the buffer's error is set, with the errno of the attempt. Blocks are
    /// 4096 bytes. Programs that are started do not inherit the file; a child
    /// of fork() shares it, and its position, with the parent.
    [[nodiscard]] static UT_IStreamBuf *fileBuf(const char *path);

    /// Reads `file`, which the caller closes after the buffer's last use. A
    /// terminal is read line by line, so that a line is there as soon as it is
    /// typed; anything else in blocks of 4096 bytes.
    ///
    /// For `stdin` it is one buffer, shared by all, made by the first call: in
    /// blocks when standard input is no terminal and setStdinCompatible() is
    /// off, otherwise by lines. Deliberate: its count is raised once more when
    /// it is made, and again by each call, so that it is 3 after the first and
    /// no user ever destroys it.
    [[nodiscard]] static UT_IStreamBuf *fileBuf(FILE *file);

    /// Reads `stream`, which must outlive the buffer, in blocks of 4096 bytes.
    /// For `std::cin` it is what fileBuf(stdin) returns.
    [[nodiscard]] static UT_IStreamBuf *istreamBuf(std::istream &stream);

    /// `length` bytes at `data` (kept, must outlive the buffer) as one block.
    /// Null is an empty block, and so is a negative length.
    ///
    /// Deliberate: a seek with `whence` 2 ignores the offset and goes to the
    /// length less the current offset.
    [[nodiscard]] static UT_IStreamBuf *memoryBuf(const char *data, int length);

    /// `length` bytes of `source` from `start` on, of which positions count.
    /// Seeks the source there; when that fails the range is empty. It shows
    /// the source's blocks in place, without copying. A failure of the source
    /// is the range's as well.
    ///
    /// Deliberate: a seek with `whence` 2 moves the source forward, from where
    /// it is, by the range's end (as a position of the source) plus the offset.
    /// A position behind the end is no error, and has no bytes.
    [[nodiscard]] static UT_IStreamBuf *
    rangeBuf(UT_IStreamBuf *source, int64 start, int64 length);

    /// What the zlib data of `source`, from its position on, decompress to.
    /// Positions count decompressed bytes; seeking back starts again at the
    /// front, and nothing seeks from the end. Data that stop in the middle end
    /// there without an error; damaged ones set it, with zlib's text, once all
    /// bytes before the damage are read. Bytes of `source` behind the data may
    /// have been read.
    [[nodiscard]] static UT_IStreamBuf *zlibBuf(UT_IStreamBuf *source);

    /// The same for gzip data: the first member, without a look at its
    /// checksum. The header is read here; the first read of a buffer whose
    /// header is no good sets the error.
    [[nodiscard]] static UT_IStreamBuf *gzipBuf(UT_IStreamBuf *source);

    /// Whether standard input is read by lines even when it is no terminal.
    /// Decides when the shared buffer is made, not afterwards.
    static void setStdinCompatible(bool byLines);

    UT_IStreamBuf(const UT_IStreamBuf &) = delete;
    UT_IStreamBuf &operator=(const UT_IStreamBuf &) = delete;

    // ---- What each kind of buffer does. Other layers call these; readers use
    // the operations below. Order matters to programs: add at the end.

    /// Reads up to `n` bytes (above 0) past the load buffer and returns how
    /// many it got.
    virtual int read(char *buf, int n) = 0;

    /// The byte behind the load buffer as a signed char, left unread; -1 at
    /// the end.
    virtual int streamPeek() = 0;

    /// Closes the file of a buffer that opened it; reads then find nothing.
    /// True, except when closing fails.
    virtual bool closeFile();

    virtual ~UT_IStreamBuf();

    /// The next block, null at the end. Its bytes are those from index `start`
    /// up to `end`; a reader unwinds as far as index 0. They stay until the
    /// next call or seek.
    virtual const char *loadBuffer(int &start, int &end) = 0;

    /// Position of the source, behind the load buffer; -1 when it is unknown.
    [[nodiscard]] virtual int64 tellPos() const = 0;

    /// Moves the source: `whence` 0 from the start, 1 from tellPos(), 2 from
    /// the end.
    virtual bool seekPos(int64 offset, int whence) = 0;

    /// Whether the source has nothing behind the load buffer. A file knows
    /// that only after a read that met its end.
    [[nodiscard]] virtual bool endOfBuffer() const = 0;

    // ---- References

    /// Adds a reference.
    void addReference() { ++myRefCount; }

    /// Gives one back. The last one deletes the buffer.
    void release();

    /// References that are held.
    [[nodiscard]] int references() const { return myRefCount; }

    // ---- Blocks and positions: UT_IStreamBuf.cpp

    /// Bytes that the load buffer still has.
    [[nodiscard]] int pending() const { return myLoadEnd - myLoadPos; }

    /// Replaces the load buffer by the next block, pending bytes and all.
    /// False at the end.
    bool loadBuffer();

    /// Drops the load buffer.
    void clearLoadBuffer();

    /// Reads up to `n` bytes, the pending ones first, and returns how many it
    /// got: less at the end. Deliberate: on a file, a call that goes past the
    /// load buffer and finds nothing there sets the error.
    int bread(char *buf, int n);

    /// Position of the next byte; -1 when the source does not know it.
    [[nodiscard]] int64 tellg() const;

    /// Clears the error and the load buffer and moves the source: `whence` 0
    /// from the start, 1 from the current position, 2 from the end.
    ///
    /// Deliberate: `whence` 1 counts from behind the load buffer, not from
    /// tellg().
    bool seekg(int64 offset, int whence);

    /// The next byte as a signed char, or -1 at the end. Loads a block when
    /// none is pending.
    int getc()
    {
        if (myLoadPos < myLoadEnd && !myError)
            return int8(myLoadBuffer[myLoadPos++]);
        return loadBuffer() ? int8(myLoadBuffer[myLoadPos++]) : -1;
    }

    /// The same, left unread and without loading a block. Deliberate: the
    /// byte 255 is -1, like the end.
    int peekc();

    /// Makes up to `n` bytes of the load buffer pending again, those in front
    /// of the next byte, and returns how many. After a bread() that went past
    /// the load buffer these are older ones.
    int unwind(int n);

    /// Takes up to `max` pending bytes, after loading a block if there are
    /// none, without copying. They are those from index `start` up to `end` of
    /// the result, which has nothing in front of them; null at the end.
    /// Borrowed until this buffer loads its next block.
    const char *stealLoadBufferData(int &start, int &end, int max);

    // ---- Scanners: UT_IStreamBufScan.cpp

    /// The bytes up to `delimiter`, which is consumed and not stored. Of a
    /// line (`delimiter` is a newline) one carriage return at the end goes
    /// too. A last line needs no delimiter. False when nothing was left.
    bool getLine(UT_WorkBuffer &buffer, int delimiter = '\n');

    /// Consumes what getLine() would and returns the same.
    bool skipLine(int delimiter = '\n');

    /// Consumes white space. Whether another byte is pending.
    bool skipLeadingWhitespace();

    /// The bytes up to the next white space, which is not consumed, after
    /// skipping what is in front. False when nothing was left.
    bool getWord(UT_WorkBuffer &buffer);

    /// The text of a number: a first byte out of "+-.0123456789", then digits,
    /// one point, one exponent letter behind which no point comes, and a sign
    /// directly after that letter. What does not fit is left. Anything else
    /// than such a first byte is read as a word. Skips white space in front;
    /// false when nothing was left.
    ///
    /// `isFloat` is set when there is a point or an exponent. Deliberate: the
    /// first byte does not count, so that ".5" is none and ".5.5" is one
    /// number.
    bool getNumber(UT_WorkBuffer &buffer, bool &isFloat);

    /// A word, or a text in double quotes, which are not stored. A backslash
    /// in front of a double quote or a backslash is dropped and makes that an
    /// ordinary byte. Skips white space in front. False when nothing was left,
    /// when the closing quote is missing (what there is is stored) and,
    /// deliberately, when the first byte is 128 or more; it is consumed.
    ///
    /// Deliberate: a backslash that comes first is dropped in front of a
    /// double quote only. What follows is not a quoted text.
    bool getString(UT_WorkBuffer &buffer);

    /// All remaining bytes. True unless the error was set before.
    bool getAll(UT_WorkBuffer &buffer);

    // ---- Errors

    /// Sets the error, with the current errno and a copy of `text`, which may
    /// be null. Does nothing when it is set already.
    void setError(const char *text);

    /// Whether the error is set.
    [[nodiscard]] bool hasError() const { return myError; }

    /// The text of the last error, or what strerror() says for its errno.
    /// Borrowed until the next error; that of strerror() until its next call.
    [[nodiscard]] const char *getErrorStr() const;

protected:
    UT_IStreamBuf() = default;

private:
    friend class UT_IStream;

    // In the load buffer or in a work buffer.
    struct NumberText
    {
        const char *bytes;
        int length;
        bool isFloat;
    };

    UT_LOCAL bool ensurePending();
    UT_LOCAL bool nextNumber(UT_WorkBuffer &spare, NumberText &number);
    UT_LOCAL void takeEscaped(char &byte);
    UT_LOCAL bool getShortLine(UT_WorkBuffer &buffer, int delimiter);
    UT_LOCAL bool getShortWord(UT_WorkBuffer &buffer);

    // Order and size stay.
    char *myErrorString = nullptr;      // malloc'ed, or null
    const char *myLoadBuffer = nullptr; // the kind's own
    int32 myLoadPos = 0;                // index of the next byte
    int32 myLoadEnd = 0;                // index behind the last byte
    int32 myRefCount = 1;
    int32 myErrno = 0;
    bool myError = false;
};

static_assert(sizeof(UT_IStreamBuf) == (sizeof(void *) == 4 ? 32 : 48));
