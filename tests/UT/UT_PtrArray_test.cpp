#include "UT/UT_PtrArray.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <vector>

// What the pointers of these tests point at: the address tells two of the same
// key apart.
struct ut_Thing
{
    int key;
};

using Things = UT_PtrArray<ut_Thing *>;
using Model = std::vector<ut_Thing *>;

static int
utCompareKeys(ut_Thing *const *a, ut_Thing *const *b)
{
    return (*a)->key - (*b)->key;
}

static bool
utIsLess(ut_Thing *a, ut_Thing *b)
{
    return a->key < b->key;
}

static Things
utArray(const Model &model)
{
    Things array;
    for (ut_Thing *thing : model)
        array.append(thing);
    return array;
}

static Model
utValues(const Things &array)
{
    return Model(array.data(), array.data() + array.entries());
}

static Model
utSortedModel(std::mt19937 &random, std::vector<ut_Thing> &things)
{
    Model model(random() % 600);
    for (ut_Thing *&thing : model)
        thing = &things[random() % things.size()];
    std::stable_sort(model.begin(), model.end(), utIsLess);
    return model;
}

static std::vector<ut_Thing>
utThings(size_t count)
{
    std::vector<ut_Thing> things(count);
    for (size_t i = 0; i < count; ++i)
        things[i].key = int(i / 3);
    return things;
}

TEST(UT_PtrArray, InsertGrowsFromOneMoreInsideAndFromTheIndexBeyond)
{
    UT_PtrArrayRaw array(127);
    array.setEntries(127);
    array.insert(5u);
    EXPECT_EQ(256u, array.capacity());
    UT_PtrArrayRaw beyond;
    beyond.insert(10u);
    EXPECT_EQ(14u, beyond.capacity());
    for (unsigned i = 0; i < 14; ++i)
        EXPECT_EQ(nullptr, beyond(i));
}

TEST(UT_PtrArray, UniqueAppendsKeepTheFirst)
{
    ut_Thing a = {1}, b = {2};
    Things array = utArray({&a, &b, &a});
    EXPECT_EQ(0u, array.append(&a, /*unique=*/1));
    EXPECT_EQ(3u, array.append(&a, /*unique=*/0));
    EXPECT_EQ(4u, array.append(nullptr, /*unique=*/1));
    EXPECT_EQ(4u, array.append(nullptr, /*unique=*/1));
    EXPECT_EQ(2, array.find(&a, 1u));
    EXPECT_EQ(1, array.remove(&b));
    EXPECT_EQ(-1, array.remove(&b));
    EXPECT_EQ((Model{&a, &a, &a, nullptr}), utValues(array));
}

TEST(UT_PtrArray, NullsGoWithOrWithoutTheirRoom)
{
    ut_Thing a = {1}, b = {2};
    Things array = utArray({nullptr, &a, nullptr, &b});
    Things other = array;
    array.removeZeros();
    other.collapse();
    EXPECT_EQ((Model{&a, &b}), utValues(array));
    EXPECT_TRUE(array == other);
    EXPECT_EQ(4u, array.capacity());
    EXPECT_EQ(2u, other.capacity());
    array = utArray({nullptr});
    array.collapse();
    EXPECT_EQ(nullptr, array.data());
}

TEST(UT_PtrArray, AssignSubsetKeepsWhatLiesBeyond)
{
    ut_Thing t[5];
    Things array = utArray({&t[0], &t[1], &t[2]});
    array.assignSubset(utArray({&t[4]}));
    EXPECT_EQ((Model{&t[4], &t[1], &t[2]}), utValues(array));
    array.assignSubset(utArray({&t[0], &t[1], &t[2], &t[3], &t[4]}));
    EXPECT_EQ((Model{&t[0], &t[1], &t[2], &t[3], &t[4]}), utValues(array));
    EXPECT_EQ(5u, array.capacity());
}

