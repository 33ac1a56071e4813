// A million halves become floats in the time that the processor's own half
// instructions take one by one, and at least twice as fast as by table; floats
// become halves as fast as that, though the instruction rounds otherwise.

#include "UT/UT_NumericCast.h"

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include <immintrin.h>

static const int theCount = 1000000;

// Ordinary values, as pictures and geometry hold them.
static std::vector<float>
utFloats()
{
    std::mt19937 random(1);
    std::normal_distribution<float> values(0, 10);
    std::vector<float> floats(theCount);
    for (float &value : floats)
        value = values(random);
    return floats;
}

static std::vector<fpreal16>
utHalves()
{
    std::vector<fpreal16> halves(theCount);
    UTnumericCast(halves.data(), utFloats().data(), theCount);
    return halves;
}

static void
BM_ToFloat(benchmark::State &state)
{
    const auto halves = utHalves();
    std::vector<float> floats(theCount);
    for (auto _ : state)
    {
        UTnumericCast(floats.data(), halves.data(), theCount);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_ToFloat)->Name("halves to floats/ours");

static void
BM_ToFloatByTable(benchmark::State &state)
{
    const auto halves = utHalves();
    std::vector<float> floats(theCount);
    for (auto _ : state)
    {
        for (int i = 0; i < theCount; ++i)
            floats[size_t(i)] = float(halves[size_t(i)]);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_ToFloatByTable)->Name("halves to floats/ours one by one");

__attribute__((target("f16c"))) static void
BM_ToFloatByF16C(benchmark::State &state)
{
    const auto halves = utHalves();
    std::vector<float> floats(theCount);
    for (auto _ : state)
    {
        for (int i = 0; i < theCount; ++i)
            floats[size_t(i)] = _cvtsh_ss(halves[size_t(i)].bits());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_ToFloatByF16C)->Name("halves to floats/F16C");

static void
BM_ToHalf(benchmark::State &state)
{
    const auto floats = utFloats();
    std::vector<fpreal16> halves(theCount);
    for (auto _ : state)
    {
        UTnumericCast(halves.data(), floats.data(), theCount);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_ToHalf)->Name("floats to halves/ours");

static void
BM_ToHalfByTable(benchmark::State &state)
{
    const auto floats = utFloats();
    std::vector<fpreal16> halves(theCount);
    for (auto _ : state)
    {
        for (int i = 0; i < theCount; ++i)
            halves[size_t(i)] = fpreal16(floats[size_t(i)]);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_ToHalfByTable)->Name("floats to halves/ours one by one");

__attribute__((target("f16c"))) static void
BM_ToHalfByF16C(benchmark::State &state)
{
    const auto floats = utFloats();
    std::vector<uint16> halves(theCount);
    for (auto _ : state)
    {
        for (int i = 0; i < theCount; ++i)
            halves[size_t(i)] = _cvtss_sh(floats[size_t(i)], 0);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_ToHalfByF16C)->Name("floats to halves/F16C");
