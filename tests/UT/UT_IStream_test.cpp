#include "UT/UT_IStream.h"

#include "ut_TempDir.h"

#include "UT/UT_String.h"
#include "UT/UT_SwapBytes.h"
#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

using std::string_literals::operator""s;

TEST(UT_IStream, IntegersWithAPointAreRoundedInSinglePrecision)
{
    static const struct
    {
        const char *text;
        int64 value;
    } theCases[] = {
        {"2.5",                   3       },
        {"-2.5",                  -2      },
        {".5",                    0       }, // taken for an integer
        {"word",                  0       },
        {"8388609.0",             8388610 },
        {"0.49999997",            1       },
        {"1e99",                  LONG_MAX},
        {"-99999999999999999999", LONG_MIN},
    };
    for (const auto &row : theCases)
    {
        SCOPED_TRACE(row.text);
        UT_IStream stream(row.text, int(strlen(row.text)), UT_ISTREAM_ASCII);
        int64 value = 5;
        EXPECT_EQ(1, stream.aread(&value, 2));
        EXPECT_EQ(row.value, value);
        // Deliberate: a narrow one loses its high bits.
        short narrow = 5;
        EXPECT_TRUE(stream.seekg(0));
        EXPECT_EQ(1, stream.aread(&narrow, 2));
        EXPECT_EQ(short(row.value), narrow);
    }
}

static void
utExpectStrtod()
{
    std::vector<std::string> texts = {
        "1.0375e+26",
        "9007199254740993",
        "-0",
        "1e",
        "-.5e1",
        "7e0000000000000000000001",
        "7e99999999999999999999",
        "2.2250738585072011e-308",
        "4.9e-324",
    };
    std::mt19937_64 random(1);
    for (int i = 0; i < 30000; ++i)
    {
        uint64 digits = random();
        digits >>= random() % 64; // of any length
        const int exponent = int(random() % 90) - 45;
        std::string text = std::to_string(digits);
        if (i % 2 == 0)
            text.insert(size_t(random() % text.size()) + 1, ".");
        texts.push_back(text + "e" + std::to_string(exponent));
    }
    for (const std::string &text : texts)
    {
        const double expected = strtod(text.c_str(), nullptr);
        // A number ends before something else, or with the input.
        for (const std::string &input : {text, text + ' '})
        {
            UT_IStream in(input.data(), int(input.size()), UT_ISTREAM_ASCII);
            double value = 5;
            ASSERT_EQ(1, in.aread(&value, 1)) << text;
            ASSERT_EQ(0, memcmp(&expected, &value, sizeof(value)))
                << text << " read as " << value;
        }
    }
}

TEST(UT_IStream, FloatsAreWhatStrtodReadsHoweverItRounds)
{
    for (const int direction :
         {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO})
    {
        fesetround(direction);
        utExpectStrtod();
    }
    fesetround(FE_TONEAREST);
}

TEST(UT_IStream, SkipsCommentsAndCountsTheirLines)
{
    const char lines[] = "  # one\n\n#two\n  a 'b#' # c\r\n#\n#";
    UT_IStream stream(lines, int(strlen(lines)), UT_ISTREAM_ASCII);
    UT_WorkBuffer text;
    EXPECT_EQ(3, stream.getNonCommentLine(text));
    EXPECT_STREQ("a 'b#' ", text.buffer());
    // Deliberate: at the end it counts comments, too.
    EXPECT_EQ(2, stream.getNonCommentLine(text));
    EXPECT_STREQ("", text.buffer());
    EXPECT_TRUE(stream.seekg(0));
    for (const char *word : {"a", "'b#'"})
    {
        EXPECT_TRUE(stream.getNonCommentWord(text)) << word;
        EXPECT_STREQ(word, text.buffer());
    }
    EXPECT_FALSE(stream.getNonCommentWord(text));
}

