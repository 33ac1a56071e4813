// Text from a stream: lines, words, comments. And where a stream comes from.

#include "UT_IStream.h"

#include "UT_AllocImpl.h"
#include "UT_WorkBuffer.h"

#include <cstdlib>
#include <cstring>

UT_IStream::UT_IStream(FILE *file, UT_ISTREAM_READTYPE type)
    : UT_IStream(UT_IStreamBuf::fileBuf(file), type)
{
}

UT_IStream::UT_IStream(std::istream &stream, UT_ISTREAM_READTYPE type)
    : UT_IStream(UT_IStreamBuf::istreamBuf(stream), type)
{
}

UT_IStream::UT_IStream(const char *data, int length, UT_ISTREAM_READTYPE type)
    : UT_IStream(UT_IStreamBuf::memoryBuf(data, length), type)
{
}

UT_IStream::UT_IStream(const UT_WorkBuffer &text, UT_ISTREAM_READTYPE type)
    : UT_IStream(text.buffer(), text.length(), type)
{
}

UT_IStream::UT_IStream(UT_IStreamBuf *buffer, UT_ISTREAM_READTYPE type)
    : myStream(buffer), myIsBinary(type != UT_ISTREAM_ASCII)
{
}

UT_IStream::UT_IStream(const char *path)
    : UT_IStream(
          path ? UT_IStreamBuf::fileBuf(path) : UT_IStreamBuf::nullBuf(),
          UT_ISTREAM_BINARY)
{
    setLabel(path);
    checked(true);
}

UT_IStream::~UT_IStream()
{
    free(myLabel);
    myStream->release();
}

// The result, unless the buffer has an error or the stream has failed before.
bool
UT_IStream::checked(bool result)
{
    if (myStream->hasError())
        setError();
    return result && !myError;
}

void
UT_IStream::setLabel(const char *label)
{
    char *const copy = utDuplicate(label); // `label` may be ours
    free(myLabel);
    myLabel = copy;
}

void
UT_IStream::pushBinary(UT_ISTREAM_READTYPE type)
{
    myBinaryStack.append(myIsBinary);
    myIsBinary = type != UT_ISTREAM_ASCII;
}

void
UT_IStream::popBinary()
{
    const unsigned entries = myBinaryStack.entries();
    if (entries == 0)
        return;
    myIsBinary = myBinaryStack(entries - 1) != 0;
    myBinaryStack.setEntries(entries - 1);
}

void
UT_IStream::pushOperation(const char *name)
{
    myOperations.append(name);
}

void
UT_IStream::popOperation()
{
    if (myOperations.entries() > 0)
        myOperations.setEntries(myOperations.entries() - 1);
}

bool
UT_IStream::seekg(int64 offset, int whence)
{
    clearError();
    if (!myStream->seekg(offset, whence))
        setError();
    return !myError;
}

UT_IStream *
UT_IStream::getSubStream(int64 start, int64 length)
{
    return new UT_IStream(
        UT_IStreamBuf::rangeBuf(myStream, start, length), readType());
}

UT_IStream *
UT_IStream::getZlibStream()
{
    return new UT_IStream(UT_IStreamBuf::zlibBuf(myStream), readType());
}

UT_IStream *
UT_IStream::getGzipStream()
{
    return new UT_IStream(UT_IStreamBuf::gzipBuf(myStream), readType());
}

// A buffer's operation that has a result is not looked at for an error: what
// it got before is good, and the next one finds nothing.
bool
UT_IStream::finished(bool result)
{
    return result || checked(false);
}

bool
UT_IStream::getLine(UT_WorkBuffer &buffer, int delimiter)
{
    return !myError && finished(myStream->getLine(buffer, delimiter));
}

bool
UT_IStream::skipLine(int delimiter)
{
    return !myError && finished(myStream->skipLine(delimiter));
}

bool
UT_IStream::skipLeadingWhitespace()
{
    return !myError && finished(myStream->skipLeadingWhitespace());
}

bool
UT_IStream::getWord(UT_WorkBuffer &buffer)
{
    return !myError && finished(myStream->getWord(buffer));
}

bool
UT_IStream::getString(UT_WorkBuffer &buffer)
{
    return !myError && finished(myStream->getString(buffer));
}

bool
UT_IStream::getAll(UT_WorkBuffer &buffer)
{
    return !myError && finished(myStream->getAll(buffer));
}

// Skips white space and what starts with the comment character. The work
// buffer does not show that: it may be locked. Counts the lines skipped.
bool
UT_IStream::skipComments(int commentChar, int &lines)
{
    while (skipLeadingWhitespace())
    {
        if (uint8(myStream->myLoadBuffer[myStream->myLoadPos]) !=
            uint8(commentChar))
            return true;
        skipLine('\n');
        ++lines;
    }
    return false;
}

bool
UT_IStream::getNonCommentWord(UT_WorkBuffer &buffer, int commentChar)
{
    if (myError)
        return false;
    buffer.clear();
    int lines = 0;
    return skipComments(commentChar, lines) && getWord(buffer);
}

int
UT_IStream::getNonCommentLine(
    UT_WorkBuffer &buffer, int commentChar, bool strip)
{
    int lines = 0;
    if (myError)
        return lines;
    buffer.clear();
    if (!skipComments(commentChar, lines) || !getLine(buffer, '\n'))
        return lines;
    if (strip && !buffer.isLocked())
        buffer.stripComments(char(commentChar));
    return lines + 1;
}

UT_IFStream::UT_IFStream() = default;

UT_IFStream::UT_IFStream(const char *path, UT_ISTREAM_READTYPE type)
    : UT_IStream(path)
{
    myIsBinary = type != UT_ISTREAM_ASCII;
}

UT_IFStream::~UT_IFStream() = default;

bool
UT_IFStream::open(const char *path, UT_ISTREAM_READTYPE type)
{
    if (!close())
        return false;
    clearError();
    myIsBinary = type != UT_ISTREAM_ASCII;
    UT_IStreamBuf *const opened = UT_IStreamBuf::fileBuf(path);
    myStream->release();
    myStream = opened;
    setLabel(path); // not sooner: `path` may be the old one
    return checked(true);
}

bool
UT_IFStream::close()
{
    return myStream->closeFile() || checked(false);
}

UT_IZStream::UT_IZStream(UT_IStream &source)
    : UT_IStream(
          UT_IStreamBuf::zlibBuf(source.getStreamBuf()), source.readType())
{
}

UT_IZStream::~UT_IZStream() = default;

UT_IGZStream::UT_IGZStream(UT_IStream &source)
    : UT_IStream(
          UT_IStreamBuf::gzipBuf(source.getStreamBuf()), source.readType())
{
}

UT_IGZStream::~UT_IGZStream() = default;