// Every block in small arrays: the block is taken out, and put in again.
TEST(UT_PtrArray, MoveRotatesAndCutsWhatReachesOver)
{
    std::vector<ut_Thing> things(6);
    for (int entries = 0; entries <= 6; ++entries)
        for (int from : {INT_MIN, -1, 0, 1, 2, 4, 6, 7, INT_MAX})
            for (int to : {INT_MIN, -1, 0, 1, 3, 5, 6, 8, INT_MAX})
                for (int count : {INT_MIN, -1, 0, 1, 2, 5, 6, 9, INT_MAX})
                {
                    Model model;
                    for (int i = 0; i < entries; ++i)
                        model.push_back(&things[size_t(i)]);
                    Things array = utArray(model);
                    array.move(from, to, count);

                    const int start = std::max(from, 0);
                    if (start < entries && count > 0)
                    {
                        const int n = std::min(count, entries - start);
                        const int target =
                            std::min(std::max(to, 0), entries - n);
                        const auto first = model.begin() + start;
                        const Model block(first, first + n);
                        model.erase(first, first + n);
                        model.insert(
                            model.begin() + target, block.begin(), block.end());
                    }
                    ASSERT_EQ(model, utValues(array))
                        << count << " from " << from << " to " << to << " in "
                        << entries;
                }
}

TEST(UT_PtrArray, SetsTakeTheFirstArraysElement)
{
    const unsigned seed = 1234;
    std::mt19937 random(seed);
    std::vector<ut_Thing> things = utThings(500);
    for (int round = 0; round < 200; ++round)
    {
        SCOPED_TRACE(testing::Message() << "seed " << seed << " " << round);
        const Model a = utSortedModel(random, things);
        const Model b = utSortedModel(random, things);
        const Things x = utArray(a);
        const Things y = utArray(b);
        Model expected;
        std::set_union(
            a.begin(), a.end(), b.begin(), b.end(),
            std::back_inserter(expected), utIsLess);
        Things out, target = x;
        x.sortedUnion(y, out, utCompareKeys);
        target.sortedUnion(y, utCompareKeys);
        EXPECT_EQ(expected, utValues(out));
        EXPECT_TRUE(out == target);

        expected.clear();
        std::set_intersection(
            a.begin(), a.end(), b.begin(), b.end(),
            std::back_inserter(expected), utIsLess);
        out.clear();
        target = x;
        x.sortedIntersection(y, out, utCompareKeys);
        target.sortedIntersection(y, utCompareKeys);
        EXPECT_EQ(expected, utValues(out));
        EXPECT_TRUE(out == target);

        EXPECT_TRUE(x.hasSortedSubset(out, utCompareKeys));
        EXPECT_EQ(
            std::includes(a.begin(), a.end(), b.begin(), b.end(), utIsLess),
            x.hasSortedSubset(y, utCompareKeys));
    }
    ut_Thing one = {1};
    EXPECT_TRUE(Things().hasSortedSubset(Things(), utCompareKeys));
    EXPECT_TRUE(utArray({&one}).hasSortedSubset(Things(), utCompareKeys));
    EXPECT_FALSE(Things().hasSortedSubset(utArray({&one}), utCompareKeys));
    EXPECT_FALSE(
        utArray({&one}).hasSortedSubset(utArray({&one, &one}), utCompareKeys));
}

TEST(UT_PtrArray, SortedInsertsKeepTheArraySorted)
{
    std::mt19937 random(8);
    std::vector<ut_Thing> things = utThings(300);
    Things all, once, byAddress;
    Model model;
    for (int round = 0; round < 500; ++round)
    {
        ut_Thing *thing = &things[random() % things.size()];
        const unsigned at = all.sortedInsert(thing, utCompareKeys);
        EXPECT_EQ(thing, all(at));
        const unsigned kept = once.uniqueSortedInsert(thing, utCompareKeys);
        EXPECT_EQ(thing->key, once(kept)->key);
        EXPECT_EQ(thing, byAddress(byAddress.uniqueSortedInsert(thing)));
        model.push_back(thing);
    }
    EXPECT_TRUE(
        std::is_sorted(all.data(), all.data() + all.entries(), utIsLess));
    const Model sorted = utValues(all);
    EXPECT_TRUE(
        std::is_permutation(sorted.begin(), sorted.end(), model.begin()));
    EXPECT_EQ(100u, once.entries());
    std::sort(model.begin(), model.end());
    model.erase(std::unique(model.begin(), model.end()), model.end());
    EXPECT_EQ(model, utValues(byAddress));
}

