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
    if (feof_unlocked(in) || ferror_unlocked(in))
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
    while (count && piece[count - 1] != '\n' && !feof_unlocked(in))
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

// Reads up to `size` - 1 bytes of a line, and sets `length` to those before its
// end and `isFound` if there were any. Returns whether the line goes on. A full
// piece and an empty rest count as failures underneath, which they are not
// here.
static bool
utReadPiece(std::istream &in, char *piece, int size, int &length, bool &isFound)
{
    in.getline(piece, size);
    const std::streamsize count = in.gcount();
    isFound = isFound || count;
    const bool isFull = in.rdstate() == std::ios::failbit && count == size - 1;
    if (isFound)
        in.clear(in.rdstate() & ~std::ios::failbit);
    // The newline, which is taken but not stored, counts too.
    length = int(count - (in.good() && !isFull));
    return isFull;
}

bool
UT_WorkBuffer::getline(std::istream &in)
{
    if (!in.good())
        return false;
    clear();
    // The end is met together with the last line.
    const ut_QuietStream quiet(in);
    bool isFound = false;
    bool goesOn = true;
    int length = 0;
    if (!myLockCount)
    {
        // The first piece is read straight to where it stays.
        try
        {
            goesOn =
                utReadPiece(in, myBuffer, myAllocatedSize, length, isFound);
        }
        catch (...) // the end of the thread
        {
            clear();
            throw;
        }
        myLength = length;
    }
    while (goesOn)
    {
        char piece[thePieceSize + 1];
        goesOn = utReadPiece(in, piece, sizeof(piece), length, isFound);
        append(piece, length);
    }
    dropLineEnd();
    return isFound;
}
