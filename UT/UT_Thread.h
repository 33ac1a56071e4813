// Worker threads, and how many processors there are for them.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <atomic>

#include <pthread.h>

/// A worker, which runs one job at a time: a function and what it is given.
/// What the function returns is lost.
///
/// One thread at a time controls a worker: starts jobs, waits for them, ends
/// it. Asking for its state is free to all.
///
/// In a child of fork() there is none of the parent's threads: a worker is
/// idle and has ended there, all waits for it return at once, and what it was
/// working on is as it was at that moment. The child may start it again, with a
/// thread of its own. Where a job itself forks, the child ends with the job.
///
/// While the thread of any worker is there the library must stay loaded:
/// dlclose() is not allowed before the worker is destroyed, busy or not.
class UT_API UT_Thread
{
public:
    /// What getState() tells.
    enum
    {
        IDLE = 0,
        RUNNING = 1 ///< a job has been handed over and is not finished
    };

    /// What becomes of a worker when its job is done.
    enum
    {
        SPIN_NEVER = 0, ///< it ends; the next job begins in a new thread
        SPIN_SLEEP = 1, ///< it stays and sleeps until there is another job
        SPIN_BUSY = 2   ///< it stays; the base class's waitForState() does
                        ///< not sleep
    };

    explicit UT_Thread(int spinMode);

    UT_Thread(const UT_Thread &) = delete;
    UT_Thread &operator=(const UT_Thread &) = delete;

    // Programs derive their own workers: the order of the virtual functions
    // stays, and another one comes last.

    virtual ~UT_Thread();

    /// Runs `function` with `data` in the worker, as soon as its present job is
    /// done, which is waited for. A null function is a job without work. False
    /// when no thread could be made.
    virtual bool startThread(void *(*function)(void *), void *data) = 0;

    /// Called in the worker before its first job and after its last. A function
    /// that replaces one of them must call the replaced one.
    virtual void threadStarted();
    virtual void threadEnded();

    /// Whether the worker keeps a thread of the caller busy.
    [[nodiscard]] virtual bool isResourceHog() const;

    virtual int getState();
    virtual int getSpinMode();

    /// Waits until the state is `state`, without a limit; for IDLE also until
    /// the worker has ended. Here, by looking every 10 milliseconds, or all the
    /// time with SPIN_BUSY.
    virtual void waitForState(int state);

    /// Takes effect when the present job is done.
    virtual void setSpinMode(int spinMode);

    /// Ends the worker, a busy one in the midst of its job. 0, or an error
    /// number when that cannot be done.
    virtual int killThread() = 0;

    /// Nothing: 0.
    virtual int niceThread(int increment) = 0;
    virtual int suspendThread() = 0;
    virtual int restartThread() = 0;

    /// Whether the worker's thread is there, busy or not. With `block` it is
    /// first waited for until it has ended, if there is one.
    virtual int waitThread(int block) = 0;

    /// The same as waitThread(0).
    virtual int isValid();

    /// Sets the state and wakes those who wait for it. The worker calls it too,
    /// with IDLE after each job and when it ends. A function that replaces it
    /// must call the replaced one.
    virtual void setState(int state);

    /// Takes the job away. For killIdle().
    virtual void clearJob();

    /// Waits until the worker has ended, 20 milliseconds at most. For
    /// killIdle().
    virtual void waitForEnd();

    /// Ends a worker that has nothing to do, and waits a little for that; its
    /// spin mode is SPIN_NEVER then. Returns 0, or the state of a worker that
    /// is not idle, which goes on.
    int killIdle();

    /// Number of processors to use, at least 1: those of the machine, but not
    /// more than VALDRIN_MAXTHREADS where that is above 0. Worked out at the
    /// first call. Thread-safe; while the first call is busy, others may get
    /// the machine's number.
    static int getNumProcessors();

    /// Makes the next getNumProcessors() work the number out again, from the
    /// settings as they are then.
    static void resetNumProcessors();

    /// Sets the stack size in bytes of workers that begin from now on, when it
    /// is 1 or more. The system ignores a size below PTHREAD_STACK_MIN. The
    /// first argument is not used. Set it before other threads run.
    static void configureMaxThreads(int, int stackSize);

