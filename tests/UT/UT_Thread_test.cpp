#include "UT/UT_Thread.h"

#include "UT/UT_Compat.h"
#include "UT/UT_ThreadSet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include <unistd.h>

// The setting is read once, so it is asked for in processes of their own.
TEST(UT_Thread, MaxThreadsCapsTheProcessors)
{
    const auto exitWithProcessors = [](const char *setting)
    {
        setenv("VALDRIN_MAXTHREADS", setting, /*overwrite=*/1);
        std::_Exit(UT_Thread::getNumProcessors());
    };
    EXPECT_EXIT(exitWithProcessors(" 1x"), testing::ExitedWithCode(1), "");
    // No limit.
    const testing::ExitedWithCode all(sysmp(0));
    EXPECT_EXIT(exitWithProcessors("-7"), all, "");
}

static void *
utCount(void *counter)
{
    ++*static_cast<int *>(counter);
    return nullptr;
}

TEST(UT_Thread, HandsJobsOverInOrder)
{
    static const struct
    {
        const char *what;
        int spinMode;
        int workers;
        int jobs; // of each worker
    } theRows[] = {
        {"a thread for each job", UT_Thread::SPIN_NEVER, 1,     300   },
        {"a sleeping worker",     UT_Thread::SPIN_SLEEP, 1,     100000},
        {"many workers",          UT_Thread::SPIN_SLEEP, 10000, 1     },
        {"a busy worker",         UT_Thread::SPIN_BUSY,  1,     300   },
    };
    for (const auto &row : theRows)
        for (int worker = 0; worker < row.workers; ++worker)
        {
            SCOPED_TRACE(
                testing::Message() << row.what << ", worker " << worker);
            int counter = 0; // plain: the hand-over orders the accesses
            UT_PThread thread(row.spinMode);
            for (int i = 0; i < row.jobs; ++i)
                ASSERT_TRUE(thread.startThread(utCount, &counter));
            thread.waitForState(UT_Thread::IDLE);
            ASSERT_EQ(row.jobs, counter);
            ASSERT_EQ(row.spinMode != UT_Thread::SPIN_NEVER, thread.isValid());
            // Every third one has ended when it is destroyed.
            if (worker % 3 == 0)
            {
                ASSERT_EQ(0, thread.killIdle());
            }
        }
}

// A job that goes on forever.
struct ut_EndlessJob
{
    std::promise<void> isIn;
    bool wasLeft = false;

    static void *sleepForever(void *self)
    {
        auto &job = *static_cast<ut_EndlessJob *>(self);
        const std::unique_ptr<bool, void (*)(bool *)> leaving(
            &job.wasLeft, [](bool *left) { *left = true; });
        job.isIn.set_value();
        for (;;)
            pause();
    }
};

TEST(UT_Thread, AKilledJobUnwinds)
{
    ut_EndlessJob job;
    UT_PThread thread(UT_Thread::SPIN_SLEEP);
    thread.startThread(ut_EndlessJob::sleepForever, &job);
    job.isIn.get_future().wait();
    EXPECT_EQ(1, thread.killIdle()); // it is not idle
    EXPECT_EQ(0, thread.killThread());
    int counter = 0;
    EXPECT_TRUE(thread.startThread(utCount, &counter));
    EXPECT_TRUE(job.wasLeft);
    thread.waitForState(UT_Thread::IDLE);
    EXPECT_EQ(1, counter);
    ut_EndlessJob last;
    thread.startThread(ut_EndlessJob::sleepForever, &last);
    last.isIn.get_future().wait();
}

