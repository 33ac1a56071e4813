// Forks: counting them, and holding the toolkit's locks while they happen.

#include "UT_CancelImpl.h"
#include "UT_ForkImpl.h"
#include "UT_LockImpl.h"

std::atomic<uint16> theForkCount(0);

// Held from before a fork until after it, and by those who leave: the list gets
// no shorter meanwhile. It may get longer at any time, at its head, without
// waiting: the newcomer's thread may hold what the fork waits for.
static UT_Lock theForkLock(UT_STATIC_LOCK);
static std::atomic<ut_ForkLock *> theForkLocks(nullptr);

// Reads no setting, unlike the construction of a first lock.
static void
utTake(UT_Lock &lock)
{
    if (!lock.lock(/*tries=*/1000))
        lock.lockNap();
}

struct ut_ForkHandlers
{
    static void prepare()
    {
        const ut_CancelGuard guard; // fork() must not be left
        utTake(theForkLock);
        for (int order = 0; order < UT_FORK_ORDERS; ++order)
            for (ut_ForkLock *lock = theForkLocks; lock; lock = lock->myNext)
                if (lock->myOrder == order && !lock->myIsTaken)
                {
                    utTake(lock->myLock);
                    lock->myIsTaken = true;
                }
    }

    static void parent()
    {
        for (ut_ForkLock *lock = theForkLocks; lock; lock = lock->myNext)
        {
            if (!lock->myIsTaken)
                continue;
            lock->myIsTaken = false;
            lock->myLock.unlock();
        }
        theForkLock.unlock();
    }

    static void child()
    {
        ++theForkCount;
        parent();
    }
};

void
utWatchForks()
{
    // The handlers belong to this library and are removed when it is unloaded.
    static std::atomic<bool> theAreWatched(false);
    if (!theAreWatched.exchange(true))
        pthread_atfork(
            ut_ForkHandlers::prepare, ut_ForkHandlers::parent,
            ut_ForkHandlers::child);
}

void
ut_ForkLock::join()
{
    if (myIsIn.load(std::memory_order_relaxed) || myIsIn.exchange(true))
        return;
    utWatchForks();
    ut_ForkLock *first = theForkLocks;
    do
        myNext = first;
    while (!theForkLocks.compare_exchange_weak(first, this));
}

void
ut_ForkLock::leave()
{
    if (!myIsIn)
        return;
    const ut_CancelGuard cancelGuard; // destructors come here
    const ut_LockGuard guard(&theForkLock, utTake);
    ut_ForkLock *first = this;
    if (theForkLocks.compare_exchange_strong(first, myNext))
        return;
    while (first->myNext != this)
        first = first->myNext;
    first->myNext = myNext.load();
}
