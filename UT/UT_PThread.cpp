// Workers over the system's threads, and which thread is which.

#include "UT_CancelImpl.h"
#include "UT_ForkImpl.h"
#include "UT_LockImpl.h"
#include "UT_SmallObjectAllocator.h"
#include "UT_Thread.h"
#include "UT_ThreadImpl.h"

#include <algorithm>
#include <csignal>
#include <ctime>
#include <new>

#include <execinfo.h>

static std::atomic<int> thePThreadStackSize(0);

int
utSpinsBeforeSleep()
{
    // Not a static object that others wait for while it is made: its maker may
    // not be there in a child of fork().
    static std::atomic<int> theSpins(-1);
    int spins = theSpins.load(std::memory_order_relaxed);
    if (spins < 0)
    {
        spins = UT_Thread::getNumProcessors() < 2 ? 0 : 1000;
        theSpins.store(spins, std::memory_order_relaxed);
    }
    return spins;
}

// ---- How often a wait looks before it sleeps

// As often as may be while that finds what is waited for, seldom where it does
// not, because jobs are long, and not at all where other threads want the
// processors: a thread that spins there loses its turn, and then waits for
// theirs, while one that has slept is let in at once. Every now and then a
// wait tries the full number, which shows when that has changed.
static std::atomic<int> theUsefulSpins(1 << 20);
static std::atomic<int64> theNextTrialUs(0);
static const int theFewestSpins = 16;
static const unsigned theWaitsToTrial = 64;
static const int64 theCrowdedUs = 200000; // that no trial is made
static const int64 theLostTurnUs = 1000;  // more than spinning can take

static int64
utNowUs()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64(now.tv_sec) * 1000000 + now.tv_nsec / 1000;
}

namespace
{

// Counts the looks of one wait, and learns from them.
class ut_SpinCount
{
public:
    ut_SpinCount()
    {
        static __thread unsigned theWaits
            __attribute__((tls_model("initial-exec"))) = 0;
        const auto relaxed = std::memory_order_relaxed;
        myMost = utSpinsBeforeSleep();
        const bool isTrial = ++theWaits % theWaitsToTrial == 0 &&
                             utNowUs() >= theNextTrialUs.load(relaxed);
        myLimit =
            isTrial ? myMost : std::min(myMost, theUsefulSpins.load(relaxed));
    }

    // Whether to look once more.
    bool next()
    {
        // The first looks take no longer than a look at the clock.
        if (mySpins == theFewestSpins)
            myStartUs = utNowUs();
        return mySpins++ < myLimit;
    }

    // Call at the end, with whether a look has found what was waited for.
    void learn(bool isFound) const
    {
        const auto relaxed = std::memory_order_relaxed;
        const int useful = std::min(theUsefulSpins.load(relaxed), myMost);
        int next = useful;
        if (mySpins > theFewestSpins && utNowUs() - myStartUs > theLostTurnUs)
        {
            next = 0;
            theNextTrialUs.store(utNowUs() + theCrowdedUs, relaxed);
        }
        else if (isFound) // with some to spare
            next = std::max(useful, std::min(4 * mySpins, myMost));
        else if (useful > theFewestSpins)
            next = std::max(useful / 2, theFewestSpins);
        if (next != useful)
            theUsefulSpins.store(next, relaxed);
    }

private:
    int myMost;
    int myLimit;
    int mySpins = 0;
    int64 myStartUs = 0;
};

} // namespace

void
UT_Thread::configureMaxThreads(int, int stackSize)
{
    if (stackSize >= 1)
        thePThreadStackSize.store(stackSize, std::memory_order_relaxed);
}

// Counts a sleeper and holds the mutex while it lives, also when the thread is
// cancelled in its sleep.
class ut_WaitGuard
{
public:
    explicit ut_WaitGuard(UT_PThread &thread) : myThread(thread)
    {
        myThread.mySleepers.fetch_add(1);
        pthread_mutex_lock(&myThread.myMutex);
    }

    ~ut_WaitGuard()
    {
        pthread_mutex_unlock(&myThread.myMutex);
        myThread.mySleepers.fetch_sub(1);
    }

    ut_WaitGuard(const ut_WaitGuard &) = delete;
    ut_WaitGuard &operator=(const ut_WaitGuard &) = delete;

private:
    UT_PThread &myThread;
};

// Ends the worker however its last job ends.
class ut_EndGuard
{
public:
    explicit ut_EndGuard(UT_PThread &thread) : myThread(thread) {}

    ~ut_EndGuard()
    {
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
        myThread.threadEnded();
    }

    ut_EndGuard(const ut_EndGuard &) = delete;
    ut_EndGuard &operator=(const ut_EndGuard &) = delete;

private:
    UT_PThread &myThread;
};

