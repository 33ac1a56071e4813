#include "UT/UT_IStream.h"
#include "ut_ScanModel.h"

#include <cstdlib>

// The block size, how many operations, those, and the text.
extern "C" int
LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2 || size > 4096 || size - 2 < data[1])
        return 0;
    const std::string script(data + 2, data + 2 + data[1]);
    const std::string text(data + 2 + data[1], data + size);
    size_t step = 0;
    // Other ones each time, for some do not move on.
    const auto next = [&]
    {
        const size_t at = step++;
        return unsigned(at % 251) +
               (script.empty() ? 0u : uint8(script[at % script.size()]));
    };
    UT_IStreamBuf *const chunks = new ut_ChunkStreamBuf(text, data[0] + 1u);
    UT_IStreamBuf *const memory =
        UT_IStreamBuf::memoryBuf(text.data(), int(text.size()));
    for (UT_IStreamBuf *buffer : {chunks, memory})
    {
        if (!utScanMismatch(*buffer, text, next).empty())
            abort();
        // As numbers, beside the C library.
        buffer->seekg(0, 0);
        UT_IStream numbers(buffer, UT_ISTREAM_ASCII);
        ut_ScanModel model{text};
        for (std::string number; model.number(number); number.clear())
        {
            const double expected = strtod(number.c_str(), nullptr);
            double value = 0;
            if (numbers.aread(&value, 1) != 1 ||
                memcmp(&value, &expected, sizeof(value)) != 0)
                abort();
        }
    }
    return 0;
}
