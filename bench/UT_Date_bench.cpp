// Formatting the log's stamp costs at most 0.4 of strftime(), "%c" at most 0.3
// of it, and the stamp from seconds at most 0.7 of localtime() and strftime()
// where TZ names the zone. Where it is the system's it costs a tenth, as these
// look each time whether that has changed, and ours once a second.

#include "UT/UT_Date.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <ctime>

static constexpr char theFormat[] = "%Y-%m-%d %T: ";
struct ut_Log
{
    static constexpr const auto &theText = theFormat;
};
struct ut_Usual
{
    static constexpr char theText[] = "%a %b %e %T %Y"; // "%c"
};
static const time_t theStart = 1142355909; // in March 2006

static tm
utStartTime()
{
    tm t;
    localtime_r(&theStart, &t);
    return t;
}

template <class Format>
static void
utStampOfTime(benchmark::State &state)
{
    char buffer[512];
    tm t = utStartTime();
    for (auto _ : state)
    {
        t.tm_sec = (t.tm_sec + 1) % 60;
        UT_Date::dprintf(buffer, Format::theText, &t);
        benchmark::DoNotOptimize(buffer);
    }
}
BENCHMARK(utStampOfTime<ut_Log>)->Name("stamp of the log/ours");
BENCHMARK(utStampOfTime<ut_Usual>)->Name("stamp by %c/ours");

template <class Format>
static void
utStampOfTimeByStrftime(benchmark::State &state)
{
    char buffer[512];
    tm t = utStartTime();
    for (auto _ : state)
    {
        t.tm_sec = (t.tm_sec + 1) % 60;
        benchmark::DoNotOptimize(
            strftime(buffer, sizeof(buffer), Format::theText, &t));
        benchmark::DoNotOptimize(buffer);
    }
}
BENCHMARK(utStampOfTimeByStrftime<ut_Log>)->Name("stamp of the log/strftime");
BENCHMARK(utStampOfTimeByStrftime<ut_Usual>)->Name("stamp by %c/strftime");

// Null for the system's zone.
static void
utSetZone(const char *zone)
{
    if (zone)
        setenv("TZ", zone, /*overwrite=*/1);
    else
        unsetenv("TZ");
}

static void
utStampOfSeconds(benchmark::State &state, const char *zone)
{
    utSetZone(zone);
    char buffer[512];
    time_t time = theStart;
    for (auto _ : state)
    {
        UT_Date::dprintf(buffer, theFormat, long(time++));
        benchmark::DoNotOptimize(buffer);
    }
}
BENCHMARK_CAPTURE(utStampOfSeconds, variable, "Europe/Berlin")
    ->Name("stamp of seconds, zone from TZ/ours");
BENCHMARK_CAPTURE(utStampOfSeconds, system, nullptr)
    ->Name("stamp of seconds, system's zone/ours");

static void
utStampOfSecondsByStrftime(benchmark::State &state, const char *zone)
{
    utSetZone(zone);
    char buffer[512];
    time_t time = theStart;
    for (auto _ : state)
    {
        const tm *const t = localtime(&time);
        ++time;
        benchmark::DoNotOptimize(
            strftime(buffer, sizeof(buffer), theFormat, t));
        benchmark::DoNotOptimize(buffer);
    }
}
BENCHMARK_CAPTURE(utStampOfSecondsByStrftime, variable, "Europe/Berlin")
    ->Name("stamp of seconds, zone from TZ/strftime");
BENCHMARK_CAPTURE(utStampOfSecondsByStrftime, system, nullptr)
    ->Name("stamp of seconds, system's zone/strftime");
