// Splitting a line takes at most two thirds of the time of strtok_r() at runs
// of a set, and nine tenths of that of strsep() at one separator; honouring
// quotes takes at most two thirds of the time of strtok_r(), which does not.
// Reversing the bytes of a thousand values and more takes at most a quarter of
// the time of a loop, in 32 bits up to 0.45; of four values it takes as long.
//
// The argument is the number of words, or of values. Each round copies the line
// first, since splitting it uses it up.

#include "UT/UT_WorkArgs.h"

#include "ut_Curve.h"

#include "UT/UT_String.h"
#include "UT/UT_SwapBytes.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

// Splits a line of words with `split(text, args)`.
template <class Split>
static void
utSplit(benchmark::State &state, Split split)
{
    static const char *theWords[] = {"opadd", "-n",   "geo",  "box_object1",
                                     "tx",    "0.25", "parm", "\"a\""};
    std::string line;
    for (int i = 0; i < state.range(0); ++i)
        line.append(theWords[i % 8]).append(i % 3 ? " " : "\t");
    std::string text(line);
    UT_WorkArgs args;
    for (auto _ : state)
    {
        memcpy(text.data(), line.data(), line.size());
        split(text.data(), args);
        benchmark::DoNotOptimize(args.getArgv());
        benchmark::ClobberMemory();
    }
    if (args.getArgc() != state.range(0))
        state.SkipWithError("not all words");
    state.SetBytesProcessed(state.iterations() * int64(line.size()));
}

static void
utTokenizeSet(benchmark::State &state)
{
    utSplit(
        state, [](char *text, UT_WorkArgs &args)
        { UT_String(text).tokenizeInPlace(args, " \t\n"); });
}

static void
utStrtok(benchmark::State &state)
{
    utSplit(
        state,
        [](char *text, UT_WorkArgs &args)
        {
            args.setArg(0, nullptr);
            while (char *const word = strtok_r(text, " \t\n", &text))
                args.setArg(args.getArgc(), word);
        });
}

static void
utParse(benchmark::State &state)
{
    utSplit(
        state, [](char *text, UT_WorkArgs &args)
        { UT_String(text).parseInPlace(args); });
}

// At one separator: a line that has it between all words.
template <class Split>
static void
utSplitAtOne(benchmark::State &state, Split split)
{
    utSplit(
        state,
        [split](char *text, UT_WorkArgs &args)
        {
            for (char *at = text; (at = strchr(at, '\t'));)
                *at = ' ';
            split(text, args);
        });
}

static void
utTokenizeOne(benchmark::State &state)
{
    utSplitAtOne(
        state, [](char *text, UT_WorkArgs &args)
        { UT_String(text).tokenizeInPlace(args, ' '); });
}

static void
utStrsep(benchmark::State &state)
{
    utSplitAtOne(
        state,
        [](char *text, UT_WorkArgs &args)
        {
            args.setArg(0, nullptr);
            while (char *const word = strsep(&text, " "))
                if (text)
                    args.setArg(args.getArgc(), word);
        });
}

template <bool isOurs>
static void
utSwap(benchmark::State &state)
{
    std::vector<uint32> values(size_t(state.range(0)), 7u);
    for (auto _ : state)
    {
        if (isOurs)
            UTswapBytes(values.data(), values.size());
        else
            for (uint32 &value : values)
                value = __builtin_bswap32(value);
        benchmark::DoNotOptimize(values.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0) * 4);
}

BENCHMARK(utTokenizeSet)
    ->Name("split a line at a set/ours")
    ->Apply(utCurve<3, 3000, 30000000>);
BENCHMARK(utParse)
    ->Name("split a line at a set/ours with quotes")
    ->Apply(utCurve<3, 3000, 30000000>);
BENCHMARK(utStrtok)
    ->Name("split a line at a set/strtok_r")
    ->Apply(utCurve<3, 3000, 30000000>);
BENCHMARK(utTokenizeOne)
    ->Name("split a line at one separator/ours")
    ->Apply(utCurve<3, 3000, 30000000>);
BENCHMARK(utStrsep)
    ->Name("split a line at one separator/strsep")
    ->Apply(utCurve<3, 3000, 30000000>);
BENCHMARK_TEMPLATE(utSwap, true)
    ->Name("swap bytes/ours")
    ->Apply(utCurve<4, 1 << 20, 1 << 26, 256>);
BENCHMARK_TEMPLATE(utSwap, false)
    ->Name("swap bytes/a loop")
    ->Apply(utCurve<4, 1 << 20, 1 << 26, 256>);
