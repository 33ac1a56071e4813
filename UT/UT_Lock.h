// Mutual exclusion by one atomically exchanged word, without an operating
// system mutex: a waiting thread retries or sleeps briefly, and each call
// chooses how much of either.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <atomic>

#include <pthread.h>

/// Selects the constructor of a lock that is ready before any code runs.
enum UT_StaticLockType
{
    UT_STATIC_LOCK
};

/// A lock, recursive or not, and a one-shot trigger.
///
/// Taking a free lock costs one exchange and no system call. There are three
/// ways to wait for one that is held:
///
/// | call | waits by | costs | for a lock that is held |
/// |---|---|---|---|
/// | `lock()` | retrying | a processor | for microseconds |
/// | `lockLW()` | 4000 retries, then naps | little | briefly, as a rule |
/// | `lockNap()` | naps of 10 ms | up to 10 ms of delay | for long |
///
/// The order of waiting threads is not kept: the first exchange gets the lock.
/// A non-recursive lock that its holder takes again is never freed. The lock
/// does not check that the thread that unlocks it is the one that holds it.
///
/// A trigger is a lock that lets one thread wait for a signal of another:
///
/// | state | `trigger()` | `waitForTrigger()` |
/// |---|---|---|
/// | free | does nothing | takes it and waits for a trigger |
/// | held, not yet waited for | frees it | waits for two triggers |
/// | held by a waiter | ends that wait | joins; a trigger may end neither |
///
/// Thread-safe, except for construction, assignment and debugLock().
///
/// A lock that another thread holds at a fork() stays held in the child, which
/// must not wait for it: the thread that would unlock it does not exist there.
/// The toolkit's own locks (of the pools, the settings, the message files and
/// the error log) are free in a child; the one for host look-ups may not be.
class UT_API UT_Lock
{
public:
    /// A lock that is held from the start when `initiallyLocked` is non-zero,
    /// free otherwise. The owner of a recursive one may lock it again, and must
    /// unlock it as often.
    explicit UT_Lock(int initiallyLocked = 0, bool recursive = false);

    /// A free lock for static storage: it is initialised before the first
    /// constructor runs.
    constexpr explicit UT_Lock(UT_StaticLockType, bool recursive = false)
        : myLockWord(0), myOwner(0), myDepth(0), myCollisions(0),
          myDebugFlag(0), myRecursiveFlag(recursive)
    {
    }

    /// Copies the state: a copy of a held lock is held too, by the same owner,
    /// and needs an unlock of its own.
    UT_Lock(const UT_Lock &source);
    UT_Lock &operator=(const UT_Lock &source);

    /// Makes one attempt. Returns whether the caller now holds the lock; a
    /// failed attempt counts as a collision.
    bool tryLock();

    /// Retries without a pause until the caller holds the lock.
    void lock();

    /// Makes one attempt and up to `tries` more, without a pause. Returns
    /// whether the caller now holds the lock.
    bool lock(int tries);

    /// Waits for the lock: 4000 attempts without a pause (1 on a machine with
    /// one processor, where the holder cannot run meanwhile), then attempts 10
    /// ms apart.
    void lockLW();

    /// Makes one attempt and up to `tries` more, after a sleep of 10 ms each
    /// once those without a pause are used up. Returns whether the caller now
    /// holds the lock.
    bool lockLW(int tries);

    /// Waits for the lock, with attempts 10 ms apart from the start.
    void lockNap();

    /// Makes one attempt and up to `tries` more, 10 ms apart. Returns whether
    /// the caller now holds the lock.
    bool lockNap(int tries);

    /// Frees the lock; a recursive one only at the call that matches its first
    /// lock.
    void unlock();

    /// Sets or clears a flag that is kept for debuggers; nothing reads it.
    void debugLock(bool on);

    /// Ends the wait of the thread in waitForTrigger().
    void trigger() { unlock(); }

    /// Takes the lock, waits until another thread calls trigger(), and leaves
    /// the lock free. Only a trigger() after the lock is taken counts, so a
    /// lock that is held at the call needs two: the first one frees it (see the
    /// table above). Waits as lockLW() does. Not for recursive locks, which do
    /// not wait for their own holder. A thread that is cancelled while it waits
    /// for the trigger leaves the lock free as well.
    void waitForTrigger();

    /// Number of failed attempts since construction: a statistic that racing
    /// threads may undercount.
    [[nodiscard]] int collisions() const
    {
        return myCollisions.load(std::memory_order_relaxed);
    }

private:
    // Not UT_LOCAL: the inline functions call them.
    bool attemptRecursive();
    bool countCollisions(int count);
    void lockSlowly();
    bool lockSlowly(int tries);
    void lockLWSlowly();

    UT_LOCAL void spinWhileHeld();

    // Programs hold locks by value: order and size stay.
    std::atomic<int32> myLockWord;   // 0 free, 1 held
    std::atomic<pthread_t> myOwner;  // of a recursive lock; 0 when free
    int32 myDepth;                   // how often the owner holds it
    std::atomic<int32> myCollisions; // failed attempts
    unsigned myDebugFlag : 1;
    unsigned myRecursiveFlag : 1;
};

static_assert(sizeof(void *) != 4 || sizeof(UT_Lock) == 20);

// ---- Inline functions: attempts, and what is left to do when one succeeds

inline bool
UT_Lock::tryLock()
{
    if (myRecursiveFlag)
        return attemptRecursive();
    return myLockWord.exchange(1, std::memory_order_acquire) == 0 ||
           countCollisions(1);
}

inline void
UT_Lock::lock()
{
    if (!tryLock())
        lockSlowly();
}

inline bool
UT_Lock::lock(int tries)
{
    return tryLock() || lockSlowly(tries);
}

inline void
UT_Lock::lockLW()
{
    if (!tryLock())
        lockLWSlowly();
}

inline void
UT_Lock::unlock()
{
    if (myRecursiveFlag)
    {
        if (--myDepth > 0)
            return;
        myOwner.store(0, std::memory_order_relaxed);
    }
    myLockWord.store(0, std::memory_order_release);
}

/// A lock that prints its number of failed attempts on standard error when it
/// is destroyed.
class UT_API UT_DebugLock : public UT_Lock
{
public:
    /// A lock with a name, which is kept and must outlive it; the other
    /// arguments are as for UT_Lock.
    explicit UT_DebugLock(
        const char *name, int initiallyLocked = 0, bool recursive = false);

    /// Writes "Lock[NAME]: N collisions" and a newline.
    ~UT_DebugLock();

private:
    const char *myName; // borrowed
};
