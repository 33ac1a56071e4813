#include "UT/UT_FixedAllocator.h"

#include "UT/UT_SmallObjectAllocator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <random>
#include <thread>
#include <utility>
#include <vector>

static std::vector<char *>
utTake(UT_FixedAllocator &pool, size_t count)
{
    std::vector<char *> blocks(count);
    for (char *&block : blocks)
        block = static_cast<char *>(pool.allocate());
    return blocks;
}

TEST(UT_FixedAllocator, ReclaimsPagesButForOne)
{
    using Slots = std::vector<int>; // all, the freed ones, the empty page's
    const auto slots = [](const UT_FixedAllocator &p) {
        return Slots{int(p.pageSlots()), p.freedSlots(), p.emptyPage()};
    };
    const auto unused = [](const UT_FixedAllocator &p)
    {
        unsigned used, total;
        p.getMemoryUsage(used, total);
        return total - used;
    };
    EXPECT_EQ(8u, UT_FixedAllocator(0, true, 2).objectSize());
    const unsigned stride = 8 + sizeof(void *);
    UT_FixedAllocator pool(8, true, 2);
    const std::vector<char *> blocks = utTake(pool, 6);
    EXPECT_EQ(blocks[0] + stride, blocks[1]);
    for (int page : {0, 1, 2})
    {
        pool.deallocate(blocks[size_t(page) * 2]);
        EXPECT_EQ(page ? 3 * stride : stride, unused(pool));
        pool.deallocate(blocks[size_t(page) * 2 + 1]);
        EXPECT_EQ((Slots{3, page, page}), slots(pool));
    }
    // The last one back is the first one out.
    EXPECT_EQ((std::vector<char *>{blocks[5], blocks[4]}), utTake(pool, 2));
    EXPECT_EQ((Slots{3, 2, -1}), slots(pool));
    pool.deallocate(pool.allocate());
    EXPECT_EQ((Slots{3, 1, 1}), slots(pool)); // the greatest slot first

    // Deliberate: with one block to a page, the page that is kept stays unused.
    UT_FixedAllocator single(8, true, 1);
    single.deallocate(single.allocate());
    single.deallocate(single.allocate());
    EXPECT_EQ((Slots{2, 1, 1}), slots(single));
}

TEST(UT_FixedAllocator, KeepsPagesUnlessItReclaims)
{
    UT_FixedAllocator pool(24, false, 4);
    const std::vector<char *> blocks = utTake(pool, 8);
    EXPECT_EQ(blocks[0] + 3 * 24, blocks[3]);
    for (size_t i = 8; i-- > 0;)
        pool.deallocate(blocks[i]);
    pool.deallocate(nullptr);
    EXPECT_EQ(blocks, utTake(pool, 8)); // the last one back comes first
}

TEST(UT_FixedAllocator, APageWithoutMemoryChangesNothing)
{
    static const struct
    {
        const char *what;
        unsigned size;
        int objectsPerPage;
    } theRows[] = {
        {"a page larger than memory",               0xfffffff0u, 0x7fffffff},
        {"a page of 4 GiB, which 32 bits wrap",     0x10000000u, 16        },
        {"blocks of 4 GiB, which are 0 in 32 bits", 0xffffffffu, 1         },
    };
    for (const auto &row : theRows)
    {
        if (sizeof(void *) > 4 && row.objectsPerPage == 16)
            continue; // there may be memory for it
        for (const bool reclaim : {false, true})
        {
            UT_FixedAllocator pool(row.size, reclaim, row.objectsPerPage);
            EXPECT_THROW(static_cast<void>(pool.allocate()), std::bad_alloc)
                << row.what;
            EXPECT_EQ(0, pool.allocated()) << row.what;
            EXPECT_EQ(0u, pool.pageSlots()) << row.what;
        }
    }
}

// In order of size; of blocks above the greatest size there are none.
TEST(UT_SmallObjectAllocator, ThreadsShareOnePoolForEachSize)
{
    for (const int perPage : {1, 2, 7, 16})
    {
        SCOPED_TRACE(perPage);
        UT_SmallObjectAllocator pools(true, perPage, 32, true);
        const auto churn = [&](unsigned seed)
        {
            std::mt19937 random(seed);
            std::vector<std::pair<char *, unsigned>> live; // of one byte each
            for (unsigned step = 0; step < 40000 || !live.empty(); ++step)
            {
                // Waves of growth and decline, and an ebb.
                const unsigned growth =
                    step < 40000 ? 65 - step / 4000 % 2 * 30 : 0;
                if (random() % 100 < growth)
                {
                    const unsigned size = 1 + unsigned(random()) % 40;
                    char *const block =
                        static_cast<char *>(pools.allocate(size));
                    ASSERT_EQ(0u, uintptr_t(block) % sizeof(void *));
                    memset(block, int(random()), size);
                    live.emplace_back(block, size);
                }
                else if (!live.empty())
                {
                    std::swap(live[random() % live.size()], live.back());
                    const auto [block, size] = live.back();
                    ASSERT_EQ(size, std::count(block, block + size, *block));
                    pools.deallocate(block, size);
                    live.pop_back();
                }
            }
        };
        std::thread other(churn, 1u);
        churn(2u);
        other.join();
        ASSERT_EQ(32u, pools.entries());
        for (unsigned i = 0; i < 32; ++i)
        {
            EXPECT_EQ(i + 1, pools(i).requestedSize());
            EXPECT_EQ(i / 8 * 8 + 8, pools(i).objectSize());
            EXPECT_EQ(0, pools(i).allocated());
            EXPECT_EQ(1, int(pools(i).pageSlots()) - pools(i).freedSlots());
        }
    }
}
