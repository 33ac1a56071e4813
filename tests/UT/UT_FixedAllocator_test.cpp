#include "UT/UT_FixedAllocator.h"

#include "UT/UT_SmallObjectAllocator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
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

// Slots for pages: all, those whose page was freed, that of the empty page.
static void
utExpectSlots(const UT_FixedAllocator &pool, int all, int freed, int empty)
{
    EXPECT_EQ(all, int(pool.pageSlots()));
    EXPECT_EQ(freed, pool.freedSlots());
    EXPECT_EQ(empty, pool.emptyPage());
}

TEST(UT_FixedAllocator, ReclaimsPagesExceptOne)
{
    EXPECT_EQ(8u, UT_FixedAllocator(0, true, 2).objectSize());
    const unsigned stride = 8 + sizeof(void *);
    UT_FixedAllocator pool(8, true, 2); // two blocks to a page
    const std::vector<char *> blocks = utTake(pool, 6);
    EXPECT_EQ(blocks[0] + stride, blocks[1]);

    pool.deallocate(blocks[0]);
    pool.deallocate(blocks[1]);
    utExpectSlots(pool, /*all=*/3, /*freed=*/0, /*empty=*/0);
    // The next page that is empty takes the place of the one that is kept.
    pool.deallocate(blocks[2]);
    pool.deallocate(blocks[3]);
    utExpectSlots(pool, /*all=*/3, /*freed=*/1, /*empty=*/1);
    pool.deallocate(blocks[4]);
    unsigned used;
    unsigned total;
    pool.getMemoryUsage(used, total);
    EXPECT_EQ(total, used + 3 * stride);
    pool.deallocate(blocks[5]);
    utExpectSlots(pool, /*all=*/3, /*freed=*/2, /*empty=*/2);

    // The last one back is the first one out.
    EXPECT_EQ((std::vector<char *>{blocks[5], blocks[4]}), utTake(pool, 2));
    utExpectSlots(pool, /*all=*/3, /*freed=*/2, /*empty=*/-1);
    // The greatest slot that is free is used first.
    pool.deallocate(pool.allocate());
    utExpectSlots(pool, /*all=*/3, /*freed=*/1, /*empty=*/1);

    // Deliberate: with one block to a page, the page that is kept stays unused.
    UT_FixedAllocator single(8, true, 1);
    single.deallocate(single.allocate());
    single.deallocate(single.allocate());
    utExpectSlots(single, /*all=*/2, /*freed=*/1, /*empty=*/1);
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
    // Larger than memory; of 4 GiB, which are none in 32 bits, by its count and
    // by the size of its block.
    using ut_Page = std::pair<unsigned, int>;
    for (const auto &[size, objects] :
         {ut_Page(0xfffffff0, INT_MAX), ut_Page(0x10000000, 16),
          ut_Page(0xffffffff, 1)})
        for (const bool reclaim : {false, true})
        {
            if (sizeof(void *) > 4 && objects == 16)
                continue; // there may be memory for it
            SCOPED_TRACE(testing::Message() << size << ", reclaim " << reclaim);
            UT_FixedAllocator pool(size, reclaim, objects);
            EXPECT_THROW(static_cast<void>(pool.allocate()), std::bad_alloc);
            EXPECT_EQ(0, pool.allocated());
            EXPECT_EQ(0u, pool.pageSlots());
        }
}

// Takes and gives back blocks, each full of copies of one byte. Grows and
// shrinks by turns, and gives everything back. Sizes are multiples of `unit`.
static void
utChurn(UT_SmallObjectAllocator &pools, unsigned unit, unsigned seed)
{
    std::mt19937 random(seed);
    std::vector<std::pair<char *, unsigned>> blocks;
    for (int step = 0; step < 40000 || !blocks.empty(); ++step)
    {
        const bool isGrowing = step < 40000 && step / 4000 % 2 == 0;
        if (random() % 100 < (isGrowing ? 65 : 35) && step < 40000)
        {
            const unsigned size = unit * (1 + unsigned(random()) % 40);
            char *const bytes = static_cast<char *>(pools.allocate(size));
            EXPECT_EQ(0u, uintptr_t(bytes) % sizeof(void *)) << size;
            memset(bytes, int(random()), size);
            blocks.emplace_back(bytes, size);
        }
        else if (!blocks.empty())
        {
            std::swap(blocks[random() % blocks.size()], blocks.back());
            const auto [bytes, size] = blocks.back();
            // Nobody else wrote to it.
            EXPECT_EQ(size, std::count(bytes, bytes + size, *bytes));
            pools.deallocate(bytes, size);
            blocks.pop_back();
        }
    }
}

TEST(UT_SmallObjectAllocator, ThreadsShareOnePoolForEachSize)
{
    static const struct
    {
        int objectsPerPage;
        unsigned unit; // of the sizes
    } theRows[] = {
        {1,  1 },
        {2,  1 },
        {7,  20}, // beyond the sizes whose pools are in a table
        {16, 1 },
    };
    for (const auto &row : theRows)
    {
        SCOPED_TRACE(
            testing::Message() << row.objectsPerPage << " blocks to a page");
        UT_SmallObjectAllocator pools(
            true, row.objectsPerPage, 32 * row.unit, true);
        utChurn(pools, row.unit, 1); // without the lock
        std::thread other([&] { utChurn(pools, row.unit, 2); });
        utChurn(pools, row.unit, 3);
        other.join();
        // In order of size, up to the greatest that is pooled.
        ASSERT_EQ(32u, pools.entries());
        for (unsigned i = 0; i < 32; ++i)
        {
            const unsigned size = (i + 1) * row.unit;
            SCOPED_TRACE(testing::Message() << "pool " << i);
            EXPECT_EQ(size, pools(i).requestedSize());
            EXPECT_EQ((size + 7) / 8 * 8, pools(i).objectSize());
            EXPECT_EQ(0, pools(i).allocated());
            EXPECT_EQ(1, int(pools(i).pageSlots()) - pools(i).freedSlots());
        }
    }
}
