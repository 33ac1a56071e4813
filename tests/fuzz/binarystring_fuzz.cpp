// What was written as a quoted or binary string comes back.

#include "ut_FuzzCheck.h"

#include "SYS/SYS_Types.h"
#include "UT/UT_IStream.h"
#include "UT/UT_String.h"
#include "UT/UT_WorkBuffer.h"
#include "UT/UT_Write.h"

#include <cstring>
#include <sstream>

void
utTry(const std::string &input)
{
    if (input.empty())
        return;
    static const UT_ISTREAM_RLE_IO theWidths[] = {
        UT_ISTREAM_RLE_8, UT_ISTREAM_RLE_16, UT_ISTREAM_RLE_32,
        UT_ISTREAM_RLE_64};
    const int kind = uint8(input[0]);
    const UT_ISTREAM_RLE_IO rle = theWidths[kind & 3];
    std::string bytes = input.substr(1, 299);
    // An input of one byte stands for a text of a length at which the fields
    // change: few do, because that takes long.
    const size_t longest = kind & 8 ? 65535 : 255;
    if (bytes.empty() && kind & 4)
        bytes.resize(longest - (kind & 16 ? 1 : 0), '"');
    const UT_String first(bytes.c_str());
    std::stringstream file;
    first.save(file, /*binary=*/true);
    UTsaveStringAscii(file, bytes.data(), int(bytes.size()));
    first.save(file, /*binary=*/false);
    UTsaveStringBinary(file, rle, bytes.data(), int(bytes.size()));
    UT_IStream ours(file, UT_ISTREAM_BINARY);
    UT_WorkBuffer quoted;
    UT_String text;
    utRequire(text.load(ours));
    utRequire(text == first);
    utRequire(ours.getString(quoted));
    utRequire(bytes == std::string(quoted.buffer(), size_t(quoted.length())));
    ours.pushBinary(UT_ISTREAM_ASCII);
    utRequire(text.load(ours));
    utRequire(text == first);
    utRequire(ours.readBinaryString(text, rle));
    utRequire(ours.getc() == -1);
    utRequire(memcmp(text, bytes.data(), bytes.size()) == 0);
}
