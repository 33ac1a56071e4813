#include "UT/UT_SpecialDir.h"

#include "UT/UT_Env.h"
#include "UT/UT_String.h"

#include <gtest/gtest.h>

TEST(UT_SpecialDir, TheFirstCallDecidesWhereScratchFilesGo)
{
    ValdrinSetenv("VALDRIN_TEMP_DIR", "/usr//");
    EXPECT_STREQ("/usr/", UTgetTmpDir());
    ValdrinSetenv("VALDRIN_TEMP_DIR", "/var");
    EXPECT_STREQ("/usr/", UTgetTmpDir());
}

TEST(UT_SpecialDir, EmptyVariablesNameNoDirectory)
{
    ValdrinSetenv("VALDRIN_TEMP_DIR", "");
    ValdrinUnsetenv("TMPDIR");
    UT_String name;
    UTgetTmpName(name, "abcdefg");
    EXPECT_EQ(0, strncmp("/tmp/abcde", name, 10)) << name;
    ValdrinSetenv("HOME", "/");
    char *const desktop = UTgetDesktopDir();
    EXPECT_STREQ("//Desktop", desktop);
    free(desktop);
}
