#include "UT_ThreadSet.h"

#include "UT_AllocImpl.h"
#include "UT_Nap.h"
#include "UT_Thread.h"
#include "UT_ThreadImpl.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

// An array of `count` new workers, from malloc(). The last is made first.
static UT_Thread **
utNewWorkers(int count)
{
    utRecordMainThread();
    const auto workers = static_cast<UT_Thread **>(
        utAllocateZeros(size_t(count), sizeof(void *)));
    for (int i = count; i-- > 0;)
        workers[i] = new UT_PThread(UT_Thread::SPIN_SLEEP);
    return workers;
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
        myThreads =
            static_cast<UT_Thread **>(utAllocateZeros(1, sizeof(void *)));
        myThreads[0] = new UT_NullThread;
    }
    else
        myThreads = utNewWorkers(myCount);
}

UT_ThreadSet::~UT_ThreadSet()
{
    for (int i = myCount; i-- > 0;)
        delete myThreads[i];
    free(myThreads);
}

void
UT_ThreadSet::go()
{
    if (!myFunction)
        return;
    // As a number, which may be what the function wants.
    uintptr_t datum = reinterpret_cast<uintptr_t>(myJobData);
    for (int i = myCount; i-- > 0; datum += uintptr_t(intptr_t(myStride)))
        // NOLINTNEXTLINE(performance-no-int-to-ptr): see above
        myThreads[i]->startThread(myFunction, reinterpret_cast<void *>(datum));
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
    : myCount(utWorkerCount(count)), myThreads(utNewWorkers(myCount))
{
}

UT_ThreadFarm::~UT_ThreadFarm()
{
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
        // Quick jobs are looked for, longer ones slept for.
        if (spins > 0)
            utPause();
        else
            UTnap(std::min(1 - spins, 10));
    }
}

int
UT_ThreadFarm::wait(int)
{
    // A worker does its present job, and then an empty one, its last.
    for (int i = 0; i < myCount; ++i)
    {
        myThreads[i]->setSpinMode(UT_Thread::SPIN_NEVER);
        myThreads[i]->startThread(nullptr, nullptr);
    }
    for (int i = 0; i < myCount; ++i)
        myThreads[i]->waitForState(UT_Thread::IDLE);
    return 1;
}
