#include "UT/UT_Path.h"

#include "UT/UT_String.h"
#include "ut_TempDir.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

TEST(UT_Path, PrefixesDecideWhatKindAPathIs)
{
    EXPECT_EQ(0, UTaddAbsolutePathPrefix("net:"));
    EXPECT_EQ(0, UTaddAbsolutePathPrefix("net:"));

    // Absolute, a root, and a full path.
    static const char *const theCases[][2] = {
        {"",         "-r-"},
        {"//",       "a-f"},
        {"./x",      "--f"},
        {"op:/",     "ar-"},
        {"file:",    "-r-"},
        {"file:x",   "---"},
        {"file:op:", "a--"},
        {"net:/",    "ar-"},
    };
    for (const auto &[path, expected] : theCases)
    {
        EXPECT_EQ(expected[0] == 'a', UTisAbsolutePath(path)) << path;
        EXPECT_EQ(expected[1] == 'r', UTisRootPath(path)) << path;
        EXPECT_EQ(expected[2] == 'f', UTfullPathSpecified(path)) << path;
    }
}

TEST(UT_Path, RelativePathsGetADirectory)
{
    ASSERT_EQ(0, chdir("/usr"));
    static const char *const theCases[][3] = {
        {"",             "/tmp",      ""                 },
        {"a/../b.txt",   "file:/tmp", "file:/tmp/b.txt"  },
        {"file:b//c/",   "/tmp/",     "file:/tmp/b/c"    },
        {"./x",          "",          "/usr/x"           },
        {"../../../x/.", "/tmp",      "/tmp/../../../x/."}, // above the root
        {"../x",         "a/./b",     "a/./b/../x"       }, // not absolute
    };
    for (const auto &[path, base, expected] : theCases)
    {
        UT_String result(path);
        UTmakeAbsoluteFilePath(result, base);
        EXPECT_STREQ(expected, result);
    }
}

TEST(UT_Path, ValidDirectoriesCanBeListedAndEntered)
{
    EXPECT_FALSE(UTisValidDirectory("/dev/null"));
    const ut_TempDir tree;
    EXPECT_EQ(0, chmod(tree.path().c_str(), 0444));
    // Everything is open to root, whom access() asks about.
    EXPECT_EQ(0, setreuid(getuid() ? uid_t(-1) : 65534, uid_t(-1)));
    EXPECT_FALSE(UTisValidDirectory(tree.path().c_str()));
}
