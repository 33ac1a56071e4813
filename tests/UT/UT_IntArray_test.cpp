#include "UT/UT_IntArray.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <functional>
#include <iterator>
#include <random>

using Ints = std::vector<int>;

static UT_IntArray
utArray(const Ints &values)
{
    UT_IntArray array;
    array.fromStdVectorOfInts(values);
    return array;
}

static Ints
utValues(const UT_IntArray &array)
{
    Ints values;
    array.toStdVectorOfInts(values);
    return values;
}

// An array of `entries` elements 0, 1, ... in exactly `capacity` slots.
static UT_IntArray
utFilled(unsigned entries, unsigned capacity)
{
    UT_IntArray array(capacity);
    for (unsigned i = 0; i < entries; ++i)
        array.append(int(i));
    return array;
}

static Ints
utRandomSorted(std::mt19937 &random, size_t limit)
{
    // The extremes turn up often: their difference does not fit an int.
    Ints values(random() % limit);
    for (int &value : values)
        value = random() % 8 == 0 ? (random() % 2 ? INT_MIN : INT_MAX)
                                  : int(random() % (2 * limit)) - int(limit);
    std::sort(values.begin(), values.end());
    return values;
}

// ---- Growth

TEST(UT_IntArray, EachInsertionGrowsByItsOwnRule)
{
    enum Operation
    {
        APPEND,
        INSERT,
        INSERT_AT,
        INSERT_VALUE,
        MULTIPLE
    };
    static const struct
    {
        Operation operation;
        unsigned entries;
        unsigned capacity;
        unsigned index;
        unsigned count;
        unsigned newEntries;
        unsigned newCapacity;
    } theRows[] = {
        {APPEND,       0,    0,    0,   0, 1,    4   },
        {APPEND,       3,    4,    0,   0, 4,    4   },
        {APPEND,       127,  127,  0,   0, 128,  131 },
        {APPEND,       128,  128,  0,   0, 129,  256 },
        {APPEND,       1023, 1023, 0,   0, 1024, 1151},
        {APPEND,       1024, 1024, 0,   0, 1025, 1152},
        {APPEND,       2048, 2048, 0,   0, 2049, 2304},
        {INSERT,       4,    4,    1,   0, 5,    8   },
        {INSERT,       127,  127,  0,   0, 128,  131 }, // m = entries
        {INSERT,       0,    0,    10,  0, 11,   15  }, // m = index + 1
        {INSERT,       127,  127,  127, 0, 128,  256 },
        {INSERT,       2,    12,   11,  0, 12,   12  },
        {INSERT_AT,    127,  127,  0,   0, 128,  131 },
        {INSERT_AT,    0,    0,    10,  0, 11,   14  }, // m = index
        {INSERT_AT,    127,  127,  127, 0, 128,  131 },
        {INSERT_VALUE, 127,  127,  127, 0, 128,  131 },
        {INSERT_VALUE, 4,    4,    0,   0, 5,    8   },
        {MULTIPLE,     4,    8,    2,   4, 8,    8   }, // they just fit
        {MULTIPLE,     4,    8,    2,   5, 9,    13  },
        {MULTIPLE,     4,    8,    4,   3, 7,    8   },
        {MULTIPLE,     4,    8,    4,   4, 8,    12  }, // grows all the same
        {MULTIPLE,     0,    0,    0,   0, 0,    4   },
    };
    for (const auto &row : theRows)
    {
        UT_IntArray array = utFilled(row.entries, row.capacity);
        ASSERT_EQ(row.capacity, array.capacity());
        unsigned index = row.index;
        switch (row.operation)
        {
        case APPEND:
            index = array.append(-7);
            break;
        case INSERT:
            EXPECT_EQ(row.index, array.insert(row.index));
            array[index] = -7;
            break;
        case INSERT_AT:
            EXPECT_EQ(row.index, array.insertAt(-7, row.index));
            break;
        case INSERT_VALUE:
            EXPECT_EQ(row.index, array.insert(-7, row.index));
            break;
        case MULTIPLE:
            EXPECT_EQ(row.index, array.multipleInsert(row.index, row.count));
            break;
        }
        SCOPED_TRACE(
            testing::Message() << "operation " << row.operation << " at "
                               << row.index << " of " << row.entries);
        EXPECT_EQ(row.newEntries, array.entries());
        EXPECT_EQ(row.newCapacity, array.capacity());
        if (row.operation != MULTIPLE)
        {
            EXPECT_EQ(-7, array(index));
        }
        if (index < row.entries)
        {
            EXPECT_EQ(int(row.entries) - 1, array(array.entries() - 1));
        }
    }
}

