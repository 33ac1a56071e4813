#include "UT/UT_WorkArgs.h"

#include <gtest/gtest.h>

TEST(UT_WorkArgs, ANullEndsTheListAndCopiesKeepTheirs)
{
    char text[] = "";
    UT_WorkArgs args;
    args.setArg(-1, text); // ignored
    // Deliberate: a null past the end leaves a gap before it, too.
    args.setArg(2, nullptr);
    EXPECT_EQ(2, args.getArgc());
    EXPECT_EQ(nullptr, args[1]);
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
