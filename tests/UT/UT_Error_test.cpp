#include "UT/UT_Error.h"

#include "ut_TempDir.h"

#include <gtest/gtest.h>

#include <cstring>

static std::string
utMessage(
    const std::string &type, int code, const char *string, int severity = 4,
    int lastSeverity = 0, int prefixes = 0)
{
    UT_String out;
    UT_Error(type.c_str(), code, string, UT_ErrorSeverity(severity))
        .getErrorMessage(out, UT_ErrorSeverity(lastSeverity), prefixes);
    return out.buffer();
}

// And the messages for its codes 0 to 20, with "abcd".
static const char theFile[] =
    "# 1 comment\n  # 1 comment\n1 %s\n2\n3Text \t\r\n4 x\r \r\r\n5 a\\tb\\\\n"
    "\\x\\\n12\tCannot open %s\\n\n-6 no\nx\n7 # \n012 (retrying)\n8 %d\n9 %s%n"
    "\n10 %*s\n11 %1$s\n13 %2147483647s\n14 %s%s\n15 %\n16 100%%|%-5.3s|\n"
    "17 |%5s%%\n18 \\n%.2s\\n\n19 a\r20 no\r\n1000000 last\n1000001 no\n6 no";
static const char theMessages[] =
    "||abcd||ext \t|x\r |a\tb\\n\\x\\||# |%d|%s%n|%*s|%1$s|Cannot open abcd\n"
    "(retrying)|%2147483647s|%s%s|%|100%|abc  ||| abcd%|\nab\n|a\r20 no|";

TEST(UT_Error, MessageFilesAreData)
{
    const ut_TempDir dir;
    const std::string file = dir.path("file");
    EXPECT_EQ(file + ": unknown error: 1", utMessage(file, 1, "abcd"));
    dir.write("file", theFile); // now it is there
    std::string messages;
    for (int code = 0; code <= 20; ++code)
        messages += '|' + utMessage(file, code, "abcd");
    EXPECT_EQ(theMessages, messages);
    EXPECT_EQ(file + ": unknown error: -1", utMessage(file, -1, ""));
    dir.write("file", "1 what was read stays");
    const std::string longText(100000, '%');
    EXPECT_EQ(longText, utMessage(file, 1, longText.c_str()));
    // A newline of the argument comes too late for blanks.
    const std::string blanks(13, ' ');
    const char *const labels[] = {
        "", "", "", "Warning:     ", "Error:       ", "Fatal error: "};
    for (int severity = 0; severity <= 5; ++severity)
        for (int last = 0; last <= 5; ++last)
            EXPECT_EQ(
                (severity == last ? blanks : labels[severity]) + "\n" + blanks +
                    "c\n\n",
                utMessage(file, 18, "c\nd", severity, last, 1));
}

TEST(UT_Error, SystemAndCommonErrorsAreBuiltIn)
{
    for (int code : {0, 2, 123456, -1})
        EXPECT_EQ(
            std::string(strerror(code)) + " (%s)",
            utMessage("System", code, "%s", 4, 3, 1));
    for (int code = 1; code < UT_CE_COUNT; ++code)
    {
        const std::string text = utMessage("Common", code, "(it)");
        EXPECT_EQ(text.size() - 4, text.find("(it)")) << text;
    }
}
