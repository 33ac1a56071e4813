// The reader that loaders of files use: text and big-endian values from any
// source of bytes, with a failed state that needs looking at only once.

#pragma once

#include "UT_API.h"
#include "UT_IStreamBuf.h"
#include "UT_IntArray.h"
#include "UT_PtrArray.h"

#include "SYS/SYS_Types.h"

#include <cstdio>
#include <iosfwd>

class UT_String;
class UT_WorkBuffer;

/// How values are stored. Anything but 0 is binary.
enum UT_ISTREAM_READTYPE : int
{
    UT_ISTREAM_ASCII = 0,
    UT_ISTREAM_BINARY = 1
};

/// Bits of the first length field of a binary string.
enum UT_ISTREAM_RLE_IO : int
{
    UT_ISTREAM_RLE_8 = 8,
    UT_ISTREAM_RLE_16 = 16,
    UT_ISTREAM_RLE_32 = 32,
    UT_ISTREAM_RLE_64 = 64
};

/// Reads lines, words, numbers and binary values from a UT_IStreamBuf.
///
/// A stream that has failed reads nothing more (0, false or -1) until
/// clearError() or seekg(). The end of the input is no failure by itself, but
/// it is for a bread() that goes past the load buffer of a file and finds
/// nothing there.
///
/// The stream holds one reference on its buffer. Streams over a part of this
/// one, or over what it decompresses to, share that buffer: they may outlive
/// this stream, and share its position.
///
/// Thread-compatible; standard input is for one thread only.
class UT_API UT_IStream
{
public:
    // ---- Construction: UT_IStream.cpp

    /// Reads `file`, as UT_IStreamBuf::fileBuf() does.
    UT_IStream(FILE *file, UT_ISTREAM_READTYPE type);

    /// Reads `stream`, which must outlive this one and those made from it.
    UT_IStream(std::istream &stream, UT_ISTREAM_READTYPE type);

    /// Reads `length` bytes at `data` (kept, must outlive the stream and those
    /// made from it).
    UT_IStream(const char *data, int length, UT_ISTREAM_READTYPE type);

    /// Reads the text of `text`, which must stay as it is meanwhile.
    UT_IStream(const UT_WorkBuffer &text, UT_ISTREAM_READTYPE type);

    /// Reads `buffer` and takes over the caller's reference.
    UT_IStream(UT_IStreamBuf *buffer, UT_ISTREAM_READTYPE type);

    /// Reads the file at `path`, which becomes the label, as binary. The
    /// stream fails at once when it cannot be opened. Null is a stream without
    /// bytes.
    explicit UT_IStream(const char *path = nullptr);

    UT_IStream(const UT_IStream &) = delete;
    UT_IStream &operator=(const UT_IStream &) = delete;
    virtual ~UT_IStream();

    // ---- State

    /// Fails the stream.
    ///
    /// Deliberate: nothing is kept but the failed state. Who wants a message
    /// has the label and getErrorStr().
    void setError() { myError = true; }

    /// Takes the failed state back. An error of the buffer stays.
    void clearError() { myError = false; }

    /// Whether the stream has failed.
    [[nodiscard]] bool hasError() const { return myError; }

    /// What went wrong in the buffer: its own text, or what strerror() says.
    /// Borrowed until the buffer's next error.
    [[nodiscard]] const char *getErrorStr() const
    {
        return myStream->getErrorStr();
    }

    /// The buffer. Borrowed until the stream goes or opens another file.
    [[nodiscard]] UT_IStreamBuf *getStreamBuf() const { return myStream; }

    /// Copies `label`, usually the file's name; null for none.
    void setLabel(const char *label);

    /// The label, null for none. Borrowed until the next setLabel() or open().
    [[nodiscard]] const char *getLabel() const { return myLabel; }

    /// Whether values are binary, and the same as a read type.
    [[nodiscard]] bool isBinary() const { return myIsBinary; }
    [[nodiscard]] UT_ISTREAM_READTYPE readType() const
    {
        return myIsBinary ? UT_ISTREAM_BINARY : UT_ISTREAM_ASCII;
    }

    /// Changes the read type until popBinary(), which does nothing when there
    /// is nothing to take back.
    void pushBinary(UT_ISTREAM_READTYPE type);
    void popBinary();

    /// Names what is being read until popOperation(), which does nothing when
    /// there is no name. The text must live that long.
    void pushOperation(const char *name);
    void popOperation();

    /// Whether standard input is read by lines even when it is no terminal.
    /// Decides when it is first read, not afterwards.
    static void setStdinCompatible(bool byLines)
    {
        UT_IStreamBuf::setStdinCompatible(byLines);
    }

    // ---- Positions

    /// Position of the next byte; -1 when the source does not know it, 0 after
    /// an error of the buffer.
    [[nodiscard]] int64 tellg() const { return myStream->tellg(); }

    /// Clears the failed state and moves as UT_IStreamBuf::seekg() does; fails
    /// when that does. Mind what it counts from with `whence` 1 and 2.
    bool seekg(int64 offset, int whence = 0);

    /// Whether nothing is left, or the stream has failed. A file of which just
    /// the last byte was read does not know that it ends there.
    [[nodiscard]] bool isEof() const
    {
        return myError || myStream->hasError() ||
               (!myStream->pending() && myStream->endOfBuffer());
    }

    /// A stream over `length` bytes of this one from `start` on, over what it
    /// decompresses to from its position on. The read type is this stream's.
    /// The caller deletes it.
    [[nodiscard]] UT_IStream *getSubStream(int64 start, int64 length);
    [[nodiscard]] UT_IStream *getZlibStream();
    [[nodiscard]] UT_IStream *getGzipStream();

