#include "UT_Lock.h"

#include "UT_CancelImpl.h"
#include "UT_LockImpl.h"
#include "UT_Nap.h"
#include "UT_Thread.h"
#include "UT_ThreadImpl.h"

#include <cstdio>

static const long theNapMs = 10;

// Between two looks at a lock that is held: well below a microsecond.
static const int theMostPauses = 16;

// Attempts before a light-weight wait starts to sleep; -1 until decided.
static std::atomic<int32> theLightWeightItrs(-1);

// Deciding may construct locks, which come back here. That ends, because the
// processor count is known before the settings that construct them are read.
static int
utLightWeightItrs()
{
    int32 tries = theLightWeightItrs.load(std::memory_order_relaxed);
    if (tries < 0)
    {
        tries = UT_Thread::getNumProcessors() < 2 ? 1 : 4000;
        theLightWeightItrs.store(tries, std::memory_order_relaxed);
    }
    return tries;
}

// Inline, and here for programs that were compiled when they were not.
[[gnu::used]] static bool (UT_Lock::*const theTryLock)() = &UT_Lock::tryLock;
[[gnu::used]] static void (UT_Lock::*const theLock)() = &UT_Lock::lock;
[[gnu::used]] static bool (UT_Lock::*const theLockTries)(int) = &UT_Lock::lock;
[[gnu::used]] static void (UT_Lock::*const theLockLW)() = &UT_Lock::lockLW;
[[gnu::used]] static void (UT_Lock::*const theUnlock)() = &UT_Lock::unlock;

UT_Lock::UT_Lock(int initiallyLocked, bool recursive)
    : myLockWord(initiallyLocked ? 1 : 0), myOwner(0), myDepth(0),
      myCollisions(0), myDebugFlag(0), myRecursiveFlag(recursive)
{
    utLightWeightItrs();
}

UT_Lock::UT_Lock(const UT_Lock &source) : UT_Lock(UT_STATIC_LOCK)
{
    *this = source;
}

UT_Lock &
UT_Lock::operator=(const UT_Lock &source)
{
    const auto relaxed = std::memory_order_relaxed;
    myLockWord.store(source.myLockWord.load(relaxed), relaxed);
    myOwner.store(source.myOwner.load(relaxed), relaxed);
    myDepth = source.myDepth;
    myCollisions.store(source.myCollisions.load(relaxed), relaxed);
    myDebugFlag = source.myDebugFlag & 1;
    myRecursiveFlag = source.myRecursiveFlag & 1;
    return *this;
}

// The thread's id, without a call.
static inline pthread_t
utSelf()
{
    static __thread pthread_t theSelf
        __attribute__((tls_model("initial-exec"))) = 0;
    if (!theSelf)
        theSelf = pthread_self();
    return theSelf;
}

// An attempt at a recursive lock. Its owner need not touch the word: only a
// thread that stores itself there can find itself there, so a stale answer does
// no harm.
bool
UT_Lock::attemptRecursive()
{
    const auto relaxed = std::memory_order_relaxed;
    const pthread_t self = utSelf();
    if (myOwner.load(relaxed) == self)
    {
        ++myDepth;
        return true;
    }
    if (myLockWord.exchange(1, std::memory_order_acquire) != 0)
        return countCollisions(1);
    myOwner.store(self, relaxed);
    myDepth = 1;
    return true;
}

// Always false, which is the result of the attempts.
bool
UT_Lock::countCollisions(int count)
{
    myCollisions.store(
        int32(uint32(collisions()) + uint32(count)), std::memory_order_relaxed);
    return false;
}

void
UT_Lock::lockSlowly()
{
    do
        spinWhileHeld();
    while (!tryLock());
}

// Failed attempts that only look, which leaves the word to the holder: an
// exchange takes it away even where it fails. The longer the lock is held, the
// less often it looks, and the fewer threads meet when it is free.
void
UT_Lock::spinWhileHeld()
{
    int looks = 0;
    int pauses = 1;
    while (myLockWord.load(std::memory_order_relaxed))
    {
        for (int i = 0; i < pauses; ++i)
            utPause();
        ++looks;
        if (pauses < theMostPauses)
        {
            pauses *= 2;
            continue;
        }
        countCollisions(looks);
        looks = 0;
    }
    countCollisions(looks);
}

bool
UT_Lock::lockSlowly(int tries)
{
    int looks = 0;
    bool isTaken = false;
    for (; tries > 0 && !isTaken; --tries)
    {
        utPause();
        if (myLockWord.load(std::memory_order_relaxed))
            ++looks;
        else
            isTaken = tryLock();
    }
    countCollisions(looks);
    return isTaken;
}

void
UT_Lock::lockLWSlowly()
{
    if (!lockSlowly(utLightWeightItrs()))
        lockNap();
}

bool
UT_Lock::lockLW(int tries)
{
    const int spins = utLightWeightItrs();
    for (int failures = 0; !tryLock();)
    {
        if (failures++ >= tries)
            return false;
        if (failures > spins)
            UTnap(theNapMs);
    }
    return true;
}

void
UT_Lock::lockNap()
{
    while (!tryLock())
        UTnap(theNapMs);
}

bool
UT_Lock::lockNap(int tries)
{
    for (; !tryLock(); --tries)
    {
        if (tries <= 0)
            return false;
        UTnap(theNapMs);
    }
    return true;
}

void
UT_Lock::debugLock(bool on)
{
    myDebugFlag = on;
}

void
UT_Lock::waitForTrigger()
{
    // Free afterwards also where a cancelled thread leaves the wait.
    const ut_LockGuard guard(this);
    lockLW();
}

UT_DebugLock::UT_DebugLock(
    const char *name, int initiallyLocked, bool recursive)
    : UT_Lock(initiallyLocked, recursive), myName(name)
{
}

UT_DebugLock::~UT_DebugLock()
{
    const ut_CancelGuard guard;
    fprintf(stderr, "Lock[%s]: %d collisions\n", myName, collisions());
}
