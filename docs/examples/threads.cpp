#include "UT/UT_Lock.h"
#include "UT/UT_Thread.h"
#include "UT/UT_ThreadSet.h"

#include <cstdio>
#include <memory>
#include <mutex>
#include <vector>

// What one worker adds up.
struct Part
{
    const int *values;
    int count;
    long sum;
};

// A job.
static void *
addUp(void *data)
{
    Part &part = *static_cast<Part *>(data);
    for (int i = 0; i < part.count; ++i)
        part.sum += part.values[i];
    return nullptr;
}

// The same job on a part for each worker.
static void
addInParts(const std::vector<int> &values)
{
    Part parts[4] = {};
    const int share = int(values.size()) / 4;
    for (int i = 0; i < 4; ++i)
        parts[i] = {values.data() + i * share, share, 0};

    UT_ThreadSet workers(4);
    workers.myFunction = addUp;
    workers.myJobData = parts;
    workers.myStride = sizeof(Part);
    workers.go();
    workers.wait(/*block=*/1);

    long sum = 0;
    for (const Part &part : parts)
        sum += part.sum;
    std::printf("the sum is %ld\n", sum);
}

// Ready before any code runs, and never destroyed.
static UT_Lock theCountLock(UT_STATIC_LOCK);
static int theCount = 0; // guarded by theCountLock

static void *
countEven(void *data)
{
    const bool isEven = *static_cast<const int *>(data) % 2 == 0;
    const std::lock_guard<UT_Lock> guard(theCountLock);
    theCount += isEven ? 1 : 0;
    return nullptr;
}

// A job for each value, for whichever worker is idle.
static void
countInJobs(std::vector<int> &values)
{
    UT_ThreadFarm farm(3);
    for (int &value : values)
        farm.nextThread(nullptr, /*block=*/1)->startThread(countEven, &value);
    farm.wait();
    std::printf("%d are even\n", theCount);
}

static void *
load(void *data)
{
    *static_cast<const char **>(data) = "the scene";
    return nullptr;
}

// One job beside what the program does.
static void
loadMeanwhile()
{
    const char *loaded = nullptr;
    const std::unique_ptr<UT_Thread> worker(
        UT_Thread::allocThread(UT_Thread::SPIN_SLEEP));
    worker->startThread(load, &loaded);
    worker->waitForState(UT_Thread::IDLE);
    std::printf("%s is loaded\n", loaded);
}

int
main()
{
    std::vector<int> values;
    for (int value = 1; value <= 100; ++value)
        values.push_back(value);
    addInParts(values);
    countInJobs(values);
    loadMeanwhile();
    return 0;
}
