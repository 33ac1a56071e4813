// The sizes of the rows that make a curve.

#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

// Whether the curves go on to their greatest sizes, which take their time.
inline bool
utIsLongCurve()
{
    return getenv("VALDRIN_BENCH_CURVES") != nullptr;
}

// For Apply(): `first` times each power of `factor`, up to `usual`, or for long
// curves up to `longest`, in 32 bits to an eighth of that, where memory ends
// sooner.
template <int64_t first, int64_t usual, int64_t longest, int64_t factor = 10>
void
utCurve(benchmark::internal::Benchmark *rows)
{
    const int64_t most = sizeof(void *) == 8 ? longest : longest / 8;
    const int64_t last = utIsLongCurve() ? std::max(most, usual) : usual;
    for (int64_t size = first; size <= last; size *= factor)
        rows->Arg(size);
}
