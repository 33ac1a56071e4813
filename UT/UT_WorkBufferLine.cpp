#include "UT_WorkBuffer.h"

#include "SYS/SYS_Types.h"

#include <cstring>
#include <istream>

static const int thePieceSize = 4096;

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
    // The first piece goes straight to where it stays.
    char block[thePieceSize];
    const bool isDropped = myLockCount != 0;
    const char *piece = isDropped ? fgets(block, thePieceSize, in)
                                  : fgets(myBuffer, myAllocatedSize, in);
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
    // A full piece and an empty rest count as failures underneath. They are
    // none here, and must not throw in a stream that throws.
    const std::ios::iostate exceptions = in.exceptions();
    in.exceptions(std::ios::goodbit);
    char piece[thePieceSize + 1];
    bool isFound = false;
    bool isFull;
    do
    {
        in.getline(piece, sizeof(piece));
        const std::streamsize count = in.gcount();
        isFound = isFound || count;
        isFull = in.rdstate() == std::ios::failbit && count == thePieceSize;
        if (isFound)
            in.clear(in.rdstate() & ~std::ios::failbit);
        // The newline, which is taken but not stored, counts too.
        append(piece, int(count - (in.good() && !isFull)));
    } while (isFull);
    dropLineEnd();
    in.exceptions(exceptions);
    return isFound;
}
