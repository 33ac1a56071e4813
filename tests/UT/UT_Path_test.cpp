// What paths are absolute is in the tables of docs/paths.md.

#include "UT/UT_Path.h"

#include "ut_TempDir.h"

#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

TEST(UT_Path, EachPrefixIsAddedOnce)
{
    EXPECT_EQ(0, UTaddAbsolutePathPrefix("net:"));
    EXPECT_EQ(1, UTaddAbsolutePathPrefix("db:"));
    EXPECT_EQ(0, UTaddAbsolutePathPrefix("net:"));
    EXPECT_EQ(-1, UTaddAbsolutePathPrefix(""));
}

TEST(UT_Path, APrefixIsARootAlsoWhenItEndsInASlash)
{
    UTaddAbsolutePathPrefix("x:/");
    EXPECT_TRUE(UTisRootPath("x:/"));
    EXPECT_TRUE(UTisRootPath("x://"));
    EXPECT_FALSE(UTisRootPath("x:"));
    EXPECT_FALSE(UTisRootPath("x:///"));
}

TEST(UT_Path, ValidDirectoriesCanBeListedAndEntered)
{
    EXPECT_FALSE(UTisValidDirectory(nullptr));
    const ut_TempDir tree;
    EXPECT_EQ(0, chmod(tree.path().c_str(), 0444));
    // Everything is open to root, whom access() asks about.
    EXPECT_EQ(0, setreuid(getuid() ? uid_t(-1) : 65534, uid_t(-1)));
    EXPECT_FALSE(UTisValidDirectory(tree.path().c_str()));
}
