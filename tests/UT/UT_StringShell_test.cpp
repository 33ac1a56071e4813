#include "UT/UT_String.h"

#include "UT/UT_Env.h"
#include "UT/UT_ShellLine.h"
#include "UT/UT_WorkArgs.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// What a line means is tested by the tables of docs/shell-lines.md. Here is
// what a page cannot show.

using ut_Words = std::vector<std::string>;

struct ut_Shell
{
    const char *name;
    decltype(&UT_String::parseCsh) parse;
    std::string escape;
    std::string variable; // a reference to one
};

static const ut_Shell theShells[] = {
    {"csh", &UT_String::parseCsh, "\\", "$A" },
    {"DOS", &UT_String::parseDos, "^",  "%A%"},
};

// Every variable is the text that `data` points to.
static const char *
utLookup(const char *, void *data)
{
    return static_cast<const char *>(data);
}

namespace
{

// A text, and what a shell makes of it. There are no expressions.
struct ut_Parsed
{
    ut_Parsed(const ut_Shell &shell, const char *line, char *value = nullptr)
        : text(line)
    {
        count = (text.*shell.parse)(args, result, utLookup, nullptr, value);
        words.assign(args.getArgv(), args.getArgv() + args.getArgc());
    }

    UT_String text;
    UT_WorkArgs args;
    UT_ShellLine result;
    int count;
    ut_Words words;
};

} // namespace

TEST(UT_StringShell, SomeLinesHaveNoWords)
{
    static const char *const theBlanks[] = {nullptr, "", " \t\r\n"};
    for (const auto &shell : theShells)
        for (const char *const text : theBlanks)
            EXPECT_EQ(0, ut_Parsed(shell, text).count) << shell.name;
}

TEST(UT_StringShell, NewlinesAreWhiteSpaceEscapedToo)
{
    for (const auto &shell : theShells)
    {
        const std::string &escape = shell.escape;
        const std::string text = "a\nb" + escape + "\nc" + escape + "\r\n" +
                                 escape + "\n\vd \"e\nf\" >" + escape + "\ng";
        const ut_Parsed line(shell, text.c_str());
        EXPECT_EQ(ut_Words({"a", "b", "c", "d", "e\nf"}), line.words)
            << shell.name;
        EXPECT_STREQ("g", line.result.output) << shell.name;
    }
}

TEST(UT_StringShell, AnEmptyHomeDirectoryIsAWord)
{
    ValdrinSetenv("HOME", "");
    const ut_Parsed line(theShells[0], "~ ~/a");
    EXPECT_EQ(ut_Words({"", "/a"}), line.words);
}

TEST(UT_StringShell, LinesAndWhatIsReplacedHaveALongestLength)
{
    for (const auto &shell : theShells)
    {
        SCOPED_TRACE(shell.name);
        std::string text(1 << 26, 'x');
        EXPECT_EQ(1, ut_Parsed(shell, text.c_str()).count);
        text += 'x';
        const ut_Parsed tooLong(shell, text.c_str());
        EXPECT_EQ(UT_SHELL_TOO_LONG, tooLong.result.error);
        EXPECT_EQ(1 << 26, tooLong.result.errorOffset);

        // References add 16 MB.
        text = shell.variable + shell.variable;
        std::string value(shell.variable + std::string(1 << 23, 'x'));
        const ut_Parsed longest(shell, text.c_str(), value.data());
        EXPECT_EQ(ut_Words({value + value}), longest.words);
        value += 'x';
        const ut_Parsed tooMuch(shell, text.c_str(), value.data());
        EXPECT_EQ(UT_SHELL_TOO_LONG, tooMuch.result.error);
        EXPECT_EQ(int(text.size() / 2), tooMuch.result.errorOffset);
    }
}
