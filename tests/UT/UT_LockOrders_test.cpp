// UT_Lock in thousands of orders in which its threads can take turns.
//
// The library's source of the lock is compiled for the thread sanitizer here,
// whose functions, at the end of this file, are ours. Before each access to the
// lock's word or owner, a random number decides which thread goes on.

#include "UT/UT_Lock.h"

#include "UT/UT_Nap.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <semaphore.h>

static const int theMostTurns = 10000; // in a run of more, all threads wait

static thread_local int theSelf = -1; // index of a scenario's thread

namespace
{

// What a thread does with the lock.
using ut_Way = void (*)(UT_Lock &lock);

struct ut_Thread
{
    sem_t mayGoOn;
    bool isDone;
};

// Threads that each have a way with one lock, in one order.
class ut_Run
{
public:
    ut_Run(bool isRecursive, size_t threads, unsigned seed)
        : myLock(/*initiallyLocked=*/0, isRecursive), myThreads(threads),
          myRandom(seed)
    {
    }

    void go(const std::vector<ut_Way> &ways);

    // Chooses who goes on, and returns when that is the calling thread.
    void turn();

    // What a thread does while it has the lock: it lets others try.
    void hold()
    {
        isShared |= ++myHolders != 1;
        turn();
        --myHolders;
    }

    // Whether `address` is of the lock's word or owner, its first members, and
    // a thread of the scenario asks.
    bool isWatched(const void *address) const
    {
        const uintptr_t offset = uintptr_t(address) - uintptr_t(&myLock);
        return theSelf >= 0 && offset < 2 * sizeof(pthread_t);
    }
    bool isWord(const void *address) const { return address == &myLock; }
    [[nodiscard]] bool isDone(size_t i) const { return myThreads[i].isDone; }

    bool isStuck = false;  // each thread waits for another
    bool isShared = false; // two threads had the lock at once
    bool isWeak = false;   // the lock does not order what its holders do
    bool isKept = false;   // some thread left without freeing it

private:
    UT_Lock myLock;
    std::vector<ut_Thread> myThreads;
    std::mt19937 myRandom;
    int myTurns = 0;
    int myHolders = 0;
};

} // namespace

static ut_Run *theRun = nullptr;

void
ut_Run::go(const std::vector<ut_Way> &ways)
{
    theRun = this;
    std::vector<std::thread> threads;
    for (size_t i = 0; i < ways.size(); ++i)
    {
        sem_init(&myThreads[i].mayGoOn, 0, 0);
        threads.emplace_back(
            [this, i, way = ways[i]]
            {
                theSelf = int(i);
                sem_wait(&myThreads[i].mayGoOn);
                way(myLock);
                myThreads[i].isDone = true;
                turn();
            });
    }
    turn();
    for (std::thread &thread : threads)
        thread.join();
    theRun = nullptr;
    isKept = !myLock.tryLock();
}

void
ut_Run::turn()
{
    std::vector<int> ready;
    for (size_t i = 0; i < myThreads.size(); ++i)
        if (!myThreads[i].isDone)
            ready.push_back(int(i));
    if (isStuck || ready.empty())
        return;
    isStuck = ++myTurns > theMostTurns;
    if (isStuck) // let all of them end
        for (ut_Thread &thread : myThreads)
            sem_post(&thread.mayGoOn);
    const int next = ready[myRandom() % ready.size()];
    if (isStuck || next == theSelf)
        return;
    const bool isWaiting = theSelf >= 0 && !isDone(size_t(theSelf));
    sem_post(&myThreads[size_t(next)].mayGoOn);
    if (isWaiting)
        sem_wait(&myThreads[size_t(theSelf)].mayGoOn);
}

// The lock's naps, which a run has no time for.
int
UTnap(long /*ms*/)
{
    return 0;
}

// An atomic access, and the value before it. Threads take turns.
template <class T>
static T
utAccess(T *address, bool isStore, T value, int order)
{
    const bool isWatched = theRun && theRun->isWatched(address);
    if (isWatched)
        theRun->turn();
    if (isWatched && theRun->isStuck)
        return 0; // every wait ends
    const T before = __atomic_load_n(address, __ATOMIC_SEQ_CST);
    if (isStore)
        __atomic_store_n(address, value, __ATOMIC_SEQ_CST);
    if (!isWatched)
        return before;
    if (isStore && value != before)
        theRun->isWeak |= order == __ATOMIC_RELAXED && theRun->isWord(address);
    return before;
}

