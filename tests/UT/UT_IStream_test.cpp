#include "UT/UT_IStream.h"

#include "UT/UT_String.h"
#include "UT/UT_WorkBuffer.h"
#include "ut_ScanModel.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

static std::string
utText(const UT_WorkBuffer &buffer)
{
    return std::string(buffer.buffer(), size_t(buffer.length()));
}

template <class T>
static void
utReadsBigEndian(std::initializer_list<T> values)
{
    std::string stored;
    for (T value : values)
    {
        const auto *const bytes = reinterpret_cast<const char *>(&value);
        stored += std::string(bytes, sizeof(T));
        std::reverse(stored.end() - sizeof(T), stored.end());
    }
    // Not a whole one behind them.
    std::istringstream input(stored + std::string(sizeof(T) - 1, 'x'));
    UT_IStream stream(input, UT_ISTREAM_BINARY);
    std::vector<T> read(values.size() + 1);
    const int count = int(values.size());
    EXPECT_EQ(count, stream.bread(read.data(), count + 1));
    EXPECT_EQ(
        0, memcmp(read.data(), values.begin(), values.size() * sizeof(T)));
    EXPECT_TRUE(stream.isEof() && !stream.hasError());
    EXPECT_EQ(0, stream.bread(read.data(), 1));
    EXPECT_EQ(0, stream.bread(read.data(), -1));
}

TEST(UT_IStream, ReadsBigEndianValuesBitForBit)
{
    float signalling = 0;
    const uint32 bits = 0x7fa12345;
    memcpy(&signalling, &bits, sizeof(bits));
    utReadsBigEndian<char>({'a', '\xff', '\0'});
    utReadsBigEndian<short>({1, -2, 0x1234});
    utReadsBigEndian<int>({1, -2, 0x12345678});
    utReadsBigEndian<int64>({1, -2, 0x123456789abcdef0});
    utReadsBigEndian<float>({1.5f, -0.0f, signalling});
    utReadsBigEndian<double>({1.5, -0.0, 1e300});
}

TEST(UT_IStream, ABinaryReadWithNothingLeftInAFileFails)
{
    FILE *const file = tmpfile();
    fwrite("\0\0\0\x01\0\0\0\x02zz", 1, 10, file);
    rewind(file);
    UT_IStream stream(file, UT_ISTREAM_BINARY);
    int values[3] = {};
    EXPECT_EQ(2, stream.bread(values, 3));
    EXPECT_EQ(2, values[1]);
    EXPECT_FALSE(stream.hasError());
    EXPECT_EQ(0, stream.bread(values, 3));
    EXPECT_TRUE(stream.hasError() && stream.isEof());
    EXPECT_EQ(-1, stream.getc());
    EXPECT_TRUE(stream.seekg(3, 0));
    EXPECT_EQ(1, stream.getc());
    fclose(file);
}

// Texts out of what numbers are made of, read in blocks of any size, against
// the C library.
TEST(UT_IStream, ReadsNumbersAsTheCLibraryDoes)
{
    static const char *const thePieces[] = {
        "0",
        "1",
        "9",
        "25",
        ".",
        "-",
        "+",
        "e",
        "E5",
        "e-3",
        "7",
        "e30",
        "99999999999999999999",
        "inf",
        "NaN",
        "x",
        "e+400",
        "e-320"};
    std::mt19937 random(5);
    for (int run = 0; run < 300; ++run)
    {
        std::string text;
        for (int i = 0; i < 60; ++i)
            text += std::string(thePieces[random() % 18]) +
                    (random() % 3 ? "" : " ");
        UT_IStream numbers(
            run % 2 ? new ut_ChunkStreamBuf(text)
                    : UT_IStreamBuf::memoryBuf(text.data(), int(text.size())),
            UT_ISTREAM_ASCII);
        ut_ScanModel model{text};
        for (std::string number; model.number(number); number.clear())
        {
            const double real = strtod(number.c_str(), nullptr);
            double read = 5;
            if (run % 4 < 2)
            {
                ASSERT_EQ(1, numbers.aread(&read, 1)) << number;
                EXPECT_EQ(0, memcmp(&real, &read, sizeof(read))) << number;
            }
            else if (!model.isFloat)
            {
                unsigned integer = 5;
                ASSERT_EQ(1, numbers.aread(&integer, 1)) << number;
                EXPECT_EQ(
                    unsigned(strtol(number.c_str(), nullptr, 10)), integer)
                    << number;
            }
            else
                numbers.aread(&read, 1);
        }
        int none = 0;
        EXPECT_EQ(0, numbers.aread(&none, 1));
    }
}

