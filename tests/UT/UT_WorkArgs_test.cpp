#include "UT/UT_WorkArgs.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

// The arguments, and the null behind them.
static std::vector<char *>
utArgs(const UT_WorkArgs &args)
{
    return {args.getArgv(), args.getArgv() + args.getArgc() + 1};
}

TEST(UT_WorkArgs, FollowsAStandardVectorThroughRandomChanges)
{
    char texts[100];
    for (unsigned seed = 0; seed < 100; ++seed)
    {
        std::mt19937 random(seed);
        const auto args = std::make_unique<UT_WorkArgs>();
        std::vector<char *> expected = {nullptr};
        int capacity = 256;
        for (int step = 0; step < 20; ++step)
        {
            const size_t count = expected.size() - 1;
            const size_t index = random() % (random() % 4 ? count + 3 : 3000);
            char *const value =
                random() % 4 ? &texts[random() % sizeof(texts)] : nullptr;
            args->setArg(int(index), value);
            if (index >= count)
            {
                expected.resize(index + 2);
                while (capacity < int(index) + 2)
                    capacity *= 2;
            }
            expected[index] = value;
            if (!value)
                expected.resize(index + 1);
            ASSERT_EQ(expected, utArgs(*args)) << seed;
            ASSERT_EQ(capacity, args->capacity()) << seed;
            UT_WorkArgs copy(*args);
            EXPECT_EQ(expected, utArgs(copy));
            EXPECT_EQ(capacity, copy.capacity());
        }
    }
}

TEST(UT_WorkArgs, CopiesKeepTheirOwnVector)
{
    char text[] = "x";
    UT_WorkArgs args;
    UT_WorkArgs big;
    args.setArg(-1, text);
    EXPECT_EQ(0, args.getArgc());
    args.setArg(5, text);
    big.reserve(257);
    EXPECT_EQ(512, big.capacity());
    big = args;
    args = *&args;
    args.setArg(0, nullptr);
    EXPECT_EQ(6, big.getArgc());
    EXPECT_EQ(512, big.capacity());
    args = big;
    EXPECT_EQ(utArgs(big), utArgs(args));
    EXPECT_EQ(512, args.capacity());
}
