// A free lock costs one exchange and no system call: at most 0.7 of what a
// pthread mutex costs to take and give back, and 0.7 of a std::recursive_mutex
// that its owner takes three times. With two threads that want it all the time
// it costs at most 1.1 of a mutex, which puts the loser to sleep and lets the
// winner run alone, where ours keeps both awake. Shorter runs than these
// measure when the second thread starts, and a nap of 10 ms where there is one.

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

// How long two threads run at least.
static const double theContendedSeconds = 0.05;

// One thread, or two for long enough.
static void
utContended(benchmark::internal::Benchmark *rows)
{
    rows->ThreadRange(1, 2)->UseRealTime()->MinTime(theContendedSeconds);
}

// A lock and what it guards, for all contenders in one cache line: with two
// threads a second line would cost as much again.
template <class Lock>
struct alignas(64) ut_Guarded
{
    Lock lock;
    long counter = 0;
};

// Taken `depth` times by its owner.
template <class Lock, int depth>
static void
utLock(benchmark::State &state)
{
    static ut_Guarded<Lock> theGuarded;
    for (auto _ : state)
    {
        for (int taken = 0; taken < depth; ++taken)
            theGuarded.lock.lock();
        benchmark::DoNotOptimize(++theGuarded.counter);
        for (int taken = 0; taken < depth; ++taken)
            theGuarded.lock.unlock();
    }
}

BENCHMARK_TEMPLATE(utLock, ut_Recursive, 3)
    ->Name("lock three times/ours recursive")
    ->UseRealTime();
BENCHMARK_TEMPLATE(utLock, std::recursive_mutex, 3)
    ->Name("lock three times/std::recursive_mutex")
    ->UseRealTime();
BENCHMARK_TEMPLATE(utLock, UT_Lock, 1)
    ->Name("lock and unlock/ours")
    ->Apply(utContended);
BENCHMARK_TEMPLATE(utLock, ut_LightWeight, 1)
    ->Name("lock and unlock/ours by lockLW")
    ->Apply(utContended);
BENCHMARK_TEMPLATE(utLock, ut_Recursive, 1)
    ->Name("lock and unlock/ours recursive")
    ->UseRealTime();
BENCHMARK_TEMPLATE(utLock, ut_PThreadMutex, 1)
    ->Name("lock and unlock/pthread_mutex")
    ->Apply(utContended);
BENCHMARK_TEMPLATE(utLock, std::mutex, 1)
    ->Name("lock and unlock/std::mutex")
    ->Apply(utContended);
