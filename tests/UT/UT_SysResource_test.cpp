// The figures of /proc are tested by the fuzz entry.

#include "UT/UT_SysResource.h"

#include "UT/UT_ArenaInfo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

// Counters of either width: what they were, what they are, their shares.
template <class Counter>
struct ut_ShareCase
{
    const char *what;
    Counter old[3];
    Counter now[3];
    int shares[3];
};

template <class Counter, size_t count>
static void
utExpectShares(const ut_ShareCase<Counter> (&cases)[count])
{
    for (const auto &row : cases)
    {
        Counter old[3];
        Counter differences[3];
        int shares[3];
        std::copy_n(row.old, 3, old);
        UT_SysResource::percentages(3, shares, row.now, old, differences);
        for (int i = 0; i < 3; ++i)
        {
            EXPECT_EQ(row.shares[i], shares[i]) << row.what << ", " << i;
            EXPECT_EQ(row.now[i], old[i]) << row.what << ", " << i;
        }
    }
}

TEST(UT_SysResource, SharesAreThousandthsOfTheSum)
{
    // Deliberate: only the last 21st of a thousandth is rounded up.
    static const ut_ShareCase<uint32> theCases[] = {
        {"one wraps",         {4294967290u, 7, 0}, {4, 17, 80},      {100, 100, 800} },
        {"nothing changed",   {7, 8, 9},           {7, 8, 9},        {0, 0, 0}       },
        {"times a thousand",  {0, 10, 0},          {4000000, 0, 0},  {1000, 0, 0}    },
        {"0.951 thousandths", {0, 0, 0},           {951, 999049, 0}, {0, 999, 0}     },
        {"20/21 thousandths", {0, 0, 0},           {20, 20980, 0},   {1, 999, 0}     },
        {"one went back",     {0, 20, 0},          {30, 0, 90},      {300, -199, 900}},
        {"all went back",     {10, 30, 0},         {0, 0, 0},        {250, 750, 0}   },
    };
    utExpectShares(theCases);
}

TEST(UT_SysResource, WideCountersShareAtMostTheWhole)
{
    const uint64 all = UINT64_MAX;
    const uint64 giga = 1000000000;
    const ut_ShareCase<uint64> cases[] = {
        {"a large machine",            {},            {3 * giga, giga, 20 * giga}, {125, 41, 833} },
        {"nothing changed",            {7, 8, 9},     {7, 8, 9},                   {0, 0, 0}      },
        {"all went on",                {10, 1000, 0}, {110, 1300, 600},            {100, 300, 600}},
        {"one went back",              {10, 1000, 0}, {4, 500, 60},                {0, 0, 1000}   },
        {"all that there is room for", {0, 0, 0},     {all, all, 1},               {500, 500, 0}  },
    };
    utExpectShares(cases);
}

TEST(UT_ArenaInfo, WritesOneLine)
{
    EXPECT_GE(UT_ArenaInfo::arenaSize(), UT_ArenaInfo::totalInUse());
    std::ostringstream out;
    UT_ArenaInfo::outputUsage(out);
    // "Memory:  1.25 MB of 1.50 MB arena size. VM Size: 8.00 MB"
    const std::string line = out.str();
    char *end;
    EXPECT_EQ(0u, line.find("Memory:  "));
    EXPECT_GE(strtod(&line[9], &end), 0);
    EXPECT_EQ('B', end[2]);
    // The allocator of the sanitizers has no arena.
    const bool isPart = UT_ArenaInfo::arenaSize() != UT_ArenaInfo::totalInUse();
    const std::string middle =
        isPart ? " arena size. VM Size: " : ". VM Size: ";
    const size_t last = line.find(middle);
    ASSERT_NE(std::string::npos, last);
    EXPECT_GT(strtod(&line[last + middle.size()], &end), 0);
    EXPECT_STREQ("B\n", end + 2);
}