TEST(UT_IStream, IntegersWithAPointAreRoundedInSinglePrecision)
{
    static const struct
    {
        const char *text;
        int64 value;
    } theCases[] = {
        {"2.5",                   3       },
        {"-2.5",                  -2      },
        {"7",                     7       },
        {".5",                    0       }, // taken for an integer
        {"word",                  0       },
        {"8388609.0",             8388610 },
        {"0.49999997",            1       },
        {"-0.75",                 -1      },
        {"1e99",                  LONG_MAX},
        {"-1e99",                 LONG_MIN},
        {"99999999999999999999",  LONG_MAX},
        {"-99999999999999999999", LONG_MIN},
    };
    for (const auto &row : theCases)
    {
        UT_IStream stream(row.text, int(strlen(row.text)), UT_ISTREAM_ASCII);
        int64 value = 5;
        short narrow = 5;
        EXPECT_EQ(1, stream.aread(&value, 1));
        EXPECT_EQ(row.value, value) << row.text;
        EXPECT_TRUE(stream.seekg(0));
        EXPECT_EQ(1, stream.aread(&narrow, 5));
        EXPECT_EQ(short(row.value), narrow) << row.text;
    }
}

// The field as hexadecimal digits, bytes behind it, and what becomes of it: a
// length, or -1. What the field promises is not believed.
TEST(UT_IStream, BinaryStringsComeWithTheirLength)
{
    static const struct
    {
        const char *field;
        size_t bytes;
        UT_ISTREAM_RLE_IO rle;
        int length;
    } theCases[] = {
        {"03",                       3,      UT_ISTREAM_RLE_8,  3     },
        {"03",                       2,      UT_ISTREAM_RLE_8,  -1    },
        {"00",                       0,      UT_ISTREAM_RLE_8,  0     },
        {"",                         0,      UT_ISTREAM_RLE_8,  -1    },
        {"ff",                       0,      UT_ISTREAM_RLE_8,  -1    },
        {"ff012c",                   300,    UT_ISTREAM_RLE_8,  300   },
        {"ffffff00030000",           196608, UT_ISTREAM_RLE_8,  196608},
        {"0003",                     9,      UT_ISTREAM_RLE_16, 3     },
        {"00000003",                 3,      UT_ISTREAM_RLE_32, 3     },
        {"ffffffff0000000000000001", 1,      UT_ISTREAM_RLE_32, 1     },
        {"0000000000010000",         65536,  UT_ISTREAM_RLE_64, 65536 },
        {"0000000000010001",         65536,  UT_ISTREAM_RLE_64, -1    },
        {"8000000000000001",         1,      UT_ISTREAM_RLE_64, -1    },
        {"0000000100000001",         1,      UT_ISTREAM_RLE_64, -1    },
        {"7fffffff",                 1,      UT_ISTREAM_RLE_32, -1    },
        {"fffffffe",                 1,      UT_ISTREAM_RLE_32, -1    },
        {"7ffffffe",                 1,      UT_ISTREAM_RLE_32, -1    },
    };
    for (const auto &row : theCases)
    {
        std::string input;
        for (const char *digit = row.field; *digit; digit += 2)
            input += char(std::stoi(std::string(digit, 2), nullptr, 16));
        input.append(row.bytes, 'x');
        UT_IStream stream(input.data(), int(input.size()), UT_ISTREAM_BINARY);
        UT_String text("old");
        EXPECT_EQ(row.length >= 0, stream.readBinaryString(text, row.rle));
        EXPECT_EQ(row.length < 0, stream.hasError()) << row.field;
        EXPECT_EQ(row.length < 0 ? 3 : row.length, text.length()) << row.field;
    }
}

TEST(UT_IStream, ReadsAStringByEitherType)
{
    UT_IStream stream("\"a b\"\3xyz", 9, UT_ISTREAM_ASCII);
    UT_String text;
    EXPECT_TRUE(stream.readString(text, /*binary=*/false));
    EXPECT_EQ("a b", text);
    EXPECT_TRUE(stream.readString(text, /*binary=*/true));
    EXPECT_EQ("xyz", text);
    EXPECT_FALSE(stream.isBinary() || stream.readString(text, false));
    EXPECT_EQ("xyz", text);
}

