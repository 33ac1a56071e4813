// The arrays of integers, floats and pointers: first what they have in common.

#include "UT/UT_FloatArray.h"
#include "UT/UT_IntArray.h"
#include "UT/UT_PtrArray.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <iterator>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <malloc.h>

// What the pointers point at: three neighbours have the same key.
static int theThings[1000];

using ut_Things = UT_PtrArray<int *>;

template <class Array>
using ut_Element = std::decay_t<decltype(std::declval<Array &>()(0u))>;

template <class Array>
using ut_Model = std::vector<ut_Element<Array>>;

// Numbers are below 1000. The first two stand for the extremes, whose
// difference does not fit an int.
template <class E>
static E
utElement(size_t number)
{
    if constexpr (std::is_pointer_v<E>)
        return &theThings[number];
    else
        return number < 2 ? E(number ? INT_MAX : INT_MIN) : E(number);
}

template <class E>
static bool
utIsLess(E a, E b)
{
    if constexpr (std::is_pointer_v<E>)
        return (a - theThings) / 3 < (b - theThings) / 3;
    else
        return a < b;
}

template <class E>
static int
utCompare(const E *a, const E *b)
{
    return int(utIsLess(*b, *a)) - int(utIsLess(*a, *b));
}

template <class E>
static int
utCompareValues(const E *a, const E *b)
{
    return int(*a > *b) - int(*a < *b);
}

template <class Array>
static Array
utArray(const ut_Model<Array> &model)
{
    Array array;
    for (const auto &element : model)
        array.append(element);
    return array;
}

template <class Array>
static ut_Model<Array>
utValues(const Array &array)
{
    return ut_Model<Array>(array.data(), array.data() + array.entries());
}

// An array of that many elements in exactly `capacity` slots.
template <class Array>
static Array
utFilled(unsigned entries, unsigned capacity)
{
    Array array(capacity);
    for (unsigned i = 0; i < entries; ++i)
        array.append(utElement<ut_Element<Array>>(i % 1000));
    return array;
}

template <class Array>
class UT_Arrays : public testing::Test
{
};
using ut_ArrayTypes = testing::Types<UT_IntArray, UT_FloatArray, ut_Things>;
TYPED_TEST_SUITE(UT_Arrays, ut_ArrayTypes, );

TYPED_TEST(UT_Arrays, GrowByTheRuleOfEachInsertion)
{
    using E = ut_Element<TypeParam>;
    const auto append = [](TypeParam &array, unsigned, unsigned)
    { array.append(E()); };
    const auto open = [](TypeParam &array, unsigned index, unsigned)
    { array.insert(index); };
    const auto insert = [](TypeParam &array, unsigned index, unsigned)
    { array.insertAt(E(), index); };
    const auto multiple = [](TypeParam &array, unsigned index, unsigned count)
    { array.multipleInsert(index, count); };
    const auto concat = [](TypeParam &array, unsigned, unsigned count)
    { array.concat(utFilled<TypeParam>(count, count)); };
    const bool isInt = std::is_same_v<E, int32>;
    // Deliberate: "at the end" and "concat full" grow, though all would fit.
    const struct
    {
        const char *what;
        void (*act)(TypeParam &array, unsigned index, unsigned count);
        unsigned entries;
        unsigned capacity;
        unsigned index;
        unsigned count;
        unsigned newEntries;
        unsigned newCapacity;
    } theRows[] = {
        {"append to 0",    append,   0,    0,    0,  0, 1,    4                  },
        {"append to 127",  append,   127,  127,  0,  0, 128,  131                },
        {"append to 128",  append,   128,  128,  0,  0, 129,  256                },
        {"append to 1023", append,   1023, 1023, 0,  0, 1024, 1151               },
        {"open in 4",      open,     4,    4,    1,  0, 5,    isInt ? 8u : 9u    },
        {"open in 127",    open,     127,  127,  0,  0, 128,  isInt ? 131u : 256u},
        {"open past 0",    open,     0,    0,    10, 0, 11,   isInt ? 15u : 14u  },
        {"insert in 127",  insert,   127,  127,  0,  0, 128,  131                },
        {"just fits",      multiple, 4,    8,    2,  4, 8,    8                  },
        {"does not fit",   multiple, 4,    8,    2,  5, 9,    13                 },
        {"at the end",     multiple, 4,    8,    4,  4, 8,    12                 },
        {"none at all",    multiple, 0,    0,    0,  0, 0,    4                  },
        {"concat fits",    concat,   4,    10,   0,  5, 9,    10                 },
        {"concat full",    concat,   4,    10,   0,  6, 10,   16                 },
    };
    for (const auto &row : theRows)
    {
        SCOPED_TRACE(row.what);
        TypeParam array = utFilled<TypeParam>(row.entries, row.capacity);
        row.act(array, row.index, row.count);
        EXPECT_EQ(row.newEntries, array.entries());
        EXPECT_EQ(row.newCapacity, array.capacity());
    }
}