    // ---- Text: false at the end, and when the stream has failed or fails.

    /// As the operations of UT_IStreamBuf of the same names.
    bool getLine(UT_WorkBuffer &buffer, int delimiter = '\n');
    bool skipLine(int delimiter = '\n');
    bool skipLeadingWhitespace();
    bool getWord(UT_WorkBuffer &buffer);
    bool getString(UT_WorkBuffer &buffer);
    bool getAll(UT_WorkBuffer &buffer);

    /// The next byte as a signed char, -1 at the end. Never fails the stream.
    int getc() { return myError ? -1 : myStream->getc(); }

    /// The same, left unread.
    int peek() { return myError ? -1 : myStream->peekc(); }

    /// Goes back up to `n` bytes within the current block and returns how
    /// many.
    int unwind(int n) { return myStream->unwind(n); }

    /// The next word that does not start with `commentChar`; the rest of the
    /// line of one that does is skipped.
    bool getNonCommentWord(UT_WorkBuffer &buffer, int commentChar = '#');

    /// The next line that is neither blank nor starts with `commentChar`,
    /// without its indentation, and with `strip` set without a comment at its
    /// end. Returns how many lines that took, blank ones not counted.
    ///
    /// Deliberate: at the end of the input it returns the comment lines that
    /// it skipped, with an empty buffer: look at the buffer as well.
    int getNonCommentLine(
        UT_WorkBuffer &buffer, int commentChar = '#', bool strip = true);

    // ---- Values: UT_IStreamValue.cpp

    /// Reads `count` big-endian values and returns how many were whole. Bytes
    /// of one that was not are consumed. O(count), without a copy.
    int bread(char *values, int count);
    int bread(short *values, int count);
    int bread(int *values, int count);
    int bread(int64 *values, int count);
    int bread(float *values, int count);
    int bread(double *values, int count);

    /// Reads up to `count` numbers as text (see UT_IStreamBuf::getNumber())
    /// and returns how many there were. Floats are what strtod() reads, bit for
    /// bit, with "." as the decimal point in every locale. A word is 0 unless
    /// strtod() knows it, like "inf"; as an integer every word is 0, as is
    /// ".5".
    ///
    /// Deliberate: an integer goes through the range of a long, at whose ends
    /// it stays, and then loses its high bits. One that is written with a
    /// point or an exponent is rounded to single precision before and after
    /// 0.5 is added, and then down.
    int aread(short *values, int count);
    int aread(unsigned short *values, int count);
    int aread(int *values, int count);
    int aread(unsigned *values, int count);
    int aread(int64 *values, int count);
    int aread(uint64 *values, int count);
    int aread(float *values, int count);
    int aread(double *values, int count);

    /// Reads a text of a length that stands in front of it, as
    /// UTsaveStringBinary() writes it: a big-endian length of as many bits as
    /// `rle` tells, all ones meaning that the next wider field follows. `text`
    /// then owns it. The stream fails, and `text` stays, when less bytes are
    /// there or the length is no int. Takes memory as the data arrive, not as
    /// the length tells.
    bool
    readBinaryString(UT_String &text, UT_ISTREAM_RLE_IO rle = UT_ISTREAM_RLE_8);

    /// UT_String::load() with the read type `binary` tells of.
    bool readString(UT_String &text, bool binary);

private:
    friend class UT_IFStream;

    UT_LOCAL bool checked(bool result);
    UT_LOCAL bool finished(bool result);
    [[nodiscard]] UT_LOCAL bool isUsedUp() const;
    UT_LOCAL bool skipComments(int commentChar, int &lines);
    template <class T>
    UT_LOCAL int readValues(T *values, int count);
    template <class T>
    UT_LOCAL int readNumbers(T *values, int count);
    UT_LOCAL bool readLength(UT_ISTREAM_RLE_IO rle, int64 &length);

    // Programs hold streams by value: order and size stay.
    UT_IntArray myBinaryStack;              // the read types taken over
    UT_PtrArray<const char *> myOperations; // innermost last; borrowed
    UT_IStreamBuf *myStream;                // one reference is ours
    char *myLabel = nullptr;                // malloc'ed, or null
    bool myIsBinary;
    bool myError = false;
};

static_assert(sizeof(void *) != 4 || sizeof(UT_IStream) == 44);

/// Reads a named file.
class UT_API UT_IFStream : public UT_IStream
{
public:
    /// A stream without bytes, until open().
    UT_IFStream();

    /// Reads the file at `path`; fails at once when it cannot be opened.
    UT_IFStream(const char *path, UT_ISTREAM_READTYPE type);
    ~UT_IFStream() override;

    /// Closes the file and reads the one at `path` instead, which becomes the
    /// label. Whether that worked: the stream fails otherwise.
    bool open(const char *path, UT_ISTREAM_READTYPE type);

    /// Closes the file, for streams over parts of it too. True unless that
    /// fails.
    bool close();
};

/// Reads what the zlib data in `source`, from its position on, decompress to.
class UT_API UT_IZStream : public UT_IStream
{
public:
    /// The read type is that of `source`, which may go.
    explicit UT_IZStream(UT_IStream &source);
    ~UT_IZStream() override;
};

/// Reads what the gzip data in `source`, from its position on, decompress to.
class UT_API UT_IGZStream : public UT_IStream
{
public:
    /// The read type is that of `source`, which may go.
    explicit UT_IGZStream(UT_IStream &source);
    ~UT_IGZStream() override;
};
