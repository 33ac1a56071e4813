#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

// Whether the string owns its text: only then it stays where it is.
static bool
utOwns(UT_String &string)
{
    const char *const before = string.buffer();
    string.harden();
    return string.buffer() == before;
}

TEST(UT_String, AGivenLengthMakesACopyWithZerosToItsEnd)
{
    UT_String string("abc", /*deep=*/0, /*length=*/5);
    EXPECT_TRUE(utOwns(string));
    EXPECT_EQ(0, memcmp("abc\0\0", string.buffer(), 6));
}

TEST(UT_String, AssignmentsBorrowExceptToAlwaysDeepStrings)
{
    UT_String owner("abc", 1);
    UT_String copy(owner);
    EXPECT_EQ(owner.buffer(), copy.buffer());
    EXPECT_FALSE(utOwns(copy));
    copy = "text"; // frees what it owned
    copy = owner;
    EXPECT_EQ(owner.buffer(), copy.buffer());

    UT_String null(UT_ALWAYS_DEEP);
    UT_String copied(null); // takes the habit over
    UT_String deep(std::move(copied));
    deep = "text";
    EXPECT_TRUE(utOwns(deep));
    deep = null;
    EXPECT_EQ(0, deep.length());
}

TEST(UT_String, TextsMayComeFromTheStringThatTheyReplace)
{
    UT_String string("tail of text");
    string.harden(string.buffer()); // borrowed so far
    const char *const before = string.buffer();
    string = string.buffer();
    string = UT_String(string.buffer());
    EXPECT_EQ(before, string.buffer());
    EXPECT_TRUE(utOwns(string));
    string.harden(string.buffer() + 5);
    string.harden(string.buffer() + 1, 5);
    EXPECT_STREQ("f tex", string);
    UT_String deep(UT_ALWAYS_DEEP, "tail of text");
    deep = deep.buffer() + 5;
    deep = UT_String(deep.buffer() + 3);
    EXPECT_STREQ("text", deep);
}

TEST(UT_String, MovesAndSwapsTakeTheOwnershipAlong)
{
    std::vector<UT_String> strings;
    for (const char *word : {"a", "b", "c"})
        strings.push_back(UT_String(word, 1));
    EXPECT_STREQ("a", strings.front());

    UT_String plain("text");
    UT_String deep(UT_ALWAYS_DEEP, "deep");
    swap(plain, deep);
    EXPECT_TRUE(utOwns(plain));
    EXPECT_STREQ("text", deep);
    EXPECT_TRUE(utOwns(deep));
    // Deliberate: no null comes in by an exchange.
    UT_String null;
    deep.swap(null);
    EXPECT_STREQ("", deep);
    const UT_String taken(std::move(deep));
    deep.swap(deep); // with itself it leaves none, either
    EXPECT_STREQ("", deep);
}

// `sense` is as of strcmp().
template <class A, class B>
static void
utExpectComparisons(int sense, const A &a, const B &b)
{
    EXPECT_EQ(sense == 0, a == b);
    EXPECT_EQ(sense != 0, a != b);
    EXPECT_EQ(sense < 0, a < b);
    EXPECT_EQ(sense > 0, a > b);
    EXPECT_EQ(sense <= 0, a <= b);
    EXPECT_EQ(sense >= 0, a >= b);
}

TEST(UT_String, ComparisonsPutNullFirstAndBytesUnsigned)
{
    // In ascending order, all different.
    static const char *const theTexts[] = {nullptr, "",     "\x01", "a",
                                           "aa",    "\x7F", "\x80"};
    const int count = int(std::size(theTexts));
    for (int a = 0; a < count; ++a)
        for (int b = 0; b < count; ++b)
        {
            SCOPED_TRACE(
                "texts " + std::to_string(a) + ", " + std::to_string(b));
            const UT_String first(theTexts[a]);
            const UT_String second(theTexts[b], /*deep=*/1);
            utExpectComparisons(a - b, first, second);
            utExpectComparisons(a - b, first, theTexts[b]);
            utExpectComparisons(a - b, theTexts[a], second);
        }
}
