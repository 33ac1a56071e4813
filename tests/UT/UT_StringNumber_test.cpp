#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>
#include <vector>

TEST(UT_StringNumber, NullIsNoNumberAndFloatsAreRoundedOnce)
{
    EXPECT_EQ(0, UT_String().toInt());
    EXPECT_FALSE(UT_String().isInteger(1));
    // Just above the middle between two floats, which is what it is as a
    // double: rounding twice would give the upper one.
    EXPECT_EQ(1.0f, UT_String("1.00000005960464477539063").toFloat());
}

// Integers of every length: those around the powers of ten and random ones.
static std::vector<int64>
utIntegers()
{
    std::vector<int64> values = {INT_MIN, INT64_MIN};
    std::mt19937_64 random(1);
    for (int64 power = 1; power < INT64_MAX / 10; power *= 10)
    {
        for (const int64 value : {power - 1, power, power + 1})
            values.push_back(value);
        for (int i = 0; i < 200; ++i)
            values.push_back(int64(random()) % power);
    }
    return values;
}

TEST(UT_StringNumber, IntegersAreWrittenInDecimal)
{
    for (const int64 value : utIntegers())
    {
        std::string expected = std::to_string(int(value));
        char buffer[] = "xxxxxxxxxxxxx";
        const int length = UT_String::itoa(buffer, int(value));
        EXPECT_EQ(int(expected.size()), length) << value;
        EXPECT_STREQ(expected.c_str(), buffer) << value;
        EXPECT_EQ('x', buffer[length + 1]) << value; // past the NUL
        UT_String string;
        string.utoa(int(value));
        EXPECT_EQ(std::to_string(unsigned(value)), string.buffer());
        // From the right, a comma before each three digits except the first.
        expected = std::to_string(value);
        for (int at = int(expected.size()) - 3; at > (value < 0); at -= 3)
            expected.insert(size_t(at), ",");
        string.itoa_pretty(value);
        EXPECT_EQ(expected, string.buffer());
    }
}
