#include "UT/UT_PathSearch.h"

#include "UT/UT_Env.h"
#include "UT/UT_EnvControl.h"

#include "ut_TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace
{

// Each test is a process of its own, with a tree of files:
//
//     home/both   vrs/both   vrs/error/Common   vrs/scripts/a   more/vrs/x
class UT_PathSearchTest : public testing::Test
{
protected:
    UT_PathSearchTest() : myRoot(myTree.path())
    {
        for (const char *folder :
             {"home", "vrs/error", "vrs/scripts", "more/vrs"})
            std::filesystem::create_directories(myTree.path(folder));
        for (const char *file :
             {"home/both", "vrs/both", "vrs/error/Common", "vrs/scripts/a",
              "more/vrs/x"})
            myTree.write(file, "text");
        set("HOME", "@/home/");
        set("VRS", "@/vrs");
    }

    // Every "@" stands for the root of the tree.
    void set(const char *name, const std::string &value)
    {
        std::string expanded;
        for (const char c : value)
            expanded += c == '@' ? myRoot : std::string(1, c);
        ValdrinSetenv(name, expanded.c_str());
        UT_EnvControl::varChanged(name);
        UT_PathSearch::varChanged(name);
    }

    // The directories; the toolkit's own, which depends on the build, is left
    // out.
    std::string directories(UT_PathSearchType id = UT_PATH_MAIN)
    {
        std::string result;
        const auto &all = UT_PathSearch::getInstance(id)->getDirectories();
        for (int i = 0; i < all.entries(); ++i)
        {
            const std::string directory = all(i).buffer();
            if (directory.compare(0, myRoot.size(), myRoot) == 0)
                result += "@" + directory.substr(myRoot.size()) + " ";
            else if (directory.find("/share/valdrin") == directory.npos)
                result += directory + " ";
        }
        return result;
    }

    const ut_TempDir myTree;
    const std::string myRoot;
};

} // namespace

TEST_F(UT_PathSearchTest, DirectoriesComeFromTheVariable)
{
    static const struct
    {
        const char *value;
        const char *expected;
    } theCases[] = {
        {"",                     "@/home @/vrs "                    },
        {"::",                   "@/home @/vrs "                    },
        {"@/a//:",               "@/a @/home @/vrs "                },
        {":@/vrs:/:$NONE",       "@/home @/vrs / "                  },
        {"$LIST:rel:~:@/a",      "@/l1 @/home @/vrs @/l2 rel @/a "  },
        {"$ONE:h:${ONE}/t:${a:", "@/one h @/one/t ${a @/home @/vrs "},
    };
    ValdrinUnsetenv("VALDRIN_PATH");
    EXPECT_EQ("@/home @/vrs ", directories());
    set("LIST", "@/l1/::@/l2");
    set("ONE", "@/one");
    for (const auto &row : theCases)
    {
        set("VALDRIN_PATH", row.value);
        EXPECT_EQ(row.expected, directories()) << row.value;
    }
    EXPECT_EQ(
        "@/one/scripts h/scripts @/one/t/scripts ${a/scripts @/home/scripts "
        "@/vrs/scripts ",
        directories(UT_PATH_SCRIPT));
    set("VALDRIN_SCRIPT_PATH", "/s");
    EXPECT_EQ("/s ", directories(UT_PATH_SCRIPT));
    EXPECT_EQ(nullptr, UT_PathSearch::getInstance(UT_PATH_COUNT));
    EXPECT_EQ(
        UT_PathSearch::getInstance(UT_PATH_HELP),
        UT_PathSearch::getInstance(UT_PATH_HELP));
    EXPECT_STREQ(
        "VALDRIN_UI_HELP_PATH",
        UT_PathSearch::getInstance(UT_PATH_HELP)->getVariable());
}

TEST_F(UT_PathSearchTest, TheFirstThatExistsIsFoundAndNamedShortly)
{
    set("VALDRIN_PATH", "@/no such:/:@/more:");
    UT_PathSearch &search = *UT_PathSearch::getInstance(UT_PATH_MAIN);
    const struct
    {
        std::string name;
        std::string file;      // "" when there is none
        std::string directory; // the same
        std::string condensed; // of the file
    } cases[] = {
        {"both",                              "/home/both",        "",           "both"        },
        {"error/Common",                      "/vrs/error/Common", "",           "error/Common"},
        {"error",                             "",                  "/vrs/error", ""            },
        {"vrs",                               "",                  "/more/vrs",  ""            },
        {"vrs/x",                             "/more/vrs/x",       "",           "vrs/x"       },
        {myRoot + "/vrs/both",                "/vrs/both",         "",           "@"           },
        {myRoot.substr(1) + "/vrs/scripts/a", "/vrs/scripts/a",    "",
         "scripts/a"                                                                           },
        {"./both",                            "",                  "",           ""            },
        {"",                                  "",                  "",           ""            },
    };
    for (const auto &row : cases)
    {
        SCOPED_TRACE(row.name);
        UT_String result("as before");
        EXPECT_EQ(
            !row.file.empty(),
            search.valdrinFindFile(row.name.c_str(), result));
        EXPECT_EQ(
            row.file.empty() ? "as before" : myRoot + row.file,
            result.buffer());
        if (!row.file.empty())
        {
            // One that another file hides has no name shorter than from "/".
            const std::string rooted = myRoot.substr(1) + row.file;
            EXPECT_TRUE(search.condense(result, result));
            EXPECT_EQ(
                row.condensed == "@" ? rooted : row.condensed, result.buffer());
        }
        result.harden("as before");
        EXPECT_EQ(
            !row.directory.empty(),
            search.findDirectory(row.name.c_str(), result));
        EXPECT_EQ(
            row.directory.empty() ? "as before" : myRoot + row.directory,
            result.buffer());
    }
    UT_String result;
    set("VALDRIN_PATH", "");
    EXPECT_FALSE(search.valdrinFindFile(nullptr, result));
    EXPECT_FALSE(search.condense(nullptr, result));
    EXPECT_FALSE(search.condense((myRoot + "/more/vrs/x").c_str(), result));
    EXPECT_TRUE(result.isNull());
}
