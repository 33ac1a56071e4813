#include "UT/UT_QuickSort.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

// Fixed seeds: every run sees the same inputs.
static const struct
{
    const char *name;
    int (*key)(int i, int n, std::mt19937 &random);
} thePatterns[] = {
    {"random",            [](int,   int,   std::mt19937 &random) { return int(random()); }        },
    {"ascending",         [](int i, int,   std::mt19937 &) { return i - 9; }                      },
    {"descending",        [](int i, int,   std::mt19937 &) { return 9 - i; }                      },
    {"organ pipe",
     [](int i,                      int n, std::mt19937 &) { return std::min(i, n - i); }         },
    {"valley",            [](int i, int n, std::mt19937 &) { return std::max(i, n - i); }         },
    {"all equal",         [](int,   int,   std::mt19937 &) { return -7; }                         },
    {"few distinct",
     [](int,                        int,   std::mt19937 &random) { return int(random() % 5) - 2; }},
    {"one out of place",
     [](int i,                      int n, std::mt19937 &) { return i == n / 3 ? n : i; }         },
    {"last out of place",
     [](int i,                      int n, std::mt19937 &) { return i == n - 1 ? -1 : i; }        },
    {"saw",               [](int i, int,   std::mt19937 &) { return i % 37; }                     },
    {"many maxima",       [](int i, int,   std::mt19937 &random)
     { return random() % 16 == 0 ? -i : 99; }             },
    {"median killer",     [](int i, int n, std::mt19937 &)
     { return i >= n / 2 ? 2 * (i - n / 2)
              : i % 2    ? n / 2 + i
                         : i; }                         },
};

static const int theSizes[] = {0,  1,  2,  3,   7,   19,  20,
                               21, 49, 50, 127, 128, 611, 5000};

template <class Key>
static std::vector<Key>
utMakeKeys(size_t pattern, int n)
{
    std::mt19937 random(unsigned(n) + 1);
    std::vector<Key> keys;
    for (int i = 0; i < n; i++)
        keys.push_back(Key(thePatterns[pattern].key(i, n, random)));
    return keys;
}

// Calls `check(keys)` for each pattern and size.
template <class Key, class Check>
static void
utForAllInputs(const Check &check)
{
    for (size_t pattern = 0; pattern < std::size(thePatterns); pattern++)
        for (int n : theSizes)
        {
            SCOPED_TRACE(
                std::string(thePatterns[pattern].name) + ", " +
                std::to_string(n));
            check(utMakeKeys<Key>(pattern, n));
        }
}

// Compares `sources`, the former positions of sorted keys, with those that a
// stable sort leaves; where the order of equal keys is open, only their keys.
template <class Key>
static void
utCheckSources(
    const std::vector<Key> &keys, std::vector<int> sources, bool isStable)
{
    std::vector<int> expected(keys.size());
    std::iota(expected.begin(), expected.end(), 0);
    std::stable_sort(
        expected.begin(), expected.end(),
        [&](int a, int b) { return keys[size_t(a)] < keys[size_t(b)]; });
    ASSERT_EQ(expected.size(), sources.size());
    if (!isStable)
    {
        for (size_t i = 0; i < keys.size(); i++)
            ASSERT_EQ(keys[size_t(expected[i])], keys[size_t(sources[i])]);
        std::sort(sources.begin(), sources.end());
        std::iota(expected.begin(), expected.end(), 0);
    }
    EXPECT_EQ(expected, sources);
}

static UT_QuickSort &
utSortKeys(UT_QuickSort &sorter, std::vector<unsigned> &keys, int makeIndex)
{
    return sorter.sort(keys.data(), unsigned(keys.size()), makeIndex, false);
}

static UT_QuickSort &
utSortKeys(UT_QuickSort &sorter, std::vector<int> &keys, int makeIndex)
{
    void *const data = keys.data();
    return sorter.sort(
        static_cast<unsigned *>(data), unsigned(keys.size()), makeIndex, true);
}

static UT_QuickSort &
utSortKeys(UT_QuickSort &sorter, std::vector<float> &keys, int makeIndex)
{
    return sorter.sort(keys.data(), unsigned(keys.size()), makeIndex);
}

template <class Key>
class UT_QuickSortKeys : public testing::Test
{
};
using ut_KeyTypes = testing::Types<unsigned, int, float>;
TYPED_TEST_SUITE(UT_QuickSortKeys, ut_KeyTypes);

