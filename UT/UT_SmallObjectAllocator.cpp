#include "UT_SmallObjectAllocator.h"

#include "UT_CancelImpl.h"
#include "UT_ForkImpl.h"
#include "UT_LockImpl.h"

#include <memory>
#include <new>

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
    for (unsigned i = myAllocators.entries(); i-- > 0;)
        delete myAllocators(i);
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

void *
UT_SmallObjectAllocator::allocate(unsigned int size)
{
    if (size > myMaxObjectSize)
        return ::operator new(size);
    const ut_LockGuard guard(myLock, utLockPools);
    if (!myLastAllocation || myLastAllocation->requestedSize() != size)
    {
        const unsigned index = findAtLeast(size);
        if (index == myAllocators.entries() ||
            myAllocators(index)->requestedSize() != size)
        {
            auto pool = std::make_unique<UT_FixedAllocator>(
                size, myReclaim, myObjectsPerPage);
            myAllocators.insertAt(pool.get(), index);
            (void)pool.release();
            myLastRelease = myAllocators(0);
        }
        myLastAllocation = myAllocators(index);
    }
    return myLastAllocation->allocate();
}

void
UT_SmallObjectAllocator::deallocate(void *block, unsigned int size)
{
    if (size > myMaxObjectSize)
    {
        ::operator delete(block);
        return;
    }
    if (!block)
        return;
    const ut_LockGuard guard(myLock, utLockPools);
    if (!myLastRelease || myLastRelease->requestedSize() != size)
    {
        const unsigned index = findAtLeast(size);
        if (index == myAllocators.entries())
            return; // no block of ours has this size
        myLastRelease = myAllocators(index);
    }
    myLastRelease->deallocate(block);
}
