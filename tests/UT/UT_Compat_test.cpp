#include "UT/UT_Compat.h"

#include "UT/UT_Nap.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <limits>

#include <sys/ipc.h>
#include <sys/msg.h>
#include <unistd.h>

TEST(UT_Compat, FloatsHaveClasses)
{
    typedef std::numeric_limits<float> Limits;
    const struct
    {
        float value;
        int kind;
    } cases[] = {
        {Limits::quiet_NaN(),     0},
        {-Limits::quiet_NaN(),    0},
        {Limits::signaling_NaN(), 0},
        {-Limits::infinity(),     2},
        {Limits::infinity(),      3},
        {-1.0f,                   4},
        {-Limits::denorm_min(),   4},
        {-Limits::max(),          4},
        {1.0f,                    5},
        {Limits::denorm_min(),    5},
        {Limits::max(),           5},
        {-0.0f,                   8},
        {0.0f,                    9},
    };
    for (const auto &row : cases)
        EXPECT_EQ(row.kind, fp_class_f(row.value)) << row.value;
}

TEST(UT_Compat, OnlyCommandZeroCountsProcessors)
{
    EXPECT_EQ(sysconf(_SC_NPROCESSORS_CONF), sysmp(0));
    EXPECT_EQ(0, sysmp(1));
    EXPECT_EQ(0, sysmp(-1, "more"));
    EXPECT_EQ(0, usconfig(1, 2));
    const auto fail = [](void *) { FAIL(); };
    EXPECT_EQ(0, sproc(fail, 0, nullptr));
}

TEST(UT_Compat, MessageQueuesAreControlledWithoutARecord)
{
    const int queue = msgget(IPC_PRIVATE, 0600);
    if (queue < 0)
        GTEST_SKIP() << "no message queues here";
    EXPECT_EQ(0, msgctl(queue, IPC_STAT));
    EXPECT_EQ(0, msgctl(queue, IPC_RMID));
    EXPECT_EQ(-1, msgctl(queue, IPC_STAT));
    EXPECT_TRUE(errno == EINVAL || errno == EIDRM) << errno;
}

TEST(UT_Compat, TheTimeOfDayNeedsNoZone)
{
    const time_t before = time(nullptr) - 1; // its clock may lag by a tick
    timeval now = {};
    EXPECT_EQ(0, gettimeofday(&now));
    EXPECT_LE(before, now.tv_sec);
    EXPECT_GE(time(nullptr) + 1, now.tv_sec);
}

TEST(UT_Compat, CftimeIgnoresItsFormat)
{
    char format[] = "%Y";
    for (const char *zone : {"UTC0", "XYZ-5:30"})
    {
        setenv("TZ", zone, /*overwrite=*/1);
        for (long clock : {0L, -1L, 951827696L, long(INT_MAX)})
        {
            const time_t seconds = clock;
            char expected[64];
            strftime(
                expected, sizeof(expected), "%a %b %e %H:%M:%S %Y",
                localtime(&seconds));
            char text[25];
            EXPECT_EQ(text, cftime(text, format, &clock));
            EXPECT_STREQ(expected, text) << clock << " in " << zone;
        }
    }
    if (sizeof(long) > 4) // a year that does not fit the text
    {
        char text[25] = "x";
        long clock = LONG_MAX / 1000;
        EXPECT_STREQ("", cftime(text, format, &clock));
    }
}

TEST(UT_Nap, SleepsAtLeastAsLongAsAsked)
{
    for (const int ms : {-1000, 0, 1, 10, 1010})
    {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(0, UTnap(ms));
        const auto slept = std::chrono::steady_clock::now() - start;
        EXPECT_GE(slept, std::chrono::microseconds(ms * 1000 - 1)) << ms;
    }
    EXPECT_EQ(0, UTnap(LONG_MIN)); // returns, too
}

TEST(UT_Nap, ASignalEndsIt)
{
    // Again and again, should the first one come before the sleep.
    signal(SIGALRM, [](int) {});
    itimerval every10ms;
    every10ms.it_value = every10ms.it_interval = {0, 10000};
    setitimer(ITIMER_REAL, &every10ms, nullptr);
    EXPECT_EQ(0, UTnap(3600 * 1000L));
}
