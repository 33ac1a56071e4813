#include "UT/UT_FixedAllocator.h"
#include "UT/UT_SmallObjectAllocator.h"

#include <gtest/gtest.h>

#include <cstring>
#include <list>
#include <random>
#include <thread>
#include <vector>

namespace
{
// What a reclaiming allocator does, page by page.
class ut_PageModel
{
public:
    struct Block
    {
        int slot;
        int index;
    };

    explicit ut_PageModel(int objectsPerPage) : myPerPage(objectsPerPage) {}

    // The block that must come next, and its page's address so far.
    Block allocate(char **&base)
    {
        if (partial.empty())
        {
            int slot = int(slots.size()) - 1;
            while (slot >= 0 && slots[size_t(slot)].used)
                --slot;
            if (slot < 0)
            {
                slot = int(slots.size());
                slots.emplace_back();
            }
            Page &page = slots[size_t(slot)];
            page = {true, nullptr, {}};
            for (int i = myPerPage; i-- > 0;)
                page.free.push_back(i);
            partial.push_front(slot);
        }
        const int slot = partial.front();
        Page &page = slots[size_t(slot)];
        const Block block = {slot, page.free.back()};
        page.free.pop_back();
        if (page.free.empty())
            partial.pop_front();
        else if (empty == slot)
            empty = -1;
        base = &page.base;
        return block;
    }

    void deallocate(Block block)
    {
        std::vector<int> &free = slots[size_t(block.slot)].free;
        free.push_back(block.index);
        if (int(free.size()) == myPerPage)
        {
            if (empty >= 0)
            {
                slots[size_t(empty)].used = false;
                partial.remove(empty);
            }
            empty = block.slot;
        }
        else if (free.size() == 1)
            partial.push_front(block.slot);
    }

    struct Page
    {
        bool used;
        char *base;
        std::vector<int> free; // the last one goes out first
    };
    std::vector<Page> slots;
    std::list<int> partial;
    int empty = -1;

private:
    int myPerPage;
};
} // namespace

TEST(UT_FixedAllocator, SizesRoundUpToMultiplesOfEight)
{
    static const unsigned theCases[][2] = {
        {0,  8 },
        {1,  8 },
        {4,  8 },
        {8,  8 },
        {9,  16},
        {12, 16},
        {16, 16},
        {17, 24}
    };
    for (const auto &row : theCases)
    {
        const UT_FixedAllocator pool(row[0], true, 4);
        EXPECT_EQ(row[1], pool.objectSize()) << row[0];
        EXPECT_EQ(row[0], pool.requestedSize());
    }
}

TEST(UT_FixedAllocator, ReclaimsPagesButForOne)
{
    for (int perPage : {1, 2, 4, 7})
    {
        const unsigned size = 20;
        UT_FixedAllocator pool(size, true, perPage);
        ut_PageModel model(perPage);
        const size_t stride = 24 + sizeof(void *);
        struct Live
        {
            char *address;
            ut_PageModel::Block block;
        };
        std::vector<Live> live;
        std::mt19937 random(7);
        for (int step = 0; step < 20000; ++step)
        {
            SCOPED_TRACE(testing::Message() << perPage << " at " << step);
            // Waves of growth and decline, so that pages come and go.
            const bool grow = random() % 100 < (step / 500 % 2 ? 35 : 65);
            if (live.empty() || grow)
            {
                char **base;
                const auto block = model.allocate(base);
                char *address = static_cast<char *>(pool.allocate());
                ASSERT_EQ(0u, uintptr_t(address) % sizeof(void *));
                if (!*base)
                    *base = address - size_t(block.index) * stride;
                ASSERT_EQ(*base + size_t(block.index) * stride, address);
                memset(address, block.slot, size);
                live.push_back({address, block});
            }
            else
            {
                std::swap(live[random() % live.size()], live.back());
                const Live gone = live.back();
                live.pop_back();
                for (unsigned i = 0; i < size; ++i)
                    ASSERT_EQ(char(gone.block.slot), gone.address[i]);
                pool.deallocate(gone.address);
                model.deallocate(gone.block);
            }
            unsigned pages = 0;
            for (const auto &page : model.slots)
                pages += page.used;
            ASSERT_EQ(model.slots.size(), pool.pageSlots());
            ASSERT_EQ(int(pool.pageSlots() - pages), pool.freedSlots());
            ASSERT_EQ(model.empty, pool.emptyPage());
            ASSERT_EQ(int(live.size()), pool.allocated());
            unsigned used, total;
            pool.getMemoryUsage(used, total);
            ASSERT_EQ(
                (pages * unsigned(perPage) - live.size()) * stride,
                total - used);
        }
    }
}

