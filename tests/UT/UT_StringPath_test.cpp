#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <memory>

static const struct
{
    const char *path;
    const char *base;          // without its number: base()
    const char *upToExtension; // pathUpToExtension()
    const char *directory;     // splitPath()
    const char *file;          // splitPath()
    const char *fromABc;       // makeRelativePath("/a/bc"); null: no way
} thePaths[] = {
    {"d/f.x1",  "d/f.x",   "d/f",     "d",      "f.x1",   nullptr     },
    {"/.d/z",   "/.d/z",   "/.d/z",   "/.d",    "z",      "../../.d/z"},
    {".cshrc",  ".cshrc",  "",        nullptr,  ".cshrc", nullptr     },
    {"/a/..",   "/a/..",   "/a/.",    "/a",     "..",     "../.."     },
    {"/a/bc//", "/a/bc//", "/a/bc//", "/a/bc/", nullptr,  "."         },
    {"/a/bc/d", "/a/bc/d", "/a/bc/d", "/a/bc",  "d",      "d"         },
    {"/a/b/07", "/a/b/",   "/a/b/07", "/a/b",   "07",     "../b/07"   },
    {"/..",     "/..",     "/.",      "/",      "..",     nullptr     },
    {"",        "",        "",        nullptr,  nullptr,  nullptr     },
    {nullptr,   "",        "",        nullptr,  nullptr,  nullptr     },
};

TEST(UT_StringPath, PathsHaveParts)
{
    for (const auto &row : thePaths)
    {
        SCOPED_TRACE(row.path ? row.path : "null");
        const UT_String path(row.path);
        EXPECT_STREQ(row.base, *std::unique_ptr<UT_String>(path.base()));
        EXPECT_STREQ(row.upToExtension, path.pathUpToExtension());
        UT_String directory(UT_ALWAYS_DEEP, "old");
        UT_String file(path);
        file.splitPath(directory, file); // from itself
        EXPECT_STREQ(row.directory, directory);
        EXPECT_STREQ(row.file, file);
    }
}

TEST(UT_StringPath, PathsAreSeenFromADirectory)
{
    for (const auto &row : thePaths)
    {
        SCOPED_TRACE(row.path ? row.path : "null");
        UT_String path(row.path);
        const bool isChanged = row.fromABc != nullptr;
        EXPECT_EQ(isChanged, path.makeRelativePath("/a/x/../bc/"));
        EXPECT_STREQ(isChanged ? row.fromABc : row.path, path);
        // What does not change is not even copied.
        if (!isChanged)
        {
            EXPECT_EQ(row.path, path.buffer());
        }
    }
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
