#include "UT/UT_QuickSort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include <pthread.h>

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

// Compares numbers whose values it makes up only then, such that each pivot
// turns out to be among the least left.
static std::vector<int> theValues;
static int theLeastFree, theCandidate;

static int
utCompareAdversely(int a, int b)
{
    const int open = int(theValues.size());
    int &valueA = theValues[size_t(a)];
    int &valueB = theValues[size_t(b)];
    if (valueA == open && valueB == open)
    {
        int &fixed = a == theCandidate ? valueA : valueB;
        fixed = theLeastFree++;
    }
    if (valueA == open)
        theCandidate = a;
    else if (valueB == open)
        theCandidate = b;
    return utCompareValues(valueA, valueB);
}

// Selects among the numbers from 0 with that comparator, and returns their
// values. Sorts that choose pivots as the selection does suffer from them.
static std::vector<int>
utMakeAdverseKeys(int n)
{
    theValues.assign(size_t(n), n);
    theLeastFree = theCandidate = 0;
    for (int i = std::min(n, 2); i-- > 0;)
        theValues[size_t(i)] = theLeastFree++; // neither ascends nor descends
    std::vector<int> numbers(theValues.size());
    std::iota(numbers.begin(), numbers.end(), 0);
    UTquickSelect(
        numbers.data(), unsigned(n), unsigned(n - 1), utCompareAdversely);
    return theValues;
}

// Key `i` of `n`, and a random number.
struct ut_Place
{
    int i;
    int n;
    int random;
};

// The adverse keys are made by a selection.
static const struct ut_Pattern
{
    const char *name;
    int (*key)(const ut_Place &at);
} thePatterns[] = {
    {"random",     [](const ut_Place &at) { return at.random - (1 << 30); }},
    {"ascending",  [](const ut_Place &at) { return at.i - 9; }             },
    {"descending", [](const ut_Place &at) { return 9 - at.i; }             },
    {"organ pipe",
     [](const ut_Place &at) { return std::min(at.i, at.n - at.i); }        },
    {"all equal",  [](const ut_Place &) { return -7; }                     },
    {"few",        [](const ut_Place &at) { return at.random % 5 - 2; }    },
    {"mostly few",
     [](const ut_Place &at) { return at.i % 99 ? at.random % 6 : at.i; }   },
    {"one off",
     [](const ut_Place &at) { return at.i == at.n / 3 ? at.n : at.i; }     },
    {"saw",        [](const ut_Place &at) { return at.i % 37; }            },
    {"adverse",    nullptr                                                 },
};

static const int theSizes[] = {0,   1,   2,   3,   7,   12,  13,  19,
                               20,  21,  49,  50,  95,  96,  112, 113,
                               128, 256, 257, 299, 300, 321, 513, 5000};

// The seeds are fixed. Zeros in odd places are negative where Key has such.
template <class Key>
static std::vector<Key>
utMakeKeys(const ut_Pattern &pattern, int n)
{
    const std::vector<int> adverseKeys = utMakeAdverseKeys(pattern.key ? 0 : n);
    std::mt19937 generator(unsigned(n) + 1);
    std::vector<Key> keys;
    for (int i = 0; i < n; i++)
    {
        const int random = int(generator() / 2);
        keys.push_back(
            Key(pattern.key ? pattern.key({i, n, random})
                            : adverseKeys[size_t(i)]));
        if (keys.back() == Key(0) && i % 2)
            keys.back() = -keys.back();
    }
    return keys;
}