// The size of a block follows no single formula, nor does copying few elements.
TYPED_TEST(UT_Arrays, BlocksHoldEveryCapacityThatAppendsAndConcatReach)
{
    for (unsigned entries = 1; entries <= 600; ++entries)
        for (const unsigned count : {0u, 1u, 5u, 8u, 9u, 17u, 33u, 64u})
        {
            TypeParam array(entries);
            array.setEntries(entries);
            const auto added = utFilled<TypeParam>(count, count);
            if (count == 0)
                array.append({});
            else
                array.concat(added);
            ASSERT_LE(
                array.capacity() * sizeof(array(0)),
                malloc_usable_size(array.data()))
                << count << " elements after " << entries;
            for (unsigned i = 0; i < count; ++i)
                ASSERT_EQ(added(i), array(entries + i))
                    << "of " << count << " elements after " << entries;
        }
}

TYPED_TEST(UT_Arrays, CopiesHaveNoRoomAndAssignmentNeverShrinks)
{
    TypeParam array = utFilled<TypeParam>(2, 6);
    const TypeParam copy(array);
    EXPECT_EQ(2u, copy.capacity());
    array.concat(array);
    EXPECT_EQ(4u, array.entries());
    EXPECT_EQ(copy(1), array(3));
    array.setEntries(9);
    array = copy;
    array = *&array;
    EXPECT_EQ(9u, array.capacity());
    EXPECT_TRUE(copy == array);
}

// Sorts, and inserts an element that is not there.
template <class Array, class E>
static void
utInsertSorted(Array &array, ut_Model<Array> &model, E value)
{
    const auto compare = utCompareValues<E>;
    array.sort(compare);
    std::sort(model.begin(), model.end());
    const auto place = std::lower_bound(model.begin(), model.end(), value);
    const int found = array.find(value, compare);
    if constexpr (std::is_same_v<E, int32>)
        array.uniqueSortedInsertAscending(value);
    else
        array.uniqueSortedInsert(value, compare);
    const bool isNew = place == model.end() || *place != value;
    EXPECT_EQ(isNew, found < 0);
    if (isNew)
        model.insert(place, value);
}

template <class Array>
static void
utMove(Array &array, ut_Model<Array> &model, int from, int to, int length)
{
    array.move(from, to, length);
    // Cut to what is there.
    const int size = int(model.size());
    const int first = std::max(from, 0);
    const int count = std::min(length, size - first);
    if (count < 1)
        return;
    const int target = std::min(std::max(to, 0), size - count);
    // Taken out, and put in again.
    const auto block = model.begin() + first;
    const ut_Model<Array> moved(block, block + count);
    model.erase(block, block + count);
    model.insert(model.begin() + target, moved.begin(), moved.end());
}

template <class Array>
static void
utCycle(Array &array, ut_Model<Array> &model, int steps)
{
    array.cycle(steps);
    if (model.empty())
        return;
    // To the right, 0 to size - 1 steps.
    const int64 size = int64(model.size());
    const int64 right = (steps % size + size) % size;
    std::rotate(model.begin(), model.end() - int(right), model.end());
}

