// Sources of an input stream's bytes: a file, memory, a standard stream, a byte
// range of another buffer or its decompressed contents. Buffers stack, and
// parsers scan the text of each in the same way.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <cstdio>
#include <iosfwd>

class UT_IStream;
class UT_WorkBuffer;

/// A source of bytes, read block by block, with text scanners on top.
///
/// The current block is the load buffer; its bytes that getc(), the scanners
/// and bread() have not taken yet are pending. Only bread() reads past it,
/// directly from the source to the caller's memory.
///
/// The first failure sets the error, which stays until seekg(). While it is
/// set, all reads return nothing (0, false or -1), and so do tellg(), unwind()
/// and stealLoadBufferData().
///
/// A buffer counts references: the factories return one, which the caller ends
/// with release(). A layer (range, zlib, gzip) holds one on its source and
/// shares the source's position: read from one of the two at a time, and seek
/// after changing from one to the other.
///
/// The scanners that fill a work buffer empty it first. When it is locked they
/// store nothing, but consume the same bytes and return the same result. White
/// space is what isspace() accepts. All bytes are allowed, NUL included.
/// Scanners work on whole runs: O(bytes), without a call for each byte.
///
/// Thread-compatible; the shared buffer of standard input and its switch are
/// for one thread only.
///
/// A source of your own implements the six pure virtual functions. It gets all
/// the operations and scanners below, and UT_IStream takes it. Here, a text
/// that is stored with the lowest bit of each byte inverted:
///
///     class MaskedBuf : public UT_IStreamBuf
///     {
///     public:
///         explicit MaskedBuf(const char *text) : myNext(text) {}
///
///         int read(char *buf, int n) override
///         {
///             int got = 0;
///             while (got < n && *myNext)
///                 buf[got++] = char(*myNext++ ^ 1);
///             return got;
///         }
///
///         const char *loadBuffer(int &start, int &end) override
///         {
///             start = 0;
///             end = read(myBlock, sizeof(myBlock));
///             return end ? myBlock : nullptr;
///         }
///
///         int streamPeek() override { return *myNext ? *myNext ^ 1 : -1; }
///         int64 tellPos() const override { return -1; }
///         bool seekPos(int64, int) override { return false; }
///         bool endOfBuffer() const override { return !*myNext; }
///
///     private:
///         const char *myNext;
///         char myBlock[64];
///     };
///
/// docs/examples/streams.cpp reads from it.
class UT_API UT_IStreamBuf
{
public:
    // ---- Factories: each returns a buffer with one reference, which the
    // caller owns, unless said otherwise. None returns null.

    /// A buffer without bytes, which cannot seek.
    [[nodiscard]] static UT_IStreamBuf *nullBuf();

    /// Reads the file at `path`, which the buffer closes. If it cannot be
    /// opened the buffer's error is set, with the errno of the attempt. Blocks
    /// are 4096 bytes. Programs that the process starts do not inherit the
    /// file; a child of fork() shares it, and its position, with the parent.
    [[nodiscard]] static UT_IStreamBuf *fileBuf(const char *path);

    /// Reads `file`, which the caller closes after the buffer's last use. A
    /// terminal is read line by line, so that a line is available as soon as it
    /// is typed; anything else in blocks of 4096 bytes.
    ///
    /// For `stdin` all calls return one shared buffer, created by the first: it
    /// reads in blocks when standard input is not a terminal and
    /// setStdinCompatible() is off, otherwise by lines. Deliberate: its count
    /// is raised once more when it is created, and again by each call, so that
    /// it is 3 after the first call and no user ever destroys it.
    [[nodiscard]] static UT_IStreamBuf *fileBuf(FILE *file);

    /// Reads `stream` (kept, must outlive the buffer) in blocks of 4096 bytes.
    /// For `std::cin` the result is that of fileBuf(stdin).
    [[nodiscard]] static UT_IStreamBuf *istreamBuf(std::istream &stream);

