#include "UT/UT_String.h"
#include "UT/UT_WorkArgs.h"

#include "ut_SplitModel.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

TEST(UT_StringSplit, AllShortTextsSplitAsModelled)
{
    static const char theBytes[] = "a, \\\"'\n";
    const size_t kinds = strlen(theBytes);
    for (size_t length = 0, count = 1; length <= 6; ++length, count *= kinds)
        for (size_t i = 0; i < count; ++i)
        {
            std::string text;
            for (size_t rest = i; text.size() < length; rest /= kinds)
                text += theBytes[rest % kinds];
            ASSERT_TRUE(utSplitsAsModelled(text, ", ")) << text;
        }
}

static const struct
{
    const char *text;
    ut_Words words;
} theWords[] = {
    {"a \"b c\" d",      {"a", "b c", "d"}  },
    {" \ta\r\n\v\fb\n",  {"a", "b"}         },
    {"a\\\"b 'c\\'d'",   {"a\"b", "c\\'d"}  },
    {"a\\ b\\",          {"a\\", "b\\"}     }, // protects no space
    {"\\\\\" \"a\\\\\"", {"\\\"", "a\\\\\""}}, // looks one byte back
    {"\"\" x''y'z\"'",   {"", "xyz\""}      },
    {"'open  end",       {"open  end"}      },
    {"\xa0\x85\xff",     {"\xa0\x85\xff"}   },
};

TEST(UT_StringSplit, WordsLiePackedAtTheFront)
{
    for (const auto &row : theWords)
    {
        UT_String string(row.text, /*deep=*/1);
        UT_WorkArgs args;
        ASSERT_EQ(int(row.words.size()), string.parseInPlace(args)) << row.text;
        const char *at = string.buffer();
        for (int i = 0; i < args.getArgc(); ++i, at += strlen(at) + 1)
        {
            EXPECT_EQ(row.words[size_t(i)], args[i]) << row.text;
            EXPECT_EQ(at, args[i]) << row.text;
        }
    }
    UT_String null;
    UT_WorkArgs args;
    args.setArg(0, null.getEmptyString().buffer());
    EXPECT_EQ(0, null.parseInPlace(args));
    EXPECT_EQ(0, args.getArgc());
    EXPECT_EQ(0, null.tokenizeInPlace(args, ','));
    EXPECT_EQ(0, null.tokenizeInPlace(args, ","));
}

TEST(UT_StringSplit, LongTextsFillManySlots)
{
    std::string text;
    for (int i = 0; i < 3000; ++i)
        text += "w" + std::to_string(i) + (i % 3 ? "," : ",, ");
    EXPECT_TRUE(utSplitsAsModelled(text, ", "));
    EXPECT_TRUE(utSplitsAsModelled(text, "\xff"));
}
