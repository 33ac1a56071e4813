#include "UT/UT_Write.h"

#include "UT/UT_IStream.h"
#include "UT/UT_SwapBytes.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <random>
#include <sstream>
#include <vector>

// Writes values of all kinds of bits, half of them near a power of two.
template <class T>
static void
utExpectSameBack()
{
    std::vector<T> values = {
        T(7.038531e-26f), T(-0.0), std::numeric_limits<T>::infinity()};
    for (std::mt19937_64 random; values.size() < 5000;)
    {
        uint64 bits = random();
        if (bits & 1)
            bits = (uint64(1) << bits % 64) + bits / 64 % 3 - 1;
        // Integers beyond a long do not read back as text.
        if (std::is_integral_v<T>)
            bits = T(-1) < 0 ? uint64(long(bits)) : bits & ULONG_MAX / 2;
        memcpy(&values.emplace_back(), &bits, sizeof(T));
    }
    const int count = int(values.size());
    const size_t size = values.size() * sizeof(T);
    std::vector<T> read(values.size());
    std::stringstream binary;
    if constexpr (std::is_signed_v<T>)
    {
        EXPECT_TRUE(UTbwrite(binary, values.data(), count));
        UT_IStream in(binary, UT_ISTREAM_BINARY);
        EXPECT_EQ(count, in.bread(read.data(), count));
        EXPECT_EQ(0, memcmp(&values[0], &read[0], size));
        UTswapBytes(read.data(), read.size());
        EXPECT_EQ(0, memcmp(&binary.str()[0], &read[0], size));
    }
    for (T &value : values)
        value = value == value ? value : 0; // one NaN reads back as another
    std::stringstream text;
    EXPECT_TRUE(UTawrite(text, values.data(), count));
    UT_IStream in(text, UT_ISTREAM_ASCII);
    EXPECT_EQ(count, in.aread(read.data(), count));
    EXPECT_EQ(0, memcmp(&values[0], &read[0], size));
}

TEST(UT_Write, NumbersReadBackAsTheyWere)
{
    utExpectSameBack<int64>();
    utExpectSameBack<uint64>();
    utExpectSameBack<float>();
    utExpectSameBack<double>();
    const int integers[] = {0x01020304, -2};
    const float floats[] = {-1.5f, -0.0f, 0.1f, 7.038531e-26f, -INFINITY, NAN};
    std::ostringstream out;
    EXPECT_TRUE(UTbwrite(out, integers, 2) && UTawrite(out, floats, 6));
    EXPECT_EQ(
        "\1\2\3\4\xff\xff\xff\xfe-1.5 -0 0.1 7.03853069e-26 -1e999 nan\n",
        out.str());
}
