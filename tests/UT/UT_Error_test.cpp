#include "UT/UT_Error.h"

#include "ut_TempDir.h"

#include <gtest/gtest.h>

#include <cstring>

static std::string
utMessage(
    const std::string &type, int code, const char *string,
    UT_ErrorSeverity severity = UT_ERROR_ERROR,
    UT_ErrorSeverity lastSeverity = UT_ERROR_NONE, int prefixes = 0)
{
    UT_String out;
    UT_Error(type.c_str(), code, string, severity)
        .getErrorMessage(out, lastSeverity, prefixes);
    return out.buffer();
}

// A message file, and what the messages of its codes are with "abcd".
static const struct
{
    const char *line;
    int code;
    const char *message;
} theLines[] = {
    {"1 %s",                      1,  "abcd"                        },
    {"12\tCannot open %s\\n",     12, "Cannot open abcd\n(retrying)"},
    {"012 (retrying)",            12, "Cannot open abcd\n(retrying)"},
    {"word",                      6,  ""                            }, // 6 has no text
    {" \n\r2  \\t|\\\\|\\x \v\r", 2,  " \t|\\|\\x "                 },
    {"18",                        18, ""                            },
    {"19\xe9\xe8",                19, "\xe8"                        }, // any byte separates
    {"8 %d",                      8,  "%d"                          },
    {"11 %1$s",                   11, "%1$s"                        },
    {"13 %2147483647s",           13, "%2147483647s"                },
    {"14 %s%s",                   14, "%s%s"                        },
    {"16 100%%|%-5.3s|",          16, "100%|abc  |"                 },
};

TEST(UT_Error, MessageFilesAreData)
{
    const ut_TempDir dir;
    std::string text;
    for (const auto &row : theLines)
        text += (text.empty() ? "" : "\n") + std::string(row.line);
    const std::string file = dir.write("file", text);
    for (const auto &row : theLines)
        EXPECT_EQ(row.message, utMessage(file, row.code, "abcd")) << row.line;
    EXPECT_EQ(file + ": unknown error: -1", utMessage(file, -1, ""));
    // A code that is too large costs its own line, no int the rest of the file.
    const std::string large = dir.write(
        "large",
        "1 one\n1000001 x\n2147483647 x\n2 two\n2147483648 x\n3 three");
    EXPECT_EQ("one", utMessage(large, 1, ""));
    for (const int code : {1000001, 2147483647, 3})
        EXPECT_EQ(
            large + ": unknown error: " + std::to_string(code),
            utMessage(large, code, ""));
    EXPECT_EQ("two", utMessage(large, 2, ""));
    const std::string longText(100000, '%');
    EXPECT_EQ(longText, utMessage(file, 1, longText.c_str()));
}

TEST(UT_Error, MessageFilesAreReadOnceTheyAreThere)
{
    const ut_TempDir dir;
    const std::string file = dir.path("file");
    EXPECT_EQ(file + ": unknown error: 1", utMessage(file, 1, ""));
    // Blanks follow the newlines of the file only.
    dir.write("file", "1 \\n%s\\n");
    for (int reads = 0; reads < 2; ++reads)
    {
        EXPECT_EQ(
            "Error:       \n             c\nd\n",
            utMessage(
                file, 1, "c\nd", UT_ERROR_ERROR, UT_ERROR_WARNING,
                /*prefixes=*/1));
        dir.write("file", "1 second");
    }
}

TEST(UT_Error, SystemErrorsAreBuiltInAndHaveNoPrefix)
{
    for (const int code : {0, 2, 123456, -1})
        EXPECT_EQ(
            std::string(strerror(code)) + " (%s)",
            utMessage(
                "System", code, "%s", UT_ERROR_ERROR, UT_ERROR_WARNING, 1))
            << code;
}

TEST(UT_Error, CommonErrorsAreBuiltIn)
{
    for (int code = 1; code < UT_CE_COUNT; ++code)
    {
        const std::string text = utMessage("Common", code, "(it)");
        EXPECT_EQ(text.size() - 4, text.find("(it)")) << code << ": " << text;
    }
}
