#include "UT/UT_String.h"

#include <gtest/gtest.h>

TEST(UT_StringPath, ExtensionsAndFilesAreSplitOff)
{
    // A path; up to its extension; its directory; its file; the way there from
    // /a/bc, and the path itself when there is none.
    static const char *const theCases[][5] = {
        {"dir/file.ext", "dir/file",   "dir",      "file.ext", "dir/file.ext"},
        {"/a/bc/.d/z",   "/a/bc/.d/z", "/a/bc/.d", "z",        ".d/z"        },
        {".cshrc",       "",           nullptr,    ".cshrc",   ".cshrc"      },
        {"/a/..",        "/a/.",       "/a",       "..",       "../.."       },
        {"/a/bc//",      "/a/bc//",    "/a/bc/",   nullptr,    "."           },
        {"/a/b/c",       "/a/b/c",     "/a/b",     "c",        "../b/c"      },
        {"//bc",         "//bc",       "/",        "bc",       "../../bc"    },
        {"/..",          "/.",         "/",        "..",       "/.."         },
        {"",             "",           nullptr,    nullptr,    ""            },
        {nullptr,        "",           nullptr,    nullptr,    nullptr       },
    };
    for (const auto &[text, upToExtension, first, last, relative] : theCases)
    {
        UT_String path(text);
        EXPECT_STREQ(upToExtension, path.pathUpToExtension());
        UT_String directory(UT_ALWAYS_DEEP, "old");
        UT_String file(path);
        file.splitPath(directory, file);
        EXPECT_STREQ(first, directory);
        EXPECT_STREQ(last, file);
        const bool isRelative = UT_String(text) == relative;
        EXPECT_EQ(!isRelative, path.makeRelativePath("/a/x/../bc/"));
        EXPECT_STREQ(relative, path);
        // What does not change is not even copied.
        EXPECT_TRUE(path == "/.." || !path.collapseAbsolutePath(true));
        EXPECT_EQ(isRelative, path.buffer() == text);
    }
}
