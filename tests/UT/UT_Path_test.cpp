#include "UT/UT_Path.h"

#include "ut_TempDir.h"

#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

TEST(UT_Path, PrefixesDecideWhatKindAPathIs)
{
    EXPECT_EQ(0, UTaddAbsolutePathPrefix("net:"));
    EXPECT_EQ(0, UTaddAbsolutePathPrefix("net:"));

    static const struct
    {
        const char *path;
        bool isAbsolute, isRoot, isFull;
    } theCases[] = {
        {"",         false, true,  false},
        {"./x",      false, false, true },
        {"op:/",     true,  true,  false},
        {"file:op:", true,  false, false},
        {"net:/",    true,  true,  false}, // added above
    };
    for (const auto &row : theCases)
    {
        EXPECT_EQ(row.isAbsolute, UTisAbsolutePath(row.path)) << row.path;
        EXPECT_EQ(row.isRoot, UTisRootPath(row.path)) << row.path;
        EXPECT_EQ(row.isFull, UTfullPathSpecified(row.path)) << row.path;
    }
}

TEST(UT_Path, RelativePathsGetADirectory)
{
    ASSERT_EQ(0, chdir("/usr"));
    static const struct
    {
        const char *path, *directory, *absolute;
    } theCases[] = {
        {"",           "/tmp",      ""               },
        {"a/../b.txt", "file:/tmp", "file:/tmp/b.txt"},
        {"file:b//c/", "/tmp/",     "file:/tmp/b/c"  },
        {"./x",        "",          "/usr/x"         },
        {"../x",       "a/./b",     "a/./b/../x"     }, // not absolute
    };
    for (const auto &row : theCases)
    {
        UT_String path(row.path);
        UTmakeAbsoluteFilePath(path, row.directory);
        EXPECT_STREQ(row.absolute, path) << row.path;
    }
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
