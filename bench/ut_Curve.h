// The sizes of the rows that make a curve.

#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>

// Whether the curves go on to their greatest sizes, which take their time.
inline bool
utIsLongCurve()
{
    return getenv("VALDRIN_BENCH_CURVES") != nullptr;
}

// The greatest size of what does not fit into the memory of 32 bits.
constexpr int64_t
utMost(int64_t longest, int64_t longestIn32Bits)
{
    return sizeof(void *) == 8 ? longest : longestIn32Bits;
}

// For Apply(): `first` times each power of `factor`, up to `usual`, or for long
// curves up to `longest`.
template <int64_t first, int64_t usual, int64_t longest, int64_t factor = 10>
void
utCurve(benchmark::internal::Benchmark *rows)
{
    const int64_t last = utIsLongCurve() ? longest : usual;
    for (int64_t size = first; size <= last; size *= factor)
        rows->Arg(size);
}
