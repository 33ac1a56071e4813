// Parsing a command line with quotes costs at most half of what the C library's
// word expansion costs, with variables or without.
//
// Both read the line as the same words, and look the variables up in the same
// environment, of 40 variables.

#include "UT/UT_String.h"

#include "UT/UT_ShellLine.h"
#include "UT/UT_WorkArgs.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>
#include <vector>

#include <wordexp.h>

static const struct
{
    const char *csh;
    const char *dos;
    std::vector<std::string> words;
} theLines[] = {
    {"render -q 'final shot' \"$SHOW/$SHOT\" $JOB/scenes/beauty.exr out\\ put",
     "render -q \"final shot\" \"%SHOW%/%SHOT%\" %JOB%/scenes/beauty.exr "
     "out^ put",                                                  {"render", "-q", "final shot", "forest/sh0420",
      "/projects/alpha/scenes/beauty.exr", "out put"}      },
    {"opparm -c 'the lamps' box_object1 tx 0.25 \"ty 1\" tz 2",
     "opparm -c \"the lamps\" box_object1 tx 0.25 \"ty 1\" tz 2", {"opparm", "-c", "the lamps", "box_object1", "tx", "0.25", "ty 1", "tz",
      "2"}},
};

static void
utSetUp()
{
    for (int i = 0; i < 37; ++i)
        setenv(("SOMETHING_" + std::to_string(i)).c_str(), "a value", 1);
    setenv("JOB", "/projects/alpha", 1);
    setenv("SHOW", "forest", 1);
    setenv("SHOT", "sh0420", 1);
}

static void
utCheck(
    benchmark::State &state, const std::vector<std::string> &expected,
    char *const *words, size_t count)
{
    if (std::vector<std::string>(words, words + count) != expected)
        state.SkipWithError("parses wrongly");
}

static void
utParseCsh(benchmark::State &state)
{
    utSetUp();
    const auto &line = theLines[state.range(0)];
    UT_String text;
    UT_WorkArgs args;
    UT_ShellLine result;
    for (auto _ : state)
    {
        text = line.csh;
        text.parseCsh(args, result);
        benchmark::DoNotOptimize(args.getArgv());
        benchmark::ClobberMemory();
    }
    utCheck(state, line.words, args.getArgv(), size_t(args.getArgc()));
}
BENCHMARK(utParseCsh)->Name("parse a command line/ours")->Arg(0)->Arg(1);

static void
utParseDos(benchmark::State &state)
{
    utSetUp();
    const auto &line = theLines[state.range(0)];
    UT_String text;
    UT_WorkArgs args;
    UT_ShellLine result;
    for (auto _ : state)
    {
        text = line.dos;
        text.parseDos(args, result);
        benchmark::DoNotOptimize(args.getArgv());
        benchmark::ClobberMemory();
    }
    utCheck(state, line.words, args.getArgv(), size_t(args.getArgc()));
}
BENCHMARK(utParseDos)
    ->Name("parse a command line/ours with DOS rules")
    ->Arg(0)
    ->Arg(1);

static void
utWordexp(benchmark::State &state)
{
    utSetUp();
    const auto &line = theLines[state.range(0)];
    wordexp_t words = {};
    int flags = WRDE_NOCMD;
    for (auto _ : state)
    {
        wordexp(line.csh, &words, flags);
        flags |= WRDE_REUSE;
        benchmark::DoNotOptimize(words.we_wordv);
        benchmark::ClobberMemory();
    }
    utCheck(state, line.words, words.we_wordv, words.we_wordc);
    wordfree(&words);
}
BENCHMARK(utWordexp)->Name("parse a command line/wordexp")->Arg(0)->Arg(1);