    /// Reads `length` bytes at `data` (kept, must outlive the buffer) as one
    /// block. Null is an empty block, and so is a negative length.
    ///
    /// Deliberate: a seek with `whence` 2 ignores the offset and moves to the
    /// length less the current position: from position 3 of 10 bytes to 7.
    [[nodiscard]] static UT_IStreamBuf *memoryBuf(const char *data, int length);

    /// Reads `length` bytes of `source` from `start` on; positions count from
    /// there. Seeks the source; if that fails the range is empty. It uses the
    /// source's blocks in place, without copying. A failure of the source fails
    /// the range as well.
    ///
    /// Deliberate: a seek with `whence` 2 moves the source forward, from its
    /// current position, by the range's end (as a position of the source) plus
    /// the offset. A position past the end is not an error, and has no bytes.
    [[nodiscard]] static UT_IStreamBuf *
    rangeBuf(UT_IStreamBuf *source, int64 start, int64 length);

    /// Decompresses the zlib data of `source`, from its position on. Positions
    /// count decompressed bytes; seeking back starts again at the beginning,
    /// and seeking from the end is not possible. Data that stop in the middle
    /// end there without an error; damaged ones set it, with zlib's text, once
    /// all bytes before the damage are read, and so does a source that fails,
    /// with its text. Bytes of `source` after the data may have been read.
    [[nodiscard]] static UT_IStreamBuf *zlibBuf(UT_IStreamBuf *source);

    /// Decompresses the gzip data of `source` as zlibBuf() does: the first
    /// member, without checking its checksum. The header is read here; if it is
    /// invalid the first read of the buffer sets the error.
    [[nodiscard]] static UT_IStreamBuf *gzipBuf(UT_IStreamBuf *source);

    /// Sets whether standard input is read by lines even when it is not a
    /// terminal. Has no effect after the shared buffer is created.
    static void setStdinCompatible(bool byLines);

    UT_IStreamBuf(const UT_IStreamBuf &) = delete;
    UT_IStreamBuf &operator=(const UT_IStreamBuf &) = delete;

    // ---- What each kind of buffer implements. Other layers call these;
    // readers use the operations below. The order is binary interface: add at
    // the end.

    /// Reads up to `n` bytes (above 0) past the load buffer and returns their
    /// number.
    virtual int read(char *buf, int n) = 0;

    /// The first byte past the load buffer as a signed char, left unread; -1 at
    /// the end.
    virtual int streamPeek() = 0;

    /// Closes the file of a buffer that opened it; later reads find nothing.
    /// False only when closing fails.
    virtual bool closeFile();

    virtual ~UT_IStreamBuf();

    /// The next block, null at the end. Its bytes are those from index `start`
    /// up to `end`, exclusive; unwind() goes back as far as index 0. Borrowed
    /// until the next call or seek.
    virtual const char *loadBuffer(int &start, int &end) = 0;

    /// Position of the source, which is the end of the load buffer; -1 when it
    /// is unknown.
    [[nodiscard]] virtual int64 tellPos() const = 0;

    /// Moves the source: `whence` 0 from the start, 1 from tellPos(), 2 from
    /// the end.
    virtual bool seekPos(int64 offset, int whence) = 0;

    /// Whether the source has no bytes past the load buffer. A file reports
    /// that only after a read that reached its end.
    [[nodiscard]] virtual bool endOfBuffer() const = 0;

    // ---- References

    /// Adds a reference.
    void addReference() { ++myRefCount; }

    /// Ends a reference. The last one deletes the buffer.
    void release();

    /// Number of references.
    [[nodiscard]] int references() const { return myRefCount; }

    // ---- Blocks and positions: UT_IStreamBuf.cpp

    /// Number of bytes in the load buffer that are not taken yet.
    [[nodiscard]] int pending() const { return myLoadEnd - myLoadPos; }

