// The figures of /proc are tested by the fuzz entry.

#include "UT/UT_SysResource.h"

#include "UT/UT_ArenaInfo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

TEST(UT_SysResource, SharesAreThousandthsOfTheSum)
{
    // Deliberate: only the last 21st of a thousandth is rounded up.
    static const struct
    {
        const char *what;
        uint32 old[3];
        uint32 now[3];
        int shares[3];
    } theCases[] = {
        {"one wraps",         {4294967290u, 7, 0}, {4, 17, 80},      {100, 100, 800} },
        {"nothing changed",   {7, 8, 9},           {7, 8, 9},        {0, 0, 0}       },
        {"times a thousand",  {0, 10, 0},          {4000000, 0, 0},  {1000, 0, 0}    },
        {"0.951 thousandths", {0, 0, 0},           {951, 999049, 0}, {0, 999, 0}     },
        {"20/21 thousandths", {0, 0, 0},           {20, 20980, 0},   {1, 999, 0}     },
        {"one went back",     {0, 20, 0},          {30, 0, 90},      {300, -199, 900}},
        {"all went back",     {10, 30, 0},         {0, 0, 0},        {250, 750, 0}   },
    };
    for (const auto &row : theCases)
    {
        uint32 old[3];
        uint32 differences[3];
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

TEST(UT_ArenaInfo, WritesOneLine)
{
    EXPECT_GE(UT_ArenaInfo::arenaSize(), UT_ArenaInfo::totalInUse());
    std::ostringstream out;
    UT_ArenaInfo::outputUsage(out);
    // "Memory:  1.25 MB of 1.50 MB arena size. VM Size: 8.00 MB"
    EXPECT_EQ(0u, out.str().find("Memory:  "));
    EXPECT_NE(std::string::npos, out.str().find("VM Size: "));
    EXPECT_EQ('\n', out.str().back());
}
