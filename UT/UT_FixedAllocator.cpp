#include "UT_FixedAllocator.h"

#include "UT_AllocImpl.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

// A reclaiming allocator's block is followed by its page's slot, in a word of
// this size: 32 bits are all that is used, but the next block must be aligned.
static const unsigned theTrailerSize = sizeof(void *);

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
static void *
utNext(const void *block)
{
    void *next;
    memcpy(&next, block, sizeof(next));
    return next;
}

static void
utSetNext(void *block, void *next)
{
    memcpy(block, &next, sizeof(next));
}

static int32
utSlot(const void *block, unsigned objectSize)
{
    int32 slot;
    memcpy(&slot, static_cast<const char *>(block) + objectSize, sizeof(slot));
    return slot;
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
        memory = utAllocate(bytes);
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
        utSetNext(block, i < freeCount ? block + stride : nullptr);
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

void
UT_FixedAllocator::linkPage(ut_SmallObjectPage *page)
{
    page->prev = nullptr;
    page->next = myPartialPages;
    if (page->next)
        page->next->prev = page;
    myPartialPages = page;
}

// With one object to a page, a free page that is kept is not in the list: then
// it is not the head either, and has no neighbours.
void
UT_FixedAllocator::unlinkPage(ut_SmallObjectPage *page)
{
    if (myPartialPages == page)
        myPartialPages = page->next;
    if (page->prev)
        page->prev->next = page->next;
    if (page->next)
        page->next->prev = page->prev;
    page->next = nullptr;
    page->prev = nullptr;
}

void *
UT_FixedAllocator::allocate()
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
    if (!myPartialPages)
        linkPage(allocPage());
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

void
UT_FixedAllocator::deallocate(void *block)
{
    if (!block)
        return;
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

void
UT_FixedAllocator::getMemoryUsage(unsigned int &used, unsigned int &total) const
{
    const unsigned overhead =
        unsigned(myPages.capacity() * sizeof(void *) + sizeof(*this));
    const unsigned pages = myPages.entries() - unsigned(myFreedSlots);
    used = unsigned(myAllocated) * blockSize() + overhead;
    total = pages * unsigned(myObjectsPerPage) * blockSize() + overhead;
}
