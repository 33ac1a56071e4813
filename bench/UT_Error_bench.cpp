// Adding an error without a log costs at most 1.4 of two small allocations. A
// scope costs a test or two while nothing is recorded, and at most 1.4 of two
// reads of the clock when it is.

#include "UT/UT_ErrorManager.h"
#include "UT/UT_Performance.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>

#include <time.h>

static void
utAddError(benchmark::State &state)
{
    UT_ErrorManager manager;
    for (auto _ : state)
    {
        manager.addError("Common", UT_CE_FILE_ERROR, "/tmp/file");
        if (manager.entries() == 40)
            manager.clearAndDestroyErrors();
    }
}
BENCHMARK(utAddError)->Name("add an error/ours");

// What an error is made of, and as many at a time.
static void
utTwoAllocations(benchmark::State &state)
{
    void *blocks[80];
    int used = 0;
    const auto release = [&]
    {
        while (used > 0)
            free(blocks[--used]);
    };
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(blocks[used++] = malloc(sizeof(UT_Error)));
        benchmark::DoNotOptimize(blocks[used++] = strdup("/tmp/file"));
        if (used == 80)
            release();
    }
    release();
}
BENCHMARK(utTwoAllocations)->Name("add an error/two malloc");

static void
utScopeWithoutRecording(benchmark::State &state)
{
    for (auto _ : state)
    {
        UT_PerformanceEvent event("event");
        benchmark::ClobberMemory();
    }
}
BENCHMARK(utScopeWithoutRecording)->Name("scope without recording/ours");

static void
utScopeWithMonitor(benchmark::State &state)
{
    UT_Performance::makeMonitor().setRecording(true);
    for (auto _ : state)
    {
        UT_PerformanceEvent event("event");
        benchmark::ClobberMemory();
    }
    UT_Performance::makeMonitor().setRecording(false);
}
BENCHMARK(utScopeWithMonitor)->Name("scope with a monitor/ours");

static void
utTwoReadsOfTheClock(benchmark::State &state)
{
    timespec now;
    for (auto _ : state)
        for (int i = 0; i < 2; ++i)
        {
            clock_gettime(CLOCK_MONOTONIC, &now);
            benchmark::DoNotOptimize(now);
        }
}
BENCHMARK(utTwoReadsOfTheClock)->Name("scope with a monitor/two clock_gettime");
