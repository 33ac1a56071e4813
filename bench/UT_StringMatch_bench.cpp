// Claims: a mix of the patterns that people write takes at most 0.7 of the time
// of fnmatch(3), and so do lists of 24 of them; patterns that are hard to
// search for take at most 0.1 of it, and finding a literal in 64 kilobytes at
// most 0.25. Lists take at most 0.9 of GLib's prepared patterns.

#include "UT/UT_String.h"

#include "ut_Curve.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <fnmatch.h>
#ifdef VALDRIN_HAVE_GLIB
#include <glib.h>
#endif

struct ut_Ours
{
    static bool match(const char *pattern, const UT_String &text, bool folds)
    {
        return text.match(pattern, !folds) != 0;
    }
};

struct ut_Fnmatch
{
    static bool match(const char *pattern, const UT_String &text, bool folds)
    {
        return fnmatch(pattern, text, folds ? FNM_CASEFOLD : 0) == 0;
    }
};

// Names as a scene has them.
static const char *const theNames[] = {
    "geo1",
    "geo12",
    "arm_left",
    "arm_right_upper",
    "leg_left_lower",
    "camera_main",
    "light_key_01",
    "light_fill_02",
    "/obj/character/rig/arm_left/elbow_ctrl",
    "/obj/character/geo/body_proxy",
    "texture_diffuse_0042.rat",
    "render.0001.pic.gz",
    "render.0123.pic",
    "scene_v012_final.hip",
};

static const char *const thePatterns[] = {
    "geo*",         "*",          "geo[12345]",    "*_left",
    "*left*",       "light_*_0?", "arm_*_upper",   "*.pic*",
    "*.hip",        "geo??",      "/obj/*/geo/*",  "*_v???_*",
    "camera_main",  "*_proxy",    "*[0123456789]", "*diffuse*.rat",
    "render.*.pic", "\\*",        "*elbow*ctrl",   "[al]*_*",
};

template <class Matcher>
static void
utMix(benchmark::State &state)
{
    const std::vector<UT_String> names(
        std::begin(theNames), std::end(theNames));
    const bool folds = state.range(0) != 0;
    int matches = 0;
    for (auto _ : state)
        for (const char *pattern : thePatterns)
            for (const UT_String &name : names)
                matches += Matcher::match(pattern, name, folds);
    benchmark::DoNotOptimize(matches);
    state.SetItemsProcessed(
        state.iterations() * int64_t(std::size(thePatterns) * names.size()));
}
BENCHMARK_TEMPLATE(utMix, ut_Ours)
    ->Name("match usual patterns/ours")
    ->ArgName("folds")
    ->Arg(0)
    ->Arg(1);
BENCHMARK_TEMPLATE(utMix, ut_Fnmatch)
    ->Name("match usual patterns/fnmatch")
    ->ArgName("folds")
    ->Arg(0)
    ->Arg(1);

static const char *const theHardPatterns[] = {
    "*a?a?a[bc]*", "*?a[bc]*a",      "*a*a*a*a*a*a*b", "*aaaaaaab",
    "*a?a?a?b*",   "*[ab][ab][ab]c", "*a*?*a*?*b",
};

// On a run of 1000 times the same letter.
template <class Matcher>
static void
utHard(benchmark::State &state)
{
    const std::string run(1000, 'a');
    const UT_String text(run.c_str());
    const char *const pattern = theHardPatterns[state.range(0)];
    for (auto _ : state)
        benchmark::DoNotOptimize(Matcher::match(pattern, text, false));
    state.SetLabel(pattern);
}
BENCHMARK_TEMPLATE(utHard, ut_Ours)
    ->Name("match a hard pattern/ours")
    ->ArgName("pattern")
    ->DenseRange(0, 6);
BENCHMARK_TEMPLATE(utHard, ut_Fnmatch)
    ->Name("match a hard pattern/fnmatch")
    ->ArgName("pattern")
    ->DenseRange(0, 6);

