// Lines, read from streams of the standard library and of C.

#include "UT_WorkBuffer.h"

#include "UT_CancelImpl.h"

#include "SYS/SYS_Types.h"

#include <cstring>
#include <exception>
#include <istream>

static const int thePieceSize = 4096;

namespace
{

// Keeps a stream from throwing as long as the object is there.
class ut_QuietStream
{
public:
    explicit ut_QuietStream(std::istream &stream)
        : myStream(stream), myExceptions(stream.exceptions())
    {
        if (myExceptions != std::ios::goodbit)
            stream.exceptions(std::ios::goodbit);
    }
    ~ut_QuietStream()
    {
        if (myExceptions == std::ios::goodbit)
            return;
        try
        {
            myStream.exceptions(myExceptions);
        }
        catch (const std::exception &)
        {
            // By then they are set, and the caller sees the stream's state.
        }
    }
    ut_QuietStream(const ut_QuietStream &) = delete;
    ut_QuietStream &operator=(const ut_QuietStream &) = delete;

private:
    std::istream &myStream;
    const std::ios::iostate myExceptions;
};

} // namespace

void
UT_WorkBuffer::dropLineEnd()
{
    if (myLockCount)
        return;
    for (const char byte : {'\n', '\r'})
        if (myLength && myBuffer[myLength - 1] == byte)
            --myLength;
    myBuffer[myLength] = '\0';
}

bool
UT_WorkBuffer::getline(FILE *in)
{
    if (feof(in) || ferror(in))
        return false;
    clear();
    // The first piece is read straight to where it stays.
    char block[thePieceSize];
    const bool isDropped = myLockCount != 0;
    const char *piece = nullptr;
    try
    {
        const auto read = utMayUnwind(fgets);
        piece = isDropped ? read(block, thePieceSize, in)
                          : read(myBuffer, myAllocatedSize, in);
    }
    catch (...) // the end of the thread
    {
        clear();
        throw;
    }
    if (!piece)
    {
        // What came before an error has no NUL.
        clear();
        return false;
    }
    size_t count = strlen(piece);
    if (!isDropped)
        myLength = int(count);
    // Deliberate: a piece that starts with a NUL ends the line.
    while (count && piece[count - 1] != '\n' && !feof(in))
    {
        piece = fgets(block, thePieceSize, in);
        if (!piece)
            break;
        count = strlen(piece);
        append(piece, int(count));
    }
    dropLineEnd();
    return true;
}

bool
UT_WorkBuffer::getline(std::istream &in)
{
    if (!in.good())
        return false;
    clear();
    // A full piece and an empty rest count as failures underneath, which they
    // are not here, and the end is met together with the last line.
    const ut_QuietStream quiet(in);
    char block[thePieceSize + 1];
    bool isFound = false;
    // The first piece is read straight to where it stays.
    for (bool isStored = !myLockCount;; isStored = false)
    {
        char *const piece = isStored ? myBuffer : block;
        const int size = isStored ? myAllocatedSize : int(sizeof(block));
        try
        {
            in.getline(piece, size);
        }
        catch (...) // the end of the thread
        {
            if (isStored)
                clear();
            throw;
        }
        const std::streamsize count = in.gcount();
        isFound = isFound || count;
        const bool isFull =
            in.rdstate() == std::ios::failbit && count == size - 1;
        if (isFound)
            in.clear(in.rdstate() & ~std::ios::failbit);
        // The newline, which is taken but not stored, counts too.
        const int length = int(count - (in.good() && !isFull));
        if (isStored)
            myLength = length;
        else
            append(piece, length);
        if (!isFull)
            break;
    }
    dropLineEnd();
    return isFound;
}
