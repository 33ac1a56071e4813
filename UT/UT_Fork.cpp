// Forks: counting them, and holding the toolkit's locks while they happen.

#include "UT_CancelImpl.h"
#include "UT_ForkImpl.h"
#include "UT_LockImpl.h"
#include "UT_Nap.h"

std::atomic<uint16> theForkCount(0);

// Held from before a fork until after it, and by those who leave: the list gets
// no shorter meanwhile. It may get longer at any time, at its head, without
// waiting for this lock: the newcomer's thread may hold what the fork waits
// for.
static UT_Lock theForkLock(UT_STATIC_LOCK);
static std::atomic<ut_ForkLock *> theForkLocks(nullptr);

// Set while a fork holds all locks of the list. A newcomer enters the list and
// then looks here, the fork sets this and then looks at the list: one of them
// sees the other.
static std::atomic<bool> theIsForking(false);

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
        takeAll();
        theIsForking = true;
        // A newcomer's holder may be waiting for a lock that is taken by now,
        // so they are taken in order once more.
        while (!areAllTaken())
        {
            freeAll();
            takeAll();
            theIsForking = true;
        }
    }

    static void parent()
    {
        freeAll();
        theForkLock.unlock();
    }

    static void child()
    {
        ++theForkCount;
        // The threads that were entering the list are not here.
        for (ut_ForkLock *lock = theForkLocks; lock; lock = lock->myNext)
            lock->myState = ut_ForkLock::theIsIn;
        parent();
    }

private:
    static void takeAll()
    {
        for (int order = 0; order < UT_FORK_ORDERS; ++order)
            for (ut_ForkLock *lock = theForkLocks; lock; lock = lock->myNext)
                if (lock->myOrder == order && !lock->myIsTaken)
                {
                    utTake(lock->myLock);
                    lock->myIsTaken = true;
                }
    }

    static bool areAllTaken()
    {
        const ut_ForkLock *lock = theForkLocks;
        while (lock && lock->myIsTaken)
            lock = lock->myNext;
        return !lock;
    }

    static void freeAll()
    {
        theIsForking = false;
        for (ut_ForkLock *lock = theForkLocks; lock; lock = lock->myNext)
        {
            if (!lock->myIsTaken)
                continue;
            lock->myIsTaken = false;
            lock->myLock.unlock();
        }
    }
};

void
utWatchForks()
{
    // The handlers belong to this library and are removed when it is unloaded.
    static pthread_once_t theOnce = PTHREAD_ONCE_INIT;
    pthread_once(
        &theOnce,
        []
        {
            pthread_atfork(
                ut_ForkHandlers::prepare, ut_ForkHandlers::parent,
                ut_ForkHandlers::child);
        });
}

void
ut_ForkLock::joinSlowly()
{
    const ut_CancelGuard cancelGuard; // others wait for the end of this
    // One thread enters the list, and the others wait for it. One that was
    // entering when this process was forked is not here.
    const uint32 isEntering = theIsIn + 1 + theForkCount;
    uint32 state = theIsOut;
    while (!myState.compare_exchange_strong(state, isEntering))
    {
        if (state == theIsIn)
            return;
        if (state == isEntering)
        {
            UTnap(1);
            state = theIsOut;
        }
    }
    utWatchForks();
    ut_ForkLock *first = theForkLocks;
    do
        myNext = first;
    while (!theForkLocks.compare_exchange_weak(first, this));
    while (theIsForking)
        UTnap(1);
    myState = theIsIn;
}

void
ut_ForkLock::leave()
{
    if (myState != theIsIn)
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