// Calls `check(keys)` for each pattern and size.
template <class Key, class Check>
static void
utForAllInputs(const Check &check)
{
    for (const ut_Pattern &pattern : thePatterns)
        for (int n : theSizes)
        {
            SCOPED_TRACE(std::to_string(n) + " keys, " + pattern.name);
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
    const auto isLess = [&](int a, int b)
    { return keys[size_t(a)] < keys[size_t(b)]; };
    EXPECT_TRUE(std::is_sorted(sources.begin(), sources.end(), isLess));
    std::vector<int> expected(keys.size());
    std::iota(expected.begin(), expected.end(), 0);
    if (isStable)
        std::stable_sort(expected.begin(), expected.end(), isLess);
    else
        std::sort(sources.begin(), sources.end());
    EXPECT_EQ(expected, sources);
}

// Calls `move` for records at an odd address. After the key they carry the two
// bytes of their number in turns. Returns the numbers of the records, which
// must still be whole, as they lie then.
template <class Key, class Move>
static std::vector<int>
utMoveRecords(
    const std::vector<Key> &keys, unsigned recordSize, const Move &move)
{
    std::string records("-");
    for (size_t i = 0; i < keys.size(); i++)
    {
        char key[sizeof(Key)];
        memcpy(key, &keys[i], sizeof(key));
        records.append(key, sizeof(key));
        const char number[] = {char(i), char(i >> 8)};
        for (size_t at = sizeof(key); at < recordSize; at++)
            records += number[at % 2];
    }
    const std::string unmoved = records;
    move(&records[1], recordSize);

    std::vector<int> sources;
    for (size_t at = 1; at < records.size(); at += recordSize)
    {
        const int source = uint8(records[at + 4]) | uint8(records[at + 5]) << 8;
        const size_t from = 1 + unsigned(source) * recordSize;
        EXPECT_EQ(0, unmoved.compare(from, recordSize, records, at, recordSize))
            << recordSize;
        sources.push_back(source);
    }
    return sources;
}

template <class Key>
static UT_QuickSort &
utSortKeys(UT_QuickSort &sorter, std::vector<Key> &keys, int makeIndex)
{
    const unsigned n = unsigned(keys.size());
    if constexpr (std::is_same_v<Key, float>)
        return sorter.sort(keys.data(), n, makeIndex);
    void *const data = keys.data();
    return sorter.sort(
        static_cast<unsigned *>(data), n, makeIndex, std::is_signed_v<Key>);
}

// Sorts the keys with an index and without, which leaves it as it is.
template <class Key>
static void
utCheckKeys(UT_QuickSort &sorter, const std::vector<Key> &keys, bool isStable)
{
    std::vector<Key> expected = keys;
    std::stable_sort(expected.begin(), expected.end());
    for (int makeIndex : {1, 0})
    {
        std::vector<Key> sorted = keys;
        EXPECT_EQ(&sorter, &utSortKeys(sorter, sorted, makeIndex));
        EXPECT_TRUE(expected == sorted) << "index: " << makeIndex;
        // The two zeros are equal, but not the same.
        for (size_t i = 0; i < keys.size() && isStable; i++)
            EXPECT_EQ(std::signbit(expected[i]), std::signbit(sorted[i])) << i;
    }
    const UT_IntArray &index = sorter.index();
    EXPECT_EQ(keys.size(), index.capacity());
    utCheckSources(
        keys, {index.data(), index.data() + index.entries()}, isStable);
}

template <class Key>
static void
utCheckSorts(void (*insertionSort)(Key *, unsigned, int *))
{
    const auto type = UT_QuickSort::compareType(
        std::is_same_v<Key, float> ? 2 : std::is_unsigned_v<Key>);
    UT_QuickSort sorter;
    utForAllInputs<Key>(
        [&](const std::vector<Key> &keys)
        {
            const bool isStable = keys.size() < 20;
            utCheckKeys(sorter, keys, isStable);

            std::vector<Key> sorted = keys;
            std::vector<int> numbers(keys.size());
            std::iota(numbers.begin(), numbers.end(), 0);
            insertionSort(sorted.data(), unsigned(keys.size()), numbers.data());
            for (size_t i = 0; i < keys.size(); i++)
                EXPECT_EQ(keys[size_t(numbers[i])], sorted[i]) << i;
            utCheckSources(keys, numbers, /*isStable=*/true);

            const auto sort = [&](char *records, unsigned size)
            { sorter.sort(records, size, unsigned(keys.size()), type); };
            for (const unsigned size : {6u, 13u, 16u, 32u, 37u, 64u, 300u})
                utCheckSources(keys, utMoveRecords(keys, size, sort), isStable);
        });
}

TEST(UT_QuickSort, AgreesWithTheStandardSortAndMovesWholeRecords)
{
    utCheckSorts<int>(UT_QuickSort::sisort);
    utCheckSorts<unsigned>(UT_QuickSort::uisort);
    utCheckSorts<float>(UT_QuickSort::fisort);
}

TEST(UT_QuickSort, NaNKeysLoseNothingButTheOrder)
{
    const auto hasLessBits = [](const float &a, const float &b)
    { return memcmp(&a, &b, sizeof(a)) < 0; };
    for (size_t oneIn : {1u, 2u, 9u})
    {
        std::vector<float> keys = utMakeKeys<float>(thePatterns[0], 5000);
        for (size_t i = 0; i < keys.size(); i += oneIn)
            keys[i] = std::numeric_limits<float>::quiet_NaN();
        std::vector<float> sorted = keys;
        UT_QuickSort().sort(&sorted[0], 5000, /*makeIndex=*/0);
        for (auto *side : {&keys, &sorted})
            std::sort(side->begin(), side->end(), hasLessBits);
        EXPECT_EQ(0, memcmp(&keys[0], &sorted[0], 5000 * sizeof(float)));
    }
}

// A recursion that follows the larger side overflows this stack, and a sort
// that strips a few keys at a time does not end within any deadline. A
// selection has the same stack, and takes few comparisons.
template <class Key, int n>
static void *
utCheckManyKeys(void *)
{
    for (const ut_Pattern &pattern : thePatterns)
    {
        SCOPED_TRACE(std::to_string(n) + " keys, " + pattern.name);
        const std::vector<Key> keys = utMakeKeys<Key>(pattern, n);
        std::vector<int> numbers(keys.begin(), keys.end());
        theComparisons = 0;
        UTquickSelect(numbers.data(), n, n / 2, utCompareValues);
        // Sorting would take 20 for each key.
        EXPECT_LT(theComparisons, 3u * n);
        UT_QuickSort sorter;
        utCheckKeys(sorter, keys, /*isStable=*/false);
    }
    return nullptr;
}

TEST(UT_QuickSort, LongInputsTakeLittleStackAndTime)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(0, pthread_attr_setstacksize(&attributes, 128 * 1024));
    // Their counts fit 16 bits, do not, and are of parts: so many are divided
    // before their digits are looked at.
    for (const auto body :
         {utCheckManyKeys<unsigned, 65535>, utCheckManyKeys<float, 65536>,
          utCheckManyKeys<int, 1200000>, utCheckManyKeys<float, 1200000>})
    {
        pthread_t thread;
        ASSERT_EQ(0, pthread_create(&thread, &attributes, body, nullptr));
        ASSERT_EQ(0, pthread_join(thread, nullptr));
    }
    pthread_attr_destroy(&attributes);
}

