// UT_Lock in every order in which its threads can take turns.
//
// The library's source of the lock is compiled for the thread sanitizer here,
// whose functions, at the end of this file, are ours. Before each access to the
// lock's word or owner, a search decides which thread goes on. It repeats a
// scenario until each decision has been made in every way, but goes on from a
// state only once.

#include "UT/UT_Lock.h"

#include "UT/UT_Nap.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <set>
#include <thread>
#include <vector>

#include <semaphore.h>

// A thread waits when so many accesses in a row found nothing changed. Ways
// that give up do so earlier.
static const int theMostLooks = 5;

static thread_local int theSelf = -1; // index of a scenario's thread

namespace
{

// What a thread does with the lock.
using ut_Way = void (*)(UT_Lock &lock);

struct ut_Thread
{
    sem_t mayGoOn;
    bool isDone;
    uint64 seen; // a hash of all that it read, which decides what it does next
    int looks;   // accesses since something changed
};

class ut_Search
{
public:
    ut_Search(bool isRecursive, const std::vector<ut_Way> &ways)
        : myIsRecursive(isRecursive), myWays(ways), myThreads(ways.size())
    {
    }

    // Runs the scenario once. Returns whether there is another order and all
    // is well so far.
    bool run();

    // Decides who goes on, and returns when that is the calling thread.
    void turn();

    // The calling thread has seen `value`, which another may have changed.
    void see(uint64 value);
    void changed();

    // What a thread does while it has the lock: it lets others try.
    void hold();

    // Whether `address` is of the lock's word or owner, its first members, and
    // a thread of the scenario asks.
    bool isWatched(const void *address) const
    {
        const uintptr_t offset = uintptr_t(address) - uintptr_t(myLock);
        return theSelf >= 0 && offset < 2 * sizeof(pthread_t);
    }
    bool isWord(const void *address) const { return address == myLock; }
    [[nodiscard]] bool isDone(size_t i) const { return myThreads[i].isDone; }

    bool isStuck = false;  // each thread waits for another
    bool isShared = false; // two threads had the lock at once
    bool isWeak = false;   // the lock does not order what its holders do
    bool isKept = false;   // some thread left without freeing it

private:
    int decide();
    [[nodiscard]] std::vector<uint64> state() const;
    ut_Thread &self() { return myThreads[size_t(theSelf)]; }

    const bool myIsRecursive;
    const std::vector<ut_Way> myWays;
    std::vector<ut_Thread> myThreads;
    UT_Lock *myLock = nullptr;
    int myHolders = 0;

    // For each turn of a run, the threads to try; the last one went on.
    std::vector<std::vector<int>> myDecisions;
    size_t myTurn = 0;
    std::set<std::vector<uint64>> myStates;
    bool myIsKnown = false; // the run has come to a state of an earlier one
};

} // namespace

static ut_Search *theSearch = nullptr;

bool
ut_Search::run()
{
    UT_Lock lock(/*initiallyLocked=*/0, myIsRecursive);
    myLock = &lock;
    myTurn = 0;
    myIsKnown = false;
    std::vector<std::thread> threads;
    for (size_t i = 0; i < myWays.size(); ++i)
    {
        myThreads[i] = ut_Thread();
        sem_init(&myThreads[i].mayGoOn, 0, 0);
        threads.emplace_back(
            [this, i]
            {
                theSelf = int(i);
                sem_wait(&self().mayGoOn);
                see(0);
                myWays[i](*myLock);
                self().isDone = true;
                changed();
                turn();
            });
    }
    turn();
    for (std::thread &thread : threads)
        thread.join();
    isKept |= !lock.tryLock();

    // On to the last decision for which another thread is left to be tried.
    while (!myDecisions.empty() && myDecisions.back().size() == 1)
        myDecisions.pop_back();
    if (myDecisions.empty() || isStuck || isShared || isWeak || isKept)
        return false;
    myDecisions.back().pop_back();
    return true;
}

// All that decides how a run goes on.
std::vector<uint64>
ut_Search::state() const
{
    pthread_t words[2];
    memcpy(words, static_cast<const void *>(myLock), sizeof(words));
    std::vector<uint64> result = {words[0], words[1], uint64(myHolders)};
    for (const ut_Thread &thread : myThreads)
        result.insert(
            result.end(), {thread.seen, uint64(thread.looks), thread.isDone});
    return result;
}

