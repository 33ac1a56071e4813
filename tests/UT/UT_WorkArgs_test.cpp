#include "UT/UT_WorkArgs.h"

#include <gtest/gtest.h>

TEST(UT_WorkArgs, GapsAreNullAndNullsCut)
{
    char text[] = "";
    UT_WorkArgs args;
    args.setArg(-1, text);
    args.setArg(3, text);
    args.setArg(1, nullptr);
    args.setArg(args.getArgc() + 4, text);
    EXPECT_FALSE(args[0] || args[1] || args[3] || args[4] || args[6]);
    args.setArg(600, text);
    const UT_WorkArgs copy(args);
    EXPECT_EQ(1024, copy.capacity());
    EXPECT_TRUE(copy[600] == text && copy[5] == text && !copy[601]);
    args.setArg(700, nullptr);
    EXPECT_TRUE(args.getArgc() == 700 && copy.getArgc() == 601 && !args[601]);
}
