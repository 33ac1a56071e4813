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

extern "C" int
LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // A stranger's bytes are a text and what is behind it, or nothing.
    std::string bytes(data + !!size, data + size);
    const int kind = size ? data[0] : 0;
    const UT_ISTREAM_RLE_IO rle = UT_ISTREAM_RLE_IO(8 << (kind & 3));
    UT_IStream stranger(bytes.data(), int(bytes.size()), UT_ISTREAM_BINARY);
    UT_String text("old");
    const bool isRead = stranger.readBinaryString(text, rle);
    utRequire(isRead ? bytes.find(text) < bytes.npos : text == "old");

    // A text of ours reads back, often of a length at which the fields change.
    if (kind & 4)
        bytes.resize((kind & 8 ? 65535u : 255u) - (kind & 16 ? 1 : 0), '"');
    const UT_String first(bytes.c_str());
    std::stringstream file;
    first.save(file, /*binary=*/true);
    UTsaveStringAscii(file, bytes.data(), int(bytes.size()));
    first.save(file, /*binary=*/false);
    UTsaveStringBinary(file, rle, bytes.data(), int(bytes.size()));
    UT_IStream ours(file, UT_ISTREAM_BINARY);
    UT_WorkBuffer quoted;
    utRequire(text.load(ours) && text == first && ours.getString(quoted));
    utRequire(bytes == std::string(quoted.buffer(), size_t(quoted.length())));
    ours.pushBinary(UT_ISTREAM_ASCII);
    utRequire(text.load(ours) && text == first);
    utRequire(ours.readBinaryString(text, rle) && ours.getc() == -1);
    utRequire(memcmp(text, bytes.data(), bytes.size()) == 0);
    return 0;
}
