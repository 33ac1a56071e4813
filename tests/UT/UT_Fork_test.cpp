// What a child of fork() can do, in which only the thread that forked goes on,
// and what a program that it starts gets to see.

#include "ut_TempDir.h"

#include "UT/UT_Error.h"
#include "UT/UT_ErrorLog.h"
#include "UT/UT_IStream.h"
#include "UT/UT_Lock.h"
#include "UT/UT_SmallObjectAllocator.h"
#include "UT/UT_String.h"
#include "UT/UT_SymbolTable.h"
#include "UT/UT_TempFile.h"
#include "UT/UT_Thread.h"
#include "UT/UT_ThreadSet.h"

#include <gtest/gtest.h>

#include <atomic>
#include <iostream>
#include <memory>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

// Runs `body` in a child, which prints what fails there. A child that hangs is
// killed by a signal. The exit status; -1 after a signal.
template <class Body>
static int
utInChild(Body body)
{
    std::cout.flush();
    const pid_t child = fork();
    if (child == 0)
    {
        alarm(30);
        body();
        std::cout.flush();
        _exit(testing::Test::HasFailure());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

static void *
utDoNothing(void *)
{
    return nullptr;
}

// A job that goes on as long as the object lives.
class ut_Stay
{
public:
    ~ut_Stay() { myIsOver = true; }

    void startIn(UT_Thread &worker)
    {
        const int before = myCount;
        worker.startThread(stay, this);
        while (myCount == before)
            sched_yield();
    }

private:
    static void *stay(void *data)
    {
        auto &self = *static_cast<ut_Stay *>(data);
        ++self.myCount;
        while (!self.myIsOver)
            UT_Lock(1).lockNap(1);
        return nullptr;
    }

    std::atomic<int> myCount{0};
    std::atomic<bool> myIsOver{false};
};

TEST(UT_Fork, WorkersOfTheParentAreNotThere)
{
    UT_PThread idle(UT_Thread::SPIN_SLEEP);
    idle.startThread(utDoNothing, nullptr);
    idle.waitForState(UT_Thread::IDLE);
    UT_PThread ended(UT_Thread::SPIN_NEVER);
    ended.startThread(utDoNothing, nullptr);
    ended.waitForState(UT_Thread::IDLE);
    ut_Stay stay;
    UT_PThread busy(UT_Thread::SPIN_SLEEP);
    stay.startIn(busy);
    const auto expectNone = [&]
    {
        for (UT_PThread *const worker : {&idle, &ended, &busy})
        {
            SCOPED_TRACE(
                worker == &idle   ? "idle"
                : worker == &busy ? "busy"
                                  : "ended");
            worker->waitForState(UT_Thread::IDLE);
            EXPECT_EQ(UT_Thread::IDLE, worker->getState());
            EXPECT_EQ(0, worker->killIdle());
            EXPECT_EQ(0, worker->killThread());
            EXPECT_EQ(0, worker->waitThread(1));
#ifndef __SANITIZE_THREAD__ // which lets a child have no threads
            EXPECT_TRUE(worker->startThread(utDoNothing, nullptr));
            worker->waitForState(UT_Thread::IDLE);
#endif
            worker->~UT_PThread();
        }
    };
    EXPECT_EQ(0, utInChild(expectNone));
    EXPECT_EQ(UT_Thread::RUNNING, busy.getState());
    EXPECT_TRUE(idle.isValid());
}

TEST(UT_Fork, GroupsOfTheParentHaveNothingToWaitFor)
{
    auto set = std::make_unique<UT_ThreadSet>(1);
    auto farm = std::make_unique<UT_ThreadFarm>(1);
    ut_Stay stay;
    stay.startIn(*set->getThread(0));
    stay.startIn(*farm->nextThread(nullptr, 1));
    const auto useGroups = [&]
    {
        EXPECT_EQ(0, set->wait(1));
        EXPECT_NE(nullptr, farm->nextThread(nullptr, 0));
        EXPECT_EQ(1, farm->wait());
        set.reset();
        farm.reset();
    };
    EXPECT_EQ(0, utInChild(useGroups));
    EXPECT_EQ(nullptr, farm->nextThread(nullptr, 0));
}

TEST(UT_Fork, PoolsAndTablesAreFreeInTheChild)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "this checker's own allocator may be locked in the child";
#endif
    setenv("VALDRIN_ERRORLOG_FILENAME", "/dev/null", /*overwrite=*/1);
    UTgetErrorLog();
    UT_SmallObjectAllocator allocator(
        /*reclaim=*/true, /*objectsPerPage=*/16, /*maxObjectSize=*/128,
        /*threadSafe=*/true);
    const auto usePools = [&]
    {
        UT_SymbolTable table;
        for (int i = 0; i < 10; ++i)
            table.addSymbol(std::to_string(i).c_str(), UT_Thing(i));
        allocator.deallocate(allocator.allocate(24), 24);
    };
    const auto logAnError = []
    {
        UT_Error error("Common", 4, "text", UT_ERROR_ERROR);
        UTgetErrorLog()->logError(&error);
    };
    std::atomic<bool> isOver(false);
    const auto repeat = [&isOver](const auto &use)
    {
        while (!isOver)
            use();
    };
    std::thread first([&] { repeat(usePools); });
    std::thread second([&] { repeat(logAnError); });
    const auto useInChild = [&]
    {
        usePools();
        logAnError();
    };
    int status = 0;
    for (int child = 0; status == 0 && child < 200; ++child)
        status = utInChild(useInChild);
    isOver = true;
    first.join();
    second.join();
    EXPECT_EQ(0, status);
}

TEST(UT_Fork, NoFileIsOpenInAProgramThatIsStarted)
{
    const auto inherited = []
    {
        int count = 0;
        for (int file = 0; file < 1000; ++file)
            if (fcntl(file, F_GETFD) == 0) // there is one, without FD_CLOEXEC
                ++count;
        return count;
    };
    const ut_TempDir dir;
    const std::string path = dir.write("text", "text");
    const int before = inherited();
    UT_IFStream in(path.c_str(), UT_ISTREAM_ASCII);
    const UT_TempFile temporary("name");
    const std::unique_ptr<FILE, int (*)(FILE *)> unnamed(UTtmpFile(), fclose);
    const auto stream = UTtmpStream();
    EXPECT_EQ(before, inherited());
}
