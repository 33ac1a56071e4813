// The buffer for assembling text: short texts stay in the object, which usually
// is on the stack, and long ones move to the heap.

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
/// The text has a length of its own, so it may contain NUL bytes; a NUL always
/// follows it. The first 2000 bytes of storage are part of the object. Appends
/// double the storage from there (4000, 8000, ...), and it never shrinks. A
/// text can have 2147483646 bytes; an append that would exceed that is dropped
/// as a whole.
///
/// While the buffer is locked, appends, clear() and all other operations that
/// would move the end of the text are dropped, unless said otherwise.
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

    /// Bytes of text, without the NUL.
    [[nodiscard]] int length() const { return myLength; }

    /// Bytes of storage; the text and its NUL fit in them.
    [[nodiscard]] int capacity() const { return myAllocatedSize; }

    /// Whether appends are dropped.
    [[nodiscard]] bool isLocked() const { return myLockCount != 0; }

    /// Whether the byte after the text is NUL. False only if a lock holder has
    /// written there.
    [[nodiscard]] bool isNullTerminated() const
    {
        return myBuffer[myLength] == '\0';
    }

    /// The byte at `index`, which counts from 0 and must be within the storage.
    char operator()(int index) const { return myBuffer[index]; }
    char operator[](int index) const { return myBuffer[index]; }
    char &operator[](int index) { return myBuffer[index]; }

    /// Copies the text up to its first NUL into `out`, which owns it. O(n).
    void copyIntoString(UT_String &out) const;

    /// Copies at most `size` - 1 bytes of the text, NULs included, and a NUL
    /// to `out`. Does nothing when `size` is below 1.
    void copyIntoString(char *out, int size) const;

    /// Grows the storage to exactly `size` bytes, the NUL included, if it has
    /// fewer. Keeps all bytes of the old storage, including those after the
    /// text. Works on a locked buffer too, and may then invalidate the address
    /// that lock() returned.
    void reserve(unsigned size);

    /// Empties the buffer.
    void clear();

    /// Appends `text` up to its NUL; does nothing for null. The text may be the
    /// buffer's own. Amortised O(length).
    void append(const char *text);

    /// Appends `length` bytes, NULs included, or the text up to its NUL when
    /// `length` is negative; does nothing for null.
    void append(const char *bytes, int length);

    /// Appends all of another buffer, or of this one.
    void append(const UT_WorkBuffer &other);

    /// Appends one byte, which may be NUL.
    void append(char byte);

    /// Other names of append(), after the C library's function.
    void strcat(const char *text) { append(text); }
    void strcat(const char *bytes, int length) { append(bytes, length); }
    void strcat(const UT_WorkBuffer &other) { append(other); }
    void strcat(char byte) { append(byte); }

    /// Appends `text` so that a shell-style parser reads it back as one word:
    /// in double quotes when `forceQuotes` is set or the text contains a space,
    /// tab, newline, vertical tab or form feed, and in any case with a
    /// backslash before every double quote and backslash. `a b` is appended as
    /// `"a b"`, null and "" as `""`. The text may be the buffer's own.
    void protectedStrcat(const char *text, bool forceQuotes = false);

    /// Replaces the text by the formatted one and returns the formatted length:
    /// sprintf("%d%%", 42) makes the text "42%" and returns 3. The length is
    /// more than length() when a conversion wrote a NUL, where the text ends.
    /// Works on a locked buffer too. The arguments must not point into the
    /// buffer. When the formatter fails (at an invalid wide character, for
    /// example), the part that it wrote to the storage before remains, and its
    /// length is the result.
    ///
    /// The usable storage is the capacity less 16 bytes and doubles until the
    /// text fits, and the capacity doubles with it: up to 1983 bytes stay in
    /// the object. Formats twice when the first attempt does not fit, and when
    /// a text of 1984 bytes or more replaces another.
    UT_PRINTF(2, 0) int vsprintf(const char *format, va_list args);
    UT_PRINTF(2, 3) int sprintf(const char *format, ...);

    /// Appends the text that sprintf() would write into an empty buffer and
    /// returns its formatted length, also when the buffer is locked and drops
    /// the text. The arguments may point into the buffer.
    UT_PRINTF(2, 3) int appendSprintf(const char *format, ...);

    /// Sets the byte at `index`; does nothing for a negative one. At or past
    /// the end the text first becomes `index` + 1 bytes long (it grows as by
    /// appends; nothing happens on a locked buffer), and the bytes between the
    /// old end and `index` are whatever the storage held. A NUL ends the text
    /// at `index`, on a locked buffer too: write(3, '\0') makes "abcdef" into
    /// "abc".
    void write(int index, char byte);

    /// Locks the buffer once more, reserves `offset` + `extra` bytes and
    /// returns the address of the byte at `offset` (not negative), where the
    /// caller may write `extra` bytes until release(). A caller who lets
    /// release() find the end asks for one more byte, for a NUL.
    char *lock(int offset, unsigned extra);

    /// Ends one lock. If it is the last one and `recomputeLength` is set, the
    /// text then ends at the first NUL of the storage; otherwise the length is
    /// unchanged. Each lock needs exactly one release: a surplus one leaves the
    /// buffer locked.
    void release(int recomputeLength = 1);

    // ---- Lines: UT_WorkBufferLine.cpp
    //
    // A line ends in a newline or at the end of the input. It replaces the
    // text, without its newline and without one carriage return before that or
    // at the very end. A locked buffer does not store the line: it is read,
    // with the same result.

    /// Reads a line of any length, which may be empty. False at the end of the
    /// input and after an error; the text is then unchanged if the stream had
    /// reported that before, and empty if this call found it.
    ///
    /// A NUL hides the rest of the block that fgets() read it with: bytes up to
    /// the end of the line may be lost, and the next line is then joined on.
    /// Use UT_IStream for binary text.
    bool getline(FILE *in);

    /// Reads a line of a standard stream, which may contain NULs. Sets the
    /// stream's state as std::getline() does, but does not throw the failures
    /// that its exceptions() select.
    bool getline(std::istream &in);

    // ---- Command lines: UT_WorkBufferCommand.cpp

    /// Reads a line and splits it into `args`: cuts it at the first byte that
    /// is in `commentChars` (null for none), quoted or not, adds 1 to
    /// `lineCount`, and cuts the rest at runs of bytes in `separators`. The
    /// arguments point into the buffer and are borrowed until its next change.
    /// There are no continuation lines.
    ///
    /// The forms for streams continue with the next line while there are no
    /// arguments. They return false at the end of the input, with no arguments.
    ///
    /// Deliberate: the form for a FILE also returns false for a line without
    /// arguments; its callers continue until feof(). Deliberate: the text then
    /// reads as the first argument, but length() is that of the line.
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

    /// Copies the next word of the text at `cursor` into the buffer, and moves
    /// `cursor` past it and one separator after it. A word is a run of bytes
    /// that are not in `separators` (not null). False when there are no more
    /// words: `cursor` is then at the NUL, the buffer unchanged. On a locked
    /// buffer only the cursor moves. The text may be the buffer's own.
    bool getNextToken(const char *&cursor, UT_String separators);

    /// Cuts the text at the first `commentChar` that is outside quotes and not
    /// escaped by a backslash, and returns whether there is one. Quotes are
    /// double or single and end at the next of their kind; backslashes escape
    /// in both. A quote character, or NUL, does not start a comment. Only the
    /// text up to its first NUL is searched. Works on a locked buffer too. With
    /// '#', `a "#" # b` becomes `a "#" `. O(length).
    bool stripComments(char commentChar);

    /// Appends the first word of `text`, as isspace() separates words, at the
    /// first NUL of the buffer's text, which ends after it. Does nothing when
    /// there is no word, or for null. With the text "a", strcatFirstWord(" bc
    /// d") makes "abc". The text may be the buffer's own.
    ///
    /// Deliberate: works on a locked buffer too.
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

    // They write to the storage itself: short lines and words, what a socket
    // receives, and what a scan for variables copies.
    friend class UT_IStreamBuf;
    friend class UT_NetSocket;
    friend struct ut_ScanOutput;

    // Programs hold work buffers by value: order and size stay.
    char *myBuffer;      // myStackBuffer, or a malloc'ed block
    int myAllocatedSize; // bytes in myBuffer
    int myLength;        // bytes of text, without the NUL
    int myLockCount;     // locks not released
    char myStackBuffer[theInlineSize];
};

static_assert(sizeof(UT_WorkBuffer) == (sizeof(void *) == 4 ? 2016 : 2024));

// Most buffers serve a few short appends. The functions for these are inline:
// the compiler then knows the lengths of literals, and only growing makes a
// call.
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

/// Calls UT_WorkBuffer::cmdGetLine() for `in` or, when that is null, for
/// `file`. False when both are null; `args` is then unchanged.
UT_API bool utCmdGetLine(
    UT_WorkBuffer &buf, std::istream *in, FILE *file, UT_WorkArgs &args,
    int &lineCount, const char *commentChars, const char *separators);
UT_API bool utCmdGetLine(
    UT_WorkBuffer &buf, UT_IStream *in, FILE *file, UT_WorkArgs &args,
    int &lineCount, const char *commentChars, const char *separators);

/// Writes the text up to its first NUL.
UT_API std::ostream &operator<<(std::ostream &out, const UT_WorkBuffer &buffer);
