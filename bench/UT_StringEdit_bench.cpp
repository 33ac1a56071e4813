// Finding a text that comes every 16 or 100 bytes costs half of what it costs
// std::string; one that comes every 5000 costs as much, in 32 bits up to 1.2.
// Where its first letter occurs nowhere else, which std::string looks for
// alone, these are 0.75 to 1.15 and up to 1.3. Without the vectors of AVX-512 a
// near text costs at most as much, in 32 bits a tenth more in short strings.
// Where the text nearly occurs everywhere it takes linear time, std::string
// quadratic: a fifth in 64 KB. Replacing all occurrences costs less than a loop
// of find() and replace(), which is quadratic too, and about as much as one
// that appends the pieces to a second string, or less. To change the case of
// letters takes a fifth of a loop over the bytes, in short texts as long.
//
// The first argument is the length of the text in bytes, the second the
// distance of the occurrences.

#include "UT/UT_String.h"

#include "ut_Curve.h"

#include <benchmark/benchmark.h>

#include <string>

// Words of all letters, with one to find at every `distance` bytes.
static std::string
utWords(benchmark::State &state, const char *wanted = "renderer")
{
    std::string words;
    for (int i = 0; i < 7 * 23; ++i)
        words += i % 7 == 3 ? ' ' : char('a' + i * i % 23);
    std::string text;
    while (text.size() < size_t(state.range(0)))
        text += words;
    text.resize(size_t(state.range(0)));
    for (size_t at = size_t(state.range(1)); at + 8 <= text.size();
         at += size_t(state.range(1)))
        text.replace(at, 8, wanted);
    return text;
}

static void
find_UT_String(benchmark::State &state, const char *wanted)
{
    const std::string text = utWords(state, wanted);
    const UT_String string(text.c_str());
    for (auto _ : state)
        for (int at = 0; (at = string.find(wanted, at)) >= 0; ++at)
            benchmark::DoNotOptimize(at);
}

static void
find_string(benchmark::State &state, const char *wanted)
{
    const std::string text = utWords(state, wanted);
    for (auto _ : state)
        for (size_t at = 0; (at = text.find(wanted, at)) != std::string::npos;
             ++at)
            benchmark::DoNotOptimize(at);
}

static void
lower_UT_String(benchmark::State &state)
{
    const std::string text = utWords(state);
    UT_String string;
    string.harden(text.c_str());
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(string.toUpper());
        benchmark::DoNotOptimize(string.toLower());
    }
}

// As people write it.
static void
lower_string(benchmark::State &state)
{
    std::string text = utWords(state);
    for (auto _ : state)
    {
        for (char &byte : text)
            if (byte >= 'a' && byte <= 'z')
                byte = char(byte - 'a' + 'A');
        benchmark::DoNotOptimize(text.data());
        for (char &byte : text)
            if (byte >= 'A' && byte <= 'Z')
                byte = char(byte - 'A' + 'a');
        benchmark::DoNotOptimize(text.data());
    }
}

static void
findNearly_UT_String(benchmark::State &state)
{
    const std::string text(size_t(state.range(0)), 'a');
    const std::string nearly(size_t(state.range(0)) / 64, 'a');
    const UT_String string(text.c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(string.find((nearly + 'b').c_str()));
}

static void
findNearly_string(benchmark::State &state)
{
    const std::string text(size_t(state.range(0)), 'a');
    const std::string nearly(size_t(state.range(0)) / 64, 'a');
    for (auto _ : state)
        benchmark::DoNotOptimize(text.find(nearly + 'b'));
}

static void
substitute_UT_String(benchmark::State &state)
{
    const std::string text = utWords(state);
    for (auto _ : state)
    {
        UT_String string(text.c_str());
        string.substitute("renderer", "rendering engine");
        benchmark::DoNotOptimize(string.buffer());
    }
}

static void
substitute_stringInPlace(benchmark::State &state)
{
    const std::string text = utWords(state);
    for (auto _ : state)
    {
        std::string string = text;
        for (size_t at = 0;
             (at = string.find("renderer", at)) != std::string::npos; at += 16)
            string.replace(at, 8, "rendering engine");
        benchmark::DoNotOptimize(string.data());
    }
}

static void
substitute_stringPieces(benchmark::State &state)
{
    const std::string text = utWords(state);
    for (auto _ : state)
    {
        std::string string;
        size_t from = 0;
        for (size_t at; (at = text.find("renderer", from)) != std::string::npos;
             from = at + 8)
            string.append(text, from, at - from).append("rendering engine");
        string.append(text, from);
        benchmark::DoNotOptimize(string.data());
    }
}

// Lengths and distances; `most` bytes for long curves.
template <int most>
static void
utSizes(benchmark::internal::Benchmark *benchmark)
{
    const int longest = utIsLongCurve() ? most : 1 << 18;
    for (int distance : {16, 100, 5000})
        for (int length : {60, 4000, 1 << 18, 1 << 23, 1 << 28})
            if (distance < length && length <= longest)
                benchmark->Args({length, distance});
}

static const auto utAllSizes = utSizes<1 << 28>;
// For what takes quadratic time.
static const auto utShortSizes = utSizes<1 << 18>;

BENCHMARK_CAPTURE(find_UT_String, , "renderer")
    ->Name("find a text/ours")
    ->Apply(utAllSizes);
BENCHMARK_CAPTURE(find_string, , "renderer")
    ->Name("find a text/std::string")
    ->Apply(utAllSizes);
BENCHMARK_CAPTURE(find_UT_String, , "Renderer")
    ->Name("find a text by a rare letter/ours")
    ->Apply(utAllSizes);
BENCHMARK_CAPTURE(find_string, , "Renderer")
    ->Name("find a text by a rare letter/std::string")
    ->Apply(utAllSizes);
BENCHMARK(lower_UT_String)
    ->Name("change the case of letters/ours")
    ->Apply(utAllSizes);
BENCHMARK(lower_string)
    ->Name("change the case of letters/a loop")
    ->Apply(utAllSizes);
BENCHMARK(findNearly_UT_String)
    ->Name("find what nearly occurs/ours")
    ->Apply(utCurve<4096, 1 << 16, 1 << 24, 16>);
BENCHMARK(findNearly_string)
    ->Name("find what nearly occurs/std::string")
    ->Apply(utCurve<4096, 1 << 16, 1 << 20, 16>);
BENCHMARK(substitute_UT_String)->Name("replace a text/ours")->Apply(utAllSizes);
BENCHMARK(substitute_stringInPlace)
    ->Name("replace a text/std::string in place")
    ->Apply(utShortSizes);
BENCHMARK(substitute_stringPieces)
    ->Name("replace a text/std::string of pieces")
    ->Apply(utAllSizes);
