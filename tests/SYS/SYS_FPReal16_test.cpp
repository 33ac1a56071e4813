#include "SYS/SYS_FPReal16.h"

#include "ut_HalfOracle.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <limits>
#include <sstream>

TEST(SYS_FPReal16, EveryPatternIsItsFloat)
{
    for (uint32 bits = 0; bits < 65536; ++bits)
    {
        const auto half = fpreal16::fromBits(uint16(bits));
        const bool isNaN = (bits & 0x7C00) == 0x7C00 && (bits & 0x3FF) != 0;
        ASSERT_EQ(isNaN, std::isnan(float(half))) << bits;
        if (!isNaN)
        {
            ASSERT_EQ(utOracleFloatBits(bits), utFloatBits(float(half)))
                << bits;
        }
    }
}

TEST(SYS_FPReal16, RoundsAsTheDefinitionOfTheFormatsDoes)
{
    // Around every half, and every tie between two.
    for (uint32 bits = 0; bits < 0x7C00; ++bits)
    {
        const uint32 centre = utOracleFloatBits(bits);
        const double step = double(utFloatOfBits(utOracleFloatBits(bits + 1))) -
                            double(utFloatOfBits(centre));
        const float tie = float(double(utFloatOfBits(centre)) + step / 2);
        for (const uint32 near : {centre, utFloatBits(tie)})
            for (const uint32 x : {near - 1, near, near + 1})
            {
                const float value = utFloatOfBits(x);
                ASSERT_EQ(utOracleHalfBits(x), fpreal16(value).bits()) << x;
                ASSERT_EQ(
                    utOracleHalfBits(x ^ 1u << 31), fpreal16(-value).bits())
                    << "minus " << x;
            }
    }
    // Deliberate: a NaN without its upper mantissa bits.
    EXPECT_EQ(0x7C00, fpreal16(utFloatOfBits(0x7F801FFF)).bits());
}

// The bits of the half for a value that the compiler does not know.
static uint32
utHalfBits(float value)
{
    volatile float hidden = value;
    return fpreal16(hidden).bits();
}

TEST(SYS_FPReal16, OverflowIsSignalledForFiniteValuesOnly)
{
    std::feclearexcept(FE_ALL_EXCEPT);
    EXPECT_EQ(0x7C00, utHalfBits(std::numeric_limits<float>::infinity()));
    EXPECT_EQ(0x7BFF, utHalfBits(65504));
    EXPECT_FALSE(std::fetestexcept(FE_OVERFLOW));
    EXPECT_EQ(0xFC00, utHalfBits(-1e10f));
    EXPECT_TRUE(std::fetestexcept(FE_OVERFLOW));
    EXPECT_TRUE(fpreal16::selftest());
}

TEST(SYS_FPReal16, CalculatesInFloat)
{
    fpreal16 half(3);
    half += 0.25f;
    EXPECT_EQ(3.25f, float(half));
    EXPECT_EQ(2048.0f, float(fpreal16(2048) + fpreal16(0.9f)));
    EXPECT_EQ(2048.5f, fpreal16(2048) + 0.5f);
    EXPECT_EQ(2.0 - 0x1p-40, 2.0 - fpreal16(0x1p-20) * 0x1p-20);
    EXPECT_EQ(-1.5f, float(-half * fpreal16(6) / fpreal16(13)));
    EXPECT_TRUE(half < 4);
    EXPECT_TRUE(half == 3.25);
    EXPECT_TRUE(fpreal16(1) != half);
}

TEST(SYS_FPReal16, IsWrittenAndRead)
{
    std::stringstream text("0.1 x");
    fpreal16 half(7);
    text >> half;
    EXPECT_EQ(0x2E66, half.bits());
    text >> half;
    EXPECT_TRUE(text.fail());
    EXPECT_EQ(0x2E66, half.bits());

    std::ostringstream out;
    out << half << '\n';
    SYSprintBits(out, fpreal16(1));
    EXPECT_EQ("0.0999756\n0 01111 0000000000", out.str());
    const volatile float changing = -1;
    char text34[35];
    SYSprintBits(text34, changing);
    EXPECT_STREQ("1 01111111 00000000000000000000000", text34);
}
