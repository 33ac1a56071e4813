#include "ut_ScanModel.h"

#include <cstdlib>

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
        std::string outs[2];
        bool isError[2];
        for (int i = 0; i < 2; ++i)
        {
            char piece[5000];
            while (const int count = buffer->bread(piece, i ? 5000 : 7))
                outs[i].append(piece, size_t(count));
            isError[i] = buffer->hasError();
            buffer->seekg(0, 0);
        }
        buffer->release();
        source->release();
        // The same whatever the pieces, and what zlib makes of it.
        const bool isSame = outs[0] == outs[1] && isError[0] == isError[1];
        const bool isKnown = isZlib && layer == UT_IStreamBuf::zlibBuf;
        if (!isSame || (isKnown && (isError[0] || outs[0] != expected)))
            abort();
    }
    return 0;
}
