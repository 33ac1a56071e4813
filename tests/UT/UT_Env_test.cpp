// What the fuzz entry, which compares the table with a plain list, does not
// show.

#include "UT/UT_Env.h"

#include "ut_TempDir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

using ut_Strings = std::vector<std::string>;

static ut_Strings
utTexts(char **entries)
{
    ut_Strings texts;
    for (; entries && *entries; ++entries)
        texts.push_back(*entries);
    return texts;
}

TEST(UT_Env, NullsAndTextsWithoutAValueAreLeftOut)
{
    clearenv();
    ValdrinPutenv("A=b=c");
    ValdrinPutenv("A");
    ValdrinPutenv(nullptr);
    ValdrinSetenv(nullptr, "x");
    ValdrinSetenv("B", nullptr);
    ValdrinUnsetenv(nullptr);
    EXPECT_EQ(nullptr, ValdrinGetenv(nullptr));
    EXPECT_EQ((ut_Strings{"A=b=c", "B="}), utTexts(ValdrinGetenvlist()));
    EXPECT_STREQ("c", ValdrinGetenv("A=b"));
}

// Deliberate: the table is sorted by unsigned bytes, and searched by signed
// ones.
TEST(UT_Env, NamesWithBytesFrom128OnMayNotBeFound)
{
    clearenv();
    for (const char *const name : {"A", "B", "\xe9", "C", "\xe9"})
        ValdrinSetenv(name, "x");
    EXPECT_EQ(
        (ut_Strings{"A=x", "B=x", "C=x", "\xe9=x"}),
        utTexts(ValdrinGetenvlist()));
    ValdrinSetenv("\xe8", "x");
    ValdrinSetenv("\xe8", "x");
    EXPECT_EQ(nullptr, ValdrinGetenv("\xe8"));
    EXPECT_EQ(
        (ut_Strings{"A=x", "B=x", "C=x", "\xe8=x", "\xe8=x", "\xe9=x"}),
        utTexts(ValdrinGetenvlist()));
}

TEST(UT_Env, MissingDirectoriesAreMade)
{
    const ut_TempDir dir;
    const std::string &base = dir.path();
    dir.write("file", "");
    ASSERT_EQ(0, symlink("nowhere", (base + "/link").c_str()));
    umask(022);
    const struct
    {
        const char *path;
        int isMade;
    } cases[] = {
        {"/a/b/c",  1},
        {"/a/b/c",  1},
        {"/file/a", 0},
        {"/link",   0},
    };
    for (const auto &row : cases)
    {
        std::string path = base + row.path;
        SCOPED_TRACE(row.path);
        EXPECT_EQ(row.isMade, ValdrinMakeDirectory(path.data(), 0777));
        EXPECT_EQ(base + row.path, path);
        EXPECT_EQ(row.isMade != 0, std::filesystem::is_directory(path));
    }
    struct stat status;
    EXPECT_EQ(0, stat((base + "/a/b").c_str(), &status));
    EXPECT_EQ(0755u, status.st_mode & 07777u);
    // Deliberate: the ones above get the same bits. Only the superuser makes
    // another level in a directory like that.
    std::string deep = base + "/readable/a";
    ValdrinMakeDirectory(deep.data(), 0400);
    EXPECT_EQ(0, stat((base + "/readable").c_str(), &status));
    EXPECT_EQ(0400u, status.st_mode & 07777u);
    char empty[] = "";
    EXPECT_EQ(0, ValdrinMakeDirectory(nullptr, 0777));
    EXPECT_EQ(0, ValdrinMakeDirectory(empty, 0777));
}
