#include "UT/UT_Write.h"

#include "UT/UT_IStream.h"
#include "UT/UT_String.h"
#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <vector>

// Values of all kinds of bits; the first are the ends of the range.
template <class T>
static std::vector<T>
utValues()
{
    typedef std::numeric_limits<T> Limits;
    std::vector<T> values = {
        Limits::min(),        Limits::max(),      Limits::lowest(),
        Limits::denorm_min(), Limits::infinity(), T(-Limits::infinity()),
        Limits::quiet_NaN(),  T(7.038531e-26f),   T(-0.0)};
    std::mt19937_64 random(1);
    while (values.size() < 5000)
    {
        // Half of them near a power of two.
        uint64 bits = random();
        if (bits & 1)
            bits = (uint64(1) << bits % 64) + bits / 64 % 3 - 1;
        T value;
        memcpy(&value, &bits, sizeof(T));
        values.push_back(value);
    }
    return values;
}

template <class T>
class UT_WriteNumbers : public testing::Test
{
};

using ut_Types = testing::Types<
    short, unsigned short, int, unsigned, int64, uint64, float, double>;
TYPED_TEST_SUITE(UT_WriteNumbers, ut_Types, );

TYPED_TEST(UT_WriteNumbers, BinaryValuesReadBackBitByBit)
{
    if constexpr (std::is_signed_v<TypeParam>)
    {
        const std::vector<TypeParam> values = utValues<TypeParam>();
        const int count = int(values.size());
        std::stringstream file;
        EXPECT_TRUE(UTbwrite(file, values.data(), count));
        EXPECT_TRUE(UTbwrite(file, values.data(), -1));
        EXPECT_EQ(values.size() * sizeof(TypeParam), file.str().size());
        std::vector<TypeParam> read(values.size());
        UT_IStream in(file, UT_ISTREAM_BINARY);
        EXPECT_EQ(count, in.bread(read.data(), count));
        EXPECT_EQ(
            0, memcmp(&values[0], &read[0], values.size() * sizeof(TypeParam)));
        EXPECT_EQ(-1, in.getc());
    }
}

TYPED_TEST(UT_WriteNumbers, TextsReadBackAsTheSameValue)
{
    std::vector<TypeParam> values = utValues<TypeParam>();
    // Integers beyond a long do not read back.
    for (TypeParam &value : values)
        if constexpr (std::is_unsigned_v<TypeParam>)
            value = TypeParam(value & ULONG_MAX / 2);
        else if constexpr (std::is_integral_v<TypeParam>)
            value = TypeParam(long(value));
    const int count = int(values.size());
    std::stringstream file;
    EXPECT_TRUE(UTawrite(file, values.data(), count));
    EXPECT_TRUE(UTawrite(file, values.data(), 0));
    EXPECT_TRUE(UTawrite(file, values.data(), 1));
    std::vector<TypeParam> read(values.size());
    UT_IStream in(file, UT_ISTREAM_ASCII);
    EXPECT_EQ(count, in.aread(read.data(), count));
    // A NaN is any NaN.
    const auto isNan = [](TypeParam value)
    { return std::isnan(double(value)); };
    std::replace_if(values.begin(), values.end(), isNan, TypeParam(42));
    std::replace_if(read.begin(), read.end(), isNan, TypeParam(42));
    EXPECT_EQ(0, memcmp(&values[0], &read[0], values.size() * sizeof(read[0])));
    EXPECT_EQ(1, in.aread(read.data(), count));
    EXPECT_EQ(values[0], read[0]);
}

TEST(UT_Write, NumbersLookLikeThis)
{
    const int integers[] = {0x01020304, -2};
    const float floats[] = {-1.5f, -0.0f, 0.1f, 7.038531e-26f, -INFINITY, NAN};
    std::ostringstream out;
    UTbwrite(out, integers, 2);
    UTbwrite(out, "\n", 1);
    UTawrite(out, integers, 2);
    UTawrite(out, floats, 6);
    EXPECT_EQ(
        "\x01\x02\x03\x04\xff\xff\xff\xfe\n16909060 -2\n"
        "-1.5 -0 0.1 7.03853069e-26 -1e999 nan\n",
        out.str());
    out.setstate(std::ios::failbit);
    EXPECT_FALSE(UTawrite(out, integers, 1));
    EXPECT_FALSE(UTbwrite(out, integers, 1));
    EXPECT_FALSE(UTsaveStringAscii(out, "a"));
    EXPECT_FALSE(UTsaveStringBinary(out, UT_ISTREAM_RLE_8, "a"));
}

TEST(UT_Write, StringsOfEveryLengthReadBack)
{
    static const struct
    {
        int length;
        int sizes[4]; // of the length fields from 8, 16, 32 and 64 bits on
    } theCases[] = {
        {0,     {1, 2, 4, 8}},
        {254,   {1, 2, 4, 8}},
        {255,   {3, 2, 4, 8}},
        {65534, {3, 2, 4, 8}},
        {65535, {7, 6, 4, 8}},
        {70000, {7, 6, 4, 8}},
    };
    for (const auto &row : theCases)
    {
        // All byte values, and many that are special.
        std::string text;
        for (int i = 0; i < row.length; ++i)
            text += i % 3 ? char(i / 2) : "\"\\\0\n"[i / 3 % 4];
        const char *const bytes = text.data();
        for (const int i : {0, 1, 2, 3})
        {
            const UT_ISTREAM_RLE_IO rle = UT_ISTREAM_RLE_IO(8 << i);
            std::stringstream file;
            EXPECT_TRUE(UTsaveStringBinary(file, rle, bytes, row.length));
            EXPECT_EQ(row.length + row.sizes[i], int(file.str().size()));
            UT_IStream in(file, UT_ISTREAM_BINARY);
            UT_String read;
            ASSERT_TRUE(in.readBinaryString(read, rle)) << row.length;
            EXPECT_EQ(0, memcmp(bytes, read, size_t(row.length)));
            EXPECT_EQ(-1, in.getc());
        }
        std::stringstream file;
        EXPECT_TRUE(UTsaveStringAscii(file, bytes, row.length));
        EXPECT_TRUE(UTsaveStringAscii(file, nullptr));
        UT_IStream in(file, UT_ISTREAM_ASCII);
        UT_WorkBuffer read;
        EXPECT_TRUE(in.getString(read));
        EXPECT_EQ(text, std::string(read.buffer(), size_t(read.length())));
        EXPECT_TRUE(in.getString(read));
        EXPECT_EQ(0, read.length());
        EXPECT_FALSE(in.getString(read));
    }
}

TEST(UT_Write, StringsSaveAndLoadInBothForms)
{
    for (const UT_ISTREAM_READTYPE type : {UT_ISTREAM_ASCII, UT_ISTREAM_BINARY})
    {
        std::stringstream file;
        for (const char *text : {"a \"\\\xff", "", "last"})
            EXPECT_TRUE(UT_String(text).save(file, type));
        EXPECT_TRUE(UT_String().save(file, type));
        UT_IStream in(file, type);
        UT_String read;
        for (const char *text : {"a \"\\\xff", "", "last", ""})
        {
            EXPECT_TRUE(read.load(in));
            EXPECT_STREQ(text, read);
        }
        read = "kept";
        EXPECT_FALSE(read.load(in));
        EXPECT_STREQ("kept", read);
    }
}