TEST(UT_PtrArray, SortsAndSearchesByTheComparator)
{
    std::mt19937 random(77);
    std::vector<ut_Thing> things = utThings(300);
    Things sorted;
    for (ut_Thing &thing : things)
        sorted.insert(&thing, unsigned(random() % (sorted.entries() + 1)));
    sorted.sort(utCompareKeys);
    ut_Thing none = {-1};
    EXPECT_EQ(-1, sorted.find(&none, utCompareKeys));
    for (unsigned i = 0; i < sorted.entries(); ++i)
    {
        EXPECT_EQ(int(i / 3), sorted(i)->key);
        const int found = sorted.find(sorted(i), utCompareKeys);
        EXPECT_EQ(sorted(i)->key, sorted(unsigned(found))->key);
    }
}

// Parent i / 2, children 2i and 2i + 1, in the plainest words.
static void
utSink(Model &heap, size_t i)
{
    size_t best = i;
    for (size_t child : {2 * i, 2 * i + 1})
        if (child < heap.size() && heap[child]->key > heap[best]->key)
            best = child;
    if (best == i)
        return;
    std::swap(heap[i], heap[best]);
    utSink(heap, best);
}

TEST(UT_PtrArray, HeapKeepsItsArrangementAlsoOfEqualElements)
{
    const unsigned seed = 32;
    std::mt19937 random(seed);
    std::vector<ut_Thing> things = utThings(100);
    Things heap;
    EXPECT_EQ(nullptr, heap.heapPop(utCompareKeys));
    Model model;
    for (int round = 0; round < 5000; ++round)
    {
        if (random() % 5 < (round < 2500 ? 3u : 2u))
        {
            size_t i = model.size();
            model.push_back(&things[random() % things.size()]);
            const unsigned at = heap.heapPush(model.back(), utCompareKeys);
            for (; i > 0 && model[i / 2]->key < model[i]->key; i /= 2)
                std::swap(model[i], model[i / 2]);
            EXPECT_EQ(i, at);
        }
        else if (!model.empty())
        {
            EXPECT_EQ(model[0], heap.heapPop(utCompareKeys));
            model[0] = model.back();
            model.pop_back();
            utSink(model, 0);
        }
        ASSERT_EQ(model, utValues(heap)) << "seed " << seed << " " << round;
    }
    std::shuffle(model.begin(), model.end(), random);
    heap = utArray(model);
    for (size_t i = model.size(); i-- > 0;)
    {
        heap.heapify(unsigned(i), utCompareKeys);
        utSink(model, i);
    }
    EXPECT_EQ(model, utValues(heap));
}

TEST(UT_PtrArray, FindStringSearchesSortedTexts)
{
    std::vector<std::string> texts;
    for (int i = 0; i < 40; ++i)
        texts.push_back(std::string(1, char(90 + 4 * i)) + "x");
    for (size_t count = 0; count <= texts.size(); ++count)
    {
        UT_PtrArray<const char *> array;
        for (size_t i = 0; i < count; ++i)
            array.append(texts[i].c_str());
        for (size_t i = 0; i < texts.size(); ++i)
        {
            EXPECT_EQ(
                i < count ? int(i) : -1,
                array.findString(std::string(texts[i]).c_str()));
            EXPECT_EQ(-1, array.findString((texts[i] + "y").c_str()));
        }
    }
}

TEST(UT_PtrArray, ComparingPointersTellsTheSignOfFarOnes)
{
    static const struct
    {
        uintptr_t a, b;
        int sense;
    } theRows[] = {
        {16,          4,           12     },
        {4,           16,          -12    },
        {7,           7,           0      },
        {INT_MAX,     0,           INT_MAX},
        {0x80000000u, 0,           1      },
        {0,           0xFFFFFFF0u, -1     },
        {UINTPTR_MAX, 0,           1      },
    };
    for (const auto &row : theRows)
    {
        void *a, *b;
        memcpy(&a, &row.a, sizeof(a));
        memcpy(&b, &row.b, sizeof(b));
        EXPECT_EQ(row.sense, UTcomparePointers(&a, &b)) << row.a;
    }
}
