#include "UT/UT_VariableScan.h"

#include "UT/UT_Env.h"
#include "UT/UT_String.h"
#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>

#include <pthread.h>

// All names but these and F, whose value is `data`, are unknown.
static const char *
utLookup(const char *name, void *data)
{
    static const std::map<std::string, const char *> theValues = {
        {"A", "x"     },
        {"B", "A"     },
        {"C", "D"     },
        {"D", "C"     },
        {"E", ""      },
        {"N", "F3"    },
        {"P", "/p/q.r"}
    };
    if (strcmp(name, "F") == 0)
        return static_cast<const char *>(data);
    const auto found = theValues.find(name);
    return found == theValues.end() ? nullptr : found->second;
}

// "=" gives nothing, and all else itself in brackets.
static const char *
utExpression(const char *expression, void *)
{
    static std::string theValue;
    theValue = std::string("<") + expression + ">";
    return strcmp(expression, "=") == 0 ? nullptr : theValue.c_str();
}

static const struct
{
    const char *text;
    const char *expected;
    int count;
} theCases[] = {
    {nullptr,                    "",                       0},
    {"$A/b$E",                   "x/b",                    2},
    {"$UNSET/b$",                "/b$",                    0},
    {"$-$\xE4",                  "$-$\xE4",                0},
    {"${$B}${A}m${A}:",          "xxmx:",                  4},
    {"${no${A}}${",              "${",                     1},
    {"$A${A{$A",                 "x${A{$A",                1}, // stops
    {"${A'}'B}",                 "xB}",                    1}, // no quotes yet
    {"${ '{}'A}$A",              "x",                      1},
    {"\\$A\\q\\\\$A\\",          "$A\\q\\x\\",             1},
    {"\\'$A\\'\\`a`\\~",         "'x'`a<\\~>",             2}, // not closed
    {"'$A\\'b'\"$A\"'~",         "$A\\'b\"x\"~",           1},
    {"`a\\`$A`$A`=``e`",         "<a\\`$A>x<e>",           3},
    {"${A`A`}$A",                "x",                      1},
    {"// $A\\\\'\n$A",           "// $A\\\\'\nx",          1},
    {"/*/$A'*/$A/*$A",           "/*/$A'*/x/*$A",          1},
    {"'//'$A/\"//$A",            "//x/\"//$A",             1},
    {"~/a~ ~\t$A~'b'~\\\\~`=`~", "/h/a~ /h\tx/hb/h\\/h/h", 7},
    {"~nosuchuser/ ~no-~\\~",    "~nosuchuser/ ~no-~~",    0},
    {"${~}~",                    "/h",                     2},
};

TEST(UT_VariableScan, ReplacesReferences)
{
    ValdrinSetenv("HOME", "/h");
    UT_WorkBuffer out;
    for (const auto &row : theCases)
    {
        SCOPED_TRACE(&row - theCases);
        EXPECT_EQ(
            row.count, UTExprVariableScan(
                           out, row.text, utLookup, utExpression, nullptr,
                           /*expandVars=*/true, /*expandTilde=*/true,
                           /*ignoreComments=*/false));
        EXPECT_STREQ(row.expected, out.buffer());
    }
    EXPECT_EQ(
        1, UTExprVariableScan(
               out, "$A ~ \\$ // `a`", utLookup, utExpression, nullptr, false,
               false, true));
    EXPECT_STREQ("$A ~ $ // <a>", out.buffer());
    EXPECT_EQ(
        1, UTVariableScan(out, "~ // $A `a`", utLookup, nullptr, false, true));
    EXPECT_STREQ("~ // x `a`", out.buffer());
    EXPECT_EQ(1, UTVariableScan(out, "~root/", utLookup, nullptr, true, true));
}

TEST(UT_VariableScan, FrameNumbersGetTheirWidth)
{
    const std::string widest = std::string(4095, ' ') + "x";
    const struct
    {
        const char *value;
        const char *text;
        const char *expected;
    } cases[] = {
        {"7",  "$F4 $F $F4X ${F03} ${$N}", "0007 7  007 007"},
        {"-7", "$F4 $F2",                  "-007 -7"        },
        {"+7", "$F4 $F0",                  "+007 +7"        },
        {"ab", "$F4 $F2",                  "  ab ab"        },
        {"-x", "$F4",                      "  -x"           },
        {"-",  "$F3",                      "  -"            },
        {"",   "$F2",                      "  "             },
        {"x",  "$F99999999999",            widest.c_str()   },
    };
    UT_WorkBuffer out;
    for (const auto &row : cases)
    {
        std::string value = row.value;
        UTVariableScan(out, row.text, utLookup, value.data(), false, false);
        EXPECT_STREQ(row.expected, out.buffer()) << row.value;
    }
}

static void *
utScanNestedBraces(void *)
{
    constexpr int theDepth = 10000;
    std::string text;
    for (int i = 0; i < theDepth; ++i)
        text += "${";
    text += "C";
    UT_WorkBuffer out;
    EXPECT_EQ(0, UTVariableScan(out, text.c_str(), utLookup, nullptr, 1, 1));
    EXPECT_EQ(text, out.buffer());
    text += std::string(theDepth, '}');
    EXPECT_EQ(
        theDepth, UTVariableScan(out, text.c_str(), utLookup, nullptr, 1, 1));
    EXPECT_STREQ("C", out.buffer());
    return nullptr;
}

TEST(UT_VariableScan, DeepBracesNeedLittleStack)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(0, pthread_attr_setstacksize(&attributes, 128 << 10));
    pthread_t thread;
    ASSERT_EQ(
        0, pthread_create(&thread, &attributes, utScanNestedBraces, nullptr));
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TEST(UT_VariableScan, StringsExpandFromTheEnvironment)
{
    ValdrinSetenv("A", "/p/q.r");
    UT_String string("$A ${A} // $A");
    string.expandVariables();
    EXPECT_STREQ("/p/q.r /p/q.r // /p/q.r", string);
    UT_String null;
    null.expandVariables();
    EXPECT_STREQ("", null);
}