TEST(UT_IStream, AFileIsOpenedAnewUnderItsSubStream)
{
    const ut_TempDir dir;
    const std::string path = dir.write("file", "one\n\"two\"\nthree\n");
    UT_IFStream stream(path.c_str(), UT_ISTREAM_BINARY);
    int value = 0;
    EXPECT_EQ(1, stream.bread(&value, 1));
    EXPECT_EQ(('o' << 24) + ('n' << 16) + ('e' << 8) + '\n', value);
    const std::unique_ptr<UT_IStream> part(stream.getSubStream(4, 11));
    UT_String text;
    EXPECT_TRUE(part->readString(text, /*binary=*/false));
    EXPECT_TRUE(part->isBinary());
    EXPECT_EQ("two", text);

    EXPECT_TRUE(stream.open(stream.getLabel(), UT_ISTREAM_ASCII));
    EXPECT_EQ(path, stream.getLabel());
    // The part has the block that it read, and nothing else.
    EXPECT_TRUE(part->skipLine());
    EXPECT_TRUE(part->skipLine());
    EXPECT_FALSE(part->skipLine());
    EXPECT_FALSE(part->seekg(0));
    EXPECT_TRUE(stream.skipLine());
    EXPECT_TRUE(stream.close());
    EXPECT_TRUE(stream.close()); // once more
}

TEST(UT_IStream, ErrorsFailTheStreamUntilASeek)
{
    UT_IFStream directory("/", UT_ISTREAM_BINARY); // opens, but cannot be read
    EXPECT_FALSE(directory.hasError());
    int value = 0;
    EXPECT_EQ(0, directory.bread(&value, 1));
    EXPECT_TRUE(directory.hasError());
    UT_IStream stream("abc", 3, UT_ISTREAM_ASCII);
    UT_WorkBuffer text;
    EXPECT_FALSE(stream.seekg(9));
    EXPECT_FALSE(stream.getLine(text));
    EXPECT_EQ(0, stream.getNonCommentLine(text));
    EXPECT_EQ(0, stream.bread(&value, 1));
    EXPECT_EQ(0, stream.aread(&value, 1));
    EXPECT_TRUE(stream.isEof());
    EXPECT_EQ(-1, stream.getc());
    EXPECT_TRUE(stream.seekg(1)); // clears it
    short big = 0;
    EXPECT_EQ(1, stream.bread(&big, 9));
    EXPECT_EQ('b' * 256 + 'c', big);
}

// However it is read, what ends exactly where the file does is no failure.
TEST(UT_IStream, LongArraysAreReadWhole)
{
    const ut_TempDir dir;
    for (const int bytes : {1 << 20, (1 << 20) + 6, (5 << 19) - 1})
    {
        SCOPED_TRACE(bytes);
        std::string content(size_t(bytes), '\0');
        for (size_t i = 0; i < content.size(); ++i)
            content[i] = char(i * i / 255);
        const std::string path = dir.write("values", content);
        UT_IFStream stream(path.c_str(), UT_ISTREAM_BINARY);
        std::vector<int> values(3 << 18);
        const int whole = bytes / 4;
        ASSERT_EQ(whole, stream.bread(values.data(), int(values.size())));
        EXPECT_FALSE(stream.hasError());
        values.resize(size_t(whole));
        UTswapBytes(values.data(), values.size());
        EXPECT_EQ(0, memcmp(values.data(), content.data(), 4 * size_t(whole)));
        EXPECT_EQ(0, stream.bread(values.data(), 1));
        EXPECT_TRUE(stream.hasError());
    }
}

TEST(UT_IStream, BinaryStringsHaveLengthsOfAnyWidth)
{
    static const struct
    {
        const char *what;
        int width; // of the length field, in bits
        std::string bytes;
        bool isRead;
    } theCases[] = {
        {"8 bits",             8,  "\2abc"s,                            true },
        {"9 bits as 16",       9,  "\0\2abc"s,                          true },
        {"17 bits as 32",      17, "\0\0\0\2abc"s,                      true },
        {"more than 64 bits",  99, "\0\0\0\0\0\0\0\2abc"s,              true },
        {"all ones in 8 bits", 8,  "\xff\0\2abc"s,                      true },
        {"longer than an int", 64, "\0\0\0\0\x80\0\0\0abc"s,            false},
        {"negative",           64, "\xff\xff\xff\xff\xff\xff\xff\xff"s, false},
    };
    for (const auto &row : theCases)
    {
        SCOPED_TRACE(row.what);
        UT_IStream stream(
            row.bytes.data(), int(row.bytes.size()), UT_ISTREAM_BINARY);
        UT_String text("old");
        EXPECT_EQ(
            row.isRead,
            stream.readBinaryString(text, UT_ISTREAM_RLE_IO(row.width)));
        EXPECT_STREQ(row.isRead ? "ab" : "old", text);
        EXPECT_EQ(row.isRead ? 'c' : -1, stream.getc());
    }
}
