// The scratch in which text is put together: short texts stay in the object,
// which usually lives on the stack, and long ones move to the heap.

#pragma once

#include "UT_API.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iosfwd>

class UT_IStream;
class UT_String;
class UT_WorkArgs;

/// A text that grows at its end.
///
/// The length says where the text ends, so it may hold NUL bytes; a NUL
/// always follows it. The first 2000 bytes of storage are part of the object.
/// Appends double the storage from there (4000, 8000, ...) and nothing ever
/// shrinks it. A text can have 2147483646 bytes, and what would make it longer
/// is dropped whole.
///
/// While the buffer is locked, appends, clear() and what else would move the
/// end of the text are dropped.
///
/// Thread-compatible.
class UT_API UT_WorkBuffer
{
public:
    UT_WorkBuffer();
    ~UT_WorkBuffer();

    UT_WorkBuffer(const UT_WorkBuffer &) = delete;
    UT_WorkBuffer &operator=(const UT_WorkBuffer &) = delete;

    /// The text, followed by a NUL. Borrowed until the buffer's next change.
    [[nodiscard]] const char *buffer() const { return myBuffer; }

    /// Bytes of text, without the NUL behind them.
    [[nodiscard]] int length() const { return myLength; }

    /// Bytes of storage; the text and its NUL fit in them.
    [[nodiscard]] int capacity() const { return myAllocatedSize; }

    /// Whether appends are dropped.
    [[nodiscard]] bool isLocked() const { return myLockCount != 0; }

    /// Whether the byte behind the text is NUL. Only a lock holder who wrote
    /// there can have changed that.
    [[nodiscard]] bool isNullTerminated() const
    {
        return myBuffer[myLength] == '\0';
    }

    /// The byte at `index`, which counts from 0 and must lie in the storage.
    char operator()(int index) const { return myBuffer[index]; }
    char operator[](int index) const { return myBuffer[index]; }
    char &operator[](int index) { return myBuffer[index]; }

    /// Copies the text up to its first NUL into `out`, which owns it. O(n).
    void copyIntoString(UT_String &out) const;

    /// Copies at most `size` - 1 bytes of the text, NULs included, and a NUL
    /// to `out`. Does nothing when `size` is below 1.
    void copyIntoString(char *out, int size) const;

    /// Makes room for `size` bytes, the NUL included; exactly that many if
    /// they are more than the capacity. Keeps all bytes of the old storage,
    /// those behind the text too. Works on a locked buffer, and then moves
    /// the bytes that lock() gave the address of.
    void reserve(unsigned size);

    /// Empties the buffer.
    void clear();

    /// Appends `text` up to its NUL; nothing for null. The text may be the
    /// buffer's own. Amortised O(length).
    void append(const char *text);

    /// Appends `length` bytes, NULs included, or the text up to its NUL when
    /// `length` is negative; nothing for null.
    void append(const char *bytes, int length);

    /// Appends all of another buffer, or of this one.
    void append(const UT_WorkBuffer &other);

    /// Appends one byte, which may be NUL.
    void append(char byte);

    /// The same operations under the name that the C library uses.
    void strcat(const char *text) { append(text); }
    void strcat(const char *bytes, int length) { append(bytes, length); }
    void strcat(const UT_WorkBuffer &other) { append(other); }
    void strcat(char byte) { append(byte); }

    /// Appends `text` so that a shell-style parser reads it back as one word:
    /// in double quotes when `forceQuotes` is set or the text holds a space,
    /// tab, newline, vertical tab or form feed, with a backslash before every
    /// double quote and backslash in any case. Null and "" become "\"\"". The
    /// text may be the buffer's own.
    void protectedStrcat(const char *text, bool forceQuotes = false);

    /// Replaces the text by the formatted one and returns the formatted
    /// length. That is more than length() when a conversion wrote a NUL: the
    /// text ends there. A lock does not prevent it. The arguments must not
    /// point into the buffer. When the formatter fails (a wide character that
    /// does not convert, say) what it wrote before stays, as far as the storage
    /// goes, and its length is the result.
    ///
    /// The usable storage is the capacity less 16 bytes and doubles until the
    /// text fits, and the capacity doubles with it: up to 1983 bytes stay in
    /// the object. Formats twice when the first attempt does not fit, and when
    /// a text of 1984 bytes or more replaces another.
    UT_PRINTF(2, 0) int vsprintf(const char *format, va_list args);
    UT_PRINTF(2, 3) int sprintf(const char *format, ...);

