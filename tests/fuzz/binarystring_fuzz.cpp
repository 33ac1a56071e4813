#include "UT/UT_IStream.h"
#include "UT/UT_String.h"
#include "UT/UT_WorkBuffer.h"
#include "UT/UT_Write.h"

#include <cstdlib>
#include <cstring>
#include <sstream>

// Bytes of the text behind its length fields, which end at `at`; -1 when it is
// not all there.
static int64
utModelLength(const std::string &bytes, size_t width, size_t &at)
{
    for (; bytes.size() - at >= width; width *= 2)
    {
        uint64 length = 0;
        for (size_t end = at + width; at < end; ++at)
            length = length * 256 + uint8(bytes[at]);
        if (width == 8 || length != (uint64(1) << 8 * width) - 1)
            return length <= bytes.size() - at ? int64(length) : -1;
    }
    return -1;
}

extern "C" int
LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (!size)
        return 0;
    // As what a stranger wrote.
    std::string bytes(data + 1, data + size);
    const size_t width = size_t(1) << (data[0] & 3);
    const UT_ISTREAM_RLE_IO rle = UT_ISTREAM_RLE_IO(width * 8);
    size_t at = 0;
    const int64 length = utModelLength(bytes, width, at);
    UT_IStream in(bytes.data(), int(bytes.size()), UT_ISTREAM_BINARY);
    UT_String text("old");
    if (in.readBinaryString(text, rle) != (length >= 0))
        abort();
    if (length < 0 ? text != "old" : in.tellg() != int64(at) + length ||
        memcmp(text, &bytes[at], size_t(length)) != 0)
        abort();

    // As a text of ours, often of a length at which the fields change.
    if (data[0] & 4)
        bytes.resize((data[0] & 8 ? 65535u : 255u) - (data[0] >> 4 & 1u), '"');
    const UT_String first(bytes.c_str());
    std::stringstream file;
    UTsaveStringBinary(file, rle, bytes.data(), int(bytes.size()));
    UTsaveStringAscii(file, bytes.data(), int(bytes.size()));
    first.save(file, /*binary=*/true);
    first.save(file, /*binary=*/false);
    UT_IStream ours(file, UT_ISTREAM_BINARY);
    UT_WorkBuffer quoted;
    if (!ours.readBinaryString(text, rle) || !ours.getString(quoted) ||
        memcmp(text, bytes.data(), bytes.size()) != 0 ||
        bytes != std::string(quoted.buffer(), size_t(quoted.length())) ||
        !text.load(ours) || text != first)
        abort();
    ours.pushBinary(UT_ISTREAM_ASCII);
    text = "old";
    if (!text.load(ours) || text != first || text.load(ours) || text != first)
        abort();
    return 0;
}