// One random call of both. Few of them shorten the array or arrange it anew.
template <class Array>
static void
utStep(Array &array, ut_Model<Array> &model, std::mt19937 &random)
{
    using E = ut_Element<Array>;
    const E value = utElement<E>(random() % 40);
    const unsigned index = unsigned(random() % (model.size() + 1));
    const auto at = model.begin() + int(index);
    const unsigned count = unsigned(random() % 6);
    int picked[3]; // of any magnitude and sign
    for (int &number : picked)
        number = int(random()) >> random() % 32;
    const unsigned call = unsigned(random() % 120);
    if (call == 0)
    {
        array.resize(index);
        model.resize(index);
    }
    else if (call == 1)
        utInsertSorted(array, model, value);
    else if (call == 2)
    {
        if constexpr (std::is_pointer_v<E>)
            utMove(array, model, picked[0], picked[1], picked[2]);
    }
    else if (call == 3)
    {
        array.reverse();
        std::reverse(model.begin(), model.end());
    }
    else if (call == 4)
        utCycle(array, model, picked[0]);
    else if (call < 30)
    {
        EXPECT_EQ(model.size(), array.append(value));
        model.push_back(value);
    }
    else if (call < 60)
    {
        array.insert(value, index);
        model.insert(at, value);
    }
    else if (call < 90)
    {
        array.multipleInsert(index, count);
        model.insert(at, count, value);
        std::fill_n(array.data() + index, count, value);
    }
    else if (index < model.size())
    {
        EXPECT_EQ(index, array.removeAt(index));
        model.erase(at);
    }
}

TYPED_TEST(UT_Arrays, AgreeWithVectorOverRandomScripts)
{
    TypeParam array;
    ut_Model<TypeParam> model;
    std::mt19937 random(20240611);
    for (int step = 0; step < 20000; ++step)
    {
        SCOPED_TRACE(testing::Message() << "step " << step);
        utStep(array, model, random);
        ASSERT_EQ(model, utValues(array));
        ASSERT_LE(array.entries(), array.capacity());
    }
}

TYPED_TEST(UT_Arrays, ShiftMovesBlocksAndCutsAfterTheTail)
{
    // In six slots with the elements 0 to 5, of which some are in use.
    // Deliberate: the array's tail that moves to the front cuts, too.
    static const struct
    {
        const char *what;
        unsigned entries;
        unsigned from;
        unsigned to;
        unsigned count;
        int result;
        unsigned left;
        size_t slots[6];
    } theRows[] = {
        {"to the back",         6, 0, 1, 3,        0,  6, {0, 0, 1, 2, 4, 5}},
        {"the tail",            6, 4, 1, 2,        0,  3, {0, 4, 5, 3, 4, 5}},
        {"the tail in use",     4, 2, 0, 2,        0,  2, {2, 3, 2, 3, 4, 5}},
        {"to where it is",      6, 2, 2, 9,        0,  6, {0, 1, 2, 3, 4, 5}},
        {"none",                6, 2, 1, 0,        -1, 6, {0, 1, 2, 3, 4, 5}},
        {"past the slots",      6, 0, 4, 3,        -1, 6, {0, 1, 2, 3, 4, 5}},
        {"from past the slots", 6, 5, 0, 2,        -1, 6, {0, 1, 2, 3, 4, 5}},
        {"far too many",        6, 2, 1, UINT_MAX, -1, 6, {0, 1, 2, 3, 4, 5}},
    };
    using E = ut_Element<TypeParam>;
    for (const auto &row : theRows)
    {
        SCOPED_TRACE(row.what);
        TypeParam array = utFilled<TypeParam>(6, 6);
        array.setEntries(row.entries);
        EXPECT_EQ(row.result, array.shift(row.from, row.to, row.count));
        EXPECT_EQ(row.left, array.entries());
        for (unsigned i = 0; i < 6; ++i)
            EXPECT_EQ(utElement<E>(row.slots[i]), array.data()[i]) << i;
    }
}

// Searches of numbers compare blocks: each position of the first wanted one, in
// arrays of no block, some blocks and a part of one.
TYPED_TEST(UT_Arrays, FindLooksAtEveryElementFromTheStart)
{
    const auto wanted = utElement<ut_Element<TypeParam>>(900);
    const auto isLast = [](auto &element, void *last)
    { return int(&element == last); };
    for (unsigned entries : {1u, 7u, 8u, 15u, 16u, 17u, 40u, 65u, 100u})
        for (unsigned at = 0; at <= entries; ++at)
        {
            TypeParam array = utFilled<TypeParam>(entries + 1, entries + 1);
            // Up to one beyond the entries.
            std::fill_n(array.data() + at, entries + 1 - at, wanted);
            array.setEntries(entries);
            EXPECT_EQ(at, array.apply(isLast, &array[at])) << entries;
            for (unsigned start = 0; start <= entries; ++start)
            {
                const int first = int(std::max(at, start));
                EXPECT_EQ(
                    first < int(entries) ? first : -1,
                    array.find(wanted, start))
                    << at << " of " << entries << " from " << start;
            }
        }
}

