#include "UT/UT_SysResource.h"

#include "UT/UT_ArenaInfo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

TEST(UT_SysResource, SharesAreThousandthsOfTheSum)
{
    uint32 old[4] = {4294967290u, 5, 7, 0};
    const uint32 now[4] = {4, 5, 17, 80};
    uint32 differences[4];
    int shares[4];
    UT_SysResource::percentages(4, shares, now, old, differences);
    EXPECT_EQ(
        "100 0 100 800",
        std::to_string(shares[0]) + ' ' + std::to_string(shares[1]) + ' ' +
            std::to_string(shares[2]) + ' ' + std::to_string(shares[3]));
    EXPECT_EQ(17u, old[2]);
    // Nothing changed.
    UT_SysResource::percentages(4, shares, now, old, differences);
    EXPECT_EQ(0, shares[3]);
    // A counter that went back, and numbers whose thousandfold is too large.
    uint32 large[2] = {0, 10};
    const uint32 next[2] = {4000000, 0};
    UT_SysResource::percentages(2, shares, next, large, differences);
    EXPECT_EQ(1000, shares[0]);
    EXPECT_EQ(0, shares[1]);
}

TEST(UT_SysResource, WideCountersShareAtMostTheWhole)
{
    static const struct
    {
        const char *what;
        uint64 old[3];
        uint64 now[3];
        int shares[3];
    } theCases[] = {
        {"since the start of a large machine",
         {0, 0, 0},
         {3000000000, 1000000000, 20000000000},
         {125, 41, 833}                                                                 },
        {"nothing changed",                    {7, 8, 9},     {7, 8, 9},    {0, 0, 0}   },
        {"one went back",                      {10, 1000, 0}, {4, 500, 60}, {0, 0, 1000}},
        {"all that there is room for",
         {0, 0, 0},
         {UINT64_MAX, UINT64_MAX, 1},
         {500, 500, 0}                                                                  },
    };
    for (const auto &row : theCases)
    {
        uint64 old[3];
        uint64 differences[3];
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

TEST(UT_SysResource, TellsOfThisMachine)
{
    UT_SysResource resource;
    EXPECT_STREQ("", resource.systemDescription());
    EXPECT_EQ(1.0f, resource.idleFraction());
    resource.update(true);
    EXPECT_EQ(1.0f, resource.idleFraction());
    resource.update(false);
    EXPECT_GE(resource.idleFraction(), 0.0f);
    EXPECT_LE(resource.idleFraction(), 1.0f);
    EXPECT_STREQ("Linux (little endian)", resource.systemDescription());
    std::ifstream file("/proc/meminfo");
    std::string label;
    uint32 total = 0;
    file >> label >> total;
    EXPECT_EQ(total, resource.memoryTotal());
    EXPECT_GT(resource.memoryFree(), 0u);
    EXPECT_GE(resource.swapTotal(), resource.swapFree());
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
    const size_t last = line.find(". VM Size: ");
    ASSERT_NE(std::string::npos, last);
    EXPECT_GT(strtod(&line[last + 11], &end), 0);
    EXPECT_STREQ("B\n", end + 2);
}
