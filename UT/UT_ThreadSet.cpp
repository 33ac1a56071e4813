#include "UT_ThreadSet.h"

#include "UT_AllocImpl.h"
#include "UT_CancelImpl.h"
#include "UT_ForkImpl.h"
#include "UT_Nap.h"
#include "UT_Thread.h"
#include "UT_ThreadImpl.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

// Deletes workers, the last first, and their array.
static void
utDeleteWorkers(UT_Thread **workers, int count)
{
    for (int i = count; i-- > 0;)
        delete workers[i];
    free(workers);
}

// An array of `count` workers, from malloc(), which `makeWorker` makes. The
// last is made first.
template <class Worker>
static UT_Thread **
utNewWorkers(int count, Worker makeWorker)
{
    const auto workers = static_cast<UT_Thread **>(
        utAllocateZeros(size_t(count), sizeof(void *)));
    try
    {
        for (int i = count; i-- > 0;)
            workers[i] = makeWorker();
    }
    catch (...)
    {
        utDeleteWorkers(workers, count);
        throw;
    }
    return workers;
}

static UT_Thread *
utNewPThread()
{
    return new UT_PThread(UT_Thread::SPIN_SLEEP);
}

static int
utWorkerCount(int count)
{
    return count < 1 ? UT_Thread::getNumProcessors() : count;
}

UT_ThreadSet::UT_ThreadSet(int count, int nullIfSingle)
    : myCount(utWorkerCount(count)), myThreads(nullptr), myFunction(nullptr),
      myJobData(nullptr), myStride(0), myUserValue(0)
{
    if (myCount == 1 && nullIfSingle)
    {
        myThreads = utNewWorkers(1, [] { return new UT_NullThread; });
        return;
    }
    utRecordMainThread();
    myThreads = utNewWorkers(myCount, utNewPThread);
}

UT_ThreadSet::~UT_ThreadSet()
{
    utDeleteWorkers(myThreads, myCount);
}

void
UT_ThreadSet::go()
{
    if (!myFunction)
        return;
    // As a number, which may be what the function wants.
    uintptr_t number = reinterpret_cast<uintptr_t>(myJobData);
    std::vector<void *> withoutThread;
    for (int i = myCount; i-- > 0; number += uintptr_t(intptr_t(myStride)))
    {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): see above
        void *const datum = reinterpret_cast<void *>(number);
        if (!myThreads[i]->startThread(myFunction, datum))
            withoutThread.push_back(datum);
    }
    // After the others have begun, which they may wait for.
    for (void *const datum : withoutThread)
        myFunction(datum);
}

int
UT_ThreadSet::wait(int block)
{
    for (int i = myCount; i-- > 0;)
    {
        if (block)
            myThreads[i]->waitForState(UT_Thread::IDLE);
        else if (myThreads[i]->waitThread(0))
            return 1;
    }
    return 0;
}

void
UT_ThreadSet::reuse(int spinMode)
{
    for (int i = myCount; i-- > 0;)
        myThreads[i]->setSpinMode(spinMode);
}

UT_Thread *
UT_ThreadSet::getThread(int index)
{
    return index >= 0 && index < myCount ? myThreads[index] : nullptr;
}

UT_ThreadFarm::UT_ThreadFarm(int count)
    : myCount(utWorkerCount(count)), myThreads(nullptr)
{
    utRecordMainThread();
    myThreads = utNewWorkers(myCount, utNewPThread);
}

UT_ThreadFarm::~UT_ThreadFarm()
{
    const ut_CancelGuard guard; // the wait may not be cancelled
    wait();
    for (int i = 0; i < myCount; ++i)
        delete myThreads[i];
    free(myThreads);
}

UT_Thread *
UT_ThreadFarm::nextThread(int *index, int block)
{
    for (int spins = utSpinsBeforeSleep();; spins -= spins > -9)
    {
        for (int i = 0; i < myCount; ++i)
        {
            if (myThreads[i]->getState() != UT_Thread::IDLE)
                continue;
            if (index)
                *index = i;
            return myThreads[i];
        }
        if (!block)
            return nullptr;
        // Spins for quick jobs, then sleeps for longer ones.
        if (spins > 0)
            utPause();
        else
            UTnap(std::min(1 - spins, 10));
    }
}

int
UT_ThreadFarm::wait(int)
{
    // A worker does its present job, and then an empty one, its last. In a
    // child of fork() no thread is made just for that.
    const bool isChild = theForkCount != 0;
    for (int i = 0; i < myCount; ++i)
    {
        myThreads[i]->setSpinMode(UT_Thread::SPIN_NEVER);
        if (!isChild || myThreads[i]->waitThread(0))
            myThreads[i]->startThread(nullptr, nullptr);
    }
    for (int i = 0; i < myCount; ++i)
        myThreads[i]->waitForState(UT_Thread::IDLE);
    return 1;
}