TEST(UT_FixedAllocator, KeepsPagesUnlessItReclaims)
{
    UT_FixedAllocator pool(24, false, 4);
    std::vector<char *> blocks;
    for (int i = 0; i < 8; ++i)
        blocks.push_back(static_cast<char *>(pool.allocate()));
    for (size_t i : {1u, 2u, 3u})
        EXPECT_EQ(blocks[0] + i * 24, blocks[i]);
    for (char *block : blocks)
        pool.deallocate(block);
    pool.deallocate(nullptr);
    EXPECT_EQ(0, pool.allocated());
    EXPECT_EQ(2u, pool.pageSlots());
    EXPECT_EQ(0, pool.freedSlots());
    for (size_t i = 8; i-- > 0;) // the last one back is the first one out
        EXPECT_EQ(blocks[i], pool.allocate());
}

TEST(UT_FixedAllocator, CountsItsOwnMemory)
{
    for (bool reclaim : {false, true})
    {
        UT_FixedAllocator pool(12, reclaim, 10);
        unsigned used, total;
        pool.getMemoryUsage(used, total);
        EXPECT_EQ(sizeof pool, used);
        EXPECT_EQ(sizeof pool, total);
        pool.allocate();
        pool.getMemoryUsage(used, total);
        const size_t block = reclaim ? 16 + sizeof(void *) : 16;
        const size_t overhead = sizeof pool + 4 * sizeof(void *);
        EXPECT_EQ(overhead + block, used);
        EXPECT_EQ(overhead + 10 * block, total);
    }
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
    static const struct
    {
        unsigned size;
        int allocated;
    } thePools[] = {
        {8,  2},
        {16, 1},
        {24, 2}
    };
    ASSERT_EQ(std::size(thePools), pools.entries());
    for (unsigned i = 0; i < pools.entries(); ++i)
    {
        EXPECT_EQ(thePools[i].size, pools(i).requestedSize());
        EXPECT_EQ(thePools[i].allocated, pools(i).allocated());
    }
}

static void
utChurn(UT_SmallObjectAllocator &pools, unsigned seed)
{
    struct Live
    {
        unsigned char *block;
        unsigned size;
    };
    std::mt19937 random(seed);
    std::vector<Live> live;
    for (int step = 0; step < 20000; ++step)
        if (live.size() < 200 && random() % 2)
        {
            const unsigned size = 1 + unsigned(random() % 40);
            live.push_back(
                {static_cast<unsigned char *>(pools.allocate(size)), size});
            memset(live.back().block, int(seed + size), size);
        }
        else if (!live.empty())
        {
            std::swap(live[random() % live.size()], live.back());
            const Live gone = live.back();
            live.pop_back();
            for (unsigned i = 0; i < gone.size; ++i)
                ASSERT_EQ(uint8(seed + gone.size), gone.block[i]);
            pools.deallocate(gone.block, gone.size);
        }
    for (const Live &last : live)
        pools.deallocate(last.block, last.size);
}

TEST(UT_SmallObjectAllocator, ThreadsShareItsPools)
{
    UT_SmallObjectAllocator pools(true, 16, 32, true);
    std::thread other(utChurn, std::ref(pools), 1u);
    utChurn(pools, 2u);
    other.join();
    for (unsigned i = 0; i < pools.entries(); ++i)
        EXPECT_EQ(0, pools(i).allocated());
}
