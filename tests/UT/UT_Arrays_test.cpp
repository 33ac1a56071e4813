// The arrays of integers, floats and pointers: first what they have in common.

#include "UT/UT_FloatArray.h"
#include "UT/UT_IntArray.h"
#include "UT/UT_PtrArray.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

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
    const struct
    {
        void (*act)(TypeParam &array, unsigned index, unsigned count);
        unsigned entries, capacity, index, count, newEntries, newCapacity;
    } theRows[] = {
        {append,   0,    0,    0,   0, 1,    4                  },
        {append,   127,  127,  0,   0, 128,  131                },
        {append,   128,  128,  0,   0, 129,  256                },
        {append,   1023, 1023, 0,   0, 1024, 1151               },
        {append,   1024, 1024, 0,   0, 1025, 1152               },
        {open,     4,    4,    1,   0, 5,    isInt ? 8u : 9u    },
        {open,     127,  127,  0,   0, 128,  isInt ? 131u : 256u},
        {open,     0,    0,    10,  0, 11,   isInt ? 15u : 14u  },
        {open,     127,  127,  127, 0, 128,  isInt ? 256u : 131u},
        {insert,   127,  127,  0,   0, 128,  131                },
        {insert,   0,    0,    10,  0, 11,   14                 },
        {multiple, 4,    8,    2,   4, 8,    8                  }, // they just fit
        {multiple, 4,    8,    2,   5, 9,    13                 },
        {multiple, 4,    8,    4,   4, 8,    12                 }, // deliberate
        {multiple, 0,    0,    0,   0, 0,    4                  },
        {concat,   4,    10,   0,   5, 9,    10                 },
        {concat,   4,    10,   0,   6, 10,   16                 }, // deliberate
    };
    for (const auto &row : theRows)
    {
        SCOPED_TRACE(&row - theRows);
        TypeParam array = utFilled<TypeParam>(row.entries, row.capacity);
        row.act(array, row.index, row.count);
        EXPECT_EQ(row.newEntries, array.entries());
        EXPECT_EQ(row.newCapacity, array.capacity());
    }
}

TYPED_TEST(UT_Arrays, SizesAreExactButAssignmentNeverShrinks)
{
    using E = ut_Element<TypeParam>;
    TypeParam array = utFilled<TypeParam>(3, 3);
    array.resize(2);
    array.resize(6, 1);
    EXPECT_EQ(2u, array.entries());
    EXPECT_EQ(6u, array.capacity());
    const bool isCleared = !std::is_same_v<E, float>;
    EXPECT_TRUE(
        !isCleared || std::count(array.data() + 2, array.data() + 6, E()) == 4);

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
    array.resize(0);
    EXPECT_EQ(nullptr, array.data());
    EXPECT_EQ(0u, array.entries() + array.capacity());
}