// A kill that comes as the job ends neither runs it again nor waits forever.
TEST(UT_Thread, AJobRunsOnceHoweverItsWorkerGoes)
{
    std::mt19937 random(1);
    for (int i = 0; i < 5000; ++i)
    {
        std::atomic<int> counter(0);
        {
            UT_PThread thread(UT_Thread::SPIN_SLEEP);
            thread.startThread(nullptr, nullptr);
            thread.waitForState(UT_Thread::IDLE);
            thread.startThread(
                [](void *count) -> void *
                {
                    ++*static_cast<std::atomic<int> *>(count);
                    for (volatile int spin = 0; spin < 2000;)
                        spin = spin + 1;
                    return nullptr;
                },
                &counter);
            const int wait = int(random() % 30000);
            for (volatile int spin = 0; spin < wait;)
                spin = spin + 1;
        }
        ASSERT_LE(counter, 1) << i;
    }
}

TEST(UT_Thread, AJobThatThrowsLeavesANullThreadIdle)
{
    UT_NullThread thread;
    const auto job = [](void *) -> void * { throw 1; };
    EXPECT_THROW(thread.startThread(job, nullptr), int);
    EXPECT_EQ(UT_Thread::IDLE, thread.getState());
}

TEST(UT_Thread, WorkersBlockAllSignals)
{
    sigset_t inside;
    const auto getMask = [](void *mask) -> void *
    {
        pthread_sigmask(SIG_SETMASK, nullptr, static_cast<sigset_t *>(mask));
        return nullptr;
    };
    UT_Thread::configureMaxThreads(7, 1 << 20);
    const std::unique_ptr<UT_Thread> thread(
        UT_Thread::allocThread(UT_Thread::SPIN_NEVER));
    thread->startThread(getMask, &inside);
    thread->waitForState(UT_Thread::IDLE);
    for (const int signal : {SIGINT, SIGSEGV, SIGTERM, SIGCHLD})
        EXPECT_TRUE(sigismember(&inside, signal)) << signal;
}

TEST(UT_Thread, EveryThreadHasItsIndex)
{
    // Each thread is there as long as those that it starts.
    const std::function<void(int)> startFrom = [&](int index)
    {
        EXPECT_EQ(index, UT_Thread::getMySequentialThreadIndex());
        if (index < 8)
            std::thread(startFrom, index + 1).join();
    };
    startFrom(0);
}

static void *
utStoreId(void *id)
{
    *static_cast<pthread_t *>(id) = pthread_self();
    return nullptr;
}

// Deliberate: the last worker gets the first datum.
TEST(UT_ThreadSet, TheLastWorkerGetsTheFirstDatum)
{
    UT_ThreadSet set(3);
    pthread_t ids[3] = {};
    set.myJobData = ids;
    set.myStride = sizeof(*ids);
    set.myFunction = utStoreId;
    set.go();
    EXPECT_EQ(0, set.wait(1));
    pthread_t last = {};
    set.getThread(2)->startThread(utStoreId, &last);
    set.wait(1);
    EXPECT_TRUE(pthread_equal(last, ids[0]));
    EXPECT_EQ(nullptr, set.getThread(3));
    EXPECT_EQ(nullptr, set.getThread(-1));
}

TEST(UT_ThreadSet, ASingleWorkerMayBeTheCaller)
{
    pthread_t id = {};
    UT_ThreadSet single(1, /*nullIfSingle=*/1);
    single.myJobData = &id;
    single.myFunction = utStoreId;
    single.go();
    EXPECT_TRUE(pthread_equal(pthread_self(), id));
    EXPECT_EQ(UT_Thread::getNumProcessors(), UT_ThreadSet().entries());
}

TEST(UT_ThreadFarm, DoesEveryJobOnce)
{
    std::vector<int> done(2000);
    {
        UT_ThreadFarm farm(4);
        for (int &job : done)
            farm.nextThread(nullptr, 1)->startThread(utCount, &job);
        EXPECT_EQ(1, farm.wait());
        farm.nextThread(nullptr, 0)->startThread(utCount, &done[0]);
    }
    EXPECT_EQ(2, done[0]);
    EXPECT_EQ(1999, std::count(done.begin(), done.end(), 1));
}
