#include "UT/UT_String.h"

#include <gtest/gtest.h>

TEST(UT_StringPath, NumbersExtensionsAndFilesComeOff)
{
    // A path; without its number; up to its extension; its directory; its file;
    // the way there from /a/bc, and the path itself when there is none.
    static const char *const theCases[][6] = {
        {"d/f.x1",  "d/f.x",   "d/f",     "d",      "f.x1",   "d/f.x1"    },
        {"/.d/z",   "/.d/z",   "/.d/z",   "/.d",    "z",      "../../.d/z"},
        {".cshrc",  ".cshrc",  "",        nullptr,  ".cshrc", ".cshrc"    },
        {"/a/..",   "/a/..",   "/a/.",    "/a",     "..",     "../.."     },
        {"/a/bc//", "/a/bc//", "/a/bc//", "/a/bc/", nullptr,  "."         },
        {"/a/bc/d", "/a/bc/d", "/a/bc/d", "/a/bc",  "d",      "d"         },
        {"/a/b/07", "/a/b/",   "/a/b/07", "/a/b",   "07",     "../b/07"   },
        {"/..",     "/..",     "/.",      "/",      "..",     "/.."       },
        {"",        "",        "",        nullptr,  nullptr,  ""          },
        {nullptr,   "",        "",        nullptr,  nullptr,  nullptr     },
    };
    for (const auto &[text, base, stem, first, last, relative] : theCases)
    {
        UT_String path(text);
        EXPECT_STREQ(base, *std::unique_ptr<UT_String>(path.base()));
        EXPECT_STREQ(stem, path.pathUpToExtension());
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