TEST(UT_IntArray, ConcatGrowsByTheOthersCountAlsoWhenItJustFits)
{
    static const struct
    {
        unsigned entries, capacity, others, newCapacity;
    } theRows[] = {
        {4, 10, 5, 10},
        {4, 10, 6, 16}, // deliberate
        {4, 10, 7, 17},
        {4, 4,  0, 4 },
        {0, 0,  3, 3 },
        {0, 0,  0, 0 },
    };
    for (const auto &row : theRows)
    {
        UT_IntArray array = utFilled(row.entries, row.capacity);
        array.concat(utFilled(row.others, row.others));
        EXPECT_EQ(row.newCapacity, array.capacity());
        EXPECT_EQ(row.entries + row.others, array.entries());
    }
    UT_IntArray twice = utArray({1, 2, 3, 4});
    twice.concat(twice);
    EXPECT_EQ((Ints{1, 2, 3, 4, 1, 2, 3, 4}), utValues(twice));
}

TEST(UT_IntArray, ResizeIsExactAndClearsWhatItGains)
{
    UT_IntArray array;
    EXPECT_EQ(nullptr, array.data());
    array.resize(3);
    array.insertAt(5, 2);
    array.resize(2);
    EXPECT_EQ(2u, array.entries());
    array.resize(6, 1);
    EXPECT_EQ(6u, array.capacity());
    EXPECT_EQ(2u, array.entries());
    for (unsigned i = 0; i < 6; ++i)
        EXPECT_EQ(0, array[i]);
    array.setEntries(9);
    EXPECT_EQ(9u, array.capacity());
    array.resize(0);
    EXPECT_EQ(nullptr, array.data());
    EXPECT_EQ(0u, array.entries() + array.capacity());
}

TEST(UT_IntArray, CopiesAreExactAndAssignmentNeverShrinks)
{
    const UT_IntArray source = utFilled(3, 10);
    const UT_IntArray copy(source);
    EXPECT_EQ(3u, copy.capacity());
    EXPECT_EQ(source, copy);
    const UT_IntArray empty(7);
    EXPECT_EQ(nullptr, UT_IntArray(empty).data());

    UT_IntArray target = utFilled(5, 5);
    target = copy;
    EXPECT_EQ(5u, target.capacity());
    target = utFilled(9, 20);
    EXPECT_EQ(9u, target.capacity());
    target = *&target;
    EXPECT_EQ(utFilled(9, 9), target);
    EXPECT_NE(copy, target);
}

// ---- Against std::vector

