#include "UT_Thread.h"

#include "UT_Compat.h"
#include "UT_EnvControl.h"

#include <algorithm>
#include <atomic>

static std::atomic<int> theProcessorCount(-1); // negative: not known yet

int
UT_Thread::getNumProcessors()
{
    int count = theProcessorCount.load(std::memory_order_relaxed);
    if (count >= 0)
        return count;
    count = std::max(sysmp(0), 1);
    // Known before the settings are asked: they may construct locks, which
    // come back here.
    theProcessorCount.store(count, std::memory_order_relaxed);
    const int limit = UT_EnvControl::getInt(UT_VALDRIN_MAXTHREADS);
    if (limit > 0 && limit < count)
    {
        count = limit;
        theProcessorCount.store(count, std::memory_order_relaxed);
    }
    return count;
}

void
UT_Thread::resetNumProcessors()
{
    theProcessorCount.store(-1, std::memory_order_relaxed);
}
