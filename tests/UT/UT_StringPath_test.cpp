#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <memory>

TEST(UT_StringPath, PathsHaveABaseAndAnExtension)
{
    static const struct
    {
        const char *path;
        const char *base;          // without its number: base()
        const char *upToExtension; // pathUpToExtension()
    } thePaths[] = {
        {"d/f.x1",  "d/f.x",  "d/f"    },
        {"/.d/z",   "/.d/z",  "/.d/z"  },
        {".cshrc",  ".cshrc", ""       },
        {"/a/b/07", "/a/b/",  "/a/b/07"},
        {"",        "",       ""       },
        {nullptr,   "",       ""       },
    };
    for (const auto &row : thePaths)
    {
        SCOPED_TRACE(row.path ? row.path : "null");
        const UT_String path(row.path);
        EXPECT_STREQ(row.base, *std::unique_ptr<UT_String>(path.base()));
        EXPECT_STREQ(row.upToExtension, path.pathUpToExtension());
    }
}

// The fuzz entry compares others with those of the standard library.
TEST(UT_StringPath, OtherPathsDoNotCollapse)
{
    for (const char *other : {"a/../b", "./a", "", "."})
    {
        UT_String path(other);
        EXPECT_FALSE(path.collapseAbsolutePath()) << other;
        EXPECT_FALSE(path.makeRelativePath("/a")) << other;
        EXPECT_EQ(other, path.buffer()) << other; // not even copied
    }
}

TEST(UT_StringPath, AFileWithoutASlashHasNoDirectory)
{
    UT_String directory("old");
    UT_String file(".cshrc");
    file.splitPath(directory, file);
    EXPECT_STREQ(nullptr, directory);
    EXPECT_STREQ(".cshrc", file);
}