TYPED_TEST(UT_Arrays, AgreeWithVectorOverRandomScripts)
{
    using E = ut_Element<TypeParam>;
    const auto compareExactly = [](const E *a, const E *b)
    { return int(*a > *b) - int(*a < *b); };
    const auto isWanted = [](E &element, void *wanted)
    { return int(element == *static_cast<E *>(wanted)); };
    std::mt19937 random(20240611);
    // Of any magnitude.
    const auto pick = [&random] { return int(random()) >> random() % 32; };
    TypeParam array;
    ut_Model<TypeParam> model;
    for (int round = 0; round < 20000; ++round)
    {
        SCOPED_TRACE(round);
        E value = utElement<E>(random() % 40);
        const int size = int(model.size());
        const unsigned index = unsigned(random()) % unsigned(size + 1);
        const unsigned count = unsigned(random() % 6);
        const auto at = model.begin() + int(index);
        const auto first = std::find(model.begin(), model.end(), value);
        const int position = int(first - model.begin());
        const unsigned action = unsigned(random() % 150);
        switch (action < 5 ? action : 5 + action % 5)
        {
        case 0:
            array.resize(index);
            model.erase(at, model.end());
            break;
        case 1:
            array.sort(compareExactly);
            std::sort(model.begin(), model.end());
            EXPECT_EQ(position < size, array.find(value, compareExactly) >= 0);
            if constexpr (!std::is_same_v<E, int32>)
                array.uniqueSortedInsert(value, compareExactly);
            else
                array.uniqueSortedInsertAscending(value);
            if (position == size)
                model.insert(
                    std::lower_bound(model.begin(), model.end(), value), value);
            break;
        case 2:
            if constexpr (std::is_pointer_v<E>)
            {
                const int from = pick(), to = pick(), length = pick();
                array.move(from, to, length);
                const int start = std::max(from, 0);
                const int n = std::min(length, size - start);
                if (n < 1)
                    break;
                const auto block = model.begin() + start;
                const ut_Model<TypeParam> moved(block, block + n);
                model.erase(block, block + n);
                model.insert(
                    model.begin() + std::min(std::max(to, 0), size - n),
                    moved.begin(), moved.end());
            }
            break;
        case 3:
            array.reverse();
            std::reverse(model.begin(), model.end());
            break;
        case 4:
        {
            const int k = pick();
            array.cycle(k);
            if (size > 0)
                std::rotate(
                    model.begin(),
                    model.end() - int((int64(k) % size + size) % size),
                    model.end());
            break;
        }
        case 5:
            EXPECT_EQ(model.size(), array.append(value));
            model.push_back(value);
            break;
        case 6:
            array.insert(value, index);
            model.insert(at, value);
            break;
        case 7:
            array.multipleInsert(index, count);
            model.insert(at, count, value);
            std::fill_n(array.data() + index, count, value);
            break;
        case 8:
        {
            const auto found = std::find(at, model.end(), value);
            EXPECT_EQ(
                found == model.end() ? -1 : found - model.begin(),
                array.find(value, index));
            EXPECT_EQ(unsigned(position), array.apply(isWanted, &value));
            break;
        }
        case 9:
            if (at != model.end())
            {
                EXPECT_EQ(index, array.removeAt(index));
                model.erase(at);
            }
            break;
        }
        ASSERT_EQ(model, utValues(array));
        ASSERT_LE(array.entries(), array.capacity());
    }
}