// The thread that goes on; -1 when none can.
int
ut_Search::decide()
{
    const int count = int(myThreads.size());
    std::vector<int> ready;
    bool areAllDone = true;
    // The calling thread is tried first, which costs no switch.
    for (int i = 1; i <= count; ++i)
    {
        const int index = (theSelf + i + count) % count;
        const ut_Thread &thread = myThreads[size_t(index)];
        areAllDone &= thread.isDone;
        if (!thread.isDone && thread.looks < theMostLooks)
            ready.push_back(index);
    }
    if (ready.empty())
    {
        isStuck |= !areAllDone;
        return -1;
    }
    if (myTurn == myDecisions.size())
    {
        myIsKnown |= !myStates.insert(state()).second;
        if (myIsKnown)
            ready.erase(ready.begin(), ready.end() - 1);
        myDecisions.push_back(ready);
    }
    return myDecisions[myTurn++].back();
}

void
ut_Search::turn()
{
    if (isStuck)
        return;
    const int next = decide();
    if (isStuck) // let all of them end
        for (ut_Thread &thread : myThreads)
            sem_post(&thread.mayGoOn);
    if (next < 0 || next == theSelf)
        return;
    const bool isWaiting = theSelf >= 0 && !self().isDone;
    sem_post(&myThreads[size_t(next)].mayGoOn);
    if (isWaiting)
        sem_wait(&self().mayGoOn);
}

void
ut_Search::see(uint64 value)
{
    ut_Thread &thread = self();
    thread.seen = (thread.seen ^ (value + 1)) * 0x9e3779b97f4a7c15;
    thread.seen ^= thread.seen >> 29;
    ++thread.looks;
}

void
ut_Search::changed()
{
    for (ut_Thread &thread : myThreads)
        thread.looks = 0;
}

void
ut_Search::hold()
{
    isShared |= ++myHolders != 1;
    turn();
    see(0);
    self().looks = 0;
    --myHolders;
}

// The lock's naps, which a search has no time for.
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
    const bool isWatched = theSearch && theSearch->isWatched(address);
    if (isWatched)
        theSearch->turn();
    if (isWatched && theSearch->isStuck)
        return 0; // every wait ends
    const T before = __atomic_load_n(address, __ATOMIC_SEQ_CST);
    if (isStore)
        __atomic_store_n(address, value, __ATOMIC_SEQ_CST);
    if (!isWatched)
        return before;
    theSearch->see(uint64(before));
    if (isStore && value != before)
    {
        theSearch->changed();
        theSearch->isWeak |=
            order == __ATOMIC_RELAXED && theSearch->isWord(address);
    }
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
    theSearch->hold();
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
utLockTwice(UT_Lock &lock)
{
    utLock(lock);
    utLock(lock);
}

static void
utLockInside(UT_Lock &lock)
{
    lock.lock();
    utLockLW(lock);
    utLock(lock);
    utHoldAndFree(lock);
}

static void
utWaitForTrigger(UT_Lock &lock)
{
    lock.waitForTrigger();
}

static void
utTriggerTheFirst(UT_Lock &lock)
{
    while (!theSearch->isDone(0))
        lock.trigger();
}

static const struct
{
    const char *name;
    bool isRecursive;
    std::vector<ut_Way> threads;
} theScenarios[] = {
    {"spinning",          false, {utLock, utLock, utLock}             },
    {"again",             false, {utLockTwice, utLockTwice}           },
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
    {
        SCOPED_TRACE(row.name);
        ut_Search search(row.isRecursive, row.threads);
        theSearch = &search;
        int runs = 1;
        while (search.run())
            ++runs;
        theSearch = nullptr;
        // Three threads that only begin and end have six orders.
        EXPECT_GT(runs, 6);
        EXPECT_FALSE(search.isStuck);
        EXPECT_FALSE(search.isShared);
        EXPECT_FALSE(search.isWeak);
        EXPECT_FALSE(search.isKept);
    }
}