// Sorting either side of position `k`, where there is one, sorts all.
static void
utCheckSelection(std::vector<int> keys, std::vector<int> selected, unsigned k)
{
    const auto middle = selected.begin() + int(k);
    std::sort(selected.begin(), middle);
    if (k < keys.size())
        std::sort(middle + 1, selected.end());
    std::sort(keys.begin(), keys.end());
    EXPECT_EQ(keys, selected);
}

TEST(UTquickSelect, PutsOneElementInItsPlace)
{
    utForAllInputs<int>(
        [](const std::vector<int> &keys)
        {
            const unsigned n = unsigned(keys.size());
            for (unsigned k : {0u, n / 3, std::max(n, 1u) - 1, n})
            {
                std::vector<int> data = keys;
                UTquickSelect(data.data(), n, k, utCompareValues);
                utCheckSelection(keys, data, k);
                data = keys;
                UTquickSelect(data.data(), n, k, 4, utCompareElements);
                utCheckSelection(keys, data, k);
                const auto select = [=](char *elements, unsigned size)
                { UTquickSelect(elements, n, k, size, utCompareElements); };
                for (const unsigned size : {6u, 8u, 9u, 40u, 1300u})
                {
                    data = utMoveRecords(keys, size, select);
                    for (int &source : data)
                        source = keys.at(size_t(source));
                    utCheckSelection(keys, data, k);
                }
            }
        });
}
