#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>

TEST(UT_StringNumber, NumbersAreReadAsFarAsTheyFit)
{
    EXPECT_EQ(-12, UT_String(" -12x").toInt());
    EXPECT_EQ(INT_MAX, UT_String("4294967297").toInt());
    EXPECT_EQ(INT_MIN, UT_String("-99999999999999999999").toInt());
    // Just above the middle of two floats, and it as a double.
    EXPECT_EQ(1.0f, UT_String("1.00000005960464477539063").toFloat());
    EXPECT_FALSE(UT_String().toInt() || UT_String().isInteger(1));
}

TEST(UT_StringNumber, NumbersAreWrittenInDecimal)
{
    std::vector<int64> values = {INT_MIN, INT64_MIN};
    std::mt19937_64 random(1);
    for (int64 power = 1; power < INT64_MAX / 10; power *= 10)
        for (int64 i = -1; i < 200; ++i)
            values.push_back(i < 1 ? power + i : int64(random()) % power);
    for (const int64 value : values)
    {
        char buffer[] = "xxxxxxxxxxxxx";
        const std::string number = std::to_string(int(value));
        const int length = UT_String::itoa(buffer, int(value));
        EXPECT_EQ(number + '\0' + 'x', std::string(buffer, size_t(length) + 2));
        UT_String string;
        string.utoa(int(value));
        EXPECT_EQ(std::to_string(unsigned(value)), string.buffer());
        std::string grouped = std::to_string(value);
        for (size_t at = grouped.size(); at > (value < 0 ? 4 : 3);)
            grouped.insert(at -= 3, ",");
        string.itoa_pretty(value);
        EXPECT_EQ(grouped, string.buffer());
    }
}
