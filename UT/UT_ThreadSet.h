// Groups of workers: one that does the same job on many data, and one that does
// any jobs as workers get free.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

class UT_Thread;

/// A fixed number of workers, which run one function at the same time, each on
/// a datum of its own. One thread at a time may use it.
///
/// In a child of fork() the workers of the parent are not there: nothing is
/// waited for, also in the destructor, and a job that was not finished never
/// is. The child must not use what such a job was changing. go() starts workers
/// of the child's own.
class UT_API UT_ThreadSet
{
public:
    /// `count` workers, as many as there are processors when it is below 1.
    /// They stay alive between jobs. With `nullIfSingle` a single one has no
    /// thread: go() then does its job itself.
    explicit UT_ThreadSet(int count = -1, int nullIfSingle = 0);

    /// Kills what still runs: wait() before.
    ~UT_ThreadSet();

    UT_ThreadSet(const UT_ThreadSet &) = delete;
    UT_ThreadSet &operator=(const UT_ThreadSet &) = delete;

    /// Number of workers.
    [[nodiscard]] int entries() const { return myCount; }

    /// Starts myFunction on every worker, as soon as the worker has done what
    /// it did before; nothing without a function.
    ///
    /// Deliberate: the last worker gets the first datum, at myJobData, and each
    /// one before it the datum `myStride` bytes further.
    void go();

    /// With `block`, waits until every worker is idle, and returns 0. Without,
    /// tells whether any worker's thread is there, busy or not: 1 or 0.
    int wait(int block);

    /// Sets the spin mode of all workers.
    void reuse(int spinMode);

    /// The worker at `index` from 0; null when there is none. It belongs to the
    /// set.
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

/// Workers of which each does another job. One thread at a time may use it: two
/// could be given the same idle worker. In a child of fork() it is as with a
/// UT_ThreadSet.
class UT_API UT_ThreadFarm
{
public:
    /// `count` workers, as many as there are processors when it is below 1.
    explicit UT_ThreadFarm(int count = -1);

    /// Waits for all jobs.
    ~UT_ThreadFarm();

    UT_ThreadFarm(const UT_ThreadFarm &) = delete;
    UT_ThreadFarm &operator=(const UT_ThreadFarm &) = delete;

    /// Number of workers.
    [[nodiscard]] int entries() const { return myCount; }

    /// The first idle worker, and its index from 0 in `*index` unless that is
    /// null; startThread() gives it its job. When none is idle: null, or with
    /// `block` the first that gets free.
    UT_Thread *nextThread(int *index, int block);

    /// Waits for all jobs and ends the workers; a later job begins in a new
    /// thread, which ends with it. The argument is not used. Returns 1.
    int wait(int = 1);

private:
    // Order and size stay.
    int32 myCount;
    UT_Thread **myThreads;
};

static_assert(sizeof(void *) != 4 || sizeof(UT_ThreadFarm) == 8);
