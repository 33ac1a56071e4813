#include "ut_FuzzCheck.h"
#include "ut_StreamSources.h"

#include "UT/UT_IStream.h"

#include <cstdlib>
#include <cstring>

// The block size and the text, whose bytes also choose what is done with it.
extern "C" int
LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2 || size > 4096)
        return 0;
    const std::string text(data + 1, data + size);
    size_t step = 0;
    // Other operations each time around: some do not move on.
    const auto next = [&]
    {
        ++step;
        return unsigned(step / text.size() + uint8(text[step % text.size()]));
    };
    UT_IStreamBuf *const buffer = new ut_ChunkStreamBuf(text, data[0] + 1u);
    utRequire(utScanMismatch(*buffer, text, next) == "");
    // As numbers, beside the C library.
    buffer->seekg(0, 0);
    UT_IStream numbers(buffer, UT_ISTREAM_ASCII);
    UT_IStream words(text.data(), int(text.size()), UT_ISTREAM_ASCII);
    UT_WorkBuffer number;
    bool isFloat = false;
    while (words.getStreamBuf()->getNumber(number, isFloat))
    {
        const double expected = strtod(number.buffer(), nullptr);
        double value = 0;
        utRequire(numbers.aread(&value, 1) == 1);
        utRequire(memcmp(&value, &expected, sizeof(value)) == 0);
    }
    return 0;
}
