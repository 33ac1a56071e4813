#include "UT/UT_Lock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <thread>
#include <vector>

using ut_Clock = std::chrono::steady_clock;

// An attempt of another thread.
static bool
utOtherTryLock(UT_Lock &lock)
{
    bool taken = false;
    std::thread([&] { taken = lock.tryLock(); }).join();
    return taken;
}

TEST(UT_Lock, BoundedWaysMakeOneAttemptMore)
{
    // One processor: light-weight waits sleep after more than one failure.
    setenv("VALDRIN_MAXTHREADS", "1", /*overwrite=*/1);
    typedef bool (UT_Lock::*Way)(int);
    const Way spin = &UT_Lock::lock;
    const Way lightWeight = &UT_Lock::lockLW;
    const Way nap = &UT_Lock::lockNap;
    const struct
    {
        Way way;
        int tries;
        int attempts;
        int sleeps; // of 10 ms, the sleep itself may be 1 us short
    } cases[] = {
        {spin,        0,       1,   0},
        {spin,        99,      100, 0},
        {spin,        INT_MIN, 1,   0},
        {lightWeight, 0,       1,   0},
        {lightWeight, 1,       2,   0},
        {lightWeight, 4,       5,   3},
        {nap,         0,       1,   0},
        {nap,         2,       3,   2},
    };
    for (const auto &row : cases)
    {
        UT_Lock lock(/*initiallyLocked=*/1);
        const auto start = ut_Clock::now();
        EXPECT_FALSE((lock.*row.way)(row.tries));
        const auto least = std::chrono::microseconds(9999) * row.sleeps;
        EXPECT_GE(ut_Clock::now() - start, least)
            << &row - cases << ", " << row.tries;
        EXPECT_EQ(row.attempts, lock.collisions())
            << &row - cases << ", " << row.tries;

        lock.unlock();
        EXPECT_TRUE((lock.*row.way)(row.tries));
        EXPECT_FALSE(lock.tryLock());
    }
}

TEST(UT_Lock, EveryWayExcludes)
{
    typedef void (*Way)(UT_Lock &);
    const Way ways[] = {
        [](UT_Lock &lock) { lock.lock(); },
        [](UT_Lock &lock) { lock.lockLW(); },
        [](UT_Lock &lock) { lock.lockNap(); },
        [](UT_Lock &lock)
        {
            while (!lock.lockLW(/*tries=*/3))
                ;
        },
    };
    const int threadCount = 4;
    const int rounds = 2000;
    for (const bool recursive : {false, true})
    {
        for (const Way way : ways)
        {
            static UT_Lock theStaticLock(UT_STATIC_LOCK);
            UT_Lock builtLock(/*initiallyLocked=*/0, recursive);
            UT_Lock &lock = recursive ? builtLock : theStaticLock;
            long counter = 0;
            std::vector<std::thread> threads;
            for (int i = 0; i < threadCount; ++i)
                threads.emplace_back(
                    [&]
                    {
                        for (int round = 0; round < rounds; ++round)
                        {
                            way(lock);
                            if (recursive)
                                way(lock);
                            ++counter;
                            if (recursive)
                                lock.unlock();
                            lock.unlock();
                        }
                    });
            for (std::thread &thread : threads)
                thread.join();
            EXPECT_EQ(long(threadCount) * rounds, counter) << recursive;
        }
    }
}

TEST(UT_Lock, TheOwnerGivesBackAsOftenAsItTook)
{
    UT_Lock lock(/*initiallyLocked=*/0, /*recursive=*/true);
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(lock.tryLock());
    EXPECT_EQ(0, lock.collisions());
    for (int held = 3; held > 0; --held)
    {
        EXPECT_FALSE(utOtherTryLock(lock)) << held;
        lock.unlock();
    }
    EXPECT_EQ(3, lock.collisions());
    lock.unlock(); // once too often, which does no harm
    lock.lock();
    lock.unlock();
    EXPECT_TRUE(utOtherTryLock(lock));
    EXPECT_FALSE(lock.tryLock()); // the other thread's
}

TEST(UT_Lock, ACopyOfAHeldLockIsHeldToo)
{
    UT_Lock held(/*initiallyLocked=*/0, /*recursive=*/true);
    held.lock();
    EXPECT_FALSE(utOtherTryLock(held));
    UT_Lock copy(held);
    held.unlock();
    EXPECT_EQ(1, copy.collisions());
    EXPECT_FALSE(utOtherTryLock(copy));
    EXPECT_TRUE(copy.tryLock()); // the owner came along
    copy.unlock();
    copy.unlock();
    EXPECT_TRUE(utOtherTryLock(copy));

    copy = UT_Lock();
    EXPECT_TRUE(copy.tryLock());
    EXPECT_FALSE(copy.tryLock()); // and is not recursive any more
}

TEST(UT_Lock, ATriggerEndsTheWait)
{
    for (const int initiallyLocked : {0, 1})
    {
        UT_Lock lock(initiallyLocked);
        std::atomic<bool> isThrough(false);
        std::thread waiter(
            [&]
            {
                lock.waitForTrigger();
                isThrough = true;
            });
        // The wait begins with taking the lock, so a trigger may be too early.
        while (!lock.collisions())
            std::this_thread::yield();
        EXPECT_FALSE(isThrough);
        int triggers = 0;
        for (; !isThrough; ++triggers)
        {
            lock.trigger();
            std::this_thread::yield();
        }
        waiter.join();
        // Deliberate: a lock that was held has to come free first.
        EXPECT_GE(triggers, 1 + initiallyLocked);
        EXPECT_TRUE(lock.tryLock());
    }
}

TEST(UT_DebugLock, TellsItsCollisions)
{
    testing::internal::CaptureStderr();
    {
        UT_DebugLock lock("net", /*initiallyLocked=*/1);
        EXPECT_FALSE(lock.lock(/*tries=*/4));
    }
    EXPECT_EQ(
        "Lock[net]: 5 collisions\n", testing::internal::GetCapturedStderr());
}
