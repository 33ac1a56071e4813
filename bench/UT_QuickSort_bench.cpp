// Claims: sorting keys, keys with their index and records by their key takes
// at most 1 / 1.2 of the time of std::sort on the same data (for the index:
// std::sort on a vector of positions); selecting takes no longer than
// std::nth_element with the same comparator.
//
// Arguments: the number of elements and the order of the input.

#include "UT/UT_QuickSort.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

static const char *const theOrders[] = {
    "random", "ascending", "descending", "organ pipe", "few distinct"};

// Small inputs are sorted a hundred thousand elements at a time, each a
// different one: a processor learns the branches of a short one by heart.
static size_t
utInputCount(const benchmark::State &state)
{
    return std::max(size_t(1), 100000 / size_t(state.range(0)));
}

// All inputs, one after the other.
static std::vector<int>
utInputs(const benchmark::State &state)
{
    const size_t n = size_t(state.range(0));
    std::vector<int> keys(n * utInputCount(state));
    std::mt19937 random(1);
    size_t peak = n / 2;
    for (size_t at = 0; at < keys.size(); at++)
    {
        const size_t i = at % n;
        if (i == 0 && at > 0)
            peak = n / 4 + random() % (n / 2);
        switch (state.range(1))
        {
        case 0:
            keys[at] = int(random());
            break;
        case 1:
            keys[at] = int(i);
            break;
        case 2:
            keys[at] = int(n - i);
            break;
        case 3:
            keys[at] = int(i < peak ? i : 2 * peak - i);
            break;
        default:
            keys[at] = int(random() % 8);
        }
    }
    return keys;
}