template <class E>
static int
utAnswerAtRandom(const E *, const E *)
{
    static std::mt19937 theAnswers;
    return int(theAnswers() % 3) - 1;
}

TYPED_TEST(UT_Arrays, SortKeepsTheOrderOfEqualElementsAndAlwaysAllOfThem)
{
    using E = ut_Element<TypeParam>;
    std::mt19937 random(1);
    for (size_t entries = 0; entries < 5000; entries += entries / 20 + 1)
    {
        SCOPED_TRACE(entries);
        ut_Model<TypeParam> model(entries);
        for (E &element : model)
            element = utElement<E>(random() % 1000);
        auto array = utArray<TypeParam>(model);
        array.sort(utCompare<E>);
        std::stable_sort(model.begin(), model.end(), utIsLess<E>);
        EXPECT_EQ(model, utValues(array));

        array.sort(utAnswerAtRandom<E>);
        ut_Model<TypeParam> values = utValues(array);
        std::sort(values.begin(), values.end());
        std::sort(model.begin(), model.end());
        EXPECT_EQ(model, values);
    }
}

// ---- Sorted sets

// The ascending elements of one side, up to `limit` different ones.
template <class E>
static std::vector<E>
utSorted(size_t count, size_t limit, std::mt19937 &random)
{
    std::vector<E> elements(count);
    for (E &element : elements)
        element = utElement<E>(random() % limit);
    std::stable_sort(elements.begin(), elements.end(), utIsLess<E>);
    return elements;
}

// Slots that have no element are zero, whatever was in their memory before.
template <class Array>
static void
utExpectResult(
    const char *name, const ut_Model<Array> &expected, const Array &result)
{
    EXPECT_EQ(expected, utValues(result)) << name;
    EXPECT_EQ(
        result.capacity() - result.entries(),
        std::count(
            result.data() + result.entries(), result.data() + result.capacity(),
            ut_Element<Array>()))
        << name;
}

template <class Array, class... Compare>
static void
utCheckSets(Compare... compare)
{
    using E = ut_Element<Array>;
    std::mt19937 random(4711);
    mallopt(M_PERTURB, 1); // new memory is not zero
    for (int round = 0; round < 400; ++round)
    {
        SCOPED_TRACE(testing::Message() << "round " << round);
        // In two of three rounds one is much shorter, and every other time most
        // elements are there several times.
        const size_t limit = round % 2 == 0 ? 12 : 1000;
        const size_t longestA = round % 3 == 1 ? 20 : 600;
        const size_t longestB = round % 3 == 2 ? 20 : 600;
        const auto a = utSorted<E>(random() % longestA, limit, random);
        const auto b = utSorted<E>(random() % longestB, limit, random);
        const Array x = utArray<Array>(a);
        const Array y = utArray<Array>(b);

        ut_Model<Array> expected;
        std::set_union(
            a.begin(), a.end(), b.begin(), b.end(),
            std::back_inserter(expected), utIsLess<E>);
        Array united(x);
        united.sortedUnion(y, compare...);
        utExpectResult("union in place", expected, united);
        Array intoUnion;
        x.sortedUnion(y, intoUnion, compare...);
        utExpectResult("union", expected, intoUnion);

        expected.clear();
        std::set_intersection(
            a.begin(), a.end(), b.begin(), b.end(),
            std::back_inserter(expected), utIsLess<E>);
        Array common(x);
        common.sortedIntersection(y, compare...);
        utExpectResult("intersection in place", expected, common);
        Array intoCommon;
        x.sortedIntersection(y, intoCommon, compare...);
        utExpectResult("intersection", expected, intoCommon);

        expected.clear();
        std::set_difference(
            a.begin(), a.end(), b.begin(), b.end(),
            std::back_inserter(expected), utIsLess<E>);
        if constexpr (std::is_same_v<Array, UT_IntArray>)
        {
            Array rest(x);
            rest.sortedSetDifference(y);
            utExpectResult("difference in place", expected, rest);
            Array intoRest;
            x.sortedSetDifference(y, intoRest);
            utExpectResult("difference", expected, intoRest);
        }
        else
            EXPECT_EQ(
                std::includes(
                    a.begin(), a.end(), b.begin(), b.end(), utIsLess<E>),
                x.hasSortedSubset(y, compare...));
    }
}

