#include "UT/UT_Compat.h"

#include "UT/UT_Nap.h"

#include "ut_SignalStorm.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <limits>

TEST(UT_Compat, FloatsHaveClasses)
{
    typedef std::numeric_limits<float> Limits;
    EXPECT_EQ(0, fp_class_f(-Limits::quiet_NaN()));
    EXPECT_EQ(2, fp_class_f(-Limits::infinity()));
    EXPECT_EQ(3, fp_class_f(Limits::infinity()));
    EXPECT_EQ(4, fp_class_f(-Limits::denorm_min()));
    EXPECT_EQ(8, fp_class_f(-0.0f));
    EXPECT_EQ(9, fp_class_f(0.0f));
}

TEST(UT_Compat, CftimeIgnoresItsFormat)
{
    setenv("TZ", "XYZ-5:30", /*overwrite=*/1);
    char format[] = "%Y";
    for (long clock : {0L, -1L, 951827696L})
    {
        const time_t seconds = clock;
        char expected[64];
        strftime(
            expected, sizeof(expected), "%a %b %e %H:%M:%S %Y",
            localtime(&seconds));
        char text[25];
        EXPECT_STREQ(expected, cftime(text, format, &clock));
    }
}

TEST(UT_Nap, SleepsAtLeastAsLongAsAskedWithoutSignals)
{
    for (const int ms : {-1000, 10, 1010})
    {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(0, UTnap(ms));
        const auto slept = std::chrono::steady_clock::now() - start;
        EXPECT_GE(slept, std::chrono::microseconds(ms * 1000 - 1));
    }
    const ut_SignalStorm storm;
    EXPECT_EQ(0, UTnap(3600 * 1000L)); // a signal ends it
}