// Times `run` on fresh copies of the inputs.
template <class Element, class Run>
static void
utMeasure(
    benchmark::State &state, const std::vector<Element> &inputs, const Run &run)
{
    const size_t n = size_t(state.range(0));
    std::vector<Element> work;
    for (auto _ : state)
    {
        state.PauseTiming();
        work = inputs;
        state.ResumeTiming();
        for (size_t i = 0; i < work.size(); i += n)
            run(&work[i], n);
        benchmark::DoNotOptimize(work.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * int64_t(work.size()));
    state.SetLabel(theOrders[state.range(1)]);
}

static void
utArguments(benchmark::internal::Benchmark *benchmark)
{
    for (int64_t n = 100; n <= 1000000; n *= 10)
        for (int order = 0; order < 5; order++)
            benchmark->Args({n, order});
}

// Unsigned keys.

static std::vector<unsigned>
utUnsignedInputs(const benchmark::State &state)
{
    const std::vector<int> keys = utInputs(state);
    return std::vector<unsigned>(keys.begin(), keys.end());
}

static void
BM_KeysOurs(benchmark::State &state)
{
    UT_QuickSort sorter;
    utMeasure(
        state, utUnsignedInputs(state),
        [&](unsigned *keys, size_t n) {
            sorter.sort(keys, unsigned(n), /*makeIndex=*/0, /*isSigned=*/false);
        });
}
BENCHMARK(BM_KeysOurs)->Apply(utArguments);

static void
BM_KeysStd(benchmark::State &state)
{
    utMeasure(
        state, utUnsignedInputs(state),
        [](unsigned *keys, size_t n) { std::sort(keys, keys + n); });
}
BENCHMARK(BM_KeysStd)->Apply(utArguments);

// Float keys.

static std::vector<float>
utFloatInputs(const benchmark::State &state)
{
    std::vector<float> keys;
    for (int key : utInputs(state))
        keys.push_back(float(key));
    return keys;
}

static void
BM_FloatsOurs(benchmark::State &state)
{
    UT_QuickSort sorter;
    utMeasure(
        state, utFloatInputs(state),
        [&](float *keys, size_t n)
        { sorter.sort(keys, unsigned(n), /*makeIndex=*/0); });
}
BENCHMARK(BM_FloatsOurs)->Apply(utArguments);

static void
BM_FloatsStd(benchmark::State &state)
{
    utMeasure(
        state, utFloatInputs(state),
        [](float *keys, size_t n) { std::sort(keys, keys + n); });
}
BENCHMARK(BM_FloatsStd)->Apply(utArguments);

// Keys with an index. The peer leaves the keys where they are.

static void
BM_IndexedOurs(benchmark::State &state)
{
    UT_QuickSort sorter;
    utMeasure(
        state, utUnsignedInputs(state),
        [&](unsigned *keys, size_t n) {
            sorter.sort(keys, unsigned(n), /*makeIndex=*/1, /*isSigned=*/false);
        });
}
BENCHMARK(BM_IndexedOurs)->Apply(utArguments);

static void
BM_IndexedStd(benchmark::State &state)
{
    std::vector<int> index(size_t(state.range(0)));
    utMeasure(
        state, utUnsignedInputs(state),
        [&](unsigned *keys, size_t)
        {
            std::iota(index.begin(), index.end(), 0);
            std::sort(
                index.begin(), index.end(),
                [keys](int a, int b) { return keys[a] < keys[b]; });
            benchmark::DoNotOptimize(index.data());
        });
}
BENCHMARK(BM_IndexedStd)->Apply(utArguments);

// Records of 4 * `words` bytes.

template <size_t words>
struct ut_Record
{
    int key;
    int payload[words - 1];
};

template <size_t words>
static std::vector<ut_Record<words>>
utRecordInputs(const benchmark::State &state)
{
    std::vector<ut_Record<words>> records;
    for (int key : utInputs(state))
        records.push_back({key, {}});
    return records;
}

template <size_t words>
static void
BM_RecordsOurs(benchmark::State &state)
{
    using Record = ut_Record<words>;
    UT_QuickSort sorter;
    utMeasure(
        state, utRecordInputs<words>(state),
        [&](Record *data, size_t n)
        {
            sorter.sort(
                data, sizeof(Record), unsigned(n),
                UT_QuickSort::UT_SORT_SIGNED);
        });
}
BENCHMARK_TEMPLATE(BM_RecordsOurs, 4)->Apply(utArguments);
BENCHMARK_TEMPLATE(BM_RecordsOurs, 16)->Apply(utArguments);

template <size_t words>
static void
BM_RecordsStd(benchmark::State &state)
{
    using Record = ut_Record<words>;
    utMeasure(
        state, utRecordInputs<words>(state),
        [](Record *data, size_t n)
        {
            std::sort(
                data, data + n,
                [](const Record &a, const Record &b) { return a.key < b.key; });
        });
}
BENCHMARK_TEMPLATE(BM_RecordsStd, 4)->Apply(utArguments);
BENCHMARK_TEMPLATE(BM_RecordsStd, 16)->Apply(utArguments);

// Selection of the median.

static int
utCompareInts(int a, int b)
{
    return (a > b) - (a < b);
}

static int
utCompareElements(const void *a, const void *b)
{
    return utCompareInts(
        *static_cast<const int *>(a), *static_cast<const int *>(b));
}

static void
BM_SelectOurs(benchmark::State &state)
{
    utMeasure(
        state, utInputs(state),
        [](int *data, size_t n)
        { UTquickSelect(data, unsigned(n), unsigned(n / 2), utCompareInts); });
}
BENCHMARK(BM_SelectOurs)->Apply(utArguments);

static void
BM_SelectStd(benchmark::State &state)
{
    int (*compare)(int, int) = utCompareInts;
    benchmark::DoNotOptimize(compare);
    utMeasure(
        state, utInputs(state),
        [compare](int *data, size_t n)
        {
            std::nth_element(
                data, data + n / 2, data + n,
                [compare](int a, int b) { return compare(a, b) < 0; });
        });
}
BENCHMARK(BM_SelectStd)->Apply(utArguments);

static void
BM_SelectElementsOurs(benchmark::State &state)
{
    utMeasure(
        state, utInputs(state),
        [](int *data, size_t n)
        {
            UTquickSelect(
                data, unsigned(n), unsigned(n / 2), sizeof(int),
                utCompareElements);
        });
}
BENCHMARK(BM_SelectElementsOurs)->Apply(utArguments);

static void
BM_SelectElementsStd(benchmark::State &state)
{
    int (*compare)(const void *, const void *) = utCompareElements;
    benchmark::DoNotOptimize(compare);
    utMeasure(
        state, utInputs(state),
        [compare](int *data, size_t n)
        {
            std::nth_element(
                data, data + n / 2, data + n,
                [compare](const int &a, const int &b)
                { return compare(&a, &b) < 0; });
        });
}
BENCHMARK(BM_SelectElementsStd)->Apply(utArguments);
