// Workers that are killed at any moment of what the toolkit does: the program
// goes on, no lock stays held, and no file stays open or lies around.

#include "UT/UT_Thread.h"

#include "ut_LoopbackServer.h"
#include "ut_TempDir.h"

#include "UT/UT_ErrorLog.h"
#include "UT/UT_ErrorManager.h"
#include "UT/UT_IStream.h"
#include "UT/UT_Lock.h"
#include "UT/UT_NetSocket.h"
#include "UT/UT_TempFile.h"
#include "UT/UT_ThreadSet.h"
#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <mutex>
#include <random>
#include <string>

#include <unistd.h>

using std::chrono::microseconds;
using std::chrono::steady_clock;

namespace
{

// What all workers share.
struct ut_World
{
    ut_World()
    {
        setenv("VALDRIN_TEMP_DIR", dir.path().c_str(), /*overwrite=*/1);
        setenv(
            "VALDRIN_ERRORLOG_FILENAME", dir.path("log").c_str(),
            /*overwrite=*/1);
        std::string lines;
        for (int i = 0; i < 1000; ++i)
            lines += "line " + std::to_string(i) + '\n';
        dir.write("text", lines);
        // The settings are one thread's to make.
        UTgetErrorLog();
        UTgetErrorManager();
    }

    // Descriptors that are no sockets: the server has some of those.
    static int openFiles()
    {
        int count = 0;
        std::error_code error;
        for (const auto &entry :
             std::filesystem::directory_iterator("/proc/self/fd"))
            if (std::filesystem::read_symlink(entry, error)
                    .string()
                    .find("socket:") == std::string::npos)
                ++count;
        return count;
    }

    int temporaryFiles() const
    {
        int count = 0;
        for (const auto &entry :
             std::filesystem::directory_iterator(dir.path()))
            count += entry.path().filename().string().find("killed") == 0;
        return count;
    }

    ut_TempDir dir;
    std::string text = dir.path("text");
    ut_LoopbackServer server{{ut_LoopbackServer::echo()}};
    UT_Lock lock;
};

using ut_Work = void (*)(ut_World &);

// A worker that does the same again and again until it is destroyed, which
// kills it.
struct ut_Victim
{
    ut_Victim(ut_World &sharedWorld, ut_Work work)
        : world(sharedWorld), doWork(work)
    {
        worker.startThread(run, this);
        while (!isStarted)
            sched_yield();
    }

    static void *run(void *data)
    {
        auto &victim = *static_cast<ut_Victim *>(data);
        victim.isStarted = true;
        for (;;)
        {
            victim.doWork(victim.world);
            pthread_testcancel();
        }
    }

    ut_World &world;
    const ut_Work doWork;
    std::atomic<bool> isStarted{false};
    UT_PThread worker{UT_Thread::SPIN_SLEEP};
};

} // namespace

static void
exchange(ut_World &world)
{
    UT_WorkBuffer reply;
    UT_NetSocket::sendCommandAndGetResult(
        world.server.port(), "echo", reply, nullptr, false);
}

static void
logAnError(ut_World &)
{
    UT_Error error("Common", 4, "text", UT_ERROR_ERROR);
    UTgetErrorLog()->logError(&error);
}

static void
reopenAFile(ut_World &world)
{
    UT_IFStream in;
    UT_WorkBuffer line;
    for (int i = 0; i < 3; ++i)
    {
        in.open(world.text.c_str(), UT_ISTREAM_ASCII);
        while (in.getLine(line))
            ;
    }
    in.close();
}

static void
useATemporaryFile(ut_World &)
{
    UT_TempFile file("killed");
    fputs("text", file.getFile());
    file.close();
}

static void
takeALock(ut_World &world)
{
    for (int i = 0; i < 20; ++i)
    {
        world.lock.lockLW();
        const std::lock_guard<UT_Lock> guard(world.lock, std::adopt_lock);
    }
}

[[maybe_unused]] static void
useWorkers(ut_World &)
{
    const auto job = [](void *) -> void * { return nullptr; };
    {
        UT_ThreadFarm farm(2);
        farm.nextThread(nullptr, 1)->startThread(job, nullptr);
    }
    UT_ThreadSet set(2);
    set.myFunction = job;
    set.go();
    set.wait(1);
    set.getThread(0)->killIdle();
    set.getThread(0)->waitThread(1);
}

struct ut_Family
{
    const char *name;
    ut_Work work;
};

// The thread checker gives up where a killed thread was waiting for another
// one.
static const ut_Family theFamilies[] = {
    {"Exchange",          exchange         },
    {"LogAnError",        logAnError       },
    {"ReopenAFile",       reopenAFile      },
    {"UseATemporaryFile", useATemporaryFile},
    {"TakeALock",         takeALock        },
#ifndef __SANITIZE_THREAD__
    {"UseWorkers",        useWorkers       },
#endif
};

class UT_ThreadKill : public testing::TestWithParam<ut_Family>
{
};
INSTANTIATE_TEST_SUITE_P(
    InTheMidstOf, UT_ThreadKill, testing::ValuesIn(theFamilies),
    [](const auto &family) { return std::string(family.param.name); });

TEST_P(UT_ThreadKill, LeavesNothing)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "this checker loses track of a stack that is unwound from "
                    "within a call of the C library";
#endif
    const char *const asked = getenv("VALDRIN_TEST_KILLS");
    const int kills = asked ? atoi(asked) : 40;
    const ut_Work work = GetParam().work;
    ut_World world;
    const int openFiles = world.openFiles();
    std::mt19937 random(1);
    testing::internal::CaptureStderr(); // locks have a word to say
    for (int i = 0; i < kills; i += 2)
    {
        const ut_Victim first(world, work);
        const ut_Victim second(world, work);
        const auto moment = steady_clock::now() + microseconds(random() % 1000);
        while (steady_clock::now() < moment)
            sched_yield();
    }
    // This waits forever for what a killed worker holds.
    work(world);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(openFiles, world.openFiles());
    EXPECT_EQ(0, world.temporaryFiles());
    EXPECT_TRUE(world.lock.tryLock());
    world.lock.unlock();
}
