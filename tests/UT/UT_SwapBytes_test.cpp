#include "UT/UT_SwapBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

static_assert(UTswapBytes(uint16(0x0102)) == 0x0201);
static_assert(UTswapBytes(int32(0x010203f4)) == int32(0xf4030201));
static_assert(UTswapBytes(int64(-2)) == int64(0xfeffffffffffffff));

TEST(UT_SwapBytes, EveryLengthAndAlignmentIsReversed)
{
    for (const size_t width : {1u, 2u, 4u, 8u})
        for (size_t count = 0; count < 70; ++count)
            for (size_t offset = 0; offset < 3; ++offset)
            {
                std::vector<char> bytes(offset + count * width + 40);
                for (size_t i = 0; i < bytes.size(); ++i)
                    bytes[i] = char(i * 37 + i / 256);
                std::vector<char> expected(bytes);
                for (size_t i = 0; i < count; ++i)
                {
                    const auto value =
                        expected.begin() + int(offset + i * width);
                    std::reverse(value, value + int(width));
                }
                // What lies around them stays.
                std::vector<char> copy(expected);
                std::fill_n(copy.begin() + int(offset), count * width, '\0');
                UTswapBytes(&copy[offset], &bytes[offset], count, width);
                UTswapBytes(&bytes[offset], &bytes[offset], count, width);
                ASSERT_EQ(expected, copy) << width << " x " << count;
                ASSERT_EQ(expected, bytes) << width << " x " << count;
            }
}
