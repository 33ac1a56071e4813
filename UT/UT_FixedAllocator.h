// Blocks of one size, cut from pages: for objects that a program creates and
// deletes by the thousand.

#pragma once

#include "UT_API.h"
#include "UT_PtrArray.h"

#include "SYS/SYS_Types.h"

#include <cstdlib>
#include <cstring>

/// Hands out blocks of one fixed size.
///
/// An allocator that reclaims records which page each block came from, and
/// returns a page to the heap when all its blocks are free, except for one such
/// page that it keeps. That costs one word per block. Without reclaiming, the
/// pages stay until the allocator is destroyed.
///
/// Blocks are aligned for a pointer and no further; their contents are
/// undefined. When there is no memory for a page, allocate() throws
/// std::bad_alloc and changes nothing.
///
/// Thread-compatible: calls on one allocator must not overlap.
class UT_API UT_FixedAllocator
{
public:
    /// An allocator for blocks of at least `size` bytes, `objectsPerPage` (at
    /// least 1) to a page. It has no page yet.
    UT_FixedAllocator(unsigned int size, bool reclaim, int objectsPerPage);

    /// Frees all pages, and with them the blocks still in use.
    ~UT_FixedAllocator();

    UT_FixedAllocator(const UT_FixedAllocator &) = delete;
    UT_FixedAllocator &operator=(const UT_FixedAllocator &) = delete;

    /// A block of objectSize() bytes, to be freed with deallocate(). The blocks
    /// of a new page are used in the order of their addresses, and the block
    /// freed last is reused first. O(1), with at most one new page for every
    /// `objectsPerPage` calls.
    [[nodiscard]] void *allocate();

    /// Frees a block of this allocator; does nothing for null. O(1).
    void deallocate(void *block);

    /// Bytes in the blocks in use, and in all pages. Both count the reclaiming
    /// word of each block, this object and its array of pages. They are
    /// computed with 32 bits and wrap at 4 GiB.
    void getMemoryUsage(unsigned int &used, unsigned int &total) const;

    /// Bytes in a block: the size asked for, rounded up to a multiple of 8 and
    /// never 0.
    [[nodiscard]] unsigned int objectSize() const { return myObjectSize; }

    /// The size asked for at construction.
    [[nodiscard]] unsigned int requestedSize() const { return myRequestedSize; }

    /// Number of blocks in a page.
    [[nodiscard]] int objectsPerPage() const { return myObjectsPerPage; }

    /// Number of blocks in use.
    [[nodiscard]] int allocated() const { return myAllocated; }

    /// Number of page slots: pages, and slots whose page was returned to the
    /// heap.
    [[nodiscard]] unsigned int pageSlots() const { return myPages.entries(); }

    /// Number of page slots without a page. They are reused, from the last one,
    /// before slots are added.
    [[nodiscard]] int freedSlots() const { return myFreedSlots; }

    /// Slot of the page that is kept although all its blocks are free, -1 when
    /// there is none. Only for an allocator that reclaims.
    [[nodiscard]] int emptyPage() const { return myEmptyPage; }

private:
    friend class UT_SmallObjectAllocator;
    struct ut_SmallObjectPage;

    static void *pop(void *&list);
    static void push(void *&list, void *block);
    [[nodiscard]] int slotOf(const void *block) const;

    // Not UT_LOCAL: the inline functions call them.
    void *allocateSlowly();
    void deallocateSlowly(void *block);

    [[nodiscard]] UT_LOCAL unsigned int blockSize() const;
    UT_LOCAL ut_SmallObjectPage *allocPage();
    UT_LOCAL void addPage();
    UT_LOCAL void releasePage(int slot);
    void linkPage(ut_SmallObjectPage *page);
    UT_LOCAL void unlinkPage(ut_SmallObjectPage *page);

