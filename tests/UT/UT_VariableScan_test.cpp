// What references mean is in the tables of docs/paths.md.

#include "UT/UT_VariableScan.h"

#include "UT/UT_Env.h"
#include "UT/UT_String.h"
#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <string>

TEST(UT_VariableScan, ACommentEndsWithItsLine)
{
    ValdrinSetenv("A", "x");
    UT_WorkBuffer out;
    EXPECT_EQ(1, UTVariableScan(out, "// $A\\\\\n$A", nullptr, nullptr, 1, 0));
    EXPECT_STREQ("// $A\\\\\nx", out.buffer());
    EXPECT_EQ(0, UTVariableScan(out, nullptr, nullptr, nullptr, 1, 0));
    EXPECT_STREQ("", out.buffer());
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
