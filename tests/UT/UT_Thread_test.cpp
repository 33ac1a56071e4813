#include "UT/UT_Thread.h"

#include "UT/UT_Compat.h"

#include <gtest/gtest.h>

#include <cstdlib>

// The setting is read once, so each row asks in a process of its own.
TEST(UT_Thread, MaxThreadsCapsTheProcessors)
{
    for (const char *value : {"0x10", "-7", " 1x"})
        EXPECT_EXIT(
            {
                setenv("VALDRIN_MAXTHREADS", value, /*overwrite=*/1);
                std::_Exit(UT_Thread::getNumProcessors());
            },
            testing::ExitedWithCode(*value == ' ' ? 1 : sysmp(0)), "");
}
