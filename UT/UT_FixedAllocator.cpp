#include "UT_FixedAllocator.h"

#include "UT_AllocImpl.h"

#include <algorithm>
#include <memory>
#include <new>

// A reclaiming allocator's block is followed by its page's slot, in a word of
// this size: 32 bits are all that is used, but the next block must be aligned.
static const unsigned theTrailerSize = sizeof(void *);

// Inline, and here for programs that were compiled when they were not.
[[gnu::used]] static void *(UT_FixedAllocator::*const theAllocate)() =
    &UT_FixedAllocator::allocate;
[[gnu::used]] static void (UT_FixedAllocator::*const theDeallocate)(void *) =
    &UT_FixedAllocator::deallocate;

// Blocks that fill lines of the processor's cache, or of which some fill one,
// start with a line: fewer lines to wait for. The C library aligns whole lines.
static void *
utAllocateLines(size_t bytes, unsigned blockSize)
{
    const size_t line = 64;
    const bool fits = blockSize % line == 0 || line % blockSize == 0;
    if (!fits || bytes % line != 0)
        return utAllocate(bytes);
    return utChecked(aligned_alloc(line, bytes));
}

UT_FixedAllocator::ut_SmallObjectPage::ut_SmallObjectPage(
    const UT_FixedAllocator &owner, int32 slot)
    : memory(nullptr), freeList(nullptr), next(nullptr), prev(nullptr),
      freeCount(0)
{
    // Sizes that no number holds have wrapped.
    const bool isBlock = owner.myObjectSize >= owner.myRequestedSize &&
                         owner.blockSize() >= owner.myObjectSize;
    size_t bytes = 0;
    if (isBlock &&
        !__builtin_mul_overflow(
            size_t(owner.blockSize()), size_t(owner.myObjectsPerPage), &bytes))
        memory = utAllocateLines(bytes, owner.blockSize());
    else
        throw std::bad_alloc();
    buildFreeList(owner, slot);
}

void
UT_FixedAllocator::ut_SmallObjectPage::buildFreeList(
    const UT_FixedAllocator &owner, int32 slot)
{
    const size_t stride = owner.blockSize();
    char *block = static_cast<char *>(memory);
    freeList = block;
    freeCount = owner.myObjectsPerPage;
    for (int32 i = 1; i <= freeCount; ++i, block += stride)
    {
        void *const following = i < freeCount ? block + stride : nullptr;
        memcpy(block, &following, sizeof(following));
        if (owner.myReclaim)
            memcpy(block + owner.myObjectSize, &slot, sizeof(slot));
    }
}

UT_FixedAllocator::UT_FixedAllocator(
    unsigned int size, bool reclaim, int objectsPerPage)
    : myPartialPages(nullptr), myFreeList(nullptr),
      myObjectSize((std::max(size, 4u) + 7) & ~7u), myAllocated(0),
      myRequestedSize(size), myEmptyPage(-1),
      myObjectsPerPage(std::max(objectsPerPage, 1)), myFreedSlots(0),
      myReclaim(reclaim)
{
}

UT_FixedAllocator::~UT_FixedAllocator()
{
    for (unsigned slot = myPages.entries(); slot-- > 0;)
        delete myPages(slot);
}

unsigned int
UT_FixedAllocator::blockSize() const
{
    return myReclaim ? myObjectSize + theTrailerSize : myObjectSize;
}

UT_FixedAllocator::ut_SmallObjectPage *
UT_FixedAllocator::allocPage()
{
    unsigned slot = myPages.entries();
    if (myFreedSlots > 0)
        while (myPages(--slot))
            ;
    // Nothing is counted before there is a page.
    auto page = std::make_unique<ut_SmallObjectPage>(*this, int32(slot));
    if (slot == myPages.entries())
        myPages.append(page.get());
    else
    {
        myPages(slot) = page.get();
        --myFreedSlots;
    }
    return page.release();
}

void
UT_FixedAllocator::releasePage(int slot)
{
    ut_SmallObjectPage *page = myPages(unsigned(slot));
    unlinkPage(page);
    delete page;
    myPages(unsigned(slot)) = nullptr;
    ++myFreedSlots;
}

// With one object to a page, a free page that is kept is not in the list: then
// it is not the head either, and has no neighbours.
void
UT_FixedAllocator::unlinkPage(ut_SmallObjectPage *page)
{
    if (myPartialPages == page)
    {
        myPartialPages = page->next;
        return;
    }
    if (page->prev)
        page->prev->next = page->next;
    if (page->next)
        page->next->prev = page->prev;
}

void
UT_FixedAllocator::addPage()
{
    linkPage(allocPage());
}

void *
UT_FixedAllocator::allocateSlowly()
{
    // Nothing has changed if a page cannot be allocated.
    if (!myReclaim)
    {
        myFreeList = allocPage()->freeList;
        ++myAllocated;
        return pop(myFreeList);
    }
    if (!myPartialPages)
        addPage();
    ++myAllocated;
    ut_SmallObjectPage *const page = myPartialPages;
    void *const block = pop(page->freeList);
    if (--page->freeCount == 0)
        unlinkPage(page);
    else if (
        page->freeCount == myObjectsPerPage - 1 && slotOf(block) == myEmptyPage)
        myEmptyPage = -1;
    return block;
}

// Only with reclaiming. Complete, for programs whose inline part does less.
void
UT_FixedAllocator::deallocateSlowly(void *block)
{
    --myAllocated;
    const int slot = slotOf(block);
    ut_SmallObjectPage *const page = myPages(unsigned(slot));
    push(page->freeList, block);
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

void
UT_FixedAllocator::getMemoryUsage(unsigned int &used, unsigned int &total) const
{
    const unsigned overhead =
        unsigned(myPages.capacity() * sizeof(void *) + sizeof(*this));
    const unsigned pages = myPages.entries() - unsigned(myFreedSlots);
    used = unsigned(myAllocated) * blockSize() + overhead;
    total = pages * unsigned(myObjectsPerPage) * blockSize() + overhead;
}
