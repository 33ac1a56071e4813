// Formatting the log's stamp costs at most 0.4 of strftime(), and from seconds
// at most 0.7 of localtime_r() and strftime(), although a change of TZ is seen.

#include "UT/UT_Date.h"

#include <benchmark/benchmark.h>

#include <ctime>

static const char theFormat[] = "%Y-%m-%d %T: ";
static const time_t theStart = 1142355909; // in March 2006

static tm
utStartTime()
{
    tm t;
    localtime_r(&theStart, &t);
    return t;
}

static void
utStampOfTime(benchmark::State &state)
{
    char buffer[512];
    tm t = utStartTime();
    for (auto _ : state)
    {
        t.tm_sec = (t.tm_sec + 1) % 60;
        UT_Date::dprintf(buffer, theFormat, &t);
        benchmark::DoNotOptimize(buffer);
    }
}
BENCHMARK(utStampOfTime);

static void
utStampOfTimeByStrftime(benchmark::State &state)
{
    char buffer[512];
    tm t = utStartTime();
    for (auto _ : state)
    {
        t.tm_sec = (t.tm_sec + 1) % 60;
        benchmark::DoNotOptimize(
            strftime(buffer, sizeof buffer, theFormat, &t));
        benchmark::DoNotOptimize(buffer);
    }
}
BENCHMARK(utStampOfTimeByStrftime);

static void
utStampOfSeconds(benchmark::State &state)
{
    char buffer[512];
    time_t time = theStart;
    for (auto _ : state)
    {
        UT_Date::dprintf(buffer, theFormat, long(time++));
        benchmark::DoNotOptimize(buffer);
    }
}
BENCHMARK(utStampOfSeconds);

static void
utStampOfSecondsByStrftime(benchmark::State &state)
{
    char buffer[512];
    time_t time = theStart;
    tm t;
    for (auto _ : state)
    {
        localtime_r(&time, &t);
        ++time;
        benchmark::DoNotOptimize(
            strftime(buffer, sizeof buffer, theFormat, &t));
        benchmark::DoNotOptimize(buffer);
    }
}
BENCHMARK(utStampOfSecondsByStrftime);
