// The one guard for a UT_Lock.

#pragma once

#include "UT_Lock.h"

// Waits in the usual way, which may read a setting.
inline void
utLockLW(UT_Lock &lock)
{
    lock.lockLW();
}

// Sleeps between attempts, and reads no setting.
inline void
utLockNap(UT_Lock &lock)
{
    lock.lockNap();
}

// Tries without pause, for what is held for a moment only. A thread that is
// being ended does not leave it.
inline void
utLockBusy(UT_Lock &lock)
{
    lock.lock();
}

// Holds a lock while it lives, and nothing where there is none. `take` waits
// for the lock, and may be left by a thread that is being ended.
class ut_LockGuard
{
public:
    using ut_Take = void (*)(UT_Lock &);

    explicit ut_LockGuard(UT_Lock *lock, ut_Take take = utLockLW) : myLock(lock)
    {
        if (myLock)
            take(*myLock);
    }

    ~ut_LockGuard()
    {
        if (myLock)
            myLock->unlock();
    }

    ut_LockGuard(const ut_LockGuard &) = delete;
    ut_LockGuard &operator=(const ut_LockGuard &) = delete;

private:
    UT_Lock *const myLock; // borrowed, or null
};
