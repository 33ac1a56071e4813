#include "UT/UT_ErrorLog.h"
#include "UT/UT_ErrorManager.h"

#include "ut_TempDir.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <sstream>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

// The clock of this program and of the library, which finds this one first;
// 0 for the real one.
static std::atomic<time_t> theTime(0);

extern "C" UT_API time_t
time(time_t *out) noexcept
{
    timespec now = {theTime, 0};
    if (now.tv_sec == 0)
        clock_gettime(CLOCK_REALTIME, &now);
    return out ? *out = now.tv_sec : now.tv_sec;
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
    // On 64 bits, times of 32 bits end in the fourth row. From then on there
    // are so many texts that old ones are dropped.
    theTime = sizeof(time_t) > 4 ? 2147479647 - 4000 : 1142355909;
    for (const char *row : theRepetitions)
    {
        const time_t start = theTime += 1000;
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
