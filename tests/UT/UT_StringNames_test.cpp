#include "UT/UT_String.h"

#include <gtest/gtest.h>

// The orders as such are what the fuzz entry looks at.
TEST(UT_StringNames, ComparisonsReturnDifferences)
{
    static const struct
    {
        const char *what, *left, *right;
        int difference;
    } theCases[] = {
        {"numbers by value",           "a01b2",       "a1b10",       -8       },
        {"the largest difference",     "2147483647",  "000",         INT32_MAX},
        {"numbers longer than an int", "30000000001", "30000000005", -1       },
        {"bytes are signed",           "a\xE9",       "a",           -0x17    },
        {"null before empty",          nullptr,       "",            -1       },
    };
    for (const auto &row : theCases)
        EXPECT_EQ(
            row.difference,
            UT_String::compareNumberedString(row.left, row.right))
            << row.what;

    // Without the extension the rest of the name decides, "." among it.
    const char *files[] = {"foo.tif", "foo"};
    EXPECT_EQ(-1, UT_String::qsortCmpNumberedFilename(&files[0], &files[1]));
}

TEST(UT_StringNames, FileNamesSplitAtTheirNumber)
{
    static const struct
    {
        const char *name;
        bool isMinusPart, isPointPart; // of the number
        const char *prefix, *number, *rest;
    } theCases[] = {
        {"img.0012.tif", true,  false, "img.",   "0012",  ".tif" },
        {"img.0012.tif", false, true,  "img",    ".0012", ".tif" },
        {"7.",           false, false, "",       "7",     "."    },
        {"/x3/.5",       false, false, "/x3/.5", "",      ""     }, // all of it an extension
        {nullptr,        false, false, nullptr,  nullptr, nullptr},
    };
    for (const auto &row : theCases)
    {
        UT_String prefix(row.name), number, rest;
        prefix.parseNumberedFilename(
            prefix, number, rest, row.isMinusPart, row.isPointPart);
        SCOPED_TRACE(row.name ? row.name : "null");
        EXPECT_STREQ(row.prefix, prefix);
        EXPECT_STREQ(row.number, number.buffer());
        EXPECT_STREQ(row.rest, rest.buffer());
    }
}

// The leading zeros go when there is a digit more.
TEST(UT_StringNames, TheNextNameHasTheNextNumber)
{
    static const struct
    {
        const char *name;
        const char *next;
    } theCases[] = {
        {"",         "2"           },
        {"a",        "a2"          },
        {"a-9",      "a-10"        },
        {"a099",     "a100"        },
        {"a0099",    "a100"        },
        {"\xe9\xb2", "\xe9\xb2\x32"},
    };
    for (const auto &row : theCases)
    {
        UT_String name(row.name);
        name.incrementNumberedName();
        EXPECT_STREQ(row.next, name) << "after " << row.name;
    }
}
