// Values of a stream whose bytes come in blocks of any sizes: binary and
// written-out numbers, binary texts, words and lines, also among comments. They
// are those of the same bytes in memory.

#include "ut_FuzzCheck.h"
#include "ut_StreamSources.h"

#include "SYS/SYS_Types.h"
#include "UT/UT_IStream.h"
#include "UT/UT_String.h"

#include <cstring>
#include <iterator>

template <class T, bool isText>
static void
utTryNumbers(UT_IStream &in, UT_IStream &memory, int count)
{
    const auto read = [count](UT_IStream &from, T *values)
    {
        if constexpr (isText)
            return from.aread(values, count);
        else
            return from.bread(values, count);
    };
    T values[4];
    T expected[4];
    const int got = read(in, values);
    utRequire(got == read(memory, expected));
    utRequire(memcmp(values, expected, size_t(got) * sizeof(T)) == 0);
}

static void
utTryString(UT_IStream &in, UT_IStream &memory, int choice)
{
    static const int theBits[] = {8, 12, 32, 64};
    const auto bits = UT_ISTREAM_RLE_IO(theBits[choice - 1]);
    UT_String text("old");
    UT_String expected("old");
    const bool isThere = memory.readBinaryString(expected, bits);
    utRequire(in.readBinaryString(text, bits) == isThere);
    utRequire(in.hasError() == !isThere);
    utRequire(text == expected);
}

// Words and lines, without comments.
static void
utTryText(UT_IStream &in, UT_IStream &memory, int choice)
{
    UT_WorkBuffer found;
    UT_WorkBuffer expected;
    const auto read = [choice](UT_IStream &from, UT_WorkBuffer &out)
    {
        return choice % 2 ? int(from.getNonCommentWord(out, '#'))
                          : from.getNonCommentLine(out, '#', false);
    };
    const int result = read(memory, expected);
    utRequire(read(in, found) == result);
    utRequire(utTextOf(found) == utTextOf(expected));
}

// What is tried, with a choice from 1 to 4: mostly of how many values.
static void (*const theTries[])(UT_IStream &, UT_IStream &, int) = {
    utTryNumbers<char, false>,
    utTryNumbers<short, false>,
    utTryNumbers<int64, false>,
    utTryNumbers<float, false>,
    utTryNumbers<short, true>,
    utTryNumbers<unsigned, true>,
    utTryNumbers<int64, true>,
    utTryNumbers<uint64, true>,
    utTryNumbers<double, true>,
    utTryString,
    utTryText,
};

// The block size and the text, whose bytes also choose what is read.
void
utTry(const std::string &input)
{
    if (input.size() < 2 || input.size() > 4096)
        return;
    const std::string text = input.substr(1);
    UT_IStream memory(text.data(), int(text.size()), UT_ISTREAM_ASCII);
    UT_IStream in(
        new ut_ChunkStreamBuf(text, uint8(input[0]) + 1u), UT_ISTREAM_ASCII);
    size_t step = 0;
    // Other choices each time around: some do not move on.
    const auto choose = [&]
    {
        const unsigned byte = uint8(text[step % text.size()]);
        return unsigned(step++ / text.size()) + byte;
    };
    utRequire(utScanMismatch(*in.getStreamBuf(), text, choose) == "");
    in.seekg(0);
    int64 place = 0;
    while (place < int64(text.size()))
    {
        const unsigned choice = choose();
        theTries[choice % std::size(theTries)](
            in, memory, int(choice / 32 % 4) + 1);
        place = memory.tellg();
        // A short read may be an error, or not have moved on.
        for (UT_IStream *each : {&in, &memory})
        {
            if (each->hasError() || each->getStreamBuf()->hasError())
                each->seekg(place);
        }
        utRequire(in.tellg() == place);
    }
}
