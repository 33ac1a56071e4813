#include "UT/UT_Write.h"

#include "UT/UT_IStream.h"
#include "UT/UT_String.h"
#include "UT/UT_SwapBytes.h"
#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <sstream>
#include <vector>

// Values of random bits, every other one within 1 of a power of two.
template <class T>
static std::vector<T>
utSamples()
{
    std::vector<T> values = {
        T(7.038531e-26f), T(-0.0), std::numeric_limits<T>::infinity()};
    std::mt19937_64 random;
    while (values.size() < 5000)
    {
        uint64 bits = random();
        if (values.size() % 2 == 0)
        {
            const uint64 power = uint64(1) << bits % 64;
            const uint64 distance = random() % 3; // and 1 less
            bits = power + distance - 1;
        }
        // Integers past the range of a long do not read back as text.
        if (std::is_same_v<T, int64>)
            bits = uint64(long(bits));
        T value;
        memcpy(&value, &bits, sizeof(value));
        values.push_back(value);
    }
    return values;
}

template <class T>
static void
utExpectSameBits(const std::vector<T> &expected, const std::vector<T> &values)
{
    for (size_t i = 0; i < expected.size(); ++i)
        ASSERT_EQ(0, memcmp(&expected[i], &values[i], sizeof(T)))
            << "value " << i << ": " << expected[i] << " read as " << values[i];
}

// As text, and as binary data: these are big-endian, on this machine the bytes
// of each value swapped.
template <class T>
static void
utExpectReadsBack()
{
    std::vector<T> values = utSamples<T>();
    for (T &value : values)
        if (value != value)
            value = 0; // one NaN reads back as another
    const int count = int(values.size());
    std::stringstream text;
    std::stringstream binary;
    EXPECT_TRUE(UTawrite(text, values.data(), count));
    EXPECT_TRUE(UTbwrite(binary, values.data(), count));
    std::vector<T> swapped(values);
    UTswapBytes(swapped.data(), swapped.size());
    const std::string bytes = binary.str();
    ASSERT_EQ(values.size() * sizeof(T), bytes.size());
    EXPECT_EQ(0, memcmp(bytes.data(), swapped.data(), bytes.size()));
    std::vector<T> read(values.size());
    UT_IStream in(text, UT_ISTREAM_ASCII);
    EXPECT_EQ(count, in.aread(read.data(), count));
    utExpectSameBits(values, read);
    UT_IStream binaryIn(binary, UT_ISTREAM_BINARY);
    EXPECT_EQ(count, binaryIn.bread(read.data(), count));
    utExpectSameBits(values, read);
}

TEST(UT_Write, ValuesReadBackAsTheyWere)
{
    utExpectReadsBack<int64>();
    utExpectReadsBack<float>();
    utExpectReadsBack<double>();
}

TEST(UT_Write, FloatsHaveNoMoreDigitsThanTheyNeed)
{
    const float floats[] = {-1.5f, -0.0f, 0.1f, 7.038531e-26f, -INFINITY, NAN};
    std::ostringstream out;
    EXPECT_TRUE(UTawrite(out, floats, 6));
    EXPECT_EQ("-1.5 -0 0.1 7.03853069e-26 -1e999 nan\n", out.str());
}

// At lengths around those that need another field.
TEST(UT_Write, StringsReadBackAsTheyWere)
{
    const std::string start("\"\"\\\n\0\xff", 6);
    for (const int length : {0, 1, 6, 254, 255, 65534, 65535})
        for (const UT_ISTREAM_RLE_IO width :
             {UT_ISTREAM_RLE_8, UT_ISTREAM_RLE_16, UT_ISTREAM_RLE_32,
              UT_ISTREAM_RLE_64})
        {
            SCOPED_TRACE(testing::Message() << length << " with " << width);
            std::string bytes(start);
            bytes.resize(size_t(length), '\\');
            std::stringstream file;
            UTsaveStringBinary(file, width, bytes.data(), length);
            UTsaveStringAscii(file, bytes.data(), length);
            UT_IStream in(file, UT_ISTREAM_BINARY);
            UT_String text;
            UT_WorkBuffer quoted;
            ASSERT_TRUE(in.readBinaryString(text, width));
            EXPECT_EQ(bytes, std::string(text.buffer(), bytes.size()));
            ASSERT_TRUE(in.getString(quoted));
            EXPECT_EQ(
                bytes, std::string(quoted.buffer(), size_t(quoted.length())));
            EXPECT_EQ(-1, in.getc());
        }
}
