#include "UT/UT_FixedAllocator.h"
#include "UT/UT_SmallObjectAllocator.h"

#include <gtest/gtest.h>

#include <cstring>
#include <list>
#include <random>
#include <thread>
#include <utility>
#include <vector>

namespace
{
// What a reclaiming allocator does, page by page.
struct ut_PageModel
{
    struct Page
    {
        char *base;            // null until a block tells, and when gone
        std::vector<int> free; // the last one goes out first
    };

    Page &at(int slot) { return slots[size_t(slot)]; }

    // The slot of the next block's page, and its place there.
    std::pair<int, int> take()
    {
        if (partial.empty())
        {
            int slot = int(slots.size()) - 1;
            while (slot >= 0 && at(slot).base)
                --slot;
            if (slot < 0)
                slots.emplace_back();
            partial.push_front(slot < 0 ? int(slots.size()) - 1 : slot);
            for (int i = perPage; i-- > 0;)
                at(partial.front()).free.push_back(i);
        }
        const int slot = partial.front();
        const int index = at(slot).free.back();
        at(slot).free.pop_back();
        if (at(slot).free.empty())
            partial.pop_front();
        else if (empty == slot)
            empty = -1;
        return {slot, index};
    }

    void giveBack(int slot, int index)
    {
        at(slot).free.push_back(index);
        if (int(at(slot).free.size()) == perPage)
        {
            if (empty >= 0)
            {
                at(empty) = {};
                partial.remove(empty);
            }
            empty = slot;
        }
        else if (at(slot).free.size() == 1)
            partial.push_front(slot);
    }

    int perPage;
    std::vector<Page> slots;
    std::list<int> partial;
    int empty = -1;
};
} // namespace

TEST(UT_FixedAllocator, SizesRoundUpToMultiplesOfEight)
{
    static const unsigned theCases[][2] = {
        {0,  8 },
        {1,  8 },
        {8,  8 },
        {9,  16},
        {12, 16},
        {16, 16},
        {17, 24}
    };
    for (const auto &row : theCases)
        EXPECT_EQ(row[1], UT_FixedAllocator(row[0], true, 4).objectSize());
}

TEST(UT_FixedAllocator, ReclaimsPagesButForOne)
{
    const unsigned size = 20;
    const size_t stride = 24 + sizeof(void *);
    struct Live
    {
        char *address;
        int slot, index;
    };
    for (int perPage : {1, 2, 4, 7})
    {
        UT_FixedAllocator pool(size, true, perPage);
        ut_PageModel model{perPage, {}, {}};
        std::vector<Live> live;
        std::mt19937 random(7);
        for (int step = 0; step < 20000; ++step)
        {
            SCOPED_TRACE(testing::Message() << perPage << " at " << step);
            // Waves of growth and decline, so that pages come and go.
            if (live.empty() || random() % 100 < (step / 500 % 2 ? 35 : 65))
            {
                const auto [slot, index] = model.take();
                char *address = static_cast<char *>(pool.allocate());
                char *&base = model.at(slot).base;
                if (!base)
                    base = address - size_t(index) * stride;
                ASSERT_EQ(base + size_t(index) * stride, address);
                ASSERT_EQ(0u, uintptr_t(address) % sizeof(void *));
                memset(address, slot, size);
                live.push_back({address, slot, index});
            }
            else
            {
                std::swap(live[random() % live.size()], live.back());
                const Live gone = live.back();
                live.pop_back();
                for (unsigned i = 0; i < size; ++i)
                    ASSERT_EQ(char(gone.slot), gone.address[i]);
                pool.deallocate(gone.address);
                model.giveBack(gone.slot, gone.index);
            }
            unsigned pages = 0;
            for (const auto &page : model.slots)
                pages += page.base != nullptr;
            unsigned used, total;
            pool.getMemoryUsage(used, total);
            ASSERT_EQ(model.slots.size(), pool.pageSlots());
            ASSERT_EQ(int(pool.pageSlots() - pages), pool.freedSlots());
            ASSERT_EQ(model.empty, pool.emptyPage());
            ASSERT_EQ(int(live.size()), pool.allocated());
            ASSERT_EQ(
                (pages * unsigned(perPage) - live.size()) * stride,
                total - used);
        }
    }
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
    unsigned used, total;
    pool.getMemoryUsage(used, total);
    EXPECT_EQ(sizeof pool + 4 * sizeof(void *), used);
    EXPECT_EQ(used + 8 * 24, total);
    for (size_t i = 8; i-- > 0;) // the last one back is the first one out
        EXPECT_EQ(blocks[i], pool.allocate());
}

TEST(UT_SmallObjectAllocator, HasOnePoolForEachSizeInOrder)
{
    UT_SmallObjectAllocator pools(true, 4, 128, false);
    for (unsigned size : {24u, 8u, 16u, 24u, 8u, 129u})
    {
        void *block = pools.allocate(size);
        memset(block, 1, size);
        if (size > 128) // from the heap
            pools.deallocate(block, size);
    }
    ASSERT_EQ(3u, pools.entries());
    static const unsigned thePools[][2] = {
        {8,  2},
        {16, 1},
        {24, 2}
    };
    for (unsigned i = 0; i < 3; ++i)
    {
        EXPECT_EQ(thePools[i][0], pools(i).requestedSize());
        EXPECT_EQ(thePools[i][1], unsigned(pools(i).allocated()));
    }
}

TEST(UT_SmallObjectAllocator, ThreadsShareItsPools)
{
    UT_SmallObjectAllocator pools(true, 16, 32, true);
    const auto churn = [&](unsigned seed)
    {
        std::mt19937 random(seed);
        std::vector<unsigned char *> live; // the first byte tells the size
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
    for (unsigned i = 0; i < pools.entries(); ++i)
        EXPECT_EQ(0, pools(i).allocated());
}