TEST(UT_IntArray, AgreesWithVectorOverRandomScripts)
{
    const unsigned seed = 20240611;
    std::mt19937 random(seed);
    UT_IntArray array;
    Ints model;
    for (int round = 0; round < 20000; ++round)
    {
        const auto pick = [&random](size_t limit)
        { return unsigned(random() % (limit + 1)); };
        const int value = int(pick(40)) - 20;
        const unsigned index = pick(model.size());
        const auto at = model.begin() + int(index);
        switch (random() % 11)
        {
        case 0:
        case 1:
            EXPECT_EQ(model.size(), array.append(value));
            model.push_back(value);
            break;
        case 2:
            array.insert(value, index);
            model.insert(at, value);
            break;
        case 3:
            if (at != model.end())
            {
                EXPECT_EQ(index, array.removeAt(index));
                model.erase(at);
            }
            break;
        case 4:
        {
            const auto found = std::find(at, model.end(), value);
            EXPECT_EQ(
                found == model.end() ? -1 : int(found - model.begin()),
                array.find(value, index));
            break;
        }
        case 5:
        {
            const auto found = std::find(model.begin(), model.end(), value);
            EXPECT_EQ(
                found == model.end() ? -1 : int(found - model.begin()),
                array.findAndRemove(value));
            if (found != model.end())
                model.erase(found);
            break;
        }
        case 6:
            array.reverse();
            std::reverse(model.begin(), model.end());
            break;
        case 7:
        {
            const unsigned count = pick(5);
            array.multipleInsert(index, count);
            model.insert(at, count, value);
            for (unsigned i = 0; i < count; ++i)
                array(index + i) = value;
            break;
        }
        case 8:
            if (pick(20) == 0)
            {
                array.sortAscending();
                std::sort(model.begin(), model.end());
            }
            break;
        case 9:
            if (pick(20) == 0)
            {
                array.sort(UTcompareInts);
                std::sort(model.begin(), model.end());
                const int found = array.find(value, UTcompareInts);
                EXPECT_EQ(
                    std::binary_search(model.begin(), model.end(), value),
                    found >= 0 && array[unsigned(found)] == value);
            }
            break;
        default:
            if (pick(60) == 0)
            {
                array.resize(index);
                model.resize(std::min<size_t>(index, model.size()));
            }
        }
        ASSERT_EQ(model, utValues(array)) << "seed " << seed << " " << round;
        ASSERT_LE(array.entries(), array.capacity());
    }
}

// Also of repeated values: merge() drops pairs across the arrays only.
TEST(UT_IntArray, SetsAndMergesAgreeWithTheStandardAlgorithms)
{
    const unsigned seed = 4711;
    std::mt19937 random(seed);
    for (int round = 0; round < 600; ++round)
    {
        SCOPED_TRACE(testing::Message() << "seed " << seed << " " << round);
        const size_t limit = round % 20 == 0 ? 3000 : 12;
        Ints a = utRandomSorted(random, limit);
        Ints b = utRandomSorted(random, limit);
        const UT_IntArray x = utArray(a);
        const UT_IntArray y = utArray(b);

        const auto expect = [&](auto algorithm, auto into, auto inPlace)
        {
            Ints expected;
            algorithm(
                a.begin(), a.end(), b.begin(), b.end(),
                std::back_inserter(expected));
            UT_IntArray steady; // as many single appends
            for (int value : expected)
                steady.append(value);
            UT_IntArray out;
            into(out);
            EXPECT_EQ(steady, out);
            EXPECT_EQ(steady.capacity(), out.capacity());
            UT_IntArray target = x;
            inPlace(target);
            EXPECT_EQ(steady, target);
            EXPECT_EQ(steady.capacity(), target.capacity());
        };
        using It = Ints::iterator;
        using Out = std::back_insert_iterator<Ints>;
        expect(
            std::set_union<It, It, Out>,
            [&](UT_IntArray &out) { x.sortedUnion(y, out); },
            [&](UT_IntArray &target) { target.sortedUnion(y); });
        expect(
            std::set_intersection<It, It, Out>,
            [&](UT_IntArray &out) { x.sortedIntersection(y, out); },
            [&](UT_IntArray &target) { target.sortedIntersection(y); });
        expect(
            std::set_difference<It, It, Out>,
            [&](UT_IntArray &out) { x.sortedSetDifference(y, out); },
            [&](UT_IntArray &target) { target.sortedSetDifference(y); });

        for (int direction : {1, 0, -5})
        {
            const auto order = [direction](int p, int q)
            { return direction > 0 ? p < q : q < p; };
            std::sort(a.begin(), a.end(), order);
            std::sort(b.begin(), b.end(), order);
            Ints all, once;
            std::merge(
                a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(all),
                order);
            std::set_union(
                a.begin(), a.end(), b.begin(), b.end(),
                std::back_inserter(once), order);
            UT_IntArray target = utArray(a);
            target.merge(utArray(b), direction, /*keepDuplicates=*/true);
            EXPECT_EQ(all, utValues(target));
            target = utArray(a);
            target.merge(utArray(b), direction, /*keepDuplicates=*/false);
            EXPECT_EQ(once, utValues(target));
        }
    }
}

