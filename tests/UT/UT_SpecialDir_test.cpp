#include "UT/UT_SpecialDir.h"

#include "UT/UT_Env.h"
#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include <unistd.h>

static std::string
utTake(char *text)
{
    const std::string copy = text;
    free(text);
    return copy;
}

TEST(UT_SpecialDir, TheFirstCallDecidesWhereScratchFilesGo)
{
    ValdrinSetenv("VALDRIN_TEMP_DIR", "/usr//");
    EXPECT_STREQ("/usr/", UTgetTmpDir());
    ValdrinSetenv("VALDRIN_TEMP_DIR", "/var");
    EXPECT_STREQ("/usr/", UTgetTmpDir());
    EXPECT_EQ(UTgetTmpDir(), UTgetTmpDir());
}

TEST(UT_SpecialDir, AnEmptyTemporaryDirectoryIsNone)
{
    ValdrinSetenv("VALDRIN_TEMP_DIR", "");
    ValdrinUnsetenv("TMPDIR");
    EXPECT_STREQ("/tmp", UTgetTmpDir());
    UT_String name("old");
    UTgetTmpName(name, "abcdefg");
    EXPECT_EQ(0u, std::string(name).find("/tmp/abcde"));
    EXPECT_NE(0, access(name, F_OK));
}

TEST(UT_SpecialDir, CallersFreeTheOtherDirectories)
{
    ValdrinSetenv("HOME", "/home/u/");
    EXPECT_EQ("/home/u//Desktop", utTake(UTgetDesktopDir()));
    ValdrinUnsetenv("HOME");
    EXPECT_EQ("/Desktop", utTake(UTgetDesktopDir()));
    char *const first = UTgetDefaultTmpDir();
    char *const second = UTgetDefaultTmpDir();
    EXPECT_NE(first, second);
    EXPECT_EQ(utTake(first), utTake(second));
}