    // Programs hold allocators by value: order and size stay.
    UT_PtrArray<ut_SmallObjectPage *> myPages; // by slot; null when returned
    ut_SmallObjectPage *myPartialPages; // those with free blocks; reclaiming
    void *myFreeList;                   // of all pages; without reclaiming
    unsigned int myObjectSize;          // bytes, without the reclaiming word
    int myAllocated;                    // blocks in use
    unsigned int myRequestedSize;
    int myEmptyPage; // slot of the one free page kept, or -1
    int32 myObjectsPerPage;
    int myFreedSlots; // null slots in myPages
    bool myReclaim;
};

static_assert(sizeof(void *) != 4 || sizeof(UT_FixedAllocator) == 52);

// A page's blocks and its place in the list of pages with free blocks. Programs
// take blocks from it and give them back: order and size stay.
struct UT_FixedAllocator::ut_SmallObjectPage
{
    UT_LOCAL ut_SmallObjectPage(const UT_FixedAllocator &owner, int32 slot);
    ~ut_SmallObjectPage() { free(memory); }

    ut_SmallObjectPage(const ut_SmallObjectPage &) = delete;
    ut_SmallObjectPage &operator=(const ut_SmallObjectPage &) = delete;

    UT_LOCAL void buildFreeList(const UT_FixedAllocator &owner, int32 slot);

    void *memory;
    void *freeList; // without reclaiming, the list at the beginning
    ut_SmallObjectPage *next;
    ut_SmallObjectPage *prev; // except that of the list's head
    int32 freeCount;
};

// ---- Inline functions

// A free block begins with the link to the next one.
inline void *
UT_FixedAllocator::pop(void *&list)
{
    void *const block = list;
    memcpy(&list, block, sizeof(list));
    return block;
}

inline void
UT_FixedAllocator::push(void *&list, void *block)
{
    memcpy(block, &list, sizeof(list));
    list = block;
}

// The slot follows the block, in a word of which 32 bits are used.
inline int
UT_FixedAllocator::slotOf(const void *block) const
{
    int32 slot;
    memcpy(
        &slot, static_cast<const char *>(block) + myObjectSize, sizeof(slot));
    return slot;
}

// The list is followed from its head, so a page needs to know the one before it
// only when there is one: the head's is whatever it was.
inline void
UT_FixedAllocator::linkPage(ut_SmallObjectPage *page)
{
    page->next = myPartialPages;
    if (page->next)
        page->next->prev = page;
    myPartialPages = page;
}

// Only an allocator that does not reclaim has a free list, and only one that
// reclaims has partial pages. Where all blocks of a page in their list are
// free, it is the one that is kept.
inline void *
UT_FixedAllocator::allocate()
{
    if (myFreeList)
    {
        ++myAllocated;
        return pop(myFreeList);
    }
    ut_SmallObjectPage *const page = myPartialPages;
    if (!page)
        return allocateSlowly();
    ++myAllocated;
    if (page->freeCount == myObjectsPerPage)
        myEmptyPage = -1;
    if (--page->freeCount > 0)
        return pop(page->freeList);
    void *const last = page->freeList;
    page->freeList = nullptr;
    myPartialPages = page->next;
    return last;
}

inline void
UT_FixedAllocator::deallocate(void *block)
{
    if (!block)
        return;
    if (!myReclaim)
    {
        --myAllocated;
        push(myFreeList, block);
        return;
    }
    const int slot = slotOf(block);
    ut_SmallObjectPage *const page = myPages(unsigned(slot));
    const int32 freeCount = page->freeCount + 1;
    if (freeCount == myObjectsPerPage)
    {
        if (myEmptyPage >= 0 || freeCount == 1)
        {
            deallocateSlowly(block);
            return;
        }
        myEmptyPage = slot;
    }
    --myAllocated;
    page->freeCount = freeCount;
    if (freeCount > 1)
    {
        push(page->freeList, block);
        return;
    }
    page->freeList = nullptr;
    push(page->freeList, block);
    linkPage(page);
}
