#include "UT_SmallObjectAllocator.h"

#include "UT_CancelImpl.h"
#include "UT_ForkImpl.h"
#include "UT_LockImpl.h"

#include <memory>
#include <new>

// Inline, and here for programs that were compiled when they were not.
[[gnu::used]] static void *(UT_SmallObjectAllocator::*const theAllocate)(
    unsigned int) = &UT_SmallObjectAllocator::allocate;
[[gnu::used]] static void (UT_SmallObjectAllocator::*const theDeallocate)(
    void *, unsigned int) = &UT_SmallObjectAllocator::deallocate;

// Waiting is not cancelled: objects free their blocks in destructors.
static inline void
utLockPools(UT_Lock &lock)
{
    if (lock.tryLock())
        return;
    const ut_CancelGuard cancelGuard;
    lock.lockLW();
}

namespace
{

// A lock that forks wait for. Its construction reads no setting: the
// settings may need the first pool.
class ut_PoolLock : public UT_Lock
{
public:
    ut_PoolLock() : UT_Lock(UT_STATIC_LOCK), myForkLock(*this, UT_FORK_POOLS)
    {
        myForkLock.join();
    }
    ~ut_PoolLock() { myForkLock.leave(); }
    ut_PoolLock(const ut_PoolLock &) = delete;
    ut_PoolLock &operator=(const ut_PoolLock &) = delete;

private:
    ut_ForkLock myForkLock;
};

} // namespace

UT_SmallObjectAllocator::UT_SmallObjectAllocator(
    bool reclaim, int objectsPerPage, unsigned int maxObjectSize,
    bool threadSafe)
    : myLastAllocation(nullptr), myLastRelease(nullptr),
      myLock(threadSafe ? new ut_PoolLock : nullptr),
      myObjectsPerPage(objectsPerPage), myMaxObjectSize(maxObjectSize),
      myReclaim(reclaim)
{
}

UT_SmallObjectAllocator::~UT_SmallObjectAllocator()
{
    if (myAllocators.entries() > 0)
        delete[] static_cast<ut_Pool *>(myAllocators(0))->bySize;
    for (unsigned i = myAllocators.entries(); i-- > 0;)
        delete static_cast<ut_Pool *>(myAllocators(i));
    delete static_cast<ut_PoolLock *>(myLock);
}

// Index of the first pool for blocks of `size` bytes or more; the number of
// pools when there is none.
unsigned int
UT_SmallObjectAllocator::findAtLeast(unsigned int size) const
{
    unsigned index = 0;
    while (index < myAllocators.entries() &&
           myAllocators(index)->requestedSize() < size)
        ++index;
    return index;
}

// The pool for blocks of exactly `size` bytes, added when there is none.
__attribute__((noinline)) UT_FixedAllocator *
UT_SmallObjectAllocator::poolFor(unsigned int size)
{
    const unsigned index = findAtLeast(size);
    if (index < myAllocators.entries() &&
        myAllocators(index)->requestedSize() == size)
        return myAllocators(index);

    std::unique_ptr<UT_FixedAllocator *[]> table;
    auto pool = std::make_unique<ut_Pool>(size, myReclaim, myObjectsPerPage);
    if (myAllocators.entries() > 0)
        pool->bySize = static_cast<ut_Pool *>(myAllocators(0))->bySize;
    else
    {
        table = std::make_unique<UT_FixedAllocator *[]>(theQuickSizes);
        pool->bySize = table.get();
    }
    myAllocators.insertAt(pool.get(), index);
    if (size < theQuickSizes)
        pool->bySize[size] = pool.get();
    (void)pool.release();
    (void)table.release();
    myLastRelease = myAllocators(0);
    return myAllocators(index);
}

inline void *
UT_SmallObjectAllocator::take(unsigned int size)
{
    UT_FixedAllocator *pool = quickPool(size);
    if (!pool)
    {
        pool = myLastAllocation;
        if (!pool || pool->requestedSize() != size)
            pool = poolFor(size);
    }
    myLastAllocation = pool;
    return pool->allocate();
}

inline void
UT_SmallObjectAllocator::give(void *block, unsigned int size)
{
    UT_FixedAllocator *pool = quickPool(size);
    if (!pool)
    {
        pool = myLastRelease;
        if (!pool || pool->requestedSize() != size)
        {
            const unsigned index = findAtLeast(size);
            if (index == myAllocators.entries())
                return; // no block of ours has this size
            pool = myAllocators(index);
        }
    }
    myLastRelease = pool;
    pool->deallocate(block);
}

void *
UT_SmallObjectAllocator::allocateSlowly(unsigned int size)
{
    if (size > myMaxObjectSize)
        return ::operator new(size);
    const ut_LockGuard guard(needsLock() ? myLock : nullptr, utLockPools);
    return take(size);
}

void
UT_SmallObjectAllocator::deallocateSlowly(void *block, unsigned int size)
{
    if (size > myMaxObjectSize)
    {
        ::operator delete(block);
        return;
    }
    if (!block)
        return;
    const ut_LockGuard guard(needsLock() ? myLock : nullptr, utLockPools);
    give(block, size);
}
