// Worker threads, and the number of processors for them.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <atomic>

#include <pthread.h>

/// A worker that runs one job at a time. A job is a function and its data; the
/// function's result is ignored.
///
/// One thread at a time controls a worker: starts jobs, waits for them, ends
/// it. Any thread may ask for its state.
///
/// A child of fork() has none of the parent's threads: a worker is idle and has
/// ended there, all waits for it return at once, and its data are left as they
/// were during the fork. The child may start it again, with a thread of its
/// own. If a job itself forks, the child ends with the job.
///
/// The library must stay loaded while any worker has a thread: dlclose() is not
/// allowed before the worker is destroyed, busy or not.
class UT_API UT_Thread
{
public:
    /// Results of getState().
    enum
    {
        IDLE = 0,
        RUNNING = 1 ///< a job has been started and is not finished
    };

    /// What a worker does when its job is done.
    enum
    {
        SPIN_NEVER = 0, ///< it ends; the next job begins in a new thread
        SPIN_SLEEP = 1, ///< it stays and sleeps until there is another job
        SPIN_BUSY = 2   ///< it stays; the base class's waitForState() does
                        ///< not sleep
    };

    /// An idle worker; see setSpinMode() for the argument.
    explicit UT_Thread(int spinMode);

    UT_Thread(const UT_Thread &) = delete;
    UT_Thread &operator=(const UT_Thread &) = delete;

    // Programs derive their own workers: the order of the virtual functions
    // stays, and new ones are added at the end.

    virtual ~UT_Thread();

    /// Waits until the worker's current job is done, and then runs `function`
    /// with `data` in the worker. A null function is a job without work. False
    /// when no thread could be created.
    virtual bool startThread(void *(*function)(void *), void *data) = 0;

    /// Called in the worker before its first job and after its last. An
    /// override must call the function that it replaces.
    virtual void threadStarted();
    virtual void threadEnded();

    /// Whether the worker keeps a thread of the caller busy.
    [[nodiscard]] virtual bool isResourceHog() const;

    /// The state, IDLE or RUNNING, and the spin mode.
    virtual int getState();
    virtual int getSpinMode();

    /// Waits without limit until the state is `state`; for IDLE, the end of the
    /// worker counts too. This function checks every 10 milliseconds, or
    /// continuously with SPIN_BUSY.
    virtual void waitForState(int state);

    /// Sets the spin mode, with effect when the current job is done.
    virtual void setSpinMode(int spinMode);

    /// Ends the worker, even in the middle of a job. Returns 0 or an error
    /// number.
    virtual int killThread() = 0;

    /// Do nothing and return 0.
    virtual int niceThread(int increment) = 0;
    virtual int suspendThread() = 0;
    virtual int restartThread() = 0;

    /// Whether the worker has a thread, busy or not. With `block`, first waits
    /// until the thread, if there is one, has ended.
    virtual int waitThread(int block) = 0;

    /// Whether the worker has a thread, busy or not: waitThread(0).
    virtual int isValid();

    /// Sets the state and wakes the threads that wait for it. The worker calls
    /// it too, with IDLE after each job and when it ends. An override must call
    /// the function that it replaces.
    virtual void setState(int state);

    /// Removes the job. For killIdle().
    virtual void clearJob();

    /// Waits until the worker has ended, for 20 milliseconds at most. For
    /// killIdle().
    virtual void waitForEnd();

    /// Ends an idle worker, and waits briefly for its end; its spin mode
    /// becomes SPIN_NEVER. Returns 0, or the state of a worker that is not
    /// idle, which continues.
    int killIdle();

    /// Number of processors to use, at least 1: the machine's, but at most
    /// VALDRIN_MAXTHREADS if that is above 0. Computed at the first call.
    /// Thread-safe; during the first call others may get the machine's number.
    static int getNumProcessors();

    /// Makes the next getNumProcessors() compute the number again, from the
    /// settings at that time.
    static void resetNumProcessors();

    /// Sets the stack size in bytes of threads that are created later; does
    /// nothing for a size below 1. The system ignores a size below
    /// PTHREAD_STACK_MIN. The first argument is not used. Call it before other
    /// threads run.
    static void configureMaxThreads(int, int stackSize);

    /// A new UT_PThread. Caller deletes.
    [[nodiscard]] static UT_Thread *allocThread(int spinMode);

    /// The main thread: the first one that called this or allocThread(), or
    /// created a UT_ThreadSet or a UT_ThreadFarm. Thread-safe.
    static pthread_t getMainThreadId();

    /// The number of the calling thread, the same at every call: 0 for the
    /// first thread that calls, 1 for the second. A thread may get the number
    /// of one that has ended. Thread-safe; reads one word, except for each
    /// thread's first call, which is O(threads).
    static int getMySequentialThreadIndex()
    {
        return theThreadIndex >= 0 ? theThreadIndex : findMyThreadIndex();
    }

protected:
    // Order and size stay, here and in the classes derived from it.
    std::atomic<int32> myState;    ///< IDLE or RUNNING
    std::atomic<int32> mySpinMode; ///< what happens after the job

private:
    // Not UT_LOCAL: the inline function above calls it.
    static int findMyThreadIndex();

    // A fixed place in every thread, so that reading it is one instruction;
    // `thread_local` would call a function that checks whether it exists.
    static __thread int theThreadIndex
        __attribute__((tls_model("initial-exec")));
};

static_assert(sizeof(void *) != 4 || sizeof(UT_Thread) == 12);

/// A worker with a POSIX thread of its own, which starts with the first job and
/// has all signals blocked, including those for crashes: the system then ends
/// the process without calling a handler.
///
/// The thread calls virtual functions until it has ended: the destructor of a
/// derived class that overrides any must kill the worker and wait for it.
class UT_API UT_PThread : public UT_Thread
{
public:
    /// An idle worker, which has no thread yet.
    explicit UT_PThread(int spinMode);

    /// Kills the worker, even in the middle of a job, and waits for its end:
    /// see killThread().
    ~UT_PThread() override;

    bool startThread(void *(*function)(void *), void *data) override;
    void threadStarted() override;
    void threadEnded() override;
    [[nodiscard]] bool isResourceHog() const override;
    int getState() override; ///< IDLE in a child of fork()

    /// Waits until the state is `state` or the worker has ended. It checks
    /// continuously for about as long as a quick job takes, and then sleeps.
    void waitForState(int state) override;

    /// Ends an idle worker, and cancels a busy one: the job ends at its next
    /// call that POSIX names as a cancellation point, where its objects are
    /// unwound. Without such a call it runs to its end. A `catch (...)` around
    /// that call must rethrow, and a mutex that is held there without a guard
    /// object stays locked. A destructor must not make such a call: the program
    /// would end.
    ///
    /// The toolkit's functions that read, write, connect or wait can be
    /// cancelled, and then leave their objects as after a failure. Those that
    /// open, close or print, add an error, look up a name or create the
    /// settings finish first.
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
    std::atomic<bool> myIsAlive;    // the thread exists and is not killed
    std::atomic<bool> myIsJoinable; // it must still be waited for
    std::atomic<uint16> myForks;    // fork count of the worker's process
    std::atomic<int32> mySleepers;  // threads that wait for myCondition

    friend class ut_WaitGuard;
    friend class ut_EndGuard;
};

/// A worker without a thread: runs each job at once, in the thread that starts
/// it.
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