    /// Replaces the load buffer, including its pending bytes, by the next
    /// block. False at the end.
    bool loadBuffer();

    /// Drops the load buffer.
    void clearLoadBuffer();

    /// Reads up to `n` bytes, the pending ones first, and returns their number,
    /// which is less at the end. Deliberate: on a file, a call that reads past
    /// the load buffer and finds nothing there sets the error.
    int bread(char *buf, int n);

    /// Position of the next byte; -1 when it is unknown.
    [[nodiscard]] int64 tellg() const;

    /// Clears the error and the load buffer and moves the source: `whence` 0
    /// from the start, 1 from the current position, 2 from the end.
    ///
    /// Deliberate: `whence` 1 counts from the end of the load buffer, not from
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

    /// The next byte as a signed char, left unread and without loading a block;
    /// -1 at the end. Deliberate: the byte 255 is -1, like the end.
    int peekc();

    /// Makes up to `n` bytes of the load buffer pending again, those before the
    /// next byte, and returns their number. After a bread() that read past the
    /// load buffer these are not the bytes read last.
    int unwind(int n);

    /// Takes up to `max` pending bytes without copying them, after loading a
    /// block if there are none. They are those from index `start` up to `end`,
    /// exclusive, of the result; the bytes before `start` mean nothing. Null at
    /// the end. Borrowed until this buffer loads its next block.
    const char *stealLoadBufferData(int &start, int &end, int max);

    // ---- Scanners: UT_IStreamBufScan.cpp

    /// Reads the bytes up to `delimiter`, which is consumed and not stored.
    /// When `delimiter` is a newline, one carriage return at the end of the
    /// line is not stored either. A last line needs no delimiter. False when no
    /// bytes were left.
    bool getLine(UT_WorkBuffer &buffer, int delimiter = '\n');

    /// Consumes what getLine() would, and returns the same result.
    bool skipLine(int delimiter = '\n');

    /// Consumes white space. Returns whether a byte follows.
    bool skipLeadingWhitespace();

    /// Skips white space and reads the bytes up to the next white space, which
    /// is not consumed. False when no bytes were left.
    bool getWord(UT_WorkBuffer &buffer);

    /// Skips white space and reads the text of a number: a first byte out of
    /// "+-.0123456789", then digits, one point, one exponent letter after which
    /// no point follows, and a sign directly after that letter. The first byte
    /// that does not fit is left: "1.5e-3m" reads as "1.5e-3". With any other
    /// first byte it reads a word. False when no bytes were left.
    ///
    /// `isFloat` is set to whether there is a point or an exponent. Deliberate:
    /// the first byte does not count, so ".5" is not a float, and ".5.5" is one
    /// number.
    bool getNumber(UT_WorkBuffer &buffer, bool &isFloat);

    /// Skips white space and reads a word, or a text in double quotes, which
    /// are not stored. A backslash before a double quote or a backslash is
    /// dropped and makes that an ordinary byte: `"a \"b\""` reads as `a "b"`.
    /// False when no bytes were left, when the closing quote is missing (the
    /// text so far is stored) and, deliberately, when the first byte is 128 or
    /// more; it is consumed.
    ///
    /// Deliberate: a backslash that comes first is dropped before a double
    /// quote only. What follows is not a quoted text.
    bool getString(UT_WorkBuffer &buffer);

    /// Reads all remaining bytes. True unless the error was set before.
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
    UT_LOCAL void appendRestOfFile(UT_WorkBuffer &buffer);

    // Order and size stay.
    char *myErrorString = nullptr;      // malloc'ed, or null
    const char *myLoadBuffer = nullptr; // the kind's own
    int32 myLoadPos = 0;                // index of the next byte
    int32 myLoadEnd = 0;                // index past the last byte
    int32 myRefCount = 1;
    int32 myErrno = 0;
    bool myError = false;
};

static_assert(sizeof(UT_IStreamBuf) == (sizeof(void *) == 4 ? 32 : 48));
