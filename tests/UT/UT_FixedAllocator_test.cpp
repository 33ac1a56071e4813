#include "UT/UT_FixedAllocator.h"
#include "UT/UT_SmallObjectAllocator.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

TEST(UT_FixedAllocator, SizesRoundUpToMultiplesOfEight)
{
    const unsigned theSizes[] = {8, 8, 8, 16, 16, 24};
    size_t i = 0;
    for (unsigned size : {0u, 1u, 8u, 9u, 16u, 17u})
        EXPECT_EQ(theSizes[i++], UT_FixedAllocator(size, true, 4).objectSize());
}

TEST(UT_FixedAllocator, BlocksOverlapNothingWhilePagesComeAndGo)
{
    const unsigned size = 20;
    const unsigned stride = 24 + sizeof(void *);
    for (int perPage : {1, 2, 4, 7})
    {
        UT_FixedAllocator pool(size, true, perPage);
        std::vector<char *> live; // filled with their first byte
        std::mt19937 random(7);
        for (int step = 0; step < 20000; ++step)
        {
            SCOPED_TRACE(testing::Message() << perPage << " at " << step);
            // Waves of growth and decline.
            if (live.empty() || random() % 100 < (step / 500 % 2 ? 35 : 65))
            {
                live.push_back(static_cast<char *>(pool.allocate()));
                ASSERT_EQ(0u, uintptr_t(live.back()) % sizeof(void *));
                memset(live.back(), step, size);
            }
            else
            {
                std::swap(live[random() % live.size()], live.back());
                for (unsigned i = 0; i < size; ++i)
                    ASSERT_EQ(*live.back(), live.back()[i]);
                pool.deallocate(live.back());
                live.pop_back();
            }
            unsigned used, total;
            pool.getMemoryUsage(used, total);
            const unsigned pages =
                pool.pageSlots() - unsigned(pool.freedSlots());
            ASSERT_EQ(
                (pages * unsigned(perPage) - live.size()) * stride,
                total - used);
        }
        for (char *block : live)
            pool.deallocate(block);
        EXPECT_EQ(1, int(pool.pageSlots()) - pool.freedSlots());
    }
}

TEST(UT_FixedAllocator, ReclaimsPagesButForOne)
{
    UT_FixedAllocator pool(8, true, 2);
    const auto expectSlots = [](const UT_FixedAllocator &p, const char *slots)
    {
        EXPECT_EQ(
            slots, std::to_string(p.pageSlots()) + " slots, " +
                       std::to_string(p.freedSlots()) + " freed, " +
                       std::to_string(p.emptyPage()) + " empty");
    };
    char *blocks[6];
    for (char *&block : blocks)
        block = static_cast<char *>(pool.allocate());
    EXPECT_EQ(blocks[0] + 8 + sizeof(void *), blocks[1]);
    const char *const theSlots[] = {
        "3 slots, 0 freed, 0 empty", "3 slots, 1 freed, 1 empty",
        "3 slots, 2 freed, 2 empty"};
    for (size_t i = 0; i < 6; ++i)
    {
        pool.deallocate(blocks[i]);
        if (i % 2)
            expectSlots(pool, theSlots[i / 2]);
    }
    for (size_t i : {5u, 4u}) // the last one back is the first one out
        EXPECT_EQ(blocks[i], pool.allocate());
    expectSlots(pool, "3 slots, 2 freed, -1 empty");
    pool.deallocate(pool.allocate());
    expectSlots(pool, "3 slots, 1 freed, 1 empty"); // the greatest slot first

    // Deliberate: with one block to a page, the page that is kept stays unused.
    UT_FixedAllocator single(8, true, 1);
    single.deallocate(single.allocate());
    single.deallocate(single.allocate());
    expectSlots(single, "2 slots, 1 freed, 1 empty");
}

TEST(UT_FixedAllocator, KeepsPagesUnlessItReclaims)
{
    UT_FixedAllocator pool(24, false, 4);
    char *blocks[8];
    for (char *&block : blocks)
        block = static_cast<char *>(pool.allocate());
    EXPECT_EQ(blocks[0] + 3 * 24, blocks[3]);
    for (char *block : blocks)
        pool.deallocate(block);
    pool.deallocate(nullptr);
    for (size_t i = 8; i-- > 0;) // the last one back is the first one out
        EXPECT_EQ(blocks[i], pool.allocate());
}

// In order of size; of blocks above the greatest size there are none.
TEST(UT_SmallObjectAllocator, ThreadsShareOnePoolForEachSize)
{
    UT_SmallObjectAllocator pools(true, 16, 32, true);
    const auto churn = [&](unsigned seed)
    {
        std::mt19937 random(seed);
        std::vector<uint8 *> live; // the first byte tells the size
        for (int step = 0; step < 40000; ++step)
            if (step < 20000 && random() % 2)
            {
                const uint8 size = uint8(1 + random() % 40);
                live.push_back(static_cast<uint8 *>(pools.allocate(size)));
                memset(live.back(), size, size);
            }
            else if (!live.empty())
            {
                std::swap(live[random() % live.size()], live.back());
                const uint8 size = live.back()[0];
                ASSERT_EQ(size, live.back()[size - 1]);
                pools.deallocate(live.back(), size);
                live.pop_back();
            }
    };
    std::thread other(churn, 1u);
    churn(2u);
    other.join();
    ASSERT_EQ(32u, pools.entries());
    for (unsigned i = 0; i < 32; ++i)
    {
        EXPECT_EQ(i + 1, pools(i).requestedSize());
        EXPECT_EQ(0, pools(i).allocated());
    }
}