extern "C"
{
    void __tsan_init() {}
    void __tsan_func_entry(void *) {}
    void __tsan_func_exit() {}
    void __tsan_read1(void *) {}
    void __tsan_read4(void *) {}
    void __tsan_read8(void *) {}
    void __tsan_write1(void *) {}
    void __tsan_write4(void *) {}
    void __tsan_write8(void *) {}

    int32 __tsan_atomic32_load(int32 *address, int order)
    {
        return utAccess(address, false, 0, order);
    }
    int64 __tsan_atomic64_load(int64 *address, int order)
    {
        return utAccess(address, false, int64(0), order);
    }
    void __tsan_atomic32_store(int32 *address, int32 value, int order)
    {
        utAccess(address, true, value, order);
    }
    void __tsan_atomic64_store(int64 *address, int64 value, int order)
    {
        utAccess(address, true, value, order);
    }
    // Only the word is exchanged.
    int32 __tsan_atomic32_exchange(int32 *address, int32 value, int order)
    {
        return utAccess(address, true, value, order);
    }
}

static void
utHoldAndFree(UT_Lock &lock)
{
    theRun->hold();
    lock.unlock();
}

template <void (UT_Lock::*lockIt)()>
static void
utLockBy(UT_Lock &lock)
{
    (lock.*lockIt)();
    utHoldAndFree(lock);
}

template <bool (UT_Lock::*tryIt)(int tries)>
static void
utTryBy(UT_Lock &lock)
{
    if ((lock.*tryIt)(/*tries=*/1))
        utHoldAndFree(lock);
}

static const ut_Way utLock = utLockBy<&UT_Lock::lock>;
static const ut_Way utLockLW = utLockBy<&UT_Lock::lockLW>;
static const ut_Way utLockNap = utLockBy<&UT_Lock::lockNap>;
static const ut_Way utTry = utTryBy<&UT_Lock::lock>;
static const ut_Way utTryLW = utTryBy<&UT_Lock::lockLW>;
static const ut_Way utTryNap = utTryBy<&UT_Lock::lockNap>;

static void
utLockInside(UT_Lock &lock)
{
    for (int i = 0; i < 2; ++i)
    {
        lock.lock();
        utLockLW(lock);
        utHoldAndFree(lock);
    }
}

static void
utWaitForTrigger(UT_Lock &lock)
{
    lock.waitForTrigger();
}

static void
utTriggerTheFirst(UT_Lock &lock)
{
    while (!theRun->isDone(0))
        lock.trigger();
}

static const struct
{
    const char *name;
    bool isRecursive;
    std::vector<ut_Way> threads;
} theScenarios[] = {
    {"spinning",          false, {utLock, utLock, utLock}             },
    {"waiting",           false, {utLock, utLockLW, utLockNap}        },
    {"giving up",         false, {utTry, utTryLW, utTryNap}           },
    {"trigger",           false, {utWaitForTrigger, utTriggerTheFirst}},
    {"nested",            true,  {utLockInside, utLockInside}         },
    {"nested, giving up", true,  {utLockInside, utTryNap}             },
};

TEST(UT_LockOrders, OneThreadAtATimeHasTheLock)
{
    // One processor: light-weight waits soon sleep.
    setenv("VALDRIN_MAXTHREADS", "1", /*overwrite=*/1);
    for (const auto &row : theScenarios)
        for (unsigned seed = 0; seed < 3000; ++seed)
        {
            SCOPED_TRACE(
                row.name + std::string(", seed ") + std::to_string(seed));
            ut_Run run(row.isRecursive, row.threads.size(), seed);
            run.go(row.threads);
            EXPECT_FALSE(run.isStuck);
            EXPECT_FALSE(run.isShared);
            EXPECT_FALSE(run.isWeak);
            EXPECT_FALSE(run.isKept);
            if (HasFailure())
                break;
        }
}