TYPED_TEST(UT_QuickSortKeys, AgreeWithTheStandardSort)
{
    utForAllInputs<TypeParam>(
        [](const std::vector<TypeParam> &keys)
        {
            std::vector<TypeParam> expected = keys;
            std::sort(expected.begin(), expected.end());
            std::vector<TypeParam> sorted = keys;
            UT_QuickSort sorter;
            EXPECT_EQ(&sorter, &utSortKeys(sorter, sorted, /*makeIndex=*/0));
            EXPECT_EQ(expected, sorted);
            EXPECT_EQ(0u, sorter.index().entries());
        });
}

TYPED_TEST(UT_QuickSortKeys, TakeTheIndexAlong)
{
    UT_QuickSort sorter;
    utForAllInputs<TypeParam>(
        [&](const std::vector<TypeParam> &keys)
        {
            std::vector<TypeParam> expected = keys;
            std::sort(expected.begin(), expected.end());
            std::vector<TypeParam> sorted = keys;
            utSortKeys(sorter, sorted, /*makeIndex=*/1);
            EXPECT_EQ(expected, sorted);

            const UT_IntArray &index = sorter.index();
            ASSERT_EQ(keys.size(), index.entries());
            EXPECT_EQ(keys.size(), index.capacity());
            utCheckSources(
                keys, {index.data(), index.data() + index.entries()},
                /*isStable=*/keys.size() < 20);
        });
}

using ut_RecordSort =
    void (*)(void *records, unsigned recordSize, unsigned count, void *scratch);

// Sorts records that carry their number behind the key as often as it fits,
// byte by byte, at an odd address.
template <class Key, class Sort>
static void
utCheckRecords(
    const std::vector<Key> &keys, size_t recordSize, bool isStable,
    const Sort &sort)
{
    SCOPED_TRACE(recordSize);
    const size_t n = keys.size();
    std::vector<char> storage(1 + n * recordSize);
    std::vector<std::vector<char>> records;
    for (size_t i = 0; i < n; i++)
    {
        std::vector<char> record(recordSize);
        for (size_t at = sizeof(Key); at < recordSize; at++)
            record[at] = char(i >> (at % 2 * 8));
        memcpy(record.data(), &keys[i], sizeof(Key));
        memcpy(&storage[1 + i * recordSize], record.data(), recordSize);
        records.push_back(record);
    }
    sort(storage.data() + 1, unsigned(recordSize), unsigned(n));

    std::vector<int> sources;
    for (size_t i = 0; i < n; i++)
    {
        const char *const record = &storage[1 + i * recordSize];
        const size_t source = uint8_t(record[4]) | uint8_t(record[5]) << 8;
        ASSERT_LT(source, n);
        ASSERT_EQ(0, memcmp(records[source].data(), record, recordSize)) << i;
        sources.push_back(int(source));
    }
    utCheckSources(keys, sources, isStable);
}

template <class Key>
static constexpr auto theType = UT_QuickSort::UT_SORT_FLOAT;
template <>
constexpr auto theType<unsigned> = UT_QuickSort::UT_SORT_UNSIGNED;
template <>
constexpr auto theType<int> = UT_QuickSort::UT_SORT_SIGNED;

TYPED_TEST(UT_QuickSortKeys, MoveWholeRecords)
{
    utForAllInputs<TypeParam>(
        [](const std::vector<TypeParam> &keys)
        {
            for (size_t recordSize : {6u, 8u, 13u, 16u, 37u, 300u})
                utCheckRecords(
                    keys, recordSize, /*isStable=*/keys.size() < 20,
                    [](void *records, unsigned size, unsigned count) {
                        UT_QuickSort().sort(
                            records, size, count, theType<TypeParam>);
                    });
        });
}

template <class Key>
static constexpr ut_RecordSort theInsertionSort = UT_QuickSort::fisort;
template <>
constexpr ut_RecordSort theInsertionSort<unsigned> = UT_QuickSort::uisort;
template <>
constexpr ut_RecordSort theInsertionSort<int> = UT_QuickSort::sisort;

TYPED_TEST(UT_QuickSortKeys, InsertionSortIsStableAtAnySize)
{
    const auto keys = utMakeKeys<TypeParam>(/*pattern=*/6, 300);
    utCheckRecords(
        keys, 9, /*isStable=*/true,
        [](void *records, unsigned size, unsigned count)
        {
            std::vector<char> scratch(size);
            theInsertionSort<TypeParam>(records, size, count, scratch.data());
        });
}

TEST(UT_QuickSort, LowerMembersSortKeysAndIndices)
{
    const auto check = [](auto keys, auto keysOnly, auto indexed)
    {
        const auto unsorted = keys;
        const unsigned n = unsigned(keys.size());
        keysOnly(keys.data(), n);
        EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end()));
        const auto sorted = keys;

        keys = unsorted;
        std::vector<int> index(n);
        std::iota(index.begin(), index.end(), 0);
        indexed(keys.data(), n, index.data());
        EXPECT_EQ(sorted, keys);
        utCheckSources(unsorted, index, /*isStable=*/false);
    };
