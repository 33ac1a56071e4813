// Values of a stream whose bytes come in blocks of any sizes: binary and
// written-out numbers, binary texts, words and lines among comments. A plain
// reader of the whole text finds the same.

#include "ut_FuzzCheck.h"
#include "ut_ScanModel.h"

#include "UT/UT_IStream.h"
#include "UT/UT_String.h"

#include <climits>
#include <cmath>
#include <cstdlib>
#include <iterator>

// Big-endian values, as `Bits` of their size.
template <class T, class Bits>
static void
utTryBinary(UT_IStream &in, ut_ScanModel &model, int count)
{
    T values[4];
    const int got = in.bread(values, count);
    std::string bytes;
    model.take(bytes, size_t(count) * sizeof(T));
    utRequire(got == int(bytes.size() / sizeof(T)));
    for (int i = 0; i < got; ++i)
    {
        Bits expected = 0;
        for (const char byte : bytes.substr(size_t(i) * sizeof(T), sizeof(T)))
            expected = Bits(expected << 8 | uint8(byte));
        utRequire(memcmp(&values[i], &expected, sizeof(T)) == 0);
    }
}

// What a number is as an integer of any size.
static long
utIntegerOf(const std::string &number, bool isFloat)
{
    if (!isFloat)
        return strtol(number.c_str(), nullptr, 10);
    const volatile float value = float(strtod(number.c_str(), nullptr));
    const volatile float sum = value + 0.5f;
    if (std::isnan(sum))
        return 0;
    if (double(sum) < double(LONG_MIN))
        return LONG_MIN;
    if (double(sum) >= -double(LONG_MIN))
        return LONG_MAX;
    return long(std::floor(double(sum)));
}

template <class T>
static void
utTryText(UT_IStream &in, ut_ScanModel &model, int count)
{
    T values[4];
    const int got = in.aread(values, count);
    int read = 0;
    for (std::string number; read < count && model.number(number); ++read)
    {
        utRequire(read < got);
        T expected;
        if (std::is_floating_point_v<T>)
            expected = T(strtod(number.c_str(), nullptr));
        else
            expected = T(utIntegerOf(number, model.isFloat));
        utRequire(memcmp(&values[read], &expected, sizeof(T)) == 0);
    }
    utRequire(got == read);
}

static bool
utTakeBinaryString(ut_ScanModel &model, int firstBits, std::string &out)
{
    uint64 length = 0;
    for (const int bytes : {1, 2, 4, 8})
    {
        if (bytes < 8 && firstBits > 8 * bytes)
            continue;
        std::string field;
        if (model.take(field, size_t(bytes)) < bytes)
            return false;
        length = 0;
        for (const char byte : field)
            length = length << 8 | uint8(byte);
        if (field != std::string(size_t(bytes), '\xff'))
            break;
    }
    return length < INT_MAX && model.take(out, size_t(length)) == int(length);
}

static void
utTryString(UT_IStream &in, ut_ScanModel &model, int choice)
{
    static const int theBits[] = {8, 12, 32, 64};
    const int firstBits = theBits[choice - 1];
    UT_String text("old");
    std::string expected;
    const bool isThere = utTakeBinaryString(model, firstBits, expected);
    utRequire(
        in.readBinaryString(text, UT_ISTREAM_RLE_IO(firstBits)) == isThere);
    utRequire(in.hasError() == !isThere);
    if (!isThere)
        expected = "old";
    utRequire(memcmp(text, expected.c_str(), expected.size() + 1) == 0);
}

// Steps over comments; whether something follows.
static bool
utSkipComments(ut_ScanModel &model, int &lines)
{
    lines = 0;
    for (; model.skipSpace() && model.is("#"); ++lines)
        model.skipLine();
    return model.skipSpace();
}

static void
utTryWord(UT_IStream &in, ut_ScanModel &model, int)
{
    UT_WorkBuffer found;
    std::string expected;
    int lines = 0;
    const bool isThere = utSkipComments(model, lines);
    if (isThere)
        model.word(expected);
    utRequire(in.getNonCommentWord(found, '#') == isThere);
    utRequire(utTextOf(found) == expected);
}

static void
utTryLine(UT_IStream &in, ut_ScanModel &model, int)
{
    UT_WorkBuffer found;
    std::string expected;
    int lines = 0;
    const bool isThere = utSkipComments(model, lines);
    if (isThere)
        model.line(expected, '\n');
    utRequire(in.getNonCommentLine(found, '#', false) == lines + isThere);
    utRequire(utTextOf(found) == expected);
}

// What is tried, with a choice from 1 to 4: mostly of how many values.
static void (*const theTries[])(UT_IStream &, ut_ScanModel &, int) = {
    utTryBinary<char, uint8>,
    utTryBinary<short, uint16>,
    utTryBinary<int, uint32>,
    utTryBinary<int64, uint64>,
    utTryBinary<float, uint32>,
    utTryBinary<double, uint64>,
    utTryText<short>,
    utTryText<unsigned short>,
    utTryText<int>,
    utTryText<unsigned>,
    utTryText<int64>,
    utTryText<uint64>,
    utTryText<float>,
    utTryText<double>,
    utTryString,
    utTryWord,
    utTryLine,
};

// The block size and the text, whose bytes also choose what is read.
extern "C" int
LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2 || size > 1024)
        return 0;
    ut_ScanModel model{std::string(data + 1, data + size)};
    UT_IStream in(
        new ut_ChunkStreamBuf(model.text, data[0] + 1u), UT_ISTREAM_ASCII);
    // A short read may be an error, or not have moved on.
    for (size_t step = 0; model.at < model.text.size(); ++step)
    {
        const unsigned choice = uint8(model.text[step % model.text.size()]) +
                                unsigned(step / model.text.size());
        theTries[choice % std::size(theTries)](
            in, model, int(choice / 32 % 4) + 1);
        if (in.hasError() || in.getStreamBuf()->hasError())
            in.seekg(int64(model.at));
        utRequire(in.tellg() == int64(model.at));
    }
    return 0;
}
