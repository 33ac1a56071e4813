// Workers that are killed while the toolkit waits, or at any moment: no lock
// stays held, and no connection and no file is left.

#include "UT/UT_Thread.h"

#include "ut_LoopbackServer.h"
#include "ut_TempDir.h"

#include "UT/UT_Lock.h"
#include "UT/UT_NetSocket.h"
#include "UT/UT_TempFile.h"
#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <random>

using ut_Job = std::function<void()>;

// Runs a job in a worker that is killed when the time has come.
static void
utKillIn(const ut_Job &job, const std::function<bool()> &isTime)
{
    UT_PThread worker(UT_Thread::SPIN_SLEEP);
    worker.startThread(
        [](void *data) -> void *
        {
            (*static_cast<ut_Job *>(data))();
            return nullptr;
        },
        const_cast<ut_Job *>(&job));
    while (!isTime())
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

TEST(UT_ThreadKill, AtAnyMomentNothingIsLeft)
{
    using std::chrono::steady_clock;
    const ut_TempDir dir;
    setenv("VALDRIN_TEMP_DIR", dir.path().c_str(), /*overwrite=*/1);
    ut_LoopbackServer server({ut_LoopbackServer::echo()});
    UT_Lock lock;
    const auto work = [&server, &lock]
    {
        for (;;)
        {
            UT_WorkBuffer reply;
            UT_NetSocket::sendCommandAndGetResult(
                server.port(), "x", reply, nullptr, false);
            const UT_TempFile file("killed");
            lock.lockLW();
            const std::lock_guard<UT_Lock> guard(lock, std::adopt_lock);
        }
    };
    std::mt19937 random(1);
    for (int i = 0; i < 200; ++i)
    {
        const auto moment =
            steady_clock::now() + std::chrono::microseconds(random() % 1000);
        utKillIn(work, [moment] { return steady_clock::now() >= moment; });
    }
    EXPECT_TRUE(lock.tryLock());
    EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
}
#endif

TEST(UT_ThreadKill, ATriggerIsFreeAgain)
{
    UT_Lock lock;
    // A failed attempt shows that it waits.
    utKillIn(
        [&lock] { lock.waitForTrigger(); },
        [&lock] { return lock.collisions() > 0; });
    EXPECT_TRUE(lock.tryLock());
}
