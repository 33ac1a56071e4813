// Workers that are killed at any moment of what the toolkit does: the program
// goes on, no lock stays held, and no file stays open or lies around.

#include "UT/UT_Thread.h"

#include "ut_LoopbackServer.h"
#include "ut_TempDir.h"

#include "UT/UT_ErrorLog.h"
#include "UT/UT_ErrorManager.h"
#include "UT/UT_Lock.h"
#include "UT/UT_NetSocket.h"
#include "UT/UT_TempFile.h"
#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
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
        const std::string log = dir.path("log");
        setenv("VALDRIN_ERRORLOG_FILENAME", log.c_str(), /*overwrite=*/1);
        // The settings are one thread's to make.
        UTgetErrorLog();
        UTgetErrorManager();
    }

    // Entries of a directory whose name, or the target of a link, has the text.
    static long count(const std::string &directory, const std::string &text)
    {
        const std::filesystem::directory_iterator begin(directory);
        return std::count_if(
            begin, {},
            [&text](const auto &entry)
            {
                std::error_code error;
                const auto target = std::filesystem::read_symlink(entry, error);
                const std::string name =
                    target.string() + entry.path().string();
                return name.find(text) != name.npos;
            });
    }

    ut_TempDir dir;
    ut_LoopbackServer server{{ut_LoopbackServer::echo()}};
    UT_Lock lock;
};

using ut_Work = void (*)(ut_World &);

// Does the same again and again until the worker is destroyed, which kills it.
struct ut_Victim
{
    ut_World &world;
    const ut_Work doWork;
    std::atomic<bool> isStarted{false};

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

static const struct
{
    const char *name;
    ut_Work work;
} theFamilies[] = {
    {"an exchange",      exchange         },
    {"logging an error", logAnError       },
    {"a temporary file", useATemporaryFile},
    {"taking a lock",    takeALock        },
};

TEST(UT_ThreadKill, LeavesNothing)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "this checker loses track of a stack that is unwound from "
                    "within a call of the C library";
#endif
    ut_World world;
    const std::string here = world.dir.path(); // its files
    const long open = ut_World::count("/proc/self/fd", here);
    std::mt19937 random(1);
    testing::internal::CaptureStderr(); // locks have a word to say
    for (const auto &family : theFamilies)
    {
        SCOPED_TRACE(family.name);
        for (int i = 0; i < 20; ++i)
        {
            ut_Victim first{world, family.work};
            ut_Victim second{world, family.work};
            UT_PThread firstWorker(UT_Thread::SPIN_SLEEP);
            UT_PThread secondWorker(UT_Thread::SPIN_SLEEP);
            firstWorker.startThread(ut_Victim::run, &first);
            secondWorker.startThread(ut_Victim::run, &second);
            while (!first.isStarted || !second.isStarted)
                sched_yield();
            const auto moment =
                steady_clock::now() + microseconds(random() % 1000);
            while (steady_clock::now() < moment)
                sched_yield();
        }
        // This waits forever for what a killed worker holds.
        family.work(world);
        EXPECT_EQ(open, ut_World::count("/proc/self/fd", here));
        EXPECT_EQ(0, ut_World::count(here, "killed"));
        EXPECT_TRUE(world.lock.tryLock());
        world.lock.unlock();
    }
    testing::internal::GetCapturedStderr();
}