    /// Appends what sprintf() would put into a fresh buffer and returns its
    /// formatted length, also when a lock makes it drop the text. The arguments
    /// may point into the buffer.
    UT_PRINTF(2, 3) int appendSprintf(const char *format, ...);

    /// Sets the byte at `index`; nothing for a negative one. At or behind the
    /// end the text first becomes `index` + 1 bytes long (growing as appends
    /// do; nothing happens on a locked buffer), and the bytes between the old
    /// end and `index` are whatever the storage held. A NUL ends the text at
    /// `index`, on a locked buffer too.
    void write(int index, char byte);

    /// Locks the buffer once more, reserves `offset` + `extra` bytes and
    /// returns the address of the byte at `offset` (not negative), where the
    /// caller may write `extra` bytes until release(). A caller who lets
    /// release() find the end asks for one byte more, and puts a NUL there.
    char *lock(int offset, unsigned extra);

    /// Takes one lock back. The last one makes the text end at the first NUL
    /// of the storage when `recomputeLength` is set; otherwise the length stays
    /// as it was. One release for each lock: a surplus one leaves the buffer
    /// locked.
    void release(int recomputeLength = 1);

    // ---- Lines: UT_WorkBufferLine.cpp
    //
    // A line ends in a newline or at the end of the input. It replaces the
    // text, without its newline and without one carriage return before that
    // or at the very end. A locked buffer takes no line: the line is read, and
    // the result is the same.

    /// Reads a line of any length, which may be empty. False at the end of the
    /// input and after an error; the text then stays when the stream had told
    /// so before, and is empty when it did so only in this call.
    ///
    /// A NUL hides the rest of the piece that fgets() read it with: bytes are
    /// lost, up to the line's end, and then the next line is joined on. Binary
    /// text is for UT_IStream.
    bool getline(FILE *in);

    /// The same for a standard stream, which may hold NULs. Sets the stream's
    /// state like std::getline(), but does not throw what the stream's
    /// exceptions() ask for.
    bool getline(std::istream &in);

    // ---- Command lines: UT_WorkBufferCommand.cpp

    /// Reads a line and splits it into `args`: cuts it at the first byte that
    /// is in `commentChars` (null for none), quoted or not, adds 1 to
    /// `lineCount`, and cuts the rest at runs of bytes in `separators`. The
    /// arguments point into the buffer and are borrowed until its next change.
    /// There are no continuation lines.
    ///
    /// The forms for streams go on to the next line while there are no
    /// arguments. False at the end of the input, with no arguments.
    ///
    /// Deliberate: the form for a FILE returns false for a line without
    /// arguments, too; its callers go on until feof(). Deliberate: the text
    /// then reads as the first argument, but length() is that of the line.
    bool cmdGetLine(
        std::istream &in, UT_WorkArgs &args, int &lineCount,
        const char *commentChars, const char *separators);
    bool cmdGetLine(
        UT_IStream &in, UT_WorkArgs &args, int &lineCount,
        const char *commentChars, const char *separators);
    bool cmdGetLine(
        FILE *in, UT_WorkArgs &args, int &lineCount, const char *commentChars,
        const char *separators);

    // ---- Words: UT_WorkBufferWord.cpp

    /// Makes the next word of the text at `cursor` the buffer's text, and steps
    /// `cursor` over it and one separator behind it. A word is a run of bytes
    /// that are not in `separators` (not null). False when there is none left:
    /// `cursor` is then at the NUL, the buffer unchanged. On a locked buffer
    /// only the cursor moves. The text may be the buffer's own.
    bool getNextToken(const char *&cursor, UT_String separators);

    /// Cuts the text at the first `commentChar` that stands outside quotes and
    /// has no backslash before it that is not itself escaped, and returns
    /// whether there is one. Quotes are double or single and end at the next of
    /// their kind; backslashes escape in both. A quote character, or NUL,
    /// starts no comment. Looks at the text up to its first NUL. A lock does
    /// not prevent it. O(length).
    bool stripComments(char commentChar);

