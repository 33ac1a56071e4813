#include "ut_FuzzCheck.h"
#include "ut_ScanModel.h"

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

extern "C" int
LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string bytes(data, data + std::min(size, size_t(2000)));
    // More than any data hold.
    std::string expected(bytes.size() * 1100 + 1000, '\0');
    uLongf length = uLongf(expected.size());
    const bool isZlib = uncompress(
                            reinterpret_cast<Bytef *>(expected.data()), &length,
                            reinterpret_cast<const Bytef *>(bytes.data()),
                            uLong(bytes.size())) == Z_OK;
    expected.resize(isZlib ? length : 0);
    for (const auto layer : {UT_IStreamBuf::zlibBuf, UT_IStreamBuf::gzipBuf})
    {
        UT_IStreamBuf *const source = new ut_ChunkStreamBuf(bytes);
        UT_IStreamBuf *const buffer = layer(source);
        const auto inSmallPieces = utReadAll(*buffer, 7);
        buffer->seekg(0, 0);
        const auto inLargePieces = utReadAll(*buffer, 5000);
        buffer->release();
        source->release();
        utRequire(inSmallPieces == inLargePieces);
        // What zlib makes of the bytes.
        const bool isKnown = isZlib && layer == UT_IStreamBuf::zlibBuf;
        if (isKnown)
            utRequire(inSmallPieces == std::pair(expected, false));
    }
    return 0;
}
