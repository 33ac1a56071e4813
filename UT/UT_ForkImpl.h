// Support for fork(): of all threads the child has only the one that forked.

#pragma once

#include "SYS/SYS_Types.h"

#include <atomic>

class UT_Lock;

// Starts counting forks and holding the locks below during each one.
// Thread-safe.
void utWatchForks();

// Forks between the process that first called utWatchForks() and this one.
extern std::atomic<uint16> theForkCount;

// The order in which a fork takes the locks: a holder of one of them may be
// waiting for a later one.
enum ut_ForkOrder
{
    UT_FORK_MESSAGES,
    UT_FORK_LOG,
    UT_FORK_SETTINGS,
    UT_FORK_POOLS, // and whatever else is held on its own
    UT_FORK_ORDERS
};

// A lock that every fork() waits for: both processes then find it free, and
// what it guards consistent. Otherwise a lock that another thread holds at that
// moment would stay held in the child.
class ut_ForkLock
{
public:
    constexpr ut_ForkLock(UT_Lock &lock, ut_ForkOrder order)
        : myLock(lock), myOrder(order)
    {
    }

    ut_ForkLock(const ut_ForkLock &) = delete;
    ut_ForkLock &operator=(const ut_ForkLock &) = delete;

    // Takes part in forks, from the first call on, which waits for a fork that
    // is about to happen. Call before the lock is taken. Both objects must stay
    // until leave().
    void join()
    {
        if (myState.load(std::memory_order_acquire) != theIsIn)
            joinSlowly();
    }
    void leave();

private:
    friend struct ut_ForkHandlers;

    // States. Other ones are of a process where a thread is entering the list.
    static constexpr uint32 theIsOut = 0;
    static constexpr uint32 theIsIn = 1;

    void joinSlowly();

    UT_Lock &myLock;
    const ut_ForkOrder myOrder;
    bool myIsTaken = false; // by the fork in progress
    std::atomic<uint32> myState{theIsOut};
    std::atomic<ut_ForkLock *> myNext{nullptr};
};
