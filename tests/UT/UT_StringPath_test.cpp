// What paths mean is in the tables of docs/paths.md. Here is what a page cannot
// show.

#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <memory>

TEST(UT_StringPath, NullHasEmptyPartsAndNoDirectory)
{
    UT_String null;
    EXPECT_STREQ("", *std::unique_ptr<UT_String>(null.base()));
    EXPECT_STREQ("", null.pathUpToExtension());
    UT_String directory(UT_ALWAYS_DEEP, "old");
    UT_String file("old");
    null.splitPath(directory, file);
    EXPECT_STREQ(nullptr, directory);
    EXPECT_STREQ(nullptr, file);
    EXPECT_FALSE(null.makeRelativePath("/a"));
}

TEST(UT_StringPath, OtherPathsDoNotCollapse)
{
    for (const char *other : {"a/../b", "./a", "", "."})
    {
        UT_String path(other);
        EXPECT_FALSE(path.collapseAbsolutePath()) << other;
        EXPECT_EQ(other, path.buffer()) << other; // not even copied
    }
}
