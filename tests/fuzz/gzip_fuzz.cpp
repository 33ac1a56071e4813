#include "ut_ScanModel.h"

#include <cstdlib>

static void
utRequire(bool isTrue)
{
    if (!isTrue)
        abort();
}

// What zlib makes of it in one go. Whether that ends as it should.
static int
utInflate(std::string data, int windowBits, std::string &out)
{
    z_stream stream = {};
    inflateInit2(&stream, windowBits);
    out.resize(data.size() * 1100 + 1000); // more than any data hold
    stream.next_in = reinterpret_cast<Bytef *>(data.data());
    stream.avail_in = uInt(data.size());
    stream.next_out = reinterpret_cast<Bytef *>(out.data());
    stream.avail_out = uInt(out.size());
    const int result = inflate(&stream, Z_SYNC_FLUSH);
    out.resize(stream.total_out);
    inflateEnd(&stream);
    return result;
}

static std::string
utRead(UT_IStreamBuf &buffer, int n)
{
    std::string out;
    char bytes[5000];
    while (const int count = buffer.bread(bytes, n))
        out.append(bytes, size_t(count));
    return out;
}

static std::string
utDecompressed(
    UT_IStreamBuf *(*layer)(UT_IStreamBuf *), UT_IStreamBuf *source,
    bool &isError)
{
    UT_IStreamBuf *const whole = layer(source);
    source->release();
    const std::string out = utRead(*whole, 5000);
    isError = whole->hasError();
    // Again, from somewhere, and in other pieces.
    const size_t middle = out.size() / 2;
    if (whole->seekg(int64(middle), 0))
    {
        std::string rest;
        while (!whole->endOfBuffer() || whole->pending())
        {
            const int byte = whole->getc();
            if (whole->hasError() || !whole->unwind(1))
                break;
            rest += char(byte);
            whole->getc();
        }
        utRequire(rest == out.substr(middle));
        utRequire(whole->hasError() == isError);
        utRequire(whole->seekg(0, 0) && utRead(*whole, 100) == out);
    }
    whole->release();
    return out;
}

extern "C" int
LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size > 2000)
        return 0;
    const std::string bytes(data, data + size);
    for (const bool isGzip : {false, true})
    {
        const auto layer =
            isGzip ? UT_IStreamBuf::gzipBuf : UT_IStreamBuf::zlibBuf;
        bool isError = false;
        bool isChunkError = false;
        const std::string out = utDecompressed(
            layer, UT_IStreamBuf::memoryBuf(bytes.data(), int(size)), isError);
        utRequire(
            out ==
            utDecompressed(layer, new ut_ChunkStreamBuf(bytes), isChunkError));
        utRequire(isError == isChunkError);
        std::string expected;
        const int result = utInflate(bytes, isGzip ? 31 : 15, expected);
        // Of gzip, zlib looks at the checksums too.
        if (result == Z_STREAM_END || !isGzip)
            utRequire(
                out == expected &&
                isError == (result != Z_STREAM_END && result != Z_OK &&
                            result != Z_BUF_ERROR));
    }
    return 0;
}
