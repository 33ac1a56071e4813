#include "UT/UT_EnvControl.h"

#include "UT/UT_Env.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include <unistd.h>

// Values of settings as the table reads them; null leaves a variable unset.
static const struct
{
    UT_IntControl id;
    const char *value;
    int expected;
} theIntCases[] = {
    {UT_VALDRIN_VERBOSE_ERROR,  "0",           0  },
    {UT_VALDRIN_VERBOSE_ERROR,  "",            1  },
    {UT_VALDRIN_VIEW_GRID,      nullptr,       1  },
    {UT_VALDRIN_VIEW_GRID,      " 1",          0  },
    {UT_VALDRIN_CONSOLE_LINES,  "0100",        100},
    {UT_VALDRIN_MAXTHREADS,     "-4294967296", -1 },
    {UT_VALDRIN_ERRORLOG_LEVEL, "abc",         0  },
};

static const struct
{
    const char *value;
    float expected;
} theFloatCases[] = {
    {nullptr, 2.2f },
    {"1,5",   1.0f },
    {"1e999", 10.0f},
    {"nan",   0.1f },
};

// Null unsets the variable.
static void
utChange(const char *name, const char *value)
{
    if (value)
        ValdrinSetenv(name, value);
    else
        ValdrinUnsetenv(name);
    UT_EnvControl::varChanged(name);
}

TEST(UT_EnvControl, ValuesAreReadAndMovedIntoTheirRange)
{
    UT_EnvControl::getControl();
    for (const auto &row : theIntCases)
    {
        utChange(UT_EnvControl::getIntVar(row.id), row.value);
        EXPECT_EQ(row.expected, UT_EnvControl::getInt(row.id))
            << UT_EnvControl::getIntVar(row.id) << "="
            << (row.value ? row.value : "null");
    }
    for (const auto &row : theFloatCases)
    {
        utChange("VALDRIN_VIEW_GAMMA", row.value);
        EXPECT_EQ(row.expected, UT_EnvControl::getFloat(UT_VALDRIN_VIEW_GAMMA))
            << (row.value ? row.value : "null");
    }
}

// The first look: nothing of ours in the environment but what is given here.
TEST(UT_EnvControl, TheFirstQuestionComputesAndExports)
{
    clearenv();
    setenv("VALDRIN_TEMP_DIR", "\\\\server\\tmp\\", /*overwrite=*/1);
    setenv("VALDRIN_NO_CONSOLE", "1", /*overwrite=*/1);
    EXPECT_STREQ("\\\\server\\tmp\\", getenv("VALDRIN_TEMP_DIR"));
    EXPECT_STREQ(
        "//server/tmp/", UT_EnvControl::getString(UT_VALDRIN_TEMP_DIR));
    EXPECT_STREQ("//server/tmp/", getenv("VALDRIN_TEMP_DIR"));
    // Deliberate: a former name is not read.
    EXPECT_EQ(0, UT_EnvControl::getInt(UT_VALDRIN_DISABLE_CONSOLE));
    // Deliberate: computed before HOME has its own default, and kept.
    EXPECT_STREQ("/Desktop", getenv("VALDRIN_DESKTOP_DIR"));
    EXPECT_STREQ("\\\\server\\tmp\\", UT_EnvControl::getString(UT_HOME));
    utChange("HOME", "/home/ann");
    EXPECT_STREQ("/home/ann", UT_EnvControl::getString(UT_HOME));
    EXPECT_STREQ("/Desktop", UT_EnvControl::getString(UT_VALDRIN_DESKTOP_DIR));

    EXPECT_STREQ("Linux", UT_EnvControl::getString(UT_VALDRIN_OS));
    EXPECT_EQ(nullptr, getenv("VALDRIN_OS"));
    EXPECT_EQ(nullptr, UT_EnvControl::getString(UT_VRS));
    EXPECT_STREQ(getenv("USER"), UT_EnvControl::getString(UT_USER));
}

TEST(UT_EnvControl, OnlyKnownNamesCauseAnotherReading)
{
    UT_EnvControl::varChanged("VRS"); // there is no table yet
    setenv("VRS", "/opt", /*overwrite=*/1);
    EXPECT_STREQ("/opt", UT_EnvControl::getString(UT_VRS));
    setenv("VRS", "/usr", /*overwrite=*/1);
    UT_EnvControl::varChanged("VALDRIN");
    UT_EnvControl::varChanged(nullptr);
    EXPECT_STREQ("/opt", UT_EnvControl::getString(UT_VRS));
    UT_EnvControl::varChanged("VALDRIN_VIEW_GAMMA");
    EXPECT_STREQ("/usr", UT_EnvControl::getString(UT_VRS));
}

TEST(UT_EnvControl, ATextIsChangedAlongWithItsVariable)
{
    UT_EnvControl::setStringVar(UT_VRS, "a\\b"); // makes the table
    EXPECT_STREQ("a\\b", getenv("VRS"));
    UT_EnvControl::setStringVar(UT_VRS, UT_EnvControl::getString(UT_VRS));
    UT_EnvControl::setStringVar(UT_VRS, ValdrinGetenv("VRS"));
    EXPECT_STREQ("a\\b", UT_EnvControl::getString(UT_VRS));
    UT_EnvControl::setStringVar(UT_VRS, nullptr);
    EXPECT_EQ(nullptr, UT_EnvControl::getString(UT_VRS));
    EXPECT_EQ(nullptr, getenv("VRS"));
}
