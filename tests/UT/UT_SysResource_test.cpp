// The figures of /proc are tested by what "valdrin info" prints.

#include "UT/UT_SysResource.h"

#include "UT/UT_ArenaInfo.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

// The shares of three counters, which were `old`.
template <class Counter>
static std::vector<int>
utShares(std::vector<Counter> now, std::vector<Counter> old)
{
    Counter differences[3];
    std::vector<int> shares(3);
    UT_SysResource::percentages(
        3, shares.data(), now.data(), old.data(), differences);
    EXPECT_EQ(now, old);
    return shares;
}

TEST(UT_SysResource, SharesAreThousandthsOfTheSum)
{
    using ut_Shares = std::vector<int>;
    const auto shares = utShares<uint32>;
    // The first one wraps.
    EXPECT_EQ(
        (ut_Shares{100, 100, 800}), shares({4, 17, 80}, {4294967290u, 7, 0}));
    EXPECT_EQ((ut_Shares{0, 0, 0}), shares({7, 8, 9}, {7, 8, 9}));
    EXPECT_EQ((ut_Shares{1000, 0, 0}), shares({4000000, 0, 0}, {0, 10, 0}));
    // Deliberate: only the last 21st of a thousandth is rounded up.
    EXPECT_EQ((ut_Shares{0, 999, 0}), shares({951, 999049, 0}, {0, 0, 0}));
    EXPECT_EQ((ut_Shares{1, 999, 0}), shares({20, 20980, 0}, {0, 0, 0}));
    EXPECT_EQ((ut_Shares{300, -199, 900}), shares({30, 0, 90}, {0, 20, 0}));
    // Wide counters share at most the whole.
    const auto wide = utShares<uint64>;
    EXPECT_EQ((ut_Shares{0, 0, 1000}), wide({4, 500, 60}, {10, 1000, 0}));
    EXPECT_EQ(
        (ut_Shares{500, 500, 0}), wide({UINT64_MAX, UINT64_MAX, 1}, {0, 0, 0}));
}

TEST(UT_ArenaInfo, WritesOneLine)
{
    EXPECT_GE(UT_ArenaInfo::arenaSize(), UT_ArenaInfo::totalInUse());
    std::ostringstream out;
    UT_ArenaInfo::outputUsage(out);
    EXPECT_EQ(0u, out.str().find("Memory:  ")) << out.str();
    EXPECT_NE(std::string::npos, out.str().find(". VM Size: ")) << out.str();
    EXPECT_EQ('\n', out.str().back()) << out.str();
}
