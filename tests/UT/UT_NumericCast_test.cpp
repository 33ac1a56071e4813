#include "UT/UT_NumericCast.h"

#include "ut_HalfOracle.h"

#include <gtest/gtest.h>

#include <memory>
#include <numeric>
#include <vector>

TEST(UT_NumericCast, RoundsAndClampsToWholeNumbers)
{
    EXPECT_EQ(3, UTnumericCast<int>(2.5f));
    EXPECT_EQ(0, UTnumericCast<int>(0.49999999999999994));
    EXPECT_EQ(0, UTnumericCast<int>(std::nan("")));
    EXPECT_EQ(127, UTnumericCast<int8>(127.5f));
    EXPECT_EQ(255, UTnumericCast<uint8>(254.5f));
    EXPECT_EQ(2147483647, UTnumericCast<int32>(2147483646.5));
    EXPECT_EQ(4294967295u, UTnumericCast<uint32>(4294967295.0f));
    EXPECT_EQ(INT64_MAX, UTnumericCast<int64>(9223372036854775808.0));
    EXPECT_EQ(UINT64_MAX - 2047, UTnumericCast<uint64>(18446744073709549568.0));
    EXPECT_EQ(0u, UTnumericCast<uint64>(int8(-1)));
    EXPECT_EQ(127, UTnumericCast<int8>(UINT64_MAX));
    EXPECT_EQ(-5, UTnumericCast<int8>(int16(-5)));
    EXPECT_EQ(-128, UTnumericCast<int8>(int16(-129)));
    EXPECT_EQ(16777216.0f, UTnumericCast<float>(16777217));
    EXPECT_EQ(0x7C00, UTnumericCast<fpreal16>(1e300).bits());
}

// Both ways of each array conversion, and what lies around the ends.
TEST(UT_NumericCast, HalfArraysAreExact)
{
    std::vector<uint32> patterns;
    // All kinds side by side, then runs of each exponent, so that blocks of one
    // kind come by too.
    for (uint32 i = 0; i < 22000; ++i)
        patterns.push_back(i * 0x9E3779B1);
    for (uint32 exponent = 0; exponent < 512; ++exponent)
        for (uint32 i = 0; i < 97; ++i)
            patterns.push_back(exponent << 23 | i * 86437);
    for (const size_t skip : {0u, 1u, 7u, 64u})
    {
        const size_t count = patterns.size() - skip;
        const std::unique_ptr<float[]> floats(new float[count]);
        memcpy(floats.get(), &patterns[skip], count * sizeof(float));
        const std::unique_ptr<fpreal16[]> halves(new fpreal16[count]);
        UTnumericCast(halves.get(), floats.get(), count);
        for (size_t i = 0; i < count; ++i)
            ASSERT_EQ(utOracleHalfBits(patterns[skip + i]), halves[i].bits())
                << patterns[skip + i];
    }
    std::vector<fpreal16> halves(65536 + 63);
    const auto bitsAt = [](size_t i) { return uint16(i * 0x9E3B); };
    for (size_t i = 0; i < halves.size(); ++i)
        halves[i] = fpreal16::fromBits(bitsAt(i));
    std::vector<float> floats(halves.size());
    UTnumericCast(floats.data(), halves.data(), halves.size());
    for (size_t i = 0; i < halves.size(); ++i)
        ASSERT_EQ(utOracleFloatBits(bitsAt(i)), utFloatBits(floats[i]))
            << bitsAt(i);
}

TEST(UT_NumericCast, ArraysOfAnyTypesFollowTheRule)
{
    std::vector<double> doubles(1000);
    std::iota(doubles.begin(), doubles.end(), -500.5);
    std::vector<int16> shorts(1000);
    UTnumericCast(shorts.data(), doubles.data(), doubles.size());
    std::vector<fpreal16> halves(1000); // which hold these numbers
    UTnumericCast(halves.data(), shorts.data(), shorts.size());
    for (int i = 0; i < 1000; ++i)
    {
        EXPECT_EQ(i <= 500 ? i - 501 : i - 500, shorts[size_t(i)]);
        EXPECT_EQ(float(shorts[size_t(i)]), float(halves[size_t(i)]));
    }
}
