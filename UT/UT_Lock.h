// Mutual exclusion by one atomically exchanged word. There is no operating
// system mutex behind it: waiting is retrying and short sleeping, and each
// call chooses how much of either.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <atomic>

#include <pthread.h>

/// Asks for a lock that is ready before any code runs.
enum UT_StaticLockType
{
    UT_STATIC_LOCK
};

/// A lock, recursive or not, and a one-shot trigger.
///
/// Taking a free lock costs one exchange and no system call. Nothing is fair:
/// whoever's exchange comes first has the lock. A non-recursive lock that its
/// holder takes again never comes free. Nothing checks that the thread that
/// unlocks is the one that holds the lock.
///
/// Thread-safe, but for construction, assignment and debugLock().
///
/// A lock that another thread holds at a fork() stays held in the child, which
/// must not wait for it: the thread that would unlock it is not there. The
/// toolkit's own locks, those of the pools, the settings, the names of files
/// and texts and the error log, are free in a child; that of host look-ups need
/// not be.
class UT_API UT_Lock
{
public:
    /// A lock that is held from the start when `initiallyLocked` is non-zero
    /// (a trigger), free otherwise. The owner of a recursive one may lock it
    /// again, and must unlock it as often.
    explicit UT_Lock(int initiallyLocked = 0, bool recursive = false);

    /// A free, non-recursive lock for static storage: it is there before the
    /// first constructor runs, and constructing it does nothing.
    constexpr explicit UT_Lock(UT_StaticLockType)
        : myLockWord(0), myOwner(0), myDepth(0), myCollisions(0),
          myDebugFlag(0), myRecursiveFlag(0)
    {
    }

    /// Copies the state as it is: a copy of a held lock is held too, by the
    /// same owner, and needs an unlock of its own.
    UT_Lock(const UT_Lock &source);
    UT_Lock &operator=(const UT_Lock &source);

    /// One attempt. Returns whether the caller holds the lock now; a failed
    /// attempt counts as a collision.
    bool tryLock();

    /// Tries without pause until it has the lock.
    void lock();

    /// One attempt and up to `tries` more, without pause.
    bool lock(int tries);

    /// The usual way to wait: spins for a while (4000 attempts; 1 on a machine
    /// with one processor, where the holder cannot run meanwhile), then sleeps
    /// 10 ms between attempts.
    void lockLW();

    /// One attempt and up to `tries` more, with a sleep of 10 ms before each
    /// one once the spinning is used up.
    bool lockLW(int tries);

    /// Sleeps 10 ms between attempts from the start.
    void lockNap();

    /// One attempt and up to `tries` more, 10 ms apart.
    bool lockNap(int tries);

    /// Gives the lock back; a recursive one only when this was done as often
    /// as it was taken.
    void unlock();

    /// Sets or clears a flag that is kept for debuggers; nothing reads it.
    void debugLock(bool on);

    /// Lets the thread in waitForTrigger() go on.
    void trigger() { unlock(); }

    /// Takes the lock, waits until another thread calls trigger() from then
    /// on, and leaves the lock free. A lock that is held at the call, by its
    /// construction or by the caller, needs a trigger() before that one to
    /// come free first. Waits as lockLW() does; not for recursive locks, whose
    /// second taking does not wait. A thread that is cancelled in the second
    /// wait leaves the lock free as well.
    void waitForTrigger();

    /// Attempts that failed since construction; a statistic that racing
    /// threads may undercount.
    [[nodiscard]] int collisions() const
    {
        return myCollisions.load(std::memory_order_relaxed);
    }

private:
    UT_LOCAL bool attempt();
    UT_LOCAL bool finishAttempt(bool wasFree);

    // Programs hold locks by value: order and size stay.
    std::atomic<int32> myLockWord;   // 0 free, 1 held
    std::atomic<pthread_t> myOwner;  // of a recursive lock; 0 when free
    int32 myDepth;                   // how often the owner holds it
    std::atomic<int32> myCollisions; // failed attempts
    unsigned myDebugFlag : 1;
    unsigned myRecursiveFlag : 1;
};

static_assert(sizeof(void *) != 4 || sizeof(UT_Lock) == 20);

/// A lock that tells its failed attempts on standard error when it goes.
class UT_API UT_DebugLock : public UT_Lock
{
public:
    /// `name` is kept and must outlive the lock; the rest as for UT_Lock.
    explicit UT_DebugLock(
        const char *name, int initiallyLocked = 0, bool recursive = false);

    /// Writes "Lock[NAME]: N collisions" and a newline.
    ~UT_DebugLock();

private:
    const char *myName; // borrowed
};
