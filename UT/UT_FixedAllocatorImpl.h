// What an allocator of blocks of one size and the pools made of such allocators
// share: taking and giving a block, which cost a few instructions each.

#pragma once

#include "UT_FixedAllocator.h"

#include <cstdlib>
#include <cstring>

// A reclaiming allocator's block is followed by its page's slot, in a word of
// this size: 32 bits are all that is used, but the next block must be aligned.
static constexpr unsigned theTrailerSize = sizeof(void *);

// A page's blocks and its place in the list of pages with free blocks.
class UT_FixedAllocator::ut_SmallObjectPage
{
public:
    UT_LOCAL ut_SmallObjectPage(const UT_FixedAllocator &owner, int32 slot);
    ~ut_SmallObjectPage() { free(memory); }

    ut_SmallObjectPage(const ut_SmallObjectPage &) = delete;
    ut_SmallObjectPage &operator=(const ut_SmallObjectPage &) = delete;

    void *memory;
    void *freeList; // without reclaiming, the list at the beginning
    ut_SmallObjectPage *next;
    ut_SmallObjectPage *prev;
    int32 freeCount;

private:
    UT_LOCAL void buildFreeList(const UT_FixedAllocator &owner, int32 slot);
};

// The links lie in blocks that held, and will hold, the caller's objects.
inline void *
utNext(const void *block)
{
    void *next;
    memcpy(&next, block, sizeof(next));
    return next;
}

inline void
utSetNext(void *block, void *next)
{
    memcpy(block, &next, sizeof(next));
}

inline int32
utSlot(const void *block, unsigned objectSize)
{
    int32 slot;
    memcpy(&slot, static_cast<const char *>(block) + objectSize, sizeof(slot));
    return slot;
}

inline void *
UT_FixedAllocator::take()
{
    // Nothing has changed if a page cannot be allocated.
    if (!myReclaim)
    {
        if (!myFreeList)
            myFreeList = allocPage()->freeList;
        ++myAllocated;
        void *block = myFreeList;
        myFreeList = utNext(block);
        return block;
    }
    if (__builtin_expect(!myPartialPages, false))
        addPage();
    ++myAllocated;
    ut_SmallObjectPage *page = myPartialPages;
    void *block = page->freeList;
    page->freeList = utNext(block);
    if (--page->freeCount == 0)
        unlinkPage(page);
    else if (
        page->freeCount == myObjectsPerPage - 1 &&
        utSlot(block, myObjectSize) == myEmptyPage)
        myEmptyPage = -1;
    return block;
}

inline void
UT_FixedAllocator::give(void *block)
{
    --myAllocated;
    if (!myReclaim)
    {
        utSetNext(block, myFreeList);
        myFreeList = block;
        return;
    }
    const int slot = utSlot(block, myObjectSize);
    ut_SmallObjectPage *page = myPages(unsigned(slot));
    utSetNext(block, page->freeList);
    page->freeList = block;
    if (++page->freeCount == myObjectsPerPage)
    {
        // Deliberate: with one object to a page, the page that is kept is
        // never used again.
        if (myEmptyPage >= 0)
            releasePage(myEmptyPage);
        myEmptyPage = slot;
    }
    else if (page->freeCount == 1)
        linkPage(page);
}