// Every block in small arrays, against the rule word by word.
TYPED_TEST(UT_Arrays, ShiftMovesBlocksAndCutsAfterTheTail)
{
    const unsigned capacity = 6;
    TypeParam array = utFilled<TypeParam>(capacity, capacity);
    EXPECT_EQ(-1, array.shift(2, 1, UINT_MAX));
    EXPECT_EQ(-1, array.shift(UINT_MAX, 0, 2));
    for (unsigned i = 0; i < 7 * 8 * 8 * 8; ++i)
    {
        const unsigned entries = i / 512;
        const unsigned from = i / 64 % 8, to = i / 8 % 8, count = i % 8;
        SCOPED_TRACE(
            testing::Message()
            << entries << ": " << count << " from " << from << " to " << to);
        array = utFilled<TypeParam>(capacity, capacity);
        auto slots = utValues(array);
        array.setEntries(entries);
        unsigned left = entries;
        int result = 0;
        if (from != to && (count == 0 || std::max(from, to) + count > capacity))
            result = -1;
        else if (from != to)
        {
            const auto block = slots;
            std::copy_n(&block[from], count, &slots[to]);
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
}

// Searches of numbers compare blocks: each position of the wanted one, in
// arrays of no block, some blocks and a part of one.
TYPED_TEST(UT_Arrays, FindLooksAtEveryElementFromTheStart)
{
    using E = ut_Element<TypeParam>;
    const E wanted = utElement<E>(900);
    for (unsigned entries : {1u, 15u, 16u, 17u, 40u, 65u})
    {
        TypeParam array = utFilled<TypeParam>(entries + 1, entries + 1);
        array[entries] = wanted; // beyond the entries
        array.setEntries(entries);
        for (unsigned start = 0; start <= entries; ++start)
        {
            SCOPED_TRACE(testing::Message() << entries << " from " << start);
            EXPECT_EQ(-1, array.find(wanted, start));
            for (unsigned at = 0; at < entries; ++at)
            {
                const E kept = array[at];
                array[at] = wanted;
                EXPECT_EQ(at < start ? -1 : int(at), array.find(wanted, start));
                array[at] = kept;
            }
        }
    }
}

// ---- Sorted sets

template <class Array, class... Compare>
static void
utCheckSets(Compare... compare)
{
    using E = ut_Element<Array>;
    std::mt19937 random(4711);
    for (int round = 0; round < 400; ++round)
    {
        SCOPED_TRACE(round);
        // In two of three rounds one is much shorter.
        ut_Model<Array> a(random() % (round % 3 == 1 ? 20 : 600));
        ut_Model<Array> b(random() % (round % 3 == 2 ? 20 : 600));
        const size_t limit = round % 2 ? 1000 : 12;
        for (auto *side : {&a, &b})
        {
            for (E &element : *side)
                element = utElement<E>(random() % limit);
            std::stable_sort(side->begin(), side->end(), utIsLess<E>);
        }
        const Array x = utArray<Array>(a), y = utArray<Array>(b);
        const auto expect = [&](auto algorithm, auto into, auto inPlace)
        {
            ut_Model<Array> expected;
            algorithm(
                a.begin(), a.end(), b.begin(), b.end(),
                std::back_inserter(expected), utIsLess<E>);
            const Array steady = utArray<Array>(expected); // single appends
            Array results[] = {{}, x};
            into(results[0]);
            inPlace(results[1]);
            for (const Array &result : results)
            {
                EXPECT_EQ(expected, utValues(result));
                EXPECT_EQ(steady.capacity(), result.capacity());
            }
        };
        expect(
            [](auto... range) { std::set_union(range...); },
            [&](Array &out) { x.sortedUnion(y, out, compare...); },
            [&](Array &target) { target.sortedUnion(y, compare...); });
        expect(
            [](auto... range) { std::set_intersection(range...); },
            [&](Array &out) { x.sortedIntersection(y, out, compare...); },
            [&](Array &target) { target.sortedIntersection(y, compare...); });
        if constexpr (std::is_same_v<Array, UT_IntArray>)
            expect(
                [](auto... range) { std::set_difference(range...); },
                [&](Array &out) { x.sortedSetDifference(y, out); },
                [&](Array &target) { target.sortedSetDifference(y); });
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

// Parent i / 2, children 2i and 2i + 1, in the plainest words.
template <class E>
static void
utSink(std::vector<E> &heap, size_t i)
{
    size_t best = i;
    for (size_t child : {2 * i, 2 * i + 1})
        if (child < heap.size() && utIsLess(heap[best], heap[child]))
            best = child;
    if (best == i)
        return;
    std::swap(heap[i], heap[best]);
    utSink(heap, best);
}

template <class Array, class... Compare>
static void
utCheckHeap(Compare... compare)
{
    using E = ut_Element<Array>;
    std::mt19937 random(31);
    Array heap;
    EXPECT_EQ(E(), heap.heapPop(compare...));
    ut_Model<Array> model;
    for (int round = 0; round < 5000; ++round)
    {
        if (random() % 5 < (round < 2500 ? 3u : 2u))
        {
            size_t i = model.size();
            model.push_back(utElement<E>(random() % 100));
            const unsigned at = heap.heapPush(model.back(), compare...);
            for (; i > 0 && utIsLess(model[i / 2], model[i]); i /= 2)
                std::swap(model[i], model[i / 2]);
            EXPECT_EQ(i, at);
        }
        else if (!model.empty())
        {
            EXPECT_EQ(model[0], heap.heapPop(compare...));
            model[0] = model.back();
            model.pop_back();
            utSink(model, 0);
        }
        ASSERT_EQ(model, utValues(heap)) << round;
    }
}

TEST(UT_Arrays, HeapsKeepTheirArrangementAlsoOfEqualElements)
{
    utCheckHeap<UT_IntArray>();
    utCheckHeap<UT_FloatArray>(utCompare<float>);
    utCheckHeap<ut_Things>(utCompare<int *>);
}

// Arrays of any arrangement, until they are empty.
template <class Array, class... Compare>
static void
utCheckPops(Compare... compare)
{
    std::mt19937 random(32);
    for (size_t size = 1; size < 200; ++size)
    {
        Array array;
        ut_Model<Array> model;
        for (size_t i = 0; i < size; ++i)
        {
            model.push_back(utElement<ut_Element<Array>>(random() % size));
            array.append(model.back());
        }
        while (!model.empty())
        {
            EXPECT_EQ(model[0], array.heapPop(compare...));
            model[0] = model.back();
            model.pop_back();
            utSink(model, 0);
            ASSERT_EQ(model, utValues(array)) << size;
        }
    }
}

TEST(UT_Arrays, PopsLetTheLastElementSinkWhereThereIsNoHeapToo)
{
    utCheckPops<UT_IntArray>();
    utCheckPops<UT_FloatArray>(utCompare<float>);
    utCheckPops<ut_Things>(utCompare<int *>);
}

// ---- Each on its own

TEST(UT_IntArray, OrdersMergesAndConvertsSignedIntegers)
{
    using Ints = std::vector<int>;
    UT_IntArray array;
    array.fromStdVectorOfInts({7, INT_MIN, 3, 7});
    array.sortAscending();
    EXPECT_EQ(2, array.findAndRemove(7));
    EXPECT_EQ(-1, array.findAndRemove(8));
    Ints values;
    array.toStdVectorOfInts(values);
    EXPECT_EQ((Ints{INT_MIN, 3, 7}), values);
    values = {INT_MIN, INT_MAX};
    EXPECT_EQ(1, UTcompareInts(&values[0], &values[1])); // deliberate: wraps

    // Only pairs across the arrays are dropped.
    const auto merge = [](const Ints &a, const Ints &b, int direction, bool all)
    {
        auto target = utArray<UT_IntArray>(a);
        target.merge(utArray<UT_IntArray>(b), direction, all);
        return utValues(target);
    };
    EXPECT_EQ((Ints{1, 1, 1, 2, 3}), merge({1, 1, 3}, {1, 2}, 1, true));
    EXPECT_EQ((Ints{1, 1, 2, 3}), merge({1, 1, 3}, {1, 2}, 7, false));
    EXPECT_EQ((Ints{3, 2, 1, 1, 1}), merge({3, 1, 1}, {2, 1}, 0, true));
    EXPECT_EQ((Ints{3, 2, 1, 1}), merge({3, 1, 1}, {2, 1}, -5, false));
}

TYPED_TEST(UT_Arrays, ConstantFillsExactlyWhatIsInUse)
{
    using E = ut_Element<TypeParam>;
    if constexpr (!std::is_pointer_v<E>)
        for (const int value : {0, -1, 0x01020304})
        {
            auto array = utFilled<TypeParam>(23, 30);
            array.setEntries(22);
            array.constant(-E(value));
            EXPECT_EQ(22, std::count(&array[0], &array[23], -E(value)));
            EXPECT_EQ(std::signbit(-E(value)), std::signbit(array[0]));
            EXPECT_EQ(utElement<E>(22), array[22]);
        }
}

TEST(UT_FloatArray, ComparisonWithoutAComparatorIsExact)
{
    const auto array = utArray<UT_FloatArray>({1.0f, NAN, -0.0f});
    EXPECT_EQ(2, array.find(0.0f));
    EXPECT_EQ(-1, array.find(NAN));
    EXPECT_TRUE(array == array);
    EXPECT_FALSE(array == UT_FloatArray(array));
}

TEST(UT_FloatArray, TheToleranceWidensEquality)
{
    const auto compare = [](float x, float y)
    { return UTcompareFloats(&x, &y); };
    EXPECT_EQ(-1, compare(1.0f, 1.05f));
    UTsetCompareFloatsTolerance(0.1f);
    EXPECT_EQ(0, compare(1.0f, 1.05f));
    EXPECT_EQ(-1, compare(1.0f, 1.2f));
    EXPECT_EQ(1, compare(1.2f, 1.0f));
    auto array = utArray<UT_FloatArray>({1.0f, 2.0f, 3.0f});
    EXPECT_EQ(1, array.find(2.05f, UTcompareFloats));
    EXPECT_TRUE(array.isEqual(
        utArray<UT_FloatArray>({1.05f, 1.95f, 3.0f}), UTcompareFloats));
    // A new element goes before the equal one that the search meets.
    EXPECT_EQ(1u, array.sortedInsert(2.05f, UTcompareFloats));
    EXPECT_EQ(4u, array.sortedInsert(9.0f, UTcompareFloats));
    EXPECT_EQ(
        (std::vector<float>{1.0f, 2.05f, 2.0f, 3.0f, 9.0f}), utValues(array));
    // Equality within a tolerance is not transitive: 1.13 is greater than the
    // root, but not than its left child, which is not greater than the root.
    array = utArray<UT_FloatArray>({9.0f, 1.0f, 1.05f, 1.13f});
    array.heapify(1, UTcompareFloats);
    EXPECT_EQ((std::vector<float>{9.0f, 1.13f, 1.05f, 1.0f}), utValues(array));
}

using Model = std::vector<int *>;

static int *const theA = &theThings[1];
static int *const theB = &theThings[2]; // of the same key
static int *const theC = &theThings[3];

TEST(UT_PtrArray, UniquePointersGoInOnce)
{
    auto array = utArray<ut_Things>({theA, theC, theA});
    EXPECT_EQ(0u, array.append(theA, /*unique=*/1));
    EXPECT_EQ(3u, array.append(theA, /*unique=*/0));
    EXPECT_EQ(4u, array.append(nullptr, /*unique=*/1));
    EXPECT_EQ(1, array.remove(theC));
    EXPECT_EQ(-1, array.remove(theC));

    ut_Things byAddress, byKey;
    for (int *thing : {theC, theA, theB, theA, theC})
    {
        EXPECT_EQ(thing, byAddress(byAddress.uniqueSortedInsert(thing)));
        byKey.sortedInsert(thing, utCompare<int *>);
    }
    EXPECT_EQ((Model{theA, theB, theC}), utValues(byAddress));
    EXPECT_TRUE(byKey.isEqual(
        utArray<ut_Things>({theB, theB, theB, theC, theC}), utCompare<int *>));
}

TEST(UT_PtrArray, NullsGoAndSubsetsComeInPlace)
{
    auto array = utArray<ut_Things>({nullptr, theA, nullptr, theB});
    ut_Things other = array;
    array.removeZeros();
    other.collapse();
    EXPECT_EQ((Model{theA, theB}), utValues(array));
    EXPECT_EQ((Model{theA, theB}), utValues(other));
    EXPECT_EQ(4u, array.capacity());
    EXPECT_EQ(2u, other.capacity());

    array.assignSubset(utArray<ut_Things>({theC})); // keeps what lies beyond
    EXPECT_EQ((Model{theC, theB}), utValues(array));
    array.assignSubset(utArray<ut_Things>({theB, theC, theA}));
    EXPECT_EQ((Model{theB, theC, theA}), utValues(array));
}

TEST(UT_PtrArray, FindStringSearchesSortedTexts)
{
    const char *const theTexts[] = {"", "a", "b", "bb", "c", "\xe9"};
    UT_PtrArray<const char *> array;
    for (const char *text : theTexts)
    {
        EXPECT_EQ(-1, array.findString(text));
        array.append(text);
        for (unsigned i = 0; i < array.entries(); ++i)
            EXPECT_EQ(
                int(i), array.findString(std::string(theTexts[i]).c_str()));
    }
    EXPECT_EQ(-1, array.findString("ba"));
}

TEST(UT_PtrArray, ComparingPointersTellsTheSignOfFarOnes)
{
    const auto compare = [](uintptr_t x, uintptr_t y)
    {
        const uintptr_t values[] = {x, y};
        void *pointers[2];
        memcpy(pointers, values, sizeof(values));
        return UTcomparePointers(&pointers[0], &pointers[1]);
    };
    EXPECT_EQ(-12, compare(4, 16));
    EXPECT_EQ(INT_MAX, compare(INT_MAX, 0));
    EXPECT_EQ(1, compare(0x80000000u, 0));
    EXPECT_EQ(-1, compare(0, UINTPTR_MAX));
}
