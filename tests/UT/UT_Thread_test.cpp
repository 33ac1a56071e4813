#include "UT/UT_Thread.h"

#include "UT/UT_Compat.h"
#include "UT/UT_Lock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>

#include <unistd.h>

// The limit that each value sets on a machine with any number of processors.
static const struct
{
    const char *value;
    int limit;
} theMaxThreadsCases[] = {
    {"",                     INT_MAX},
    {"0x10",                 INT_MAX},
    {"-7",                   INT_MAX},
    {" 1x",                  1      },
    {"100",                  100    },
    {"99999999999999999999", 100    },
};

// The setting is read once, so each row asks in a process of its own; and not
// when the library is loaded, which is earlier than the variable is set.
TEST(UT_Thread, MaxThreadsCapsTheProcessors)
{
    for (const auto &row : theMaxThreadsCases)
        EXPECT_EXIT(
            {
                setenv("VALDRIN_MAXTHREADS", row.value, /*overwrite=*/1);
                const UT_Lock lock;
                unsetenv("VALDRIN_MAXTHREADS");
                UT_Thread::resetNumProcessors();
                _exit(UT_Thread::getNumProcessors());
            },
            testing::ExitedWithCode(std::min(row.limit, sysmp(0))), "")
            << row.value;
}