// Each name against all of a list of 24 patterns. The peers have them one by
// one; GLib's are prepared before the time runs, and know no sets.
static const char *const theAlternatives[] = {
    "geo*",        "*_left",   "*left*",      "light_*_0?", "arm_*_upper",
    "*.pic.z",     "*.hip",    "geo??",       "/obj/*/geo", "*_v???_*",
    "camera_side", "*_locked", "*_[xyz]",     "*diff*.tif", "render.*.tif",
    "*shadow*",    "null*",    "*elbow*tip",  "merge?",     "/out/*",
    "switch_*",    "*.0???.*", "bone[12345]", "*_old",
};

static void
utList(benchmark::State &state)
{
    const std::vector<UT_String> names(
        std::begin(theNames), std::end(theNames));
    std::string list;
    for (const char *alternative : theAlternatives)
        list.append(alternative).append(" ");
    int matches = 0;
    for (auto _ : state)
        for (const UT_String &name : names)
        {
            int last;
            matches += name.multiMatch(
                list.c_str(), /*caseSensitive=*/1, ", ", nullptr, &last);
        }
    benchmark::DoNotOptimize(matches);
    state.SetItemsProcessed(state.iterations() * int64_t(names.size()));
}
BENCHMARK(utList)->Name("match a list of 24/ours");

static void
utListFnmatch(benchmark::State &state)
{
    int matches = 0;
    for (auto _ : state)
        for (const char *name : theNames)
            for (const char *alternative : theAlternatives)
                matches += fnmatch(alternative, name, 0) == 0;
    benchmark::DoNotOptimize(matches);
    state.SetItemsProcessed(state.iterations() * int64_t(std::size(theNames)));
}
BENCHMARK(utListFnmatch)->Name("match a list of 24/fnmatch");

#ifdef VALDRIN_HAVE_GLIB
static void
utListGlib(benchmark::State &state)
{
    std::vector<GPatternSpec *> specs;
    for (const char *alternative : theAlternatives)
        specs.push_back(g_pattern_spec_new(alternative));
    int matches = 0;
    for (auto _ : state)
        for (const char *name : theNames)
        {
            const size_t length = strlen(name);
            for (GPatternSpec *spec : specs)
                matches += g_pattern_spec_match(spec, length, name, nullptr);
        }
    benchmark::DoNotOptimize(matches);
    state.SetItemsProcessed(state.iterations() * int64_t(std::size(theNames)));
    for (GPatternSpec *spec : specs)
        g_pattern_spec_free(spec);
}
BENCHMARK(utListGlib)->Name("match a list of 24/GLib");
#endif

// Words, and one that comes at the end alone.
static std::string
utLongText(const benchmark::State &state)
{
    std::string text;
    while (text.size() < size_t(state.range(0)))
        text.append(theNames[text.size() % std::size(theNames)]).append(" ");
    return text + "needle";
}

static const auto utLongSizes = utCurve<64, 1 << 16, 1 << 26, 32>;

template <bool folds>
static void
utContains(benchmark::State &state)
{
    const std::string text = utLongText(state);
    const UT_String string(text.c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(string.contains("needle", !folds));
}
BENCHMARK_TEMPLATE(utContains, false)
    ->Name("match *needle*/ours")
    ->Apply(utLongSizes);
BENCHMARK_TEMPLATE(utContains, true)
    ->Name("match *NEEDLE*/ours")
    ->Apply(utLongSizes);

template <bool folds>
static void
utContainsFnmatch(benchmark::State &state)
{
    const std::string text = utLongText(state);
    const int flags = folds ? FNM_CASEFOLD : 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(fnmatch("*needle*", text.c_str(), flags));
}
BENCHMARK_TEMPLATE(utContainsFnmatch, false)
    ->Name("match *needle*/fnmatch")
    ->Apply(utLongSizes);
BENCHMARK_TEMPLATE(utContainsFnmatch, true)
    ->Name("match *NEEDLE*/fnmatch")
    ->Apply(utLongSizes);

// The first of many groups varies slowest.
static void
utExpand(benchmark::State &state)
{
    std::vector<char *> names(10000);
    for (auto _ : state)
    {
        UT_String text("geo[1-100]_[1-10][abcdefghij]_tx");
        const int count = text.expandArrays(names.data(), 10000);
        state.PauseTiming();
        for (int i = 0; i < count; ++i)
            free(names[size_t(i)]);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * 10000);
}
BENCHMARK(utExpand)->Name("expand brackets/ours");
