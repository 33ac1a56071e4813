// Workers that are killed while the toolkit waits: no lock stays held, and no
// connection and no file is left.

#include "UT/UT_Thread.h"

#include "ut_LoopbackServer.h"
#include "ut_TempDir.h"

#include "UT/UT_Lock.h"
#include "UT/UT_NetSocket.h"
#include "UT/UT_TempFile.h"
#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <functional>

#include <unistd.h>

using ut_Job = std::function<void()>;

// Runs a job in a worker that is killed when the job waits.
static void
utKillIn(const ut_Job &job, const std::function<bool()> &isWaiting)
{
    UT_PThread worker(UT_Thread::SPIN_SLEEP);
    worker.startThread(
        [](void *data) -> void *
        {
            (*static_cast<ut_Job *>(data))();
            return nullptr;
        },
        const_cast<ut_Job *>(&job));
    while (!isWaiting())
        sched_yield();
}

#ifndef __SANITIZE_ADDRESS__
// The address checker loses track of a stack that is unwound from within a call
// of the C library.
TEST(UT_ThreadKill, AnExchangeEndsItsConnection)
{
    std::atomic<bool> isAsked(false);
    const auto stayOpen = [&isAsked](int, const std::string &)
    {
        isAsked = true;
        return true;
    };
    ut_LoopbackServer server({stayOpen});
    const auto exchange = [&server]
    {
        UT_WorkBuffer reply;
        UT_NetSocket::sendCommandAndGetResult(
            server.port(), "x", reply, nullptr, false);
    };
    utKillIn(exchange, [&isAsked] { return isAsked.load(); });
    EXPECT_NE("", server.request(0)) << "which has ended";
}
#endif

TEST(UT_ThreadKill, ATemporaryFileIsRemoved)
{
    const ut_TempDir dir;
    setenv("VALDRIN_TEMP_DIR", dir.path().c_str(), /*overwrite=*/1);
    std::atomic<bool> isThere(false);
    const auto keepAFile = [&isThere]
    {
        const UT_TempFile file("killed");
        isThere = file.isValid();
        for (;;)
            pause();
    };
    utKillIn(keepAFile, [&isThere] { return isThere.load(); });
    EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
}

TEST(UT_ThreadKill, ATriggerIsFreeAgain)
{
    UT_Lock lock;
    // A failed attempt shows that it waits.
    utKillIn(
        [&lock] { lock.waitForTrigger(); },
        [&lock] { return lock.collisions() > 0; });
    EXPECT_TRUE(lock.tryLock());
}