    /// Appends the first word of `text`, as isspace() separates words, at the
    /// text's first NUL, and makes the text end there. Nothing happens when
    /// there is no word; null has none. The text may be the buffer's own.
    ///
    /// Deliberate: a lock does not prevent it.
    void strcatFirstWord(const char *text);

private:
    enum
    {
        theInlineSize = 2000,
        theSpareSize = 16 // bytes that formatting leaves unused
    };

    // Not UT_LOCAL: the inline appends call it.
    void appendSlowly(char byte);
    void appendSlowly(const char *bytes, size_t count);

    void appendBytes(const char *bytes, size_t count);
    UT_LOCAL bool isOwn(const char *bytes) const;
    UT_LOCAL void move(unsigned size, int kept);
    UT_LOCAL bool growTo(int length, int kept);
    UT_LOCAL unsigned growToFormatted(int formatted);
    UT_LOCAL void dropLineEnd();
    UT_LOCAL UT_PRINTF(3, 0) int appendLongFormatted(
        unsigned size, const char *format, va_list args);

    // Puts short lines and words into the storage without a call.
    friend class UT_IStreamBuf;

    // Programs hold work buffers by value: order and size stay.
    char *myBuffer;      // myStackBuffer, or a malloc'ed block
    int myAllocatedSize; // bytes in myBuffer
    int myLength;        // bytes of text, without the NUL
    int myLockCount;     // locks not released
    char myStackBuffer[theInlineSize];
};

static_assert(sizeof(UT_WorkBuffer) == (sizeof(void *) == 4 ? 2016 : 2024));

// Most buffers live for a few short appends. What these need is inline: the
// compiler then sees the lengths of literals, and a call is made only for more
// storage.
inline UT_WorkBuffer::UT_WorkBuffer()
    : myBuffer(myStackBuffer), myAllocatedSize(theInlineSize), myLength(0),
      myLockCount(0)
{
    myStackBuffer[0] = '\0';
}

inline UT_WorkBuffer::~UT_WorkBuffer()
{
    if (myBuffer != myStackBuffer)
        free(myBuffer);
}

inline void
UT_WorkBuffer::appendBytes(const char *bytes, size_t count)
{
    if (myLockCount || count >= size_t(myAllocatedSize - myLength))
    {
        appendSlowly(bytes, count);
        return;
    }
    char *const end = myBuffer + myLength;
    myLength += int(count);
    memmove(end, bytes, count); // the bytes may be our own
    end[count] = '\0';
}

inline void
UT_WorkBuffer::append(char byte)
{
    const unsigned length = unsigned(myLength);
    if (myLockCount || length + 1 >= unsigned(myAllocatedSize))
    {
        appendSlowly(byte);
        return;
    }
    char *const end = myBuffer + length;
    myLength = int(length + 1);
    end[0] = byte;
    end[1] = '\0';
}

inline void
UT_WorkBuffer::append(const char *text)
{
    if (text)
        appendBytes(text, strlen(text));
}

inline void
UT_WorkBuffer::append(const char *bytes, int length)
{
    if (bytes)
        appendBytes(bytes, length < 0 ? strlen(bytes) : size_t(length));
}

inline void
UT_WorkBuffer::append(const UT_WorkBuffer &other)
{
    appendBytes(other.myBuffer, size_t(other.myLength));
}

/// UT_WorkBuffer::cmdGetLine() from `in` or, when that is null, from `file`.
/// False when both are null; `args` then stay as they are.
UT_API bool utCmdGetLine(
    UT_WorkBuffer &buf, std::istream *in, FILE *file, UT_WorkArgs &args,
    int &lineCount, const char *commentChars, const char *separators);
UT_API bool utCmdGetLine(
    UT_WorkBuffer &buf, UT_IStream *in, FILE *file, UT_WorkArgs &args,
    int &lineCount, const char *commentChars, const char *separators);

/// Writes the text up to its first NUL.
UT_API std::ostream &operator<<(std::ostream &out, const UT_WorkBuffer &buffer);
