// The reader for loaders of files: text and big-endian values from any source
// of bytes, with a failed state that has to be checked only once.

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
/// clearError() or seekg(). The end of the input is not a failure, except for a
/// bread() that reads past the load buffer of a file and finds nothing there.
///
/// The stream holds one reference on its buffer. Streams over a part of this
/// one, or over its decompressed contents, share that buffer: they may outlive
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

    /// Reads the text of `text` (kept, must outlive the stream and stay
    /// unchanged).
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
    /// Deliberate: only the failed state is kept. A message can use the label
    /// and getErrorStr().
    void setError() { myError = true; }

    /// Clears the failed state. An error of the buffer stays.
    void clearError() { myError = false; }

    /// Whether the stream has failed.
    [[nodiscard]] bool hasError() const { return myError; }

    /// The text of the buffer's last error: its own, or that of strerror().
    /// Borrowed until the buffer's next error.
    [[nodiscard]] const char *getErrorStr() const
    {
        return myStream->getErrorStr();
    }

    /// The buffer. Borrowed until the stream is destroyed or opens another
    /// file.
    [[nodiscard]] UT_IStreamBuf *getStreamBuf() const { return myStream; }

    /// Sets the label, usually the file's name, which is copied; null for none.
    void setLabel(const char *label);

    /// The label, null for none. Borrowed until the next setLabel() or open().
    [[nodiscard]] const char *getLabel() const { return myLabel; }

    /// How values are stored, as a truth value and as a read type.
    [[nodiscard]] bool isBinary() const { return myIsBinary; }
    [[nodiscard]] UT_ISTREAM_READTYPE readType() const
    {
        return myIsBinary ? UT_ISTREAM_BINARY : UT_ISTREAM_ASCII;
    }

    /// Changes the read type until the matching popBinary(). A surplus
    /// popBinary() does nothing.
    void pushBinary(UT_ISTREAM_READTYPE type);
    void popBinary();

    /// Names what is being read until the matching popOperation(); kept, must
    /// outlive that. A surplus popOperation() does nothing.
    void pushOperation(const char *name);
    void popOperation();

    /// Sets whether standard input is read by lines even when it is not a
    /// terminal. Has no effect after standard input is first read.
    static void setStdinCompatible(bool byLines)
    {
        UT_IStreamBuf::setStdinCompatible(byLines);
    }

    // ---- Positions

    /// Position of the next byte; -1 when it is unknown, 0 after an error of
    /// the buffer.
    [[nodiscard]] int64 tellg() const { return myStream->tellg(); }

    /// Clears the failed state and moves as UT_IStreamBuf::seekg() does; fails
    /// when that does. That function says what `whence` 1 and 2 count from,
    /// which is not always tellg() and the end.
    bool seekg(int64 offset, int whence = 0);

    /// Whether no bytes are left, or the stream has failed. A file reports its
    /// end only after a read that reached it, so this may be false when the
    /// last byte was just read.
    [[nodiscard]] bool isEof() const
    {
        return myError || myStream->hasError() ||
               (!myStream->pending() && myStream->endOfBuffer());
    }

    /// A stream over `length` bytes of this one from `start` on, or over the
    /// decompressed zlib or gzip data from its position on. The read type is
    /// this stream's. Caller deletes.
    [[nodiscard]] UT_IStream *getSubStream(int64 start, int64 length);
    [[nodiscard]] UT_IStream *getZlibStream();
    [[nodiscard]] UT_IStream *getGzipStream();

    // ---- Text: false at the end, and when the stream has failed or fails.

    /// Reads as the operations of UT_IStreamBuf of the same names do.
    bool getLine(UT_WorkBuffer &buffer, int delimiter = '\n');
    bool skipLine(int delimiter = '\n');
    bool skipLeadingWhitespace();
    bool getWord(UT_WorkBuffer &buffer);
    bool getString(UT_WorkBuffer &buffer);
    bool getAll(UT_WorkBuffer &buffer);

    /// The next byte as a signed char, -1 at the end. Never fails the stream.
    int getc() { return myError ? -1 : myStream->getc(); }

    /// The next byte, left unread, as UT_IStreamBuf::peekc() has it; -1 at the
    /// end.
    int peek() { return myError ? -1 : myStream->peekc(); }

    /// Steps back up to `n` bytes within the current block and returns their
    /// number.
    int unwind(int n) { return myStream->unwind(n); }

    /// Reads the next word that does not start with `commentChar`. A word that
    /// does is skipped with the rest of its line.
    bool getNonCommentWord(UT_WorkBuffer &buffer, int commentChar = '#');

    /// Reads the next line that is neither blank nor starts with `commentChar`,
    /// without its indentation and, when `strip` is set, without a comment at
    /// its end. Returns the number of lines read, not counting blank ones.
    ///
    /// Deliberate: at the end of the input it returns the number of comment
    /// lines that it skipped, with an empty buffer: check the buffer as well.
    int getNonCommentLine(
        UT_WorkBuffer &buffer, int commentChar = '#', bool strip = true);

    // ---- Values: UT_IStreamValue.cpp

    /// Reads `count` big-endian values and returns the number of complete ones.
    /// The bytes of an incomplete one are consumed. O(count), without a copy.
    int bread(char *values, int count);
    int bread(short *values, int count);
    int bread(int *values, int count);
    int bread(int64 *values, int count);
    int bread(float *values, int count);
    int bread(double *values, int count);

    /// Reads up to `count` numbers as text (see UT_IStreamBuf::getNumber()) and
    /// returns their number. Floats are what strtod() reads, bit for bit, with
    /// "." as the decimal point in every locale. A word is 0 unless strtod()
    /// accepts it, like "inf"; as an integer every word is 0, as is ".5".
    ///
    /// Deliberate: an integer is limited to the range of a long and then loses
    /// the high bits that its own type cannot hold. One that is written with a
    /// point or an exponent is rounded to single precision before and after 0.5
    /// is added, and then down: "2.5" is 3.
    int aread(short *values, int count);
    int aread(unsigned short *values, int count);
    int aread(int *values, int count);
    int aread(unsigned *values, int count);
    int aread(int64 *values, int count);
    int aread(uint64 *values, int count);
    int aread(float *values, int count);
    int aread(double *values, int count);

    /// Reads a text that follows its length, as UTsaveStringBinary() writes it:
    /// a big-endian length of `rle` bits, all ones meaning that the next wider
    /// field follows. The three bytes 2 'h' 'i' are "hi" with 8 bits. `text`
    /// then owns it. The stream fails, and `text` is unchanged, when the input
    /// is too short or the length exceeds INT_MAX. Allocates memory as the data
    /// arrive, not by the length.
    bool
    readBinaryString(UT_String &text, UT_ISTREAM_RLE_IO rle = UT_ISTREAM_RLE_8);

    /// Reads a text as UT_String::load() does: binary when `binary` is set, as
    /// text otherwise.
    bool readString(UT_String &text, bool binary);

private:
    friend class UT_IFStream;

    UT_LOCAL bool checked(bool result);
    UT_LOCAL bool finished(bool result);
    [[nodiscard]] UT_LOCAL bool isUsedUp() const;
    UT_LOCAL bool skipComments(int commentChar, int &lines);
    template <class T>
    UT_LOCAL int readValue(T *value);
    template <class T>
    UT_LOCAL int readMany(T *values, int count);
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
    /// label. Returns whether that succeeded; the stream fails otherwise.
    bool open(const char *path, UT_ISTREAM_READTYPE type);

    /// Closes the file, also for streams over parts of it. False only when
    /// closing fails.
    bool close();
};

/// Reads the decompressed zlib data of `source`, from its position on.
class UT_API UT_IZStream : public UT_IStream
{
public:
    /// The read type is that of `source`, which need not outlive this stream.
    explicit UT_IZStream(UT_IStream &source);
    ~UT_IZStream() override;
};

/// Reads the decompressed gzip data of `source`, from its position on.
class UT_API UT_IGZStream : public UT_IStream
{
public:
    /// The read type is that of `source`, which need not outlive this stream.
    explicit UT_IGZStream(UT_IStream &source);
    ~UT_IGZStream() override;
};