    /// A new UT_PThread. Caller deletes.
    [[nodiscard]] static UT_Thread *allocThread(int spinMode);

    /// The thread that was the first to ask for this or to make a worker by
    /// allocThread(), a UT_ThreadSet or a UT_ThreadFarm. Thread-safe.
    static pthread_t getMainThreadId();

    /// A number for the calling thread, the same at every call: 0 for the first
    /// thread that asks, 1 for the second. A thread may take over the number of
    /// one that has ended. Thread-safe; costs next to nothing but for each
    /// thread's first call, which is O(threads).
    static int getMySequentialThreadIndex()
    {
        return theThreadIndex >= 0 ? theThreadIndex : findMyThreadIndex();
    }

protected:
    // Order and size stay, here and in the classes derived from it.
    std::atomic<int32> myState;
    std::atomic<int32> mySpinMode;

private:
    // Not UT_LOCAL: the inline function above calls it.
    static int findMyThreadIndex();

    // A fixed place in every thread, so that reading it is one instruction;
    // `thread_local` would ask a function whether it is there.
    static __thread int theThreadIndex
        __attribute__((tls_model("initial-exec")));
};

static_assert(sizeof(void *) != 4 || sizeof(UT_Thread) == 12);

/// A worker with a POSIX thread of its own, which begins with the first job and
/// has all signals blocked, those that tell of a crash too: the system then
/// ends the process without asking a handler.
///
/// The thread calls virtual functions until it has ended: the destructor of a
/// derived class that replaces any kills the worker and waits for it.
class UT_API UT_PThread : public UT_Thread
{
public:
    explicit UT_PThread(int spinMode);

    /// Kills the worker, in the midst of its job if it has one, and waits until
    /// that has worked: see killThread().
    ~UT_PThread() override;

    bool startThread(void *(*function)(void *), void *data) override;
    void threadStarted() override;
    void threadEnded() override;
    [[nodiscard]] bool isResourceHog() const override;
    int getState() override;

    /// Waits until the state is `state` or the worker has ended. For the time
    /// of a quick job it only looks, and then sleeps.
    void waitForState(int state) override;

    /// Ends an idle worker. A busy one is cancelled: the job ends at the next
    /// call in it that POSIX names as a cancellation point, which unwinds its
    /// objects; without such a call it runs to its end. A `catch (...)` around
    /// that call must rethrow, and a mutex held there without an object that
    /// lets go of it stays locked. A destructor must not make such a call: the
    /// program would end.
    ///
    /// Of the toolkit's functions, those that read, write and connect or wait
    /// for something end so, and leave what they work on as a failure would.
    /// Those that open, close or print, add an error, look up a name or make
    /// settings do all of it first.
    int killThread() override;

    int niceThread(int increment) override;
    int suspendThread() override;
    int restartThread() override;
    int waitThread(int block) override;
    void setState(int state) override;
    void clearJob() override;
    void waitForEnd() override;

private:
    UT_LOCAL void initWaiting();
    [[nodiscard]] UT_LOCAL bool isOfParent() const;
    UT_LOCAL void forgetParent();
    UT_LOCAL static void *threadWrapper(void *self);
    [[nodiscard]] UT_LOCAL bool isReached(int state) const;
    UT_LOCAL void runJobs();

    void *(*myFunction)(void *); // the job, null for none
    void *myData;
    pthread_t myThreadId; // of the last thread made
    pthread_mutex_t myMutex;
    pthread_cond_t myCondition;     // the state or myIsAlive has changed
    std::atomic<bool> myIsAlive;    // the thread is there and not killed
    std::atomic<bool> myIsJoinable; // it must still be waited for
    std::atomic<uint16> myForks;    // before the process that all this is of
    std::atomic<int32> mySleepers;  // threads that wait for myCondition

    friend class ut_WaitGuard;
    friend class ut_EndGuard;
};

/// No thread: runs each job at once, in the thread that starts it.
class UT_API UT_NullThread : public UT_Thread
{
public:
    UT_NullThread();
    ~UT_NullThread() override;

    bool startThread(void *(*function)(void *), void *data) override;
    int killThread() override;
    int niceThread(int increment) override;
    int suspendThread() override;
    int restartThread() override;
    int waitThread(int block) override;
};
