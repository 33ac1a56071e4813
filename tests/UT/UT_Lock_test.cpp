#include "UT/UT_Lock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using std::chrono::steady_clock;

// An attempt of another thread.
static bool
utOtherTryLock(UT_Lock &lock)
{
    return std::async(std::launch::async, [&] { return lock.tryLock(); }).get();
}

TEST(UT_Lock, BoundedWaysMakeOneAttemptMore)
{
    // One processor: light-weight waits sleep after more than one failure.
    setenv("VALDRIN_MAXTHREADS", "1", /*overwrite=*/1);
    static const struct
    {
        const char *name;
        bool (UT_Lock::*way)(int tries);
        int sleeps; // of 10 ms, at the least
    } theWays[] = {
        {"lock",    &UT_Lock::lock,    0},
        {"lockLW",  &UT_Lock::lockLW,  3},
        {"lockNap", &UT_Lock::lockNap, 3},
    };
    for (const auto &row : theWays)
    {
        SCOPED_TRACE(row.name);
        UT_Lock lock(/*initiallyLocked=*/1);
        const auto start = steady_clock::now();
        EXPECT_FALSE((lock.*row.way)(4));
        // Each sleep may be 1 us short.
        EXPECT_GE(steady_clock::now() - start, row.sleeps * 9999us);
        EXPECT_EQ(5, lock.collisions());
        lock.unlock();
        EXPECT_TRUE((lock.*row.way)(4));
        EXPECT_EQ(5, lock.collisions());
    }
    testing::internal::CaptureStderr();
    UT_DebugLock("net", /*initiallyLocked=*/1).lock(/*tries=*/4);
    EXPECT_EQ(
        "Lock[net]: 5 collisions\n", testing::internal::GetCapturedStderr());
}

TEST(UT_Lock, OneThreadAtATimeHasIt)
{
    using ut_Way = void (UT_Lock::*)();
    const ut_Way ways[] = {&UT_Lock::lock, &UT_Lock::lockLW, &UT_Lock::lockNap};
    for (const bool isRecursive : {false, true})
    {
        UT_Lock lock(/*initiallyLocked=*/0, isRecursive);
        int count = 0; // plain: the lock orders the accesses
        std::vector<std::future<void>> threads;
        for (const ut_Way way : ways)
            threads.push_back(std::async(
                std::launch::async,
                [&lock, &count, isRecursive, way]
                {
                    for (int i = 0; i < 1000000; ++i)
                    {
                        (lock.*way)();
                        const bool isNested = isRecursive && lock.lock(0);
                        ++count;
                        if (isNested)
                            lock.unlock();
                        lock.unlock();
                    }
                }));
        threads.clear(); // they have ended
        EXPECT_EQ(3000000, count) << "recursive: " << isRecursive;
        EXPECT_TRUE(lock.tryLock()) << "recursive: " << isRecursive;
    }
}

TEST(UT_Lock, TheOwnerGivesBackAsOftenAsItTook)
{
    UT_Lock source(/*initiallyLocked=*/0, /*recursive=*/true);
    EXPECT_TRUE(source.tryLock());
    EXPECT_TRUE(source.tryLock());
    UT_Lock lock(source); // a copy is held as well, by the same owner
    EXPECT_FALSE(utOtherTryLock(lock));
    lock.unlock();
    EXPECT_FALSE(utOtherTryLock(lock));
    lock.unlock();
    EXPECT_TRUE(utOtherTryLock(lock));
    EXPECT_FALSE(lock.tryLock()); // the other thread's
}

// Deliberate: a lock that is held has to come free first.
TEST(UT_Lock, ATriggerEndsTheWait)
{
    UT_Lock lock(/*initiallyLocked=*/1);
    auto wait = std::async(std::launch::async, [&] { lock.waitForTrigger(); });
    // A failed attempt shows that the other thread waits.
    while (lock.collisions() == 0)
        std::this_thread::yield();
    lock.trigger();
    EXPECT_NE(std::future_status::ready, wait.wait_for(20ms));
    while (wait.wait_for(1ms) != std::future_status::ready)
        lock.trigger();
}