UT_PThread::UT_PThread(int spinMode)
    : UT_Thread(spinMode), myFunction(nullptr), myData(nullptr), myThreadId(),
      myIsAlive(false), myIsJoinable(false), myForks(0), mySleepers(0)
{
    // Here, because it may create the settings, which workers must not do.
    utSpinsBeforeSleep();
    utWatchForks();
    myForks = theForkCount.load();
    initWaiting();
}

void
UT_PThread::initWaiting()
{
    pthread_mutex_init(&myMutex, nullptr);
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&myCondition, &attributes);
    pthread_condattr_destroy(&attributes);
}

UT_PThread::~UT_PThread()
{
    // The waits in here may not be cancelled.
    const ut_CancelGuard guard;
    forgetParent();
    UT_PThread::killThread();
    UT_PThread::waitThread(1);
    pthread_cond_destroy(&myCondition);
    pthread_mutex_destroy(&myMutex);
}

bool
UT_PThread::isOfParent() const
{
    return myForks.load(std::memory_order_relaxed) !=
           theForkCount.load(std::memory_order_relaxed);
}

// In a child of fork(): there is no thread, and what it waited for or held is
// in an unknown state.
void
UT_PThread::forgetParent()
{
    if (!isOfParent())
        return;
    initWaiting();
    myIsAlive = false;
    myIsJoinable = false;
    mySleepers = 0;
    myState = IDLE;
    myForks = theForkCount.load();
}

// Whether a thread can be cancelled. The first that is makes the C library load
// what it unwinds with, which ends the process if there is no memory. So does a
// backtrace, which is only empty then; after one that is not, cancelling needs
// no memory.
static bool
utCanCancel()
{
    static std::atomic<bool> theIsLoaded(false);
    if (theIsLoaded.load(std::memory_order_relaxed))
        return true;
    void *caller = nullptr;
    const bool isLoaded = backtrace(&caller, 1) == 1;
    if (isLoaded)
        theIsLoaded.store(true, std::memory_order_relaxed);
    return isLoaded;
}

bool
UT_PThread::startThread(void *(*function)(void *), void *data)
{
    forgetParent();
    if (waitThread(0))
        waitForState(IDLE);
    // A thread that has ended is waited for before its job is overwritten: one
    // that was killed may still run it.
    const bool isAlive = waitThread(0);
    if (!isAlive)
        waitThread(1);
    myFunction = function;
    myData = data;
    if (isAlive)
    {
        setState(RUNNING);
        return true;
    }

    if (!utCanCancel())
        return false;
    setState(RUNNING);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    const int stackSize = thePThreadStackSize.load(std::memory_order_relaxed);
    if (stackSize > 0)
        pthread_attr_setstacksize(&attributes, size_t(stackSize));
    // The new thread inherits the mask, so no signal reaches it before it has
    // blocked them.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before);
    myIsAlive = true;
    const int error =
        pthread_create(&myThreadId, &attributes, threadWrapper, this);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_attr_destroy(&attributes);
    if (error)
    {
        myIsAlive = false;
        setState(IDLE);
        return false;
    }
    myIsJoinable = true;
    return true;
}

void *
UT_PThread::threadWrapper(void *self)
{
    // Only a job may be cancelled.
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    UT_PThread &thread = *static_cast<UT_PThread *>(self);
    const ut_EndGuard guard(thread);
    thread.threadStarted();
    thread.runJobs();
    return nullptr;
}

void
UT_PThread::runJobs()
{
    for (;;)
    {
        waitForState(RUNNING);
        if (!myIsAlive) // killed, not handed a job
            return;
        if (myFunction)
        {
            pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
            myFunction(myData);
            pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
        }
        // Killed, by a call that the job did not notice.
        if (getSpinMode() == SPIN_NEVER || !myIsAlive)
            return;
        setState(IDLE);
    }
}

void
UT_PThread::threadStarted()
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

void
UT_PThread::threadEnded()
{
    forgetParent();
    // Both at once, so that an idle worker that is about to end is never seen.
    pthread_mutex_lock(&myMutex);
    myIsAlive = false;
    myState = IDLE;
    pthread_cond_broadcast(&myCondition);
    pthread_mutex_unlock(&myMutex);
    // A derived class sees this change as it does all others.
    setState(IDLE);
}

bool
UT_PThread::isResourceHog() const
{
    return false;
}

int
UT_PThread::getState()
{
    return isOfParent() ? IDLE : UT_Thread::getState();
}

bool
UT_PThread::isReached(int state) const
{
    return myState.load() == state || !myIsAlive.load();
}

void
UT_PThread::waitForState(int state)
{
    forgetParent();
    // A worker that has ended is asked for its state under the mutex, where
    // both have changed.
    ut_SpinCount spins;
    while (spins.next() && myIsAlive)
    {
        if (myState.load() == state)
        {
            spins.learn(/*isFound=*/true);
            return;
        }
        utPause();
    }
    spins.learn(/*isFound=*/false);
    const ut_WaitGuard guard(*this);
    while (!isReached(state))
        pthread_cond_wait(&myCondition, &myMutex);
}

