#include "UT/UT_ErrorLog.h"

#include "ut_TempDir.h"

#include "UT/UT_ErrorManager.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>

#include <sys/wait.h>
#include <unistd.h>

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

// Errors in the order in which they come. A sequence of another name starts a
// long time later. Deliberate: one that is left out counts, too.
static const struct
{
    const char *sequence;
    int second; // from its start
    int text;   // the number of one
    bool isWritten;
} theErrors[] = {
    {"again within 2 seconds",          0, 1, true },
    {"again within 2 seconds",          0, 1, false},
    {"again within 2 seconds",          2, 1, false},
    {"again within 2 seconds",          4, 1, false},
    {"again after 3 seconds",           0, 1, true },
    {"again after 3 seconds",           3, 1, true },
    {"after another one",               0, 1, true },
    {"after another one",               2, 2, true },
    {"after another one",               2, 1, false},
    {"the memory lasts 3 seconds more", 0, 1, true },
    {"the memory lasts 3 seconds more", 2, 2, true },
    {"the memory lasts 3 seconds more", 3, 1, true },
    {"the clock goes back",             5, 1, true },
    {"the clock goes back",             2, 1, false},
    {"the clock goes back",             6, 1, true },
};

// Above a thousand texts, old ones are dropped.
TEST(UT_ErrorLog, WhatComesAgainSoonIsLeftOutAmongManyTexts)
{
    const ut_TempDir &dir = utPrepareLog();
    std::string sequence = theErrors[0].sequence;
    // Times of 32 bits end a second after the start of the second sequence.
    int64 start = int64(INT_MAX) - 1 - 1000;
    for (const auto &row : theErrors)
    {
        if (sequence != row.sequence)
            start += 1000;
        sequence = row.sequence;
        theTime = start + row.second;
        const size_t before = dir.read("log").size();
        UTaddWarning("System", row.text, "");
        EXPECT_EQ(row.isWritten, dir.read("log").size() > before)
            << row.sequence << ": text " << row.text << " at " << row.second
            << " seconds from " << start;
        for (int other = 0; other < 1100; ++other)
            UTaddWarning("System", 1000 + other, "");
    }
}

TEST(UT_ErrorLog, StampsGoOnAfter2038)
{
    const ut_TempDir &dir = utPrepareLog();
    theTime = 2208988800; // the first second of 2040
    UTaddWarning("no such type", 1, "");
    EXPECT_EQ(
        "2040-01-01 00:00:00: no such type: unknown error: 1\n",
        dir.read("log"));
}

TEST(UT_ErrorLog, LosesAndTearsNoLine)
{
    const ut_TempDir &dir = utPrepareLog();
    const std::string tail(3000, 'x');
    // Three children of this process, which itself has number 0.
    int process = 3;
    while (process > 0 && fork() != 0)
        --process;
    for (int i = process * 100; i < process * 100 + 100; ++i)
    {
        const std::string text = std::to_string(i) + tail;
        UT_Error error("Common", 4, text.c_str(), UT_ERROR_ERROR);
        UTgetErrorLog()->logError(&error);
    }
    if (process > 0)
        _exit(0);
    while (wait(nullptr) > 0)
        ;
    std::string logged = dir.read("log");
    for (int i = 0; i < 400; ++i)
    {
        const std::string line = theStart + std::to_string(i) + tail + '\n';
        ASSERT_NE(logged.npos, logged.find(line)) << i;
        logged.erase(logged.find(line), line.size());
    }
    EXPECT_EQ("", logged);
}
