// What all kinds of threads share, and the one that runs jobs on the spot.

#include "UT_Thread.h"

#include "UT_CancelImpl.h"
#include "UT_Compat.h"
#include "UT_EnvControl.h"
#include "UT_Nap.h"
#include "UT_ThreadImpl.h"

#include <algorithm>

static std::atomic<int> theProcessorCount(-1); // negative: not known yet

UT_Thread::UT_Thread(int spinMode) : myState(IDLE), mySpinMode(spinMode) {}

UT_Thread::~UT_Thread() = default;

void
UT_Thread::threadStarted()
{
}

void
UT_Thread::threadEnded()
{
    setState(IDLE);
}

bool
UT_Thread::isResourceHog() const
{
    return true;
}

int
UT_Thread::getState()
{
    return myState.load(std::memory_order_acquire);
}

int
UT_Thread::getSpinMode()
{
    return mySpinMode.load(std::memory_order_relaxed);
}

void
UT_Thread::waitForState(int state)
{
    for (unsigned spins = 0; myState.load(std::memory_order_acquire) != state;)
    {
        const bool isBusy = getSpinMode() == SPIN_BUSY;
        // Checking that the worker exists costs more than reading its state.
        const bool isAsked = !isBusy || spins % 1000001 == 0;
        if (state == IDLE && isAsked && !isValid())
            return;
        if (isBusy)
        {
            ++spins;
            utPause();
        }
        else
            UTnap(10);
    }
}

void
UT_Thread::setSpinMode(int spinMode)
{
    mySpinMode.store(spinMode, std::memory_order_relaxed);
}

int
UT_Thread::isValid()
{
    return waitThread(0);
}

void
UT_Thread::setState(int state)
{
    myState.store(state, std::memory_order_release);
}

void
UT_Thread::clearJob()
{
}

void
UT_Thread::waitForEnd()
{
    for (int tries = 0; tries < 2 && waitThread(0); ++tries)
        UTnap(10);
}

int
UT_Thread::killIdle()
{
    if (!waitThread(0))
        return 0;
    if (const int state = getState())
        return state;
    clearJob();
    setSpinMode(SPIN_NEVER);
    setState(RUNNING);
    waitForEnd();
    return 0;
}

int
UT_Thread::getNumProcessors()
{
    int count = theProcessorCount.load(std::memory_order_relaxed);
    if (count >= 0)
        return count;
    count = std::max(sysmp(0), 1);
    // Known before the settings are read: they may construct locks, which
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

UT_NullThread::UT_NullThread() : UT_Thread(SPIN_SLEEP) {}

UT_NullThread::~UT_NullThread() = default;

namespace
{

// Ends a job of this thread however it ends.
class ut_JobGuard
{
public:
    explicit ut_JobGuard(UT_Thread &thread) : myThread(thread)
    {
        thread.setState(UT_Thread::RUNNING);
    }
    ~ut_JobGuard()
    {
        const ut_CancelGuard guard;
        myThread.setState(UT_Thread::IDLE);
    }
    ut_JobGuard(const ut_JobGuard &) = delete;
    ut_JobGuard &operator=(const ut_JobGuard &) = delete;

private:
    UT_Thread &myThread;
};

} // namespace

bool
UT_NullThread::startThread(void *(*function)(void *), void *data)
{
    const ut_JobGuard guard(*this);
    if (function)
        function(data);
    return true;
}

int
UT_NullThread::killThread()
{
    return 0;
}

int
UT_NullThread::niceThread(int)
{
    return 0;
}

int
UT_NullThread::suspendThread()
{
    return 0;
}

int
UT_NullThread::restartThread()
{
    return 0;
}

int
UT_NullThread::waitThread(int)
{
    return 0;
}