TEST(UT_IStream, SkipsCommentsAndCountsTheirLines)
{
    UT_IStream stream(
        "  # one\n\n#two\n  a 'b#' # c\r\n#\n#", 31, UT_ISTREAM_ASCII);
    UT_WorkBuffer text;
    EXPECT_EQ(3, stream.getNonCommentLine(text));
    EXPECT_EQ("a 'b#' ", utText(text));
    EXPECT_EQ(2, stream.getNonCommentLine(text));
    EXPECT_EQ("", utText(text));
    EXPECT_EQ(0, stream.getNonCommentLine(text));
    EXPECT_TRUE(stream.seekg(0));
    for (const char *word : {"a", "'b#'"})
    {
        EXPECT_TRUE(stream.getNonCommentWord(text));
        EXPECT_EQ(word, utText(text));
    }
    EXPECT_FALSE(stream.getNonCommentWord(text));
    EXPECT_EQ("", utText(text));

    text.append("#kept");
    text.lock(0, 0);
    EXPECT_TRUE(stream.seekg(0));
    EXPECT_EQ(3, stream.getNonCommentLine(text));
    EXPECT_EQ("#kept", utText(text));
    EXPECT_TRUE(stream.skipLine());
    EXPECT_EQ('#', stream.getc());
}

TEST(UT_IStream, FilesOpenAndCloseUnderTheirSubStreams)
{
    FILE *const file = tmpfile();
    fputs("one\ntwo\nthree\n", file);
    fflush(file);
    const std::string path = "/proc/self/fd/" + std::to_string(fileno(file));
    UT_WorkBuffer line;
    UT_IFStream stream("/nowhere/at/all", UT_ISTREAM_ASCII);
    EXPECT_TRUE(stream.hasError());
    EXPECT_STREQ(strerror(ENOENT), stream.getErrorStr());
    EXPECT_FALSE(stream.open("/nowhere/at/all", UT_ISTREAM_ASCII));
    EXPECT_TRUE(stream.open(path.c_str(), UT_ISTREAM_ASCII));
    EXPECT_FALSE(stream.isBinary());
    const std::unique_ptr<UT_IStream> part(stream.getSubStream(4, 9));
    EXPECT_TRUE(part->getLine(line));
    EXPECT_EQ("two", utText(line));
    EXPECT_TRUE(stream.open(stream.getLabel(), UT_ISTREAM_BINARY));
    EXPECT_EQ(path, stream.getLabel());
    EXPECT_TRUE(part->isBinary() < stream.isBinary());
    EXPECT_TRUE(part->getLine(line)); // in the block that it has
    EXPECT_FALSE(part->getLine(line));
    EXPECT_FALSE(part->seekg(0));
    EXPECT_TRUE(stream.getLine(line));
    EXPECT_EQ("one", utText(line));
    EXPECT_TRUE(stream.close() && stream.close());
    fclose(file);

    UT_IFStream none;
    EXPECT_TRUE(none.isEof() && !none.hasError() && !none.getLabel());
}

TEST(UT_IStream, TheFailedStateStaysUntilItIsCleared)
{
    UT_IStream stream("abc", 3, UT_ISTREAM_ASCII);
    UT_WorkBuffer text;
    UT_String string;
    int value = 0;
    stream.setError();
    stream.popOperation();
    stream.popBinary();
    stream.pushBinary(UT_ISTREAM_READTYPE(2));
    EXPECT_TRUE(stream.isBinary());
    stream.popBinary();
    EXPECT_FALSE(stream.isBinary());
    EXPECT_TRUE(stream.isEof());
    EXPECT_FALSE(
        stream.getLine(text) || stream.skipLine() || stream.getWord(text) ||
        stream.skipLeadingWhitespace() || stream.getString(text) ||
        stream.getAll(text) || stream.getNonCommentWord(text) ||
        stream.getNonCommentLine(text) || stream.bread(&value, 1) ||
        stream.aread(&value, 1) || stream.readBinaryString(string));
    EXPECT_EQ(-2, stream.getc() + stream.peek());
    stream.clearError();
    EXPECT_EQ('a', stream.peek());
    EXPECT_TRUE(stream.getAll(text));
    EXPECT_EQ("abc", utText(text));
    EXPECT_FALSE(stream.seekg(9));
    EXPECT_TRUE(stream.hasError());
    EXPECT_TRUE(stream.seekg(1));
    EXPECT_EQ('b', stream.getc());
}

TEST(UT_IStream, DecompressingStreamsOutliveTheirSource)
{
    const std::string inner = utDeflated("1 2 3", 15);
    const std::string outer = utDeflated("12" + inner, 31);
    std::unique_ptr<UT_IStream> numbers;
    {
        UT_IStream memory(outer.data(), int(outer.size()), UT_ISTREAM_ASCII);
        UT_IGZStream gzip(memory);
        EXPECT_EQ('1' + '2', gzip.getc() + gzip.getc());
        EXPECT_TRUE(gzip.seekg(2));
        numbers.reset(new UT_IZStream(gzip));
    }
    int values[4];
    EXPECT_EQ(3, numbers->aread(values, 4));
    EXPECT_EQ(3, values[2]);
    EXPECT_TRUE(!numbers->hasError() && numbers->isEof());
}
