#include "UT/UT_Path.h"

#include "UT/UT_String.h"
#include "UT/UT_StringArray.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

TEST(UT_Path, PrefixesDecideWhatKindAPathIs)
{
    EXPECT_EQ(0, UTaddAbsolutePathPrefix("net:"));
    EXPECT_EQ(1, UTaddAbsolutePathPrefix("db/"));
    EXPECT_EQ(0, UTaddAbsolutePathPrefix("net:"));
    EXPECT_EQ(-1, UTaddAbsolutePathPrefix(""));
    EXPECT_EQ(2, UTgetAbsolutePathPrefixes().entries());

    static const struct
    {
        const char *path;
        bool isAbsolute;
        bool isRoot;
        bool isFull;
    } theCases[] = {
        {nullptr,        false, false, false},
        {"",             false, true,  false},
        {"/",            true,  true,  true },
        {"//",           true,  false, true },
        {"/x",           true,  false, true },
        {"./x",          false, false, true },
        {"../x",         false, false, true },
        {"..",           false, false, false},
        {".x",           false, false, false},
        {"op",           false, false, false},
        {"op:",          true,  true,  false},
        {"op:/",         true,  true,  false},
        {"op://",        true,  false, false},
        {"op:x",         true,  false, false},
        {"file:",        false, true,  false},
        {"file:/",       true,  true,  false},
        {"file://",      true,  false, false},
        {"file:x",       false, false, false},
        {"file:op:",     true,  false, false},
        {"file:file:",   false, false, false},
        {"file:file:/x", true,  false, false},
        {"file:net:x",   true,  false, false},
        {"net:",         true,  true,  false},
        {"net:/",        true,  true,  false},
        {"net:x",        true,  false, false},
        {"net",          false, false, false},
        {"db/",          true,  false, false}, // "db" is no prefix
        {"db//",         true,  true,  false},
    };
    for (const auto &row : theCases)
    {
        SCOPED_TRACE(row.path ? row.path : "null");
        EXPECT_EQ(row.isAbsolute, UTisAbsolutePath(row.path));
        EXPECT_EQ(row.isRoot, UTisRootPath(row.path));
        EXPECT_EQ(row.isFull, UTfullPathSpecified(row.path));
        EXPECT_EQ(row.isFull, UTunixFullPathSpecified(row.path));
    }
}

TEST(UT_Path, RelativePathsGetADirectory)
{
    char here[PATH_MAX];
    ASSERT_NE(nullptr, getcwd(here, sizeof(here)));
    const std::string inHere = std::string(here) + "/x";
    const struct
    {
        const char *path;
        const char *base;
        const char *expected;
    } cases[] = {
        {nullptr,        "/tmp",      nullptr            },
        {"",             "/tmp",      ""                 },
        {"/a/../b",      "/tmp",      "/a/../b"          },
        {"op:a",         "/tmp",      "op:a"             },
        {"a/../b.txt",   "/tmp",      "/tmp/b.txt"       },
        {"a/../b.txt",   "file:/tmp", "file:/tmp/b.txt"  },
        {"file:b//c/",   "/tmp/",     "file:/tmp/b/c"    },
        {"file:b",       "file:",     "file:/b"          },
        {"./x",          "",          inHere.c_str()     },
        {"x",            nullptr,     inHere.c_str()     },
        {"../../../x/.", "/tmp",      "/tmp/../../../x/."}, // above the root
        {"../x",         "a/./b",     "a/./b/../x"       }, // not absolute
    };
    for (const auto &row : cases)
    {
        UT_String path(row.path);
        UTmakeAbsoluteFilePath(path, row.base);
        EXPECT_STREQ(row.expected, path);
    }
    UT_String own("file:/a", /*deep=*/1);
    own.harden("x");
    UTmakeAbsoluteFilePath(own, own);
    EXPECT_STREQ("x/x", own);
}

TEST(UT_Path, ValidDirectoriesCanBeListedAndEntered)
{
    EXPECT_TRUE(UTisValidDirectory(""));
    EXPECT_TRUE(UTisValidDirectory("/tmp"));
    EXPECT_FALSE(UTisValidDirectory("no such:"));
    EXPECT_FALSE(UTisValidDirectory("/dev/null"));
    EXPECT_FALSE(UTisValidDirectory(nullptr));

    char directory[] = "/tmp/ut_path_XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(directory));
    EXPECT_EQ(0, chmod(directory, 0444));
    // Everything is open to root, whom access() asks about.
    const uid_t user = getuid();
    EXPECT_EQ(0, setreuid(user == 0 ? 65534 : user, uid_t(-1)));
    EXPECT_FALSE(UTisValidDirectory(directory));
    EXPECT_EQ(0, setreuid(user, uid_t(-1)));
    EXPECT_EQ(0, rmdir(directory));
}