TEST(UT_Arrays, SetsTakeTheFirstArraysElementsAsTheStandardOnesDo)
{
    utCheckSets<UT_IntArray>();
    utCheckSets<ut_Things>(utCompare<int *>);
}

// ---- Heap

// Deliberate: the parent of i is i / 2, its children 2i and 2i + 1.
TEST(UT_Arrays, HeapsHaveOneArrangement)
{
    UT_IntArray heap;
    for (int value = 1; value <= 6; ++value)
        heap.heapPush(value);
    EXPECT_EQ((std::vector<int>{6, 5, 4, 2, 1, 3}), utValues(heap));
    EXPECT_EQ(6, heap.heapPop());
    EXPECT_EQ((std::vector<int>{5, 4, 3, 2, 1}), utValues(heap));
}

// Pushes random elements, and pops the greatest ones first. The last pop is of
// an empty heap.
template <class Array, class... Compare>
static void
utCheckHeap(int count, Compare... compare)
{
    using E = ut_Element<Array>;
    std::mt19937 random(1);
    Array heap;
    std::vector<E> elements;
    for (int i = 0; i < count; ++i)
    {
        elements.push_back(utElement<E>(random() % 1000));
        heap.heapPush(elements.back(), compare...);
    }
    std::sort(elements.rbegin(), elements.rend());
    for (const E &element : elements)
        ASSERT_EQ(element, heap.heapPop(compare...));
    EXPECT_EQ(E(), heap.heapPop(compare...));
}

// Long enough for the road that prefetches, and down to none.
TEST(UT_Arrays, HeapsReturnTheGreatestFirst)
{
    utCheckHeap<UT_IntArray>(70000);
    utCheckHeap<UT_FloatArray>(1000, utCompareValues<float>);
    utCheckHeap<ut_Things>(1000, utCompareValues<int *>);
}

// Takes neighbours for equal, which is no order.
static int
utCompareRoughly(int *const *a, int *const *b)
{
    return int(*a - *b) / 2;
}

TEST(UT_PtrArray, PoppingArrangesAnyArrayAsHeapifyDoes)
{
    std::mt19937 random(1);
    for (int round = 0; round < 3000; ++round)
    {
        ut_Things popped;
        for (size_t left = 1 + random() % 12; left > 0; --left)
            popped.append(&theThings[random() % 8]);
        ut_Things sunk = popped;
        sunk[0] = sunk[sunk.entries() - 1];
        sunk.removeAt(sunk.entries() - 1);
        sunk.heapify(0, utCompareRoughly);
        popped.heapPop(utCompareRoughly);
        ASSERT_EQ(utValues(sunk), utValues(popped)) << "round " << round;
    }
}

// ---- Each on its own

using ut_Ints = std::vector<int>;

TEST(UT_IntArray, SortsAndConvertsSignedIntegers)
{
    UT_IntArray array;
    array.fromStdVectorOfInts({7, INT_MIN, 3, 7});
    array.sortAscending();
    EXPECT_EQ(2, array.findAndRemove(7));
    EXPECT_EQ(-1, array.findAndRemove(8));
    ut_Ints values;
    array.toStdVectorOfInts(values);
    EXPECT_EQ((ut_Ints{INT_MIN, 3, 7}), values);
    values = {INT_MIN, INT_MAX};
    EXPECT_EQ(1, UTcompareInts(&values[0], &values[1])); // deliberate: wraps
}

TEST(UT_IntArray, MergingDropsOnlyPairsAcrossTheArrays)
{
    const auto merge =
        [](const ut_Ints &a, const ut_Ints &b, int direction, bool all)
    {
        auto target = utArray<UT_IntArray>(a);
        target.merge(utArray<UT_IntArray>(b), direction, all);
        return utValues(target);
    };
    EXPECT_EQ((ut_Ints{1, 1, 1, 2, 3}), merge({1, 1, 3}, {1, 2}, 1, true));
    EXPECT_EQ((ut_Ints{3, 2, 1, 1}), merge({3, 1, 1}, {2, 1}, -5, false));
}