TEST(UT_IntArray, UniqueSortedInsertKeepsASortedSet)
{
    std::mt19937 random(99);
    UT_IntArray array;
    Ints model;
    for (int round = 0; round < 2000; ++round)
    {
        const int value = round % 50 == 0   ? INT_MIN
                          : round % 50 == 1 ? INT_MAX
                                            : int(random() % 600) - 300;
        const auto at = std::lower_bound(model.begin(), model.end(), value);
        EXPECT_EQ(at - model.begin(), array.uniqueSortedInsertAscending(value));
        if (at == model.end() || *at != value)
            model.insert(at, value);
    }
    EXPECT_EQ(model, utValues(array));
}

// ---- Rearranging

TEST(UT_IntArray, CycleRotatesByAnyAmount)
{
    const int theShifts[] = {0, 1, -1, 2,       -2,      3,  -3,
                             4, 7, -8, INT_MAX, INT_MIN, 70, -71};
    for (unsigned entries = 0; entries < 7; ++entries)
        for (int k : theShifts)
        {
            UT_IntArray array = utFilled(entries, entries);
            array.cycle(k);
            for (unsigned i = 0; i < entries; ++i)
            {
                const long long n = entries;
                const long long to = ((i + k * 1LL) % n + n) % n;
                EXPECT_EQ(int(i), array(unsigned(to)))
                    << k << " of " << entries;
            }
        }
}

// Every block in small arrays, against the rule word by word.
TEST(UT_IntArray, ShiftMovesBlocksAndCutsAfterTheTail)
{
    const unsigned capacity = 6;
    for (unsigned entries = 0; entries <= capacity; ++entries)
        for (unsigned from = 0; from < 8; ++from)
            for (unsigned to = 0; to < 8; ++to)
                for (unsigned count = 0; count < 8; ++count)
                {
                    SCOPED_TRACE(
                        testing::Message() << entries << ": " << count
                                           << " from " << from << " to " << to);
                    UT_IntArray array = utFilled(capacity, capacity);
                    array.setEntries(entries);
                    Ints slots{0, 1, 2, 3, 4, 5};
                    unsigned left = entries;
                    int result = 0;
                    if (from != to && (count == 0 || from + count > capacity ||
                                       to + count > capacity))
                        result = -1;
                    else if (from != to)
                    {
                        Ints block(&slots[from], &slots[from] + count);
                        std::copy(block.begin(), block.end(), &slots[to]);
                        const bool isInside = to + count - 1 < entries;
                        const bool isTail = from + count == entries;
                        if (!isInside || (isTail && to < from))
                            left = to + count;
                    }
                    EXPECT_EQ(result, array.shift(from, to, count));
                    EXPECT_EQ(left, array.entries());
                    array.setEntries(capacity);
                    EXPECT_EQ(slots, utValues(array));
                }
    UT_IntArray array = utFilled(6, 6);
    EXPECT_EQ(-1, array.shift(2, 1, UINT_MAX));
    EXPECT_EQ(-1, array.shift(UINT_MAX, 0, 2));
}

TEST(UT_IntArray, ConstantFillsWhatIsInUse)
{
    for (int value : {0, -1, 7, INT_MIN})
    {
        UT_IntArray array = utFilled(5, 8);
        array[5] = 42;
        array.constant(value);
        EXPECT_EQ(Ints(5, value), utValues(array));
        EXPECT_EQ(42, array[5]);
    }
    UT_IntArray().constant(0);
}