void
UT_PThread::setState(int state)
{
    forgetParent();
    // A sleeper counts itself before it looks at the state, so one of the two
    // sides sees the other.
    myState.store(state);
    if (mySleepers.load() == 0)
        return;
    pthread_mutex_lock(&myMutex);
    pthread_cond_broadcast(&myCondition);
    pthread_mutex_unlock(&myMutex);
}

int
UT_PThread::killThread()
{
    killIdle();
    if (!waitThread(0))
        return 0;
    const int error = pthread_cancel(myThreadId);
    if (error == 0)
    {
        // A worker that has just done its job is about to sleep: it has to see
        // that there is no other.
        pthread_mutex_lock(&myMutex);
        myIsAlive = false;
        pthread_cond_broadcast(&myCondition);
        pthread_mutex_unlock(&myMutex);
    }
    return error;
}

int
UT_PThread::niceThread(int)
{
    return 0;
}

int
UT_PThread::suspendThread()
{
    return 0;
}

int
UT_PThread::restartThread()
{
    return 0;
}

int
UT_PThread::waitThread(int block)
{
    forgetParent();
    if (block && myIsJoinable.exchange(false))
    {
        try
        {
            pthread_join(myThreadId, nullptr);
        }
        catch (...) // the end of the thread that waits
        {
            myIsJoinable = true;
            throw;
        }
    }
    return myIsAlive.load();
}

void
UT_PThread::clearJob()
{
    myFunction = nullptr;
}

void
UT_PThread::waitForEnd()
{
    forgetParent();
    for (int spins = utSpinsBeforeSleep(); spins > 0 && myIsAlive; --spins)
        utPause();
    timespec end;
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_nsec += 20 * 1000000;
    if (end.tv_nsec >= 1000000000)
    {
        ++end.tv_sec;
        end.tv_nsec -= 1000000000;
    }
    const ut_WaitGuard guard(*this);
    int error = 0;
    while (myIsAlive && !error)
        error = pthread_cond_timedwait(&myCondition, &myMutex, &end);
}

UT_Thread *
UT_Thread::allocThread(int spinMode)
{
    utRecordMainThread();
    return new UT_PThread(spinMode);
}

// ---- Who is who

// 0 until it is known, which no thread's id is on this platform.
static std::atomic<pthread_t> theMainThreadId(0);

void
utRecordMainThread()
{
    pthread_t none = 0;
    theMainThreadId.compare_exchange_strong(none, pthread_self());
}

pthread_t
UT_Thread::getMainThreadId()
{
    utRecordMainThread();
    return theMainThreadId.load();
}

namespace
{

// A thread that has asked for its index.
struct ut_ThreadIdIndexPair
{
    pthread_t id;
    int32 index;
    ut_ThreadIdIndexPair *next;
    ut_ThreadIdIndexPair *previous;
};

static_assert(sizeof(void *) != 4 || sizeof(ut_ThreadIdIndexPair) == 16);

} // namespace

static UT_Lock theSequentialThreadIndexLock(UT_STATIC_LOCK);
static ut_ForkLock
    theIndexForkLock(theSequentialThreadIndexLock, UT_FORK_POOLS);
static ut_ThreadIdIndexPair *theThreadIdIndexPairHead; // the latest first
static int32 theNextThreadIndex;

static int
utFindThreadIndex(pthread_t id)
{
    theIndexForkLock.join();
    const ut_LockGuard guard(&theSequentialThreadIndexLock, utLockBusy);
    ut_ThreadIdIndexPair *pair = theThreadIdIndexPairHead;
    while (pair && !pthread_equal(pair->id, id))
        pair = pair->next;
    if (!pair)
    {
        // Never destroyed: threads may outlive all static objects.
        static auto *const theAllocator = new UT_SmallObjectAllocator(
            /*reclaim=*/false, /*objectsPerPage=*/64, /*maxObjectSize=*/128,
            /*threadSafe=*/false);
        pair = new (theAllocator->allocate(sizeof(ut_ThreadIdIndexPair)))
            ut_ThreadIdIndexPair{id, theNextThreadIndex++, nullptr, nullptr};
    }
    else if (pair->previous)
    {
        pair->previous->next = pair->next;
        if (pair->next)
            pair->next->previous = pair->previous;
    }
    else
        return pair->index;
    pair->previous = nullptr;
    pair->next = theThreadIdIndexPairHead;
    if (pair->next)
        pair->next->previous = pair;
    theThreadIdIndexPairHead = pair;
    return pair->index;
}

// gcc forgets the attribute of the declaration and would call a function of the
// loader to find the place.
__thread int UT_Thread::theThreadIndex
    __attribute__((tls_model("initial-exec"))) = -1;

int
UT_Thread::findMyThreadIndex()
{
    theThreadIndex = utFindThreadIndex(pthread_self());
    return theThreadIndex;
}
