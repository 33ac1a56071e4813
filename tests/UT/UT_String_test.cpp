#include "UT/UT_String.h"

#include <gtest/gtest.h>

TEST(UT_String, CopiesBorrow)
{
    UT_String owner("abc", 1, -1);
    UT_String copy(owner);
    EXPECT_EQ(owner.buffer(), copy.buffer());
}
