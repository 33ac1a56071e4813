#include "ut_FuzzCheck.h"
#include "ut_StreamSources.h"

#include "SYS/SYS_Types.h"

#include <vector>

// The bytes that a buffer gives, taken `pieceSize` at a time, and whether it
// then has an error.
static std::pair<std::string, bool>
utReadAll(UT_IStreamBuf &buffer, int pieceSize)
{
    std::string out;
    std::string piece(size_t(pieceSize), '\0');
    while (const int count = buffer.bread(piece.data(), pieceSize))
        out.append(piece, 0, size_t(count));
    return {out, buffer.hasError()};
}

void
utTry(const std::string &input)
{
    const std::string bytes = input.substr(0, 2000);
    // Room for more than any data hold; clearing it each time takes long.
    static std::vector<Bytef> theRoom(2000 * 1100 + 1000);
    uLongf length = uLongf(theRoom.size());
    const bool isZlib = uncompress(
                            theRoom.data(), &length,
                            reinterpret_cast<const Bytef *>(bytes.data()),
                            uLong(bytes.size())) == Z_OK;
    const std::string expected(
        theRoom.data(), theRoom.data() + (isZlib ? length : 0));
    for (const auto layer : {UT_IStreamBuf::zlibBuf, UT_IStreamBuf::gzipBuf})
    {
        UT_IStreamBuf *const source = new ut_ChunkStreamBuf(bytes);
        UT_IStreamBuf *const buffer = layer(source);
        const auto inSmallPieces = utReadAll(*buffer, 7);
        buffer->seekg(0, 0);
        const auto inLargePieces = utReadAll(*buffer, 5000);
        const size_t middle = inLargePieces.first.size() / 2;
        buffer->seekg(int64(middle), 0);
        const auto secondHalf = utReadAll(*buffer, 5000);
        buffer->release();
        source->release();
        utRequire(inSmallPieces == inLargePieces);
        utRequire(inLargePieces.first.substr(middle) == secondHalf.first);
        // What zlib makes of the bytes.
        const bool isKnown = isZlib && layer == UT_IStreamBuf::zlibBuf;
        if (isKnown)
            utRequire(inSmallPieces == std::pair(expected, false));
    }
}