TYPED_TEST(UT_Arrays, ConstantFillsExactlyWhatIsInUse)
{
    using E = ut_Element<TypeParam>;
    if constexpr (!std::is_pointer_v<E>)
        for (const E value : {-E(0), E(-1), E(0x01020304)})
            for (const unsigned count : {1u, 3u, 4u, 22u})
            {
                auto array = utFilled<TypeParam>(count + 1, 30);
                array.setEntries(count);
                array.constant(value);
                SCOPED_TRACE(testing::Message() << count << " of " << value);
                EXPECT_EQ(ut_Model<TypeParam>(count, value), utValues(array));
                EXPECT_EQ(std::signbit(value), std::signbit(array[0]));
                EXPECT_EQ(utElement<E>(count), array[count]);
            }
}

TEST(UT_FloatArray, ComparisonWithoutAComparatorIsExact)
{
    UT_FloatArray array = utArray<UT_FloatArray>({1.0f, NAN, -0.0f});
    EXPECT_FALSE(array == UT_FloatArray(array));
    // Short and long arrays are searched in different ways.
    for (const unsigned count : {3u, 10u, 70u})
    {
        while (array.entries() < count)
            array.append(NAN);
        EXPECT_EQ(2, array.find(0.0f)) << count;
        EXPECT_EQ(-1, array.find(NAN)) << count;
    }
}

TEST(UT_FloatArray, AComparatorFindsWhatIsNearlyEqual)
{
    UTsetCompareFloatsTolerance(0.1f);
    auto array = utArray<UT_FloatArray>({1.0f, 2.0f, 3.0f});
    EXPECT_EQ(1, array.find(2.05f, UTcompareFloats));
    EXPECT_TRUE(array.isEqual(
        utArray<UT_FloatArray>({1.05f, 1.95f, 3.0f}), UTcompareFloats));
    // A new element goes before the equal one that the search meets.
    EXPECT_EQ(1u, array.sortedInsert(2.05f, UTcompareFloats));
    EXPECT_EQ(4u, array.sortedInsert(9.0f, UTcompareFloats));
    EXPECT_EQ(
        (std::vector<float>{1.0f, 2.05f, 2.0f, 3.0f, 9.0f}), utValues(array));
}

static int *const theA = &theThings[1];
static int *const theB = &theThings[2]; // of the same key
static int *const theC = &theThings[3];

TEST(UT_PtrArray, UniquePointersGoInOnce)
{
    auto array = utArray<ut_Things>({theA, theC, theA});
    EXPECT_EQ(0u, array.append(theA, /*unique=*/1));
    EXPECT_EQ(3u, array.append(theA, /*unique=*/0));
    EXPECT_EQ(1, array.remove(theC));
    EXPECT_EQ(-1, array.remove(theC));
    ut_Things byAddress;
    for (int *thing : {theC, theA, theB, theA, theC})
        EXPECT_EQ(thing, byAddress(byAddress.uniqueSortedInsert(thing)));
    EXPECT_EQ((ut_Model<ut_Things>{theA, theB, theC}), utValues(byAddress));
    EXPECT_TRUE(byAddress.isEqual(
        utArray<ut_Things>({theB, theA, theC}), utCompare<int *>));
}

TEST(UT_PtrArray, NullsGoAndSubsetsComeInPlace)
{
    auto array = utArray<ut_Things>({nullptr, theA, nullptr, theB});
    ut_Things other = array;
    array.removeZeros();
    other.collapse();
    EXPECT_TRUE(array == other);
    EXPECT_EQ(4u, array.capacity());
    EXPECT_EQ(2u, other.capacity());
    array.assignSubset(utArray<ut_Things>({theC})); // keeps what lies beyond
    EXPECT_EQ((ut_Model<ut_Things>{theC, theB}), utValues(array));
}

TEST(UT_PtrArray, FindStringSearchesSortedTexts)
{
    UT_PtrArray<const char *> array;
    for (const char *const text : {"", "a", "bb", "c", "\xe9"})
    {
        EXPECT_EQ(-1, array.findString(text)) << text;
        array.append(text);
        for (unsigned i = 0; i < array.entries(); ++i)
            EXPECT_EQ(int(i), array.findString(std::string(array(i)).c_str()))
                << array(i) << " up to " << text;
    }
}