// Both forms of one member, which only the arguments tell apart.
#define FORMS(member)                                              \
    [](auto *keys, unsigned n) { UT_QuickSort::member(keys, n); }, \
        [](auto *keys, unsigned n, int *index)                     \
    { UT_QuickSort::member(keys, n, index); }
    check(utMakeKeys<unsigned>(0, 200), FORMS(uisort));
    check(utMakeKeys<int>(0, 200), FORMS(sisort));
    check(utMakeKeys<float>(0, 200), FORMS(fisort));
    check(utMakeKeys<unsigned>(0, 200), FORMS(urecurse));
    check(utMakeKeys<int>(0, 200), FORMS(srecurse));
    check(utMakeKeys<float>(0, 200), FORMS(frecurse));
#undef FORMS
}

TEST(UT_QuickSort, IndexBelongsToTheLastSortThatMadeOne)
{
    UT_QuickSort sorter;
    std::vector<unsigned> keys = {30, 10, 20};
    utSortKeys(sorter, keys, /*makeIndex=*/1);
    utSortKeys(sorter, keys, /*makeIndex=*/0);
    ASSERT_EQ(3u, sorter.index().entries());
    EXPECT_EQ(1, sorter.index()(0));
    EXPECT_EQ(2, sorter.index()(1));
    EXPECT_EQ(0, sorter.index()(2));

    sorter.sort(keys.data(), 0, /*makeIndex=*/1, /*isSigned=*/false);
    EXPECT_EQ(0u, sorter.index().entries());
    EXPECT_EQ(0u, sorter.index().capacity());
}

TEST(UT_QuickSort, ZerosAreEqualWhateverTheirSign)
{
    std::vector<float> keys = {0.0f, -0.0f, 1.0f, 0.0f, -0.0f, -1.0f};
    UT_QuickSort sorter;
    const auto unsorted = keys;
    utSortKeys(sorter, keys, /*makeIndex=*/1);
    const int *const index = sorter.index().data();
    utCheckSources(unsorted, {index, index + 6}, /*isStable=*/true);
}

TEST(UT_QuickSort, NaNKeysAreKeptWhereverTheyGo)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (int n : theSizes)
        for (unsigned oneIn : {1u, 2u, 9u})
        {
            std::mt19937 random(oneIn);
            std::vector<float> keys;
            for (int i = 0; i < n; i++)
                keys.push_back(
                    random() % oneIn == 0 ? nan : float(random() % 999));
            const auto bitsOf = [](const std::vector<float> &floats)
            {
                std::vector<uint32_t> bits(floats.size());
                if (!bits.empty())
                    memcpy(bits.data(), floats.data(), 4 * bits.size());
                std::sort(bits.begin(), bits.end());
                return bits;
            };
            const auto expected = bitsOf(keys);
            UT_QuickSort sorter;
            utSortKeys(sorter, keys, /*makeIndex=*/1);
            EXPECT_EQ(expected, bitsOf(keys)) << n << " " << oneIn;
        }
}

// A recursion that follows the larger side overflows this stack, and a sort
// that strips a few keys at a time does not end within any deadline.
TEST(UT_QuickSort, SmallStacksSufficeForLongInputs)
{
    const auto body = [](void *) -> void *
    {
        for (size_t pattern = 0; pattern < std::size(thePatterns); pattern++)
        {
            SCOPED_TRACE(thePatterns[pattern].name);
            UT_QuickSort sorter;
            std::vector<int> keys = utMakeKeys<int>(pattern, 400000);
            utSortKeys(sorter, keys, /*makeIndex=*/1);
            EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end()));
        }
        return nullptr;
    };
    pthread_attr_t attributes;
    ASSERT_EQ(0, pthread_attr_init(&attributes));
    ASSERT_EQ(0, pthread_attr_setstacksize(&attributes, 128 * 1024));
    pthread_t thread;
    ASSERT_EQ(0, pthread_create(&thread, &attributes, body, nullptr));
    ASSERT_EQ(0, pthread_join(thread, nullptr));
    pthread_attr_destroy(&attributes);
}

// Selection.

static unsigned theComparisons;

static int
utCompareValues(int a, int b)
{
    theComparisons++;
    return (a > b) - (a < b);
}