// ---- Heap

// Parent i / 2, children 2i and 2i + 1, in the plainest words.
static void
utSink(Ints &heap, size_t i)
{
    size_t best = i;
    for (size_t child : {2 * i, 2 * i + 1})
        if (child < heap.size() && heap[child] > heap[best])
            best = child;
    if (best == i)
        return;
    std::swap(heap[i], heap[best]);
    utSink(heap, best);
}

TEST(UT_IntArray, HeapKeepsItsArrangement)
{
    const unsigned seed = 31;
    std::mt19937 random(seed);
    UT_IntArray heap;
    EXPECT_EQ(0, heap.heapPop());
    Ints model;
    for (int round = 0; round < 5000; ++round)
    {
        if (random() % 5 < (round < 2500 ? 3u : 2u))
        {
            const int value = random() % 9 ? int(random() % 100) : INT_MIN;
            size_t i = model.size();
            model.push_back(value);
            for (; i > 0 && model[i / 2] < value; i /= 2)
                std::swap(model[i], model[i / 2]);
            EXPECT_EQ(i, heap.heapPush(value));
        }
        else if (!model.empty())
        {
            EXPECT_EQ(
                *std::max_element(model.begin(), model.end()), heap.heapPop());
            model[0] = model.back();
            model.pop_back();
            utSink(model, 0);
        }
        ASSERT_EQ(model, utValues(heap)) << "seed " << seed << " " << round;
    }
    // Any order of elements, any start: no heap yet.
    for (int round = 0; round < 2000; ++round)
    {
        model.resize(random() % 12);
        for (int &value : model)
            value = int(random() % 10);
        const unsigned start = unsigned(random() % 12);
        heap = utArray(model);
        heap.heapify(start);
        if (start < model.size())
            utSink(model, start);
        ASSERT_EQ(model, utValues(heap)) << "seed " << seed << " " << round;
    }
}

// ---- The rest

static int
utStopAt(int32 &element, void *data)
{
    return element == *static_cast<int *>(data) ? 1 : (++element, 0);
}

TEST(UT_IntArray, ApplyStopsWhereTheFunctionSaysSo)
{
    UT_IntArray array = utArray({10, 20, 30});
    int stop = 20;
    EXPECT_EQ(1u, array.apply(utStopAt, &stop));
    EXPECT_EQ((Ints{11, 20, 30}), utValues(array));
    stop = -1;
    EXPECT_EQ(3u, array.apply(utStopAt, &stop));
    EXPECT_EQ(0u, UT_IntArray().apply(utStopAt, &stop));
}

static int
utCompareTens(const int32 *a, const int32 *b)
{
    return *a / 10 - *b / 10;
}

TEST(UT_IntArray, ComparatorsDecideWhatIsEqual)
{
    EXPECT_TRUE(utArray({11, 29}).isEqual(utArray({15, 20}), utCompareTens));
    EXPECT_FALSE(utArray({11, 29}).isEqual(utArray({15}), utCompareTens));
    EXPECT_EQ(1, utArray({11, 29, 35}).find(21, utCompareTens));
    EXPECT_EQ(-1, utArray({11, 29, 35}).find(41, utCompareTens));
    EXPECT_EQ(-1, UT_IntArray().find(1, utCompareTens));

    const int32 low = INT_MIN, high = INT_MAX, one = 1;
    EXPECT_EQ(INT_MAX - 1, UTcompareInts(&high, &one));
    EXPECT_EQ(1, UTcompareInts(&low, &high)); // deliberate: wraps
}

TEST(UT_IntArray, DisplayPrintsEachElementAndABlank)
{
    testing::internal::CaptureStdout();
    utArray({1, -20, 3}).display();
    UT_IntArray().display();
    fflush(stdout);
    EXPECT_EQ("1 -20 3 \n\n", testing::internal::GetCapturedStdout());
}
