#include "UT/UT_VariableScan.h"

#include "UT/UT_Env.h"
#include "UT/UT_String.h"
#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <string>

// A first "=" gives nothing.
static const char *
utExpression(const char *expression, void *)
{
    return *expression == '=' ? nullptr : expression;
}

static const struct
{
    const char *frame; // what F is
    const char *text;
    const char *expected;
    int count;
} theCases[] = {
    {"7",    nullptr,                    "",                       0},
    {"7",    "$A/b$E$UNSET/$-$",         "x/b/$-$",                2},
    {"7",    "${$B}${A}m${A}:t $P:t:r",  "xxmx:t q",               5},
    {"7",    "${no${A}}$A${A{$A",        "x${A{$A",                2},
    {"7",    "`a\\`$A`$A`=`\\``\\~",     "a\\`$Ax`\\~",            3},
    {"7",    "/*/$A'*/$A// $A'\\\\\n$A", "/*/$A'*/x// $A'\\\\\nx", 2},
    {"7",    "~/a~ ~\t$A~'b'~\\\\~`=`~", "/h/a~ /h\tx/hb/h\\/h/h", 7},
    {"7",    "$F4 $F4X ${F03} ${$N}",    "0007  007 007",          4},
    {"-7",   "$F4 $F2 $F $F0",           "-007 -7 -7 -7",          4},
    {"+1/b", "$F4 $F9:h",                "+1/b +000001",           2},
};

TEST(UT_VariableScan, ReplacesReferences)
{
    for (const char *variable :
         {"A=x", "B=A", "E=", "N=F3", "P=/p/q.r", "HOME=/h"})
        ValdrinPutenv(variable);
    UT_WorkBuffer out;
    for (const auto &row : theCases)
    {
        ValdrinSetenv("F", row.frame);
        const int count = UTExprVariableScan(
            out, row.text, nullptr, utExpression, nullptr, 1, 1, 0);
        const char *const text = row.text ? row.text : "null";
        EXPECT_EQ(row.count, count) << text << " in frame " << row.frame;
        EXPECT_STREQ(row.expected, out.buffer())
            << text << " in frame " << row.frame;
    }
    UTExprVariableScan(out, "$A~\\`", nullptr, nullptr, nullptr, 0, 0, 1);
    EXPECT_STREQ("$A~`", out.buffer());
}

TEST(UT_VariableScan, HostileTextsNeedLittleSpace)
{
    ValdrinSetenv("F", "F");
    std::string text;
    while (text.size() < 600000)
        text += "${";
    UT_WorkBuffer out;
    UTVariableScan(out, text.c_str(), nullptr, nullptr, 1, 1);
    EXPECT_EQ(text, out.buffer());
    text += "F" + std::string(300000, '}') + "$F99999999999";
    UTVariableScan(out, text.c_str(), nullptr, nullptr, 1, 1);
    EXPECT_EQ("F" + std::string(4095, ' ') + "F", out.buffer());
}

// A plain part is copied by whole blocks. The address checker watches the ends
// of the text and of the result, which needs a larger block beyond 2000 bytes.
TEST(UT_VariableScan, AReferenceIsReplacedAnywhere)
{
    ValdrinSetenv("A", "x");
    for (size_t length = 100; length < 2300; ++length)
    {
        std::string expected(length, '-');
        const size_t position = length - 2 - length % 67;
        UT_String text(expected.replace(position, 2, "$A").c_str(), /*deep=*/1);
        text.expandVariables();
        ASSERT_STREQ(expected.replace(position, 2, "x").c_str(), text);
    }
}

// Each o of a value may become a thousand other characters, and the result is
// a megabyte at most.
TEST(UT_VariableScan, SubstitutionsAreHeldToTheLengthOfTheirResult)
{
    constexpr size_t longest = 1 << 20;
    const std::string many(1048, '-');
    const std::string room(longest - 2000, '-');
    const struct
    {
        const char *what;
        std::string value;
        const char *flags;
        bool changes;
        size_t length;
    } cases[] = {
        {"both o",                   many + "oo",   "a", true,  3048          },
        {"the first o of each word", many + "oo o", "g", true,  3050          },
        {"too long by one",          room + "-oo",  "a", false, longest - 1997},
        {"words, too long by one",   room + "o o",  "g", false, longest - 1997},
    };
    UT_WorkBuffer out;
    for (const auto &row : cases)
    {
        ValdrinSetenv("V", row.value.c_str());
        const std::string text = "$V:" + std::string(row.flags) + "s/o/" +
                                 std::string(1000, 'n') + "/";
        UTVariableScan(out, text.c_str(), nullptr, nullptr, true, true);
        EXPECT_EQ(row.length, size_t(out.length())) << row.what;
        EXPECT_EQ(row.changes, out.buffer() != row.value) << row.what;
    }
}

TEST(UT_VariableScan, StringsExpandFromTheEnvironment)
{
    ValdrinSetenv("VALDRIN8_COMPATIBILITY", "1");
    ValdrinSetenv("A", "/p/q.r");
    UT_String string("$A:t ${A} // $A");
    string.expandVariables();
    // Deliberate: as it was once, a colon ends the name and stays.
    EXPECT_STREQ("/p/q.r:t /p/q.r // /p/q.r", string);
}
