// Claims, on random keys: sorting keys takes at most 0.8 of the time of the
// best of Boost's sorts, from 100 keys on and with AVX-512 at most 0.5 of it,
// and with AVX-512 no longer than Highway's vector sort, with AVX2 at most 1.6
// times that. In 32 bits, fewer than 128 keys are sorted without vectors on
// AMD's processors: ten in as long as the best of Boost's, a hundred in 0.8.
// Keys with an index take from 100 on 0.7, from 1000 on 0.5, of the best of
// std::sort on positions and Boost's sorts on pairs. Records of 16 to 64 bytes
// take no longer than with the best of Boost's. Other orders cost at most twice
// what a random one does; selecting costs no more than std::nth_element with
// the same comparator.
//
// Arguments: the number of elements and the order of the input. Peers that are
// not installed are left out.

#include "UT/UT_QuickSort.h"

#include <benchmark/benchmark.h>
#ifdef VALDRIN_HAVE_BOOST
#include <boost/sort/pdqsort/pdqsort.hpp>
#include <boost/sort/spreadsort/spreadsort.hpp>
#endif
#ifdef VALDRIN_HAVE_VQSORT
#include <hwy/contrib/sort/vqsort.h>
#endif

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
    for (int64_t n = 10; n <= 1000000; n *= 10)
        for (int order = 0; order < 5; order++)
            benchmark->Args({n, order});
}

// The same and as many random keys as no cache holds.
static void
utLongArguments(benchmark::internal::Benchmark *benchmark)
{
    utArguments(benchmark);
    benchmark->Args({10000000, 0});
}

template <class Key>
static std::vector<Key>
utKeys(const benchmark::State &state)
{
    std::vector<Key> keys;
    for (int key : utInputs(state))
        keys.push_back(Key(key));
    return keys;
}

// Unsigned keys and floats.

static void
utSort(UT_QuickSort &sorter, unsigned *keys, size_t n)
{
    sorter.sort(keys, unsigned(n), /*makeIndex=*/0, /*isSigned=*/false);
}

static void
utSort(UT_QuickSort &sorter, float *keys, size_t n)
{
    sorter.sort(keys, unsigned(n), /*makeIndex=*/0);
}

template <class Key>
static void
BM_KeysOurs(benchmark::State &state)
{
    UT_QuickSort sorter;
    utMeasure(
        state, utKeys<Key>(state),
        [&](Key *keys, size_t n) { utSort(sorter, keys, n); });
}
BENCHMARK(BM_KeysOurs<unsigned>)
    ->Name("sort keys/ours")
    ->Apply(utLongArguments);
BENCHMARK(BM_KeysOurs<float>)->Name("sort floats/ours")->Apply(utLongArguments);

template <class Key>
static void
BM_KeysStd(benchmark::State &state)
{
    utMeasure(
        state, utKeys<Key>(state),
        [](Key *keys, size_t n) { std::sort(keys, keys + n); });
}
BENCHMARK(BM_KeysStd<unsigned>)
    ->Name("sort keys/std::sort")
    ->Apply(utArguments);
BENCHMARK(BM_KeysStd<float>)->Name("sort floats/std::sort")->Apply(utArguments);

#ifdef VALDRIN_HAVE_BOOST
template <class Key>
static void
BM_KeysPdqsort(benchmark::State &state)
{
    utMeasure(
        state, utKeys<Key>(state),
        [](Key *keys, size_t n) { boost::sort::pdqsort(keys, keys + n); });
}
BENCHMARK(BM_KeysPdqsort<unsigned>)
    ->Name("sort keys/pdqsort")
    ->Apply(utLongArguments);
BENCHMARK(BM_KeysPdqsort<float>)
    ->Name("sort floats/pdqsort")
    ->Apply(utLongArguments);

template <class Key>
static void
BM_KeysSpreadsort(benchmark::State &state)
{
    utMeasure(
        state, utKeys<Key>(state),
        [](Key *keys, size_t n)
        { boost::sort::spreadsort::spreadsort(keys, keys + n); });
}
BENCHMARK(BM_KeysSpreadsort<unsigned>)
    ->Name("sort keys/spreadsort")
    ->Apply(utLongArguments);
BENCHMARK(BM_KeysSpreadsort<float>)
    ->Name("sort floats/spreadsort")
    ->Apply(utLongArguments);
#endif

#ifdef VALDRIN_HAVE_VQSORT
template <class Key>
static void
BM_KeysVector(benchmark::State &state)
{
    hwy::Sorter sorter;
    utMeasure(
        state, utKeys<Key>(state),
        [&](Key *keys, size_t n) { sorter(keys, n, hwy::SortAscending()); });
}
BENCHMARK(BM_KeysVector<unsigned>)
    ->Name("sort keys/Highway")
    ->Apply(utLongArguments);
BENCHMARK(BM_KeysVector<float>)
    ->Name("sort floats/Highway")
    ->Apply(utLongArguments);
#endif

// Keys with an index. std::sort leaves the keys where they are; Boost's sorts
// order pairs, which are then taken apart.

static void
BM_IndexedOurs(benchmark::State &state)
{
    UT_QuickSort sorter;
    utMeasure(
        state, utKeys<unsigned>(state),
        [&](unsigned *keys, size_t n) {
            sorter.sort(keys, unsigned(n), /*makeIndex=*/1, /*isSigned=*/false);
        });
}
BENCHMARK(BM_IndexedOurs)
    ->Name("sort keys with an index/ours")
    ->Apply(utLongArguments);

