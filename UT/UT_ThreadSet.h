// Groups of workers: one for the same job on many data, and one for any jobs,
// as workers become idle.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

class UT_Thread;

/// A fixed number of workers that run one function at the same time, each on a
/// datum of its own. One thread at a time may use it.
///
/// A child of fork() has no threads of the parent's workers: nothing waits for
/// them, not even the destructor, and their unfinished jobs are never finished.
/// The child must not use data that such a job was changing. go() starts
/// threads of the child's own.
class UT_API UT_ThreadSet
{
public:
    /// A set of `count` workers, or one for each processor when `count` is
    /// below 1. They stay alive between jobs. With `nullIfSingle` a single
    /// worker has no thread: go() runs its job itself.
    explicit UT_ThreadSet(int count = -1, int nullIfSingle = 0);

    /// Kills workers that are still running: call wait() first.
    ~UT_ThreadSet();

    UT_ThreadSet(const UT_ThreadSet &) = delete;
    UT_ThreadSet &operator=(const UT_ThreadSet &) = delete;

    /// Number of workers.
    [[nodiscard]] int entries() const { return myCount; }

    /// Starts myFunction on every worker, as soon as the worker's previous job
    /// is done; does nothing without a function. Runs the jobs of workers for
    /// which no thread can be created itself, after it has started the others.
    ///
    /// Deliberate: the last worker gets the first datum, at myJobData, and each
    /// one before it the datum `myStride` bytes further on. With two workers
    /// and a stride of 8, worker 1 gets myJobData and worker 0 the datum 8
    /// bytes after it.
    void go();

    /// With `block`, waits until every worker is idle, and returns 0. Without
    /// it, returns whether any worker has a thread, busy or not: 1 or 0.
    int wait(int block);

    /// Sets the spin mode of all workers.
    void reuse(int spinMode);

    /// The worker at `index`, from 0; null when there is none. The set owns it.
    UT_Thread *getThread(int index);

private:
    // Order and size stay.
    int32 myCount;
    UT_Thread **myThreads;

public:
    void *(*myFunction)(void *); ///< what go() starts
    void *myJobData;             ///< the first datum
    int32 myStride;              ///< bytes from one datum to the next
    int32 myUserValue;           ///< for the program's own use; 0 at first
};

static_assert(sizeof(void *) != 4 || sizeof(UT_ThreadSet) == 24);

/// A fixed number of workers, each with a job of its own. One thread at a time
/// may use it: two could get the same idle worker. A child of fork() may use it
/// as it may a UT_ThreadSet.
class UT_API UT_ThreadFarm
{
public:
    /// A farm of `count` workers, or one for each processor when `count` is
    /// below 1.
    explicit UT_ThreadFarm(int count = -1);

    /// Waits for all jobs.
    ~UT_ThreadFarm();

    UT_ThreadFarm(const UT_ThreadFarm &) = delete;
    UT_ThreadFarm &operator=(const UT_ThreadFarm &) = delete;

    /// Number of workers.
    [[nodiscard]] int entries() const { return myCount; }

    /// The first idle worker, whose index from 0 is stored in `*index` unless
    /// that is null; give it a job with startThread(). When none is idle,
    /// returns null, or with `block` waits for one.
    UT_Thread *nextThread(int *index, int block);

    /// Waits for all jobs and ends the workers; a later job starts in a new
    /// thread, which ends with the job. The argument is not used. Returns 1.
    int wait(int = 1);

private:
    // Order and size stay.
    int32 myCount;
    UT_Thread **myThreads;
};

static_assert(sizeof(void *) != 4 || sizeof(UT_ThreadFarm) == 8);