static int
utCompareElements(const void *a, const void *b)
{
    int keys[2];
    memcpy(&keys[0], a, sizeof(int));
    memcpy(&keys[1], b, sizeof(int));
    return utCompareValues(keys[0], keys[1]);
}

// Checks that `selected` are `keys` with all in place about position `k`.
static void
utCheckSelection(std::vector<int> keys, std::vector<int> selected, unsigned k)
{
    std::nth_element(keys.begin(), keys.begin() + k, keys.end());
    ASSERT_EQ(keys[k], selected[k]);
    for (size_t i = 0; i < selected.size(); i++)
        ASSERT_TRUE(i < k ? selected[i] <= keys[k] : selected[i] >= keys[k]);
    std::sort(keys.begin(), keys.end());
    std::sort(selected.begin(), selected.end());
    EXPECT_EQ(keys, selected);
}

TEST(UTquickSelect, AgreesWithTheStandardSelection)
{
    utForAllInputs<int>(
        [](const std::vector<int> &keys)
        {
            const unsigned n = unsigned(keys.size());
            std::vector<unsigned> positions = {0, n / 3, n / 2, n - 1};
            for (unsigned k : positions)
            {
                if (k >= n)
                    continue;
                SCOPED_TRACE(k);
                theComparisons = 0;
                std::vector<int> data = keys;
                UTquickSelect(data.data(), n, k, utCompareValues);
                utCheckSelection(keys, data, k);
                EXPECT_LT(theComparisons, 6 * n + 200);

                // Whole elements of odd sizes move.
                for (size_t size : {4u, 9u, 40u, 1300u})
                {
                    std::vector<char> elements(n * size);
                    for (size_t i = 0; i < n; i++)
                    {
                        memset(&elements[i * size], keys[i] & 0xff, size);
                        memcpy(&elements[i * size], &keys[i], sizeof(int));
                    }
                    UTquickSelect(
                        elements.data(), n, k, unsigned(size),
                        utCompareElements);
                    for (size_t i = 0; i < n; i++)
                    {
                        const char *const element = &elements[i * size];
                        memcpy(&data[i], element, sizeof(int));
                        for (size_t at = sizeof(int); at < size; at++)
                            ASSERT_EQ(char(data[i]), element[at]) << size;
                    }
                    utCheckSelection(keys, data, k);
                }
            }
        });
}

TEST(UTquickSelect, PositionsOutsideAreIgnored)
{
    int data[] = {3, 1, 2};
    UTquickSelect(data, 3, 3, utCompareValues);
    UTquickSelect(data, 3, 7, sizeof(int), utCompareElements);
    EXPECT_EQ(3, data[0]);
    EXPECT_EQ(0, UTquickSelect(nullptr, 0, 0, utCompareValues));
    UTquickSelect(nullptr, 0, 0, sizeof(int), utCompareElements);
}

// An adversary that makes up the values while they are compared, such that
// each pivot turns out to be among the least left. `theFluid` is the value of
// those not made up yet.
static std::vector<int> theValues;
static int theSolids, theFluid, theCandidate;

static int
utCompareAdversely(int a, int b)
{
    theComparisons++;
    if (theValues[size_t(a)] == theFluid && theValues[size_t(b)] == theFluid)
        theValues[size_t(a == theCandidate ? a : b)] = theSolids++;
    if (theValues[size_t(a)] == theFluid)
        theCandidate = a;
    else if (theValues[size_t(b)] == theFluid)
        theCandidate = b;
    const int difference = theValues[size_t(a)] - theValues[size_t(b)];
    return difference;
}

TEST(UTquickSelect, NoComparatorMakesItQuadratic)
{
    const int n = 20000;
    std::vector<int> data(n);
    std::iota(data.begin(), data.end(), 0);
    std::shuffle(data.begin(), data.end(), std::mt19937(1));
    theFluid = n;
    theSolids = theCandidate = 0;
    theValues.assign(n, theFluid);
    theComparisons = 0;
    UTquickSelect(data.data(), n, n / 2, utCompareAdversely);
    EXPECT_LT(theComparisons, 4 * n * 15);
    for (int i = 0; i < n; i++)
        data[size_t(i)] = theValues[size_t(data[size_t(i)])];
    utCheckSelection(theValues, data, n / 2);
}

TEST(UTquickSelect, ContradictoryComparatorsOnlyCostTheOrder)
{
    static std::mt19937 theRandom(5);
    std::vector<int> data = utMakeKeys<int>(0, 5000);
    std::vector<int> expected = data;
    UTquickSelect(
        data.data(), 5000, 2500,
        [](int, int) { return int(theRandom() % 3) - 1; });
    std::sort(data.begin(), data.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(expected, data);
}