static void
BM_IndexedStd(benchmark::State &state)
{
    std::vector<int> index(size_t(state.range(0)));
    utMeasure(
        state, utKeys<unsigned>(state),
        [&](unsigned *keys, size_t)
        {
            std::iota(index.begin(), index.end(), 0);
            std::sort(
                index.begin(), index.end(),
                [keys](int a, int b) { return keys[a] < keys[b]; });
            benchmark::DoNotOptimize(index.data());
        });
}
BENCHMARK(BM_IndexedStd)
    ->Name("sort keys with an index/std::sort")
    ->Apply(utArguments);

#ifdef VALDRIN_HAVE_BOOST
struct ut_Pair
{
    unsigned key;
    int number;
    bool operator<(const ut_Pair &other) const { return key < other.key; }
};

// Times `sort(begin, end)` of pairs.
template <class Sort>
static void
utMeasurePairs(benchmark::State &state, const Sort &sort)
{
    std::vector<ut_Pair> pairs(size_t(state.range(0)));
    std::vector<int> index(pairs.size());
    utMeasure(
        state, utKeys<unsigned>(state),
        [&](unsigned *keys, size_t n)
        {
            for (size_t i = 0; i < n; i++)
                pairs[i] = {keys[i], int(i)};
            sort(pairs.begin(), pairs.end());
            for (size_t i = 0; i < n; i++)
            {
                keys[i] = pairs[i].key;
                index[i] = pairs[i].number;
            }
            benchmark::DoNotOptimize(index.data());
        });
}

static void
BM_IndexedPdqsort(benchmark::State &state)
{
    utMeasurePairs(
        state, [](auto begin, auto end)
        { boost::sort::pdqsort_branchless(begin, end); });
}
BENCHMARK(BM_IndexedPdqsort)
    ->Name("sort keys with an index/pdqsort")
    ->Apply(utLongArguments);

static void
BM_IndexedSpreadsort(benchmark::State &state)
{
    utMeasurePairs(
        state,
        [](auto begin, auto end)
        {
            boost::sort::spreadsort::integer_sort(
                begin, end,
                [](const ut_Pair &pair, unsigned shift)
                { return pair.key >> shift; });
        });
}
BENCHMARK(BM_IndexedSpreadsort)
    ->Name("sort keys with an index/spreadsort")
    ->Apply(utLongArguments);
#endif

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
BENCHMARK_TEMPLATE(BM_RecordsOurs, 4)
    ->Name("sort records of 16 bytes/ours")
    ->Apply(utArguments);
BENCHMARK_TEMPLATE(BM_RecordsOurs, 8)
    ->Name("sort records of 32 bytes/ours")
    ->Apply(utArguments);
BENCHMARK_TEMPLATE(BM_RecordsOurs, 16)
    ->Name("sort records of 64 bytes/ours")
    ->Apply(utArguments);

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
BENCHMARK_TEMPLATE(BM_RecordsStd, 4)
    ->Name("sort records of 16 bytes/std::sort")
    ->Apply(utArguments);
BENCHMARK_TEMPLATE(BM_RecordsStd, 8)
    ->Name("sort records of 32 bytes/std::sort")
    ->Apply(utArguments);
BENCHMARK_TEMPLATE(BM_RecordsStd, 16)
    ->Name("sort records of 64 bytes/std::sort")
    ->Apply(utArguments);

#ifdef VALDRIN_HAVE_BOOST
template <size_t words>
static void
BM_RecordsPdqsort(benchmark::State &state)
{
    using Record = ut_Record<words>;
    utMeasure(
        state, utRecordInputs<words>(state),
        [](Record *data, size_t n)
        {
            boost::sort::pdqsort_branchless(
                data, data + n,
                [](const Record &a, const Record &b) { return a.key < b.key; });
        });
}
BENCHMARK_TEMPLATE(BM_RecordsPdqsort, 4)
    ->Name("sort records of 16 bytes/pdqsort")
    ->Apply(utArguments);
BENCHMARK_TEMPLATE(BM_RecordsPdqsort, 8)
    ->Name("sort records of 32 bytes/pdqsort")
    ->Apply(utArguments);
BENCHMARK_TEMPLATE(BM_RecordsPdqsort, 16)
    ->Name("sort records of 64 bytes/pdqsort")
    ->Apply(utArguments);

template <size_t words>
static void
BM_RecordsSpreadsort(benchmark::State &state)
{
    using Record = ut_Record<words>;
    utMeasure(
        state, utRecordInputs<words>(state),
        [](Record *data, size_t n)
        {
            boost::sort::spreadsort::integer_sort(
                data, data + n,
                [](const Record &a, unsigned shift) { return a.key >> shift; },
                [](const Record &a, const Record &b) { return a.key < b.key; });
        });
}
BENCHMARK_TEMPLATE(BM_RecordsSpreadsort, 4)
    ->Name("sort records of 16 bytes/spreadsort")
    ->Apply(utArguments);
BENCHMARK_TEMPLATE(BM_RecordsSpreadsort, 8)
    ->Name("sort records of 32 bytes/spreadsort")
    ->Apply(utArguments);
BENCHMARK_TEMPLATE(BM_RecordsSpreadsort, 16)
    ->Name("sort records of 64 bytes/spreadsort")
    ->Apply(utArguments);
#endif

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
BENCHMARK(BM_SelectOurs)->Name("select the median/ours")->Apply(utArguments);

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
BENCHMARK(BM_SelectStd)
    ->Name("select the median/std::nth_element")
    ->Apply(utArguments);

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
BENCHMARK(BM_SelectElementsOurs)
    ->Name("select the median by qsort's comparator/ours")
    ->Apply(utArguments);

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
BENCHMARK(BM_SelectElementsStd)
    ->Name("select the median by qsort's comparator/std::nth_element")
    ->Apply(utArguments);
