#include "UT_SmallObjectAllocator.h"

#include "UT_CancelImpl.h"
#include "UT_ForkImpl.h"
#include "UT_Lock.h"
#include "UT_Nap.h"
#include "UT_ThreadImpl.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <new>

#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

// Inline, and here for programs that were compiled when they were not.
[[gnu::used]] static void *(UT_SmallObjectAllocator::*const theAllocate)(
    unsigned int) = &UT_SmallObjectAllocator::allocate;
[[gnu::used]] static void (UT_SmallObjectAllocator::*const theDeallocate)(
    void *, unsigned int) = &UT_SmallObjectAllocator::deallocate;

// Its address identifies the calling thread.
static __thread char theThread __attribute__((tls_model("initial-exec")));

// So many turns of one thread take ten times as long as the end of a favour.
static const unsigned theTurnsOfAFavourite = 4096;

// Looks at a favourite that is inside before naps: see UT_Lock::lockLW().
static const int theMostLooks = 4000;

static const long theNapMs = 10;

static bool
utMemoryBarrier(int command)
{
    return syscall(SYS_membarrier, command, 0, 0) == 0;
}

// Returns when what any thread of the process had written is visible to all.
static void
utShowAllWrites()
{
    if (utMemoryBarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED))
        return;
    // A sandbox that was set up since may refuse. No processor keeps a write to
    // itself for as long as this.
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + std::chrono::milliseconds(theNapMs);
    while (steady_clock::now() < end)
        UTnap(theNapMs);
}

namespace
{

// A lock that forks wait for, and that a thread which has had it many times in
// a row takes without an exchange. Its construction reads no setting: the
// settings may need the first pool.
//
// This thread, the favourite, sets myIsInside and then checks that it is still
// the favourite. Other threads take the lock's word and, when there is a
// favourite, clear myFavourite and then wait until it is not inside. Where both
// write before they read, one of them sees what the other wrote, unless its
// processor delays a write. Other threads have the system complete all delayed
// writes, so the favourite, whose turns are many, needs no slow instruction.
class ut_PoolLock : public UT_Lock
{
public:
    ut_PoolLock()
        : UT_Lock(UT_STATIC_LOCK), myForkLock(*this, UT_FORK_POOLS, endFavour)
    {
        myForkLock.join();
    }
    ~ut_PoolLock() { myForkLock.leave(); }
    ut_PoolLock(const ut_PoolLock &) = delete;
    ut_PoolLock &operator=(const ut_PoolLock &) = delete;

    // Returns whether the calling thread is the favourite, and is inside.
    bool enterAsFavourite()
    {
        // The last favourite's thread may have had the same address.
        if (myFavourite.load(std::memory_order_relaxed) != &theThread ||
            myIsInside.load(std::memory_order_acquire))
            return false;
        myIsInside.store(true, std::memory_order_relaxed);
        std::atomic_signal_fence(std::memory_order_seq_cst);
        if (myFavourite.load(std::memory_order_acquire) == &theThread)
            return true;
        leaveAsFavourite();
        return false;
    }
    void leaveAsFavourite()
    {
        myIsInside.store(false, std::memory_order_release);
    }

    void enter();

private:
    static void endFavour(UT_Lock &lock);

    ut_ForkLock myForkLock;
    std::atomic<const char *> myFavourite{nullptr}; // or null
    std::atomic<bool> myIsInside{false};            // the favourite

    // Only for the holder of the word.
    const char *myLastThread = nullptr;
    unsigned myTurns = 0; // of that thread, without others between
};

// Inline, so that it is in registers.
class ut_PoolGuard
{
public:
    [[gnu::always_inline]] explicit ut_PoolGuard(ut_PoolLock *lock)
        : myLock(lock), myIsFavourite(lock && lock->enterAsFavourite())
    {
        if (lock && !myIsFavourite)
            lock->enter();
    }
    [[gnu::always_inline]] ~ut_PoolGuard()
    {
        if (myIsFavourite)
            myLock->leaveAsFavourite();
        else if (myLock)
            myLock->unlock();
    }
    ut_PoolGuard(const ut_PoolGuard &) = delete;
    ut_PoolGuard &operator=(const ut_PoolGuard &) = delete;

private:
    ut_PoolLock *const myLock; // borrowed, or null
    const bool myIsFavourite;
};

// Waiting is not cancelled: objects free their blocks in destructors.
__attribute__((noinline)) void
ut_PoolLock::enter()
{
    if (!tryLock())
    {
        const ut_CancelGuard cancelGuard;
        lockLW();
    }
    if (myFavourite.load(std::memory_order_relaxed))
        endFavour(*this);
    if (myLastThread != &theThread)
    {
        myLastThread = &theThread;
        myTurns = 0;
    }
    else if (
        ++myTurns == theTurnsOfAFavourite &&
        utMemoryBarrier(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED))
        myFavourite.store(&theThread, std::memory_order_relaxed);
}

// Called with the word held.
void
ut_PoolLock::endFavour(UT_Lock &lock)
{
    ut_PoolLock &self = static_cast<ut_PoolLock &>(lock);
    self.myTurns = 0;
    if (!self.myFavourite.exchange(nullptr))
        return;
    const ut_CancelGuard cancelGuard;
    utShowAllWrites();
    for (int looks = 0; self.myIsInside.load(std::memory_order_acquire);
         ++looks)
        if (looks < theMostLooks)
            utPause();
        else
            UTnap(theNapMs);
}

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
    const ut_PoolGuard guard(
        needsLock() ? static_cast<ut_PoolLock *>(myLock) : nullptr);
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
    const ut_PoolGuard guard(
        needsLock() ? static_cast<ut_PoolLock *>(myLock) : nullptr);
    give(block, size);
}
