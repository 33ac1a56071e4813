// UT_Lock in thousands of orders in which its threads can take turns.
//
// The library's source of the lock is compiled for the thread sanitizer here,
// whose functions, at the end of this file, are ours. Before each access to the
// lock's word or owner, a random number decides which thread goes on.

#include "UT/UT_Lock.h"

#include "UT/UT_Nap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

static const int theMostTurns = 10000; // in a run of more, all threads wait

static thread_local int theSelf = -1; // index of a scenario's thread

namespace
{

// What a thread does with the lock.
using ut_Way = void (*)(UT_Lock &lock);

// Threads that each have a way with one lock, in one order.
struct ut_Run
{
    ut_Run(bool isRecursive, unsigned seed)
        : lock(/*initiallyLocked=*/0, isRecursive), random(seed)
    {
    }
    // Chooses who goes on.
    void choose()
    {
        const std::lock_guard<std::mutex> guard(mutex);
        isStuck |= ++turns > theMostTurns;
        if (!ready.empty())
            next = ready[random() % ready.size()];
        changed.notify_all();
    }
    // Returns when it is the calling thread that goes on.
    void await()
    {
        std::unique_lock<std::mutex> guard(mutex);
        changed.wait(guard, [this] { return isStuck || next == theSelf; });
    }
    void finish()
    {
        {
            const std::lock_guard<std::mutex> guard(mutex);
            ready.erase(std::find(ready.begin(), ready.end(), theSelf));
        }
        choose();
    }
    void go(const std::vector<ut_Way> &ways);

    UT_Lock lock;
    std::mt19937 random;
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<int> ready; // the threads that have not finished
    int next = -1;
    int turns = 0;
    int holders = 0;
    bool isStuck = false;  // each thread waits for another
    bool isShared = false; // two threads had the lock at once
    bool isWeak = false;   // the lock does not order what its holders do
};

} // namespace

static ut_Run *theRun = nullptr;

void
ut_Run::go(const std::vector<ut_Way> &ways)
{
    theRun = this;
    std::vector<std::thread> threads;
    for (const ut_Way way : ways)
    {
        const int self = int(threads.size());
        ready.push_back(self);
        threads.emplace_back(
            [this, self, way]
            {
                theSelf = self;
                await();
                way(lock);
                finish();
            });
    }
    choose();
    for (std::thread &thread : threads)
        thread.join();
    theRun = nullptr;
}

// The lock's naps, which a run has no time for.
int
UTnap(long /*ms*/)
{
    return 0;
}

// An atomic access, and the value before it. Threads take turns at the first
// members of the lock, its word and its owner.
template <class T>
static T
utAccess(T *address, bool isStore, T value, int order)
{
    const uintptr_t offset =
        theRun ? uintptr_t(address) - uintptr_t(&theRun->lock) : UINTPTR_MAX;
    if (theSelf >= 0 && offset < 2 * sizeof(pthread_t))
    {
        theRun->choose();
        theRun->await();
        if (theRun->isStuck)
            return 0; // every wait ends
        if (isStore && offset == 0)
            theRun->isWeak |= order == __ATOMIC_RELAXED;
    }
    const T before = __atomic_load_n(address, __ATOMIC_SEQ_CST);
    if (isStore)
        __atomic_store_n(address, value, __ATOMIC_SEQ_CST);
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

// What a thread does while it has the lock: it lets others try.
static void
utHoldAndFree(UT_Lock &lock)
{
    theRun->isShared |= ++theRun->holders != 1;
    theRun->choose();
    theRun->await();
    --theRun->holders;
    lock.unlock();
}

template <void (UT_Lock::*lockIt)()>
static void
utLockBy(UT_Lock &lock)
{
    (lock.*lockIt)();
    utHoldAndFree(lock);
}

static void
utTry(UT_Lock &lock)
{
    if (lock.lockLW(/*tries=*/1))
        utHoldAndFree(lock);
}

static void
utLockInside(UT_Lock &lock)
{
    for (int i = 0; i < 2; ++i)
    {
        lock.lock();
        lock.lockLW();
        utHoldAndFree(lock);
        utHoldAndFree(lock);
    }
}

static const ut_Way utLock = utLockBy<&UT_Lock::lock>;
static const ut_Way utLockLW = utLockBy<&UT_Lock::lockLW>;
static const ut_Way utLockNap = utLockBy<&UT_Lock::lockNap>;

static const struct
{
    const char *name;
    bool isRecursive;
    std::vector<ut_Way> threads;
} theScenarios[] = {
    {"waiting",   false, {utLock, utLockLW, utLockNap}      },
    {"giving up", false, {utLock, utTry, utTry}             },
    {"nested",    true,  {utLockInside, utLockInside, utTry}},
};

TEST(UT_LockOrders, OneThreadAtATimeHasTheLock)
{
    // One processor: light-weight waits soon sleep.
    setenv("VALDRIN_MAXTHREADS", "1", /*overwrite=*/1);
    for (const auto &row : theScenarios)
        for (unsigned seed = 0; seed < 3000; ++seed)
        {
            ut_Run run(row.isRecursive, seed);
            run.go(row.threads);
            SCOPED_TRACE(
                row.name + std::string(", seed ") + std::to_string(seed));
            ASSERT_FALSE(run.isStuck);
            ASSERT_FALSE(run.isShared);
            ASSERT_FALSE(run.isWeak);
            ASSERT_TRUE(run.lock.tryLock()) << "it is not free";
        }
}
