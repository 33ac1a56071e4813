#include "UT/UT_ErrorLog.h"

#include "ut_TempDir.h"

#include "UT/UT_ErrorManager.h"
#include <sys/wait.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <sstream>
#include <thread>

#include <unistd.h>

using std::string_literals::operator""s;

// The clock of this program and of the library, which finds this one first;
// 0 for the real one.
static std::atomic<int64> theTime(0);

// Of either name: with a time_t of 32 bits, times of 64 bits have their own.
template <class Time>
static Time
utTime(Time *out)
{
    int64 now = theTime;
    if (now == 0)
        now = std::chrono::duration_cast<std::chrono::seconds>(
                  std::chrono::system_clock::now().time_since_epoch())
                  .count();
    if (out)
        *out = Time(now);
    return Time(now);
}

extern "C" UT_API time_t
time(time_t *out) noexcept
{
    return utTime(out);
}

extern "C" UT_API int64 utTime64(int64 *out) noexcept __asm__("__time64");

int64
utTime64(int64 *out) noexcept
{
    return utTime(out);
}

// The directory in which the first error makes a log. Its name needs expansion.
static const ut_TempDir &
utPrepareLog()
{
    static const ut_TempDir theDir;
    setenv("TZ", "UTC", 1);
    setenv("LOG_DIR", theDir.path().c_str(), 1);
    setenv("VALDRIN_ERRORLOG_FILENAME", "$LOG_DIR/log", 1);
    theTime = 1142355909;
    return theDir;
}

static const std::string theStart =
    "2006-03-14 17:05:09: Error:       File operation failed: ";

TEST(UT_ErrorLog, ErrorsAreLoggedAsTheyAreAdded)
{
    const std::string log = utPrepareLog().path("log");
    std::filesystem::create_directory(log);
    errno = EXDEV;
    UTaddCommonError(4, "a%s"); // cannot be opened
    EXPECT_EQ(EXDEV, errno);
    std::filesystem::remove(log);
    errno = EXDEV;
    UTaddCommonError(4, "a%s");
    UTaddMessage("Common", 4, "below");
    UTaddSystemError("b");
    EXPECT_EQ(
        theStart + "a%s\n2006-03-14 17:05:09: Invalid cross-device link (b)\n",
        utPrepareLog().read("log"));
}

// Seconds and texts: capital where the text is written.
static const char *const theRepetitions[] = {
    "0A 0a 1a 2a",        "0A 3A",
    "0A 1B 2a",           "0A 2B 3A",
    "0A 2a 4a 6a 8a 11A", "0A 2B 4C 5A 6B 6c 7a",
    "5A 4a 2a 3a 6A", // the clock goes back
};

TEST(UT_ErrorLog, WhatComesAgainSoonIsLeftOut)
{
    const ut_TempDir &dir = utPrepareLog();
    // Times of 32 bits end in the fourth row. From then on there are so many
    // texts that old ones are dropped.
    theTime = 2147479647 - 4000;
    for (const char *row : theRepetitions)
    {
        const int64 start = theTime += 1000;
        std::istringstream in(row);
        int seconds;
        char text;
        while (in >> seconds >> text)
        {
            theTime = start + seconds;
            const size_t before = dir.read("log").size();
            UTaddWarning("System", tolower(text), "");
            EXPECT_EQ(isupper(text) != 0, dir.read("log").size() > before)
                << row << ' ' << seconds;
            for (int i = 0; i < 1100 && start > 2147480000; ++i)
                UTaddWarning("System", 1000 + i, "");
        }
    }
}

TEST(UT_ErrorLog, StampsGoOnAfter2038)
{
    const ut_TempDir &dir = utPrepareLog();
    const int64 start = 2208988800; // the first second of 2040
    const struct
    {
        int seconds;
        const char *stamp; // empty when the text is left out
    } times[] = {
        {0, "2040-01-01 00:00:00: "},
        {1, ""                     },
        {4, "2040-01-01 00:00:04: "},
        {6, ""                     },
    };
    std::string expected;
    for (const auto &row : times)
    {
        theTime = start + row.seconds;
        UTaddWarning("no such type", 1, "");
        if (*row.stamp)
            expected += row.stamp + "no such type: unknown error: 1\n"s;
        EXPECT_EQ(expected, dir.read("log")) << row.seconds;
    }
}

TEST(UT_ErrorLog, LosesAndTearsNoLine)
{
    const ut_TempDir &dir = utPrepareLog();
    const std::string tail(3000, 'x');
    int process = 3; // 0 in the parent
    while (process > 0 && fork() != 0)
        --process;
    const auto run = [&](int first)
    {
        for (int i = first; i < first + 100; ++i)
        {
            const std::string text = std::to_string(process * 200 + i) + tail;
            UT_Error error("Common", 4, text.c_str(), UT_ERROR_ERROR);
            UTgetErrorLog()->logError(&error);
        }
    };
    std::thread second(run, 100);
    run(0);
    second.join();
    if (process > 0)
        _exit(0);
    while (wait(nullptr) > 0)
        ;
    std::string logged = dir.read("log");
    for (int i = 0; i < 800; ++i)
    {
        const std::string line = theStart + std::to_string(i) + tail + '\n';
        ASSERT_NE(logged.npos, logged.find(line)) << i;
        logged.erase(logged.find(line), line.size());
    }
    EXPECT_EQ("", logged);
}
