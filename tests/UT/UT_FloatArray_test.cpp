#include "UT/UT_FloatArray.h"

#include "VM/VM_Math.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

using Floats = std::vector<float>;

static UT_FloatArray
utArray(const Floats &values)
{
    UT_FloatArray array;
    for (float value : values)
        array.append(value);
    return array;
}

static Floats
utValues(const UT_FloatArray &array)
{
    return Floats(array.data(), array.data() + array.entries());
}

// Where it differs from the array of integers.
TEST(UT_FloatArray, InsertGrowsFromOneMoreInsideAndFromTheIndexBeyond)
{
    static const struct
    {
        unsigned entries, index, newEntries, newCapacity;
    } theRows[] = {
        {0,   10,  11,  14 },
        {127, 127, 128, 131},
        {128, 128, 129, 256},
        {4,   0,   5,   9  },
        {127, 0,   128, 256},
    };
    for (const auto &row : theRows)
    {
        UT_FloatArray array(row.entries);
        array.setEntries(row.entries);
        EXPECT_EQ(row.index, array.insert(row.index));
        EXPECT_EQ(row.newEntries, array.entries());
        EXPECT_EQ(row.newCapacity, array.capacity());
    }
    UT_FloatArray array;
    array.insertAt(1.0f, 10);
    EXPECT_EQ(14u, array.capacity());
}

TEST(UT_FloatArray, ComparisonWithoutAComparatorIsExact)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const UT_FloatArray array = utArray({1.0f, nan, -0.0f});
    EXPECT_EQ(2, array.find(0.0f));
    EXPECT_EQ(-1, array.find(nan));
    EXPECT_EQ(-1, array.find(1.0f, 1u));
    EXPECT_TRUE(array == array);
    EXPECT_FALSE(array == UT_FloatArray(array));
    EXPECT_TRUE(utArray({0.0f}) == utArray({-0.0f}));
}

TEST(UT_FloatArray, TheToleranceWidensEquality)
{
    static const struct
    {
        float tolerance, a, b;
        int sense;
    } theRows[] = {
        {0.0f, 1.0f, 1.05f, -1},
        {0.0f, 2.0f, 1.0f,  1 },
        {0.0f, 1.0f, 1.0f,  0 },
        {0.1f, 1.0f, 1.05f, 0 },
        {0.1f, 1.0f, 1.2f,  -1},
        {0.1f, 1.2f, 1.0f,  1 },
    };
    for (const auto &row : theRows)
    {
        UTsetCompareFloatsTolerance(row.tolerance);
        EXPECT_EQ(row.sense, UTcompareFloats(&row.a, &row.b))
            << row.a << " " << row.b << " " << row.tolerance;
    }
    UTsetCompareFloatsTolerance(0.1f);
    const UT_FloatArray array = utArray({1.0f, 2.0f, 3.0f});
    EXPECT_EQ(1, array.find(2.05f, UTcompareFloats));
    EXPECT_EQ(-1, array.find(2.2f, UTcompareFloats));
    EXPECT_TRUE(array.isEqual(utArray({1.1f, 1.9f, 3.0f}), UTcompareFloats));
    // Equality within a tolerance is not transitive: 1.13 is greater than the
    // root, but not than its left child, which is not greater than the root.
    UT_FloatArray heap = utArray({9.0f, 1.0f, 1.05f, 1.13f});
    heap.heapify(1, UTcompareFloats);
    EXPECT_EQ((Floats{9.0f, 1.13f, 1.05f, 1.0f}), utValues(heap));
}

TEST(UT_FloatArray, SortedInsertionGoesBeforeTheEqualElementItMeets)
{
    UT_FloatArray array = utArray({1.0f, 2.0f, 3.0f});
    EXPECT_EQ(1u, array.uniqueSortedInsert(2.0f, UTcompareFloats));
    EXPECT_EQ(3u, array.entries());
    UTsetCompareFloatsTolerance(0.5f);
    EXPECT_EQ(1u, array.sortedInsert(2.25f, UTcompareFloats));
    EXPECT_EQ(0u, array.sortedInsert(-1.0f, UTcompareFloats));
    EXPECT_EQ(5u, array.sortedInsert(9.0f, UTcompareFloats));
    EXPECT_EQ((Floats{-1.0f, 1.0f, 2.25f, 2.0f, 3.0f, 9.0f}), utValues(array));
    EXPECT_EQ(0u, UT_FloatArray().sortedInsert(1.0f, UTcompareFloats));
}

TEST(UT_FloatArray, HeapAndSortsAgreeWithTheStandardSort)
{
    std::mt19937 random(5);
    Floats model(3000);
    for (float &value : model)
        value = float(int(random() % 2000)) / 8.0f - 100.0f;
    UT_FloatArray heap;
    for (float value : model)
        heap.heapPush(value, UTcompareFloats);
    UT_FloatArray sorted = utArray(model);
    UT_FloatArray ascending = sorted;
    sorted.sort(UTcompareFloats);
    ascending.sortAscending();
    std::sort(model.begin(), model.end());
    EXPECT_EQ(model, utValues(sorted));
    EXPECT_EQ(model, utValues(ascending));
    for (size_t i = model.size(); i-- > 0;)
        ASSERT_EQ(model[i], heap.heapPop(UTcompareFloats));
    EXPECT_EQ(0.0f, heap.heapPop(UTcompareFloats));
}

TEST(UT_FloatArray, ConstantFillsExactlyWhatIsInUse)
{
    for (bool simd : {false, true})
        for (float value : {0.0f, -0.0f, 1.5f})
            for (unsigned entries = 0; entries < 40; ++entries)
            {
                VM_Math::theSIMD = simd;
                UT_FloatArray array(50);
                array.setEntries(50);
                for (unsigned i = 0; i < 50; ++i)
                    array[i] = 7.0f;
                array.setEntries(entries);
                array.constant(value);
                for (unsigned i = 0; i < 50; ++i)
                    ASSERT_EQ(i < entries ? value : 7.0f, array[i]) << entries;
                EXPECT_TRUE(
                    entries == 0 ||
                    std::signbit(value) == std::signbit(array[0]));
            }
}

TEST(UT_FloatArray, DisplayPrintsSixDecimals)
{
    testing::internal::CaptureStdout();
    utArray({1.0f, -0.5f}).display();
    fflush(stdout);
    EXPECT_EQ("1.000000 -0.500000 \n", testing::internal::GetCapturedStdout());
}
