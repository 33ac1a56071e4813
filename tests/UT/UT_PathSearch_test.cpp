#include "UT/UT_PathSearch.h"

#include "ut_TempDir.h"

#include "UT/UT_Env.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using ut_Directories = std::vector<std::string>;

// All directories except the toolkit's own, which depends on the build.
static ut_Directories
utDirectories(UT_PathSearchType id)
{
    ut_Directories result;
    const auto &all = UT_PathSearch::getInstance(id)->getDirectories();
    for (int i = 0; i < all.entries(); ++i)
        if (!strstr(all(i), "/share/valdrin"))
            result.push_back(all(i).buffer());
    return result;
}

TEST(UT_PathSearch, DirectoriesComeFromTheVariable)
{
    static const struct
    {
        const char *value;
        ut_Directories directories;
    } theCases[] = {
  // An empty part stands for the default directories, /h and v.
        {"/a//:",                {"/a", "/h", "v"}                    },
        {"$ONE:h:${ONE}/t:${a:", {"/1", "h", "/1/t", "${a", "/h", "v"}},
        {"",                     {"/h", "v"}                          },
    };
    for (const char *variable : {"HOME=/h/", "VRS=v", "ONE=/1"})
        ValdrinPutenv(variable);
    for (const auto &row : theCases)
    {
        ValdrinSetenv("VALDRIN_PATH", row.value);
        UT_PathSearch::varChanged("VALDRIN_PATH");
        EXPECT_EQ(row.directories, utDirectories(UT_PATH_MAIN)) << row.value;
    }
    ValdrinSetenv("VALDRIN_SCRIPT_PATH", "/s:");
    EXPECT_EQ(
        (ut_Directories{"/s", "/h/scripts", "v/scripts"}),
        utDirectories(UT_PATH_SCRIPT));
}

TEST(UT_PathSearch, TheFirstThatExistsIsFoundAndNamedShortly)
{
    const ut_TempDir tree;
    std::filesystem::current_path(tree.path());
    std::filesystem::create_directories("a/sub");
    std::filesystem::create_directories("b/sub");
    for (const char *file : {"a/both", "b/both", "b/sub/x"})
        tree.write(file, "text");
    ValdrinSetenv("VALDRIN_PATH", "none:a:.:b:b/sub");
    UT_PathSearch::varChanged("VALDRIN_PATH");
    UT_PathSearch &search = *UT_PathSearch::getInstance(UT_PATH_MAIN);
    static const struct
    {
        const char *name;
        const char *directory; // that findDirectory() finds, or null
        const char *file;      // that valdrinFindFile() finds, or null
        const char *condensed; // the short name of that file, or null
    } theCases[] = {
        {"both",     nullptr, "a/both",   "both"  },
        {"sub",      "a/sub", nullptr,    nullptr },
        {"sub/x",    nullptr, "b/sub/x",  "x"     },
        {"./a/both", nullptr, "./a/both", "a/both"},
    };
    for (const auto &row : theCases)
    {
        SCOPED_TRACE(row.name);
        UT_String result;
        EXPECT_EQ(
            row.directory != nullptr, search.findDirectory(row.name, result));
        EXPECT_STREQ(row.directory, result);
        result = nullptr;
        EXPECT_EQ(
            row.file != nullptr, search.valdrinFindFile(row.name, result));
        EXPECT_STREQ(row.file, result);
        EXPECT_EQ(row.condensed != nullptr, search.condense(result, result));
        EXPECT_STREQ(row.condensed, result);
    }
    UT_String result;
    EXPECT_FALSE(search.condense("b/both", result)); // "both" is a/both
}
