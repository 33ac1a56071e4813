#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

TEST(UT_StringPath, ExtensionsAndFilesAreSplitOff)
{
    static const struct
    {
        const char *path;
        const char *upToExtension;
        const char *directory; // null for a null string
        const char *file;
    } theCases[] = {
        {"dir/file.ext", "dir/file", "dir",   "file.ext"},
        {"/x.y/z",       "/x.y/z",   "/x.y",  "z"       },
        {"a/b.c.d",      "a/b.c",    "a",     "b.c.d"   },
        {".cshrc",       "",         nullptr, ".cshrc"  },
        {"/a/..",        "/a/.",     "/a",    ".."      },
        {"dir/",         "dir/",     "dir",   nullptr   },
        {"//a",          "//a",      "/",     "a"       },
        {"/",            "/",        "/",     nullptr   },
        {"",             "",         nullptr, nullptr   },
        {nullptr,        "",         nullptr, nullptr   },
    };
    for (const auto &row : theCases)
    {
        UT_String path(row.path);
        EXPECT_STREQ(row.upToExtension, path.pathUpToExtension());
        UT_String directory(UT_ALWAYS_DEEP, "old");
        UT_String file(path);
        file.splitPath(directory, file);
        EXPECT_STREQ(row.directory, directory);
        EXPECT_STREQ(row.file, file);
        EXPECT_STREQ(row.path, path);
        // Another text than an absolute path is not even copied.
        const bool isAbsolute = row.path && *row.path == '/';
        EXPECT_EQ(isAbsolute, path.collapseAbsolutePath(true));
        EXPECT_EQ(isAbsolute, path.buffer() != row.path);
    }
}

// The short form of a path that begins with a slash; "" when it climbs out.
static std::string
utCollapsed(const std::string &path)
{
    const auto below = std::filesystem::path("." + path).lexically_normal();
    if (*below.begin() == "..")
        return "";
    std::string collapsed;
    for (const auto &component : below)
        if (!component.empty() && component != ".")
            collapsed += "/" + component.string();
    return collapsed.empty() ? "/" : collapsed;
}

TEST(UT_StringPath, PathsCollapseAsTheirComponentsDo)
{
    for (unsigned code = 0; code < 1u << 16; ++code)
    {
        std::string path = "/";
        for (unsigned rest = code; rest > 1; rest /= 4)
            path += "/.ab"[rest % 4];
        const std::string borrowed = path;
        UT_String string(borrowed.c_str());
        const bool done = string.collapseAbsolutePath();
        ASSERT_EQ(utCollapsed(path), done ? string.buffer() : "") << path;
        ASSERT_EQ(path, borrowed);
    }
}
