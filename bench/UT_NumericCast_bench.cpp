// A million halves become floats, and floats halves, in at most 1.3 of the time
// that the processor's own half instructions take for eight at a time, though
// these round otherwise and change some NaNs; by AVX-512 in 0.9 to 1.0. Floats
// of which many are infinite or no numbers take up to 1.9 by AVX2.
//
// One by one they take at most 1.1 of a function around the instruction for one
// value, which a program that runs on any processor cannot have inline.

#include "UT/UT_NumericCast.h"

#include <benchmark/benchmark.h>

#include <cstring>
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

// Any patterns: half of them are too large for a half.
static std::vector<float>
utMixedFloats()
{
    std::mt19937 random(1);
    std::vector<float> floats(theCount);
    for (float &value : floats)
    {
        const uint32 bits = uint32(random());
        memcpy(&value, &bits, sizeof(bits));
    }
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
BENCHMARK(BM_ToFloatByTable)->Name("halves to floats one by one/ours");

[[gnu::target("f16c"), gnu::noinline]] static float
utToFloat(fpreal16 half)
{
    return _cvtsh_ss(half.bits());
}

static void
BM_ToFloatByF16C(benchmark::State &state)
{
    const auto halves = utHalves();
    std::vector<float> floats(theCount);
    for (auto _ : state)
    {
        for (int i = 0; i < theCount; ++i)
            floats[size_t(i)] = utToFloat(halves[size_t(i)]);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_ToFloatByF16C)->Name("halves to floats one by one/F16C");

__attribute__((target("avx,f16c"))) static void
BM_ToFloatByF16CVectors(benchmark::State &state)
{
    const auto halves = utHalves();
    std::vector<float> floats(theCount);
    for (auto _ : state)
    {
        for (int i = 0; i < theCount; i += 8)
        {
            __m128i lanes;
            memcpy(&lanes, &halves[size_t(i)], sizeof(lanes));
            _mm256_storeu_ps(&floats[size_t(i)], _mm256_cvtph_ps(lanes));
        }
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_ToFloatByF16CVectors)->Name("halves to floats/F16C by vectors");

static void
BM_ToHalf(benchmark::State &state, std::vector<float> (*makeFloats)())
{
    const auto floats = makeFloats();
    std::vector<fpreal16> halves(theCount);
    for (auto _ : state)
    {
        UTnumericCast(halves.data(), floats.data(), theCount);
        benchmark::ClobberMemory();
    }
}
BENCHMARK_CAPTURE(BM_ToHalf, usual, utFloats)->Name("floats to halves/ours");
BENCHMARK_CAPTURE(BM_ToHalf, mixed, utMixedFloats)
    ->Name("floats to halves/ours of mixed values");

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
BENCHMARK(BM_ToHalfByTable)->Name("floats to halves one by one/ours");

[[gnu::target("f16c"), gnu::noinline]] static uint16
utToHalf(float value)
{
    return _cvtss_sh(value, 0);
}

static void
BM_ToHalfByF16C(benchmark::State &state)
{
    const auto floats = utFloats();
    std::vector<uint16> halves(theCount);
    for (auto _ : state)
    {
        for (int i = 0; i < theCount; ++i)
            halves[size_t(i)] = utToHalf(floats[size_t(i)]);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_ToHalfByF16C)->Name("floats to halves one by one/F16C");

__attribute__((target("avx,f16c"))) static void
BM_ToHalfByF16CVectors(benchmark::State &state)
{
    const auto floats = utFloats();
    std::vector<uint16> halves(theCount);
    for (auto _ : state)
    {
        for (int i = 0; i < theCount; i += 8)
        {
            const __m128i lanes =
                _mm256_cvtps_ph(_mm256_loadu_ps(&floats[size_t(i)]), 0);
            memcpy(&halves[size_t(i)], &lanes, sizeof(lanes));
        }
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_ToHalfByF16CVectors)->Name("floats to halves/F16C by vectors");
