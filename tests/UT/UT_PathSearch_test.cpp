#include "UT/UT_PathSearch.h"

#include "UT/UT_Env.h"
#include "ut_TempDir.h"

#include <gtest/gtest.h>

// The directories, but for the toolkit's own, which depends on the build.
static std::string
utDirectories(UT_PathSearchType id)
{
    std::string result;
    const auto &all = UT_PathSearch::getInstance(id)->getDirectories();
    for (int i = 0; i < all.entries(); ++i)
        if (!strstr(all(i), "/share/valdrin"))
            (result += all(i)) += ' ';
    return result;
}

TEST(UT_PathSearch, DirectoriesComeFromTheVariable)
{
    static const char *const theCases[][2] = {
        {"/a//:",                "/a /h v "           },
        {":v:/:$NONE",           "/h v / "            },
        {"$LIST:rel:~:/a",       "/l /h v /m rel /a " },
        {"$ONE:h:${ONE}/t:${a:", "/1 h /1/t ${a /h v "},
        {"",                     "/h v "              },
    };
    for (const char *variable : {"HOME=/h/", "VRS=v", "LIST=/l/::/m", "ONE=/1"})
        ValdrinPutenv(variable);
    for (const auto &[value, expected] : theCases)
    {
        ValdrinSetenv("VALDRIN_PATH", value);
        UT_PathSearch::varChanged("VALDRIN_PATH");
        EXPECT_EQ(expected, utDirectories(UT_PATH_MAIN)) << value;
    }
    ValdrinSetenv("VALDRIN_SCRIPT_PATH", "/s:");
    EXPECT_EQ("/s /h/scripts v/scripts ", utDirectories(UT_PATH_SCRIPT));
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
    UT_PathSearch &search = *UT_PathSearch::getInstance(UT_PATH_MAIN);
    // A name, the directory or file that it finds, and the name for the file.
    static const char *const theCases[][4] = {
        {"both",     nullptr, "a/both",   "both"  },
        {"b/both",   nullptr, "./b/both", "b/both"},
        {"sub",      "a/sub", nullptr,    nullptr },
        {"sub/x",    nullptr, "b/sub/x",  "x"     },
        {"./a/both", nullptr, "./a/both", "a/both"},
        {"",         nullptr, nullptr,    nullptr },
    };
    for (const auto &[name, directory, file, condensed] : theCases)
    {
        UT_String result;
        EXPECT_EQ(directory != nullptr, search.findDirectory(name, result));
        EXPECT_STREQ(directory, result);
        result = nullptr;
        EXPECT_EQ(file != nullptr, search.valdrinFindFile(name, result));
        EXPECT_STREQ(file, result);
        EXPECT_EQ(condensed != nullptr, search.condense(result, result));
        EXPECT_STREQ(condensed, result);
    }
}
