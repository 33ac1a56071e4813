#include "UT/UT_WorkArgs.h"

#include <gtest/gtest.h>

TEST(UT_WorkArgs, ANullEndsTheListAndCopiesKeepTheirs)
{
    char text[] = "";
    UT_WorkArgs args;
    args.setArg(-1, text); // ignored
    args.setArg(3, text);
    args.setArg(1, nullptr);
    EXPECT_EQ(1, args.getArgc());
    // What was cut off is not there again when the list grows.
    args.setArg(600, text);
    EXPECT_EQ(nullptr, args[3]);
    const UT_WorkArgs copy(args);
    EXPECT_EQ(1024, copy.capacity());
    args.setArg(700, nullptr);
    EXPECT_EQ(601, copy.getArgc());
    EXPECT_EQ(text, copy[600]);
}

// Deliberate: a null past the end leaves a gap before it.
TEST(UT_WorkArgs, ANullPastTheEndMakesAGapToo)
{
    UT_WorkArgs args;
    args.setArg(3, nullptr);
    EXPECT_EQ(3, args.getArgc());
    EXPECT_EQ(nullptr, args[1]);
}
