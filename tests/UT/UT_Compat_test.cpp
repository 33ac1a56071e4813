#include "UT/UT_Compat.h"

#include "SYS/SYS_Types.h"
#include "UT/UT_Nap.h"

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <limits>

#include <unistd.h>

TEST(UT_Compat, FloatsHaveClasses)
{
    using Limits = std::numeric_limits<float>;
    EXPECT_EQ(0, fp_class_f(-Limits::quiet_NaN()));
    EXPECT_EQ(3, fp_class_f(Limits::infinity()));
    EXPECT_EQ(4, fp_class_f(-Limits::denorm_min()));
    EXPECT_EQ(8, fp_class_f(-0.0f));
}

TEST(UT_Compat, CftimeIsAsctimeWhateverTheFormat)
{
    setenv("TZ", "XYZ-5:30", /*overwrite=*/1);
    char format[] = "%Y";
    char text[32];
    long clock = 951827696;
    EXPECT_STREQ("Tue Feb 29 18:04:56 2000", cftime(text, format, &clock));
    clock = LONG_MAX;
    EXPECT_STREQ(
        sizeof(long) > 4 ? "" : "Tue Jan 19 08:44:07 2038",
        cftime(text, format, &clock));
}

TEST(UT_Nap, SleepsAtLeastAsLongAsAskedWithoutSignals)
{
    for (const int ms : {-1000, 10, 1010})
    {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(0, UTnap(ms)) << ms;
        const auto slept = std::chrono::steady_clock::now() - start;
        EXPECT_GE(slept, std::chrono::microseconds(ms * 1000 - 1)) << ms;
    }
    std::signal(SIGALRM, [](int) {});
    ualarm(1000, 1000);                // microseconds
    EXPECT_EQ(0, UTnap(3600 * 1000L)); // a signal ends it
}
