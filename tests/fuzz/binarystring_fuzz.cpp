#include "UT/UT_IStream.h"
#include "UT/UT_String.h"
#include "UT/UT_WorkBuffer.h"
#include "UT/UT_Write.h"

#include <cstdlib>
#include <cstring>
#include <sstream>

static void
utRequire(bool isTrue)
{
    if (!isTrue)
        abort();
}

// Bytes of the text behind its length fields, which end at `at`; -1 when there
// are none.
static int64
utModelLength(const std::string &bytes, size_t width, size_t &at)
{
    for (;; width *= 2)
    {
        if (bytes.size() - at < width)
            return -1;
        uint64 length = 0;
        for (size_t end = at + width; at < end; ++at)
            length = length * 256 + uint8(bytes[at]);
        if (width == 8 || length != (uint64(1) << 8 * width) - 1)
            return length <= bytes.size() - at ? int64(length) : -1;
    }
}

extern "C" int
LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (!size)
        return 0;
    const std::string bytes(data + 1, data + size);
    const int count = int(bytes.size());
    const size_t width = size_t(1) << data[0] % 4;
    const UT_ISTREAM_RLE_IO rle = UT_ISTREAM_RLE_IO(width * 8);

    // As what a stranger wrote.
    size_t at = 0;
    const int64 length = utModelLength(bytes, width, at);
    UT_IStream in(bytes.data(), count, UT_ISTREAM_BINARY);
    UT_String text("old");
    utRequire(in.readBinaryString(text, rle) == (length >= 0));
    if (length >= 0)
        utRequire(
            in.tellg() == int64(at) + length &&
            memcmp(text, &bytes[at], size_t(length)) == 0);
    else
        utRequire(text == "old");

    // As a text of ours.
    std::stringstream file;
    UTsaveStringBinary(file, rle, bytes.data(), count);
    UTsaveStringAscii(file, bytes.data(), count);
    UT_IStream both(file, UT_ISTREAM_BINARY);
    UT_WorkBuffer quoted;
    utRequire(both.readBinaryString(text, rle));
    utRequire(memcmp(text, bytes.data(), bytes.size()) == 0);
    utRequire(both.getString(quoted) && quoted.length() == count);
    utRequire(memcmp(quoted.buffer(), bytes.data(), bytes.size()) == 0);
    return 0;
}
