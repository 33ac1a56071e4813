// Built without the copies that a compiler may leave out, so that strings which
// are returned by value go through every constructor.

#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
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

TEST(UT_String, ConstructorsBorrowOrOwn)
{
    static const struct
    {
        const char *text;
        int deep;
        int length;
        const char *expected; // null for a null string
        bool owns;
    } theCases[] = {
        {"abcdef",   0, -1, "abcdef",   false},
        {"abcdef",   1, -1, "abcdef",   true },
        {"abcdef",   0, 3,  "abc",      true },
        {"abc",      1, 5,  "abc",      true },
        {"abcdef",   0, 0,  "",         true },
        {"",         0, -1, "",         false},
        {"\xE4\xFF", 1, -1, "\xE4\xFF", true },
        {nullptr,    0, 5,  "",         true },
        {nullptr,    0, -1, nullptr,    false},
        {nullptr,    1, -1, nullptr,    false},
    };
    for (const auto &row : theCases)
    {
        SCOPED_TRACE(
            testing::Message() << (row.text ? row.text : "null") << ", "
                               << row.deep << ", " << row.length);
        UT_String string(row.text, row.deep, row.length);
        EXPECT_STREQ(row.expected, string);
        EXPECT_EQ(
            row.expected ? strlen(row.expected) : 0, size_t(string.length()));
        EXPECT_EQ(row.owns, utOwns(string));
        // Never null once hardened; all of a block of a given length is there.
        EXPECT_STREQ(row.expected ? row.expected : "", string);
        for (int i = string.length(); i <= row.length; ++i)
            EXPECT_EQ('\0', string[i]);
    }
}

TEST(UT_String, CopiesAndAssignmentsBorrow)
{
    const char *const text = "text";
    UT_String owner("abc", 1);
    UT_String copy(owner);
    EXPECT_EQ(owner.buffer(), copy.buffer());
    EXPECT_FALSE(utOwns(copy));

    copy = text; // frees what it owned
    EXPECT_EQ(text, copy.buffer());
    copy = owner;
    EXPECT_EQ(owner.buffer(), copy.buffer());
    EXPECT_FALSE(utOwns(copy));
    copy = nullptr;
    EXPECT_TRUE(copy.isNull());
    EXPECT_TRUE(UT_String(copy).isNull());
    EXPECT_STREQ("abc", owner);
}

TEST(UT_String, AlwaysDeepStringsCopyWhateverIsAssigned)
{
    const char *const text = "text";
    UT_String null(UT_ALWAYS_DEEP);
    EXPECT_TRUE(null.isNull());
    UT_String deep(null); // takes the habit over
    EXPECT_TRUE(deep.isNull());
    for (int i = 0; i < 2; ++i)
    {
        deep = text;
        EXPECT_NE(text, deep.buffer());
        EXPECT_STREQ("text", deep);
        deep = UT_String("temporary", 1);
        EXPECT_STREQ("temporary", deep);
        EXPECT_TRUE(utOwns(deep));
        deep = null;
        EXPECT_TRUE(deep.isNull());
        deep.clear();
    }
}

TEST(UT_String, TextsMayComeFromTheStringThatTheyReplace)
{
    for (const bool isDeep : {false, true})
    {
        UT_String string = isDeep ? UT_String(UT_ALWAYS_DEEP, "tail of text")
                                  : UT_String("tail of text", 1);
        const char *const before = string.buffer();
        string = static_cast<const UT_String &>(string);
        string = string.buffer();
        string = UT_String(string.buffer());
        EXPECT_EQ(before, string.buffer());
        EXPECT_TRUE(utOwns(string));
        string.harden(string.buffer() + 5);
        EXPECT_STREQ("of text", string);
        string.harden(string.buffer() + 1, 5);
        EXPECT_STREQ("f tex", string);
    }
    UT_String deep(UT_ALWAYS_DEEP, "tail of text");
    deep = deep.buffer() + 5;
    EXPECT_STREQ("of text", deep);
    deep = UT_String(deep.buffer() + 3);
    EXPECT_STREQ("text", deep);
}

TEST(UT_String, HardenCopiesOnlyWhatItDoesNotOwn)
{
    char text[] = "abc";
    UT_String string(text);
    string.harden(text); // the same, but borrowed
    EXPECT_NE(text, string.buffer());

    const char *const before = string.buffer();
    string.harden();
    string.harden(string.buffer());
    string.harden(text);
    EXPECT_EQ(before, string.buffer());
    text[2] = 'd';
    EXPECT_STREQ("abc", string);
    string.harden(text);
    EXPECT_STREQ("abd", string);

    // A given length is the size of the block, even for equal text, and what
    // it is taken from needs no NUL.
    string.harden("abd", 100);
    EXPECT_STREQ("abd", string);
    EXPECT_EQ('\0', string[100]);
    const std::unique_ptr<char[]> bytes(new char[3]{'x', 'y', 'z'});
    string.harden(bytes.get(), 3);
    EXPECT_STREQ("xyz", string);
    EXPECT_STREQ("xyz", UT_String(bytes.get(), 0, 3));
    string.harden("ab\0cd", 5);
    EXPECT_EQ(0, memcmp("ab\0\0\0", string.buffer(), 6));
}

TEST(UT_String, HardenLeavesNoNullString)
{
    UT_String borrowed;
    UT_String owned(nullptr, 1);
    UT_String deep(UT_ALWAYS_DEEP);
    UT_String freed("abc", 1);
    freed.freeData();
    for (UT_String *string : {&borrowed, &owned, &deep, &freed})
    {
        string->clear();
        EXPECT_TRUE(string->isNull());
        string->harden();
        EXPECT_STREQ("", *string);
        string->clear();
        string->harden(nullptr);
        EXPECT_STREQ("", *string);
        string->harden(nullptr, 4);
        EXPECT_STREQ("", *string);
        EXPECT_TRUE(utOwns(*string));
    }
}

TEST(UT_String, SwapExchangesTextsAndOwnership)
{
    const char *const text = "borrowed";
    UT_String a(text);
    UT_String b("owned", 1);
    const char *const owned = b.buffer();
    a.swap(b);
    a.swap(a);
    EXPECT_EQ(owned, a.buffer());
    EXPECT_EQ(text, b.buffer());
    EXPECT_TRUE(utOwns(a));
    EXPECT_FALSE(utOwns(b));
    UT_String null;
    swap(null, a);
    EXPECT_EQ(owned, null.buffer());
    EXPECT_TRUE(a.isNull());
}

TEST(UT_String, SwapHardensTheSideThatIsAlwaysDeep)
{
    const char *const text = "text";
    UT_String deep(UT_ALWAYS_DEEP, "deep");
    UT_String other(text);
    other.swap(deep);
    EXPECT_NE(text, deep.buffer());
    EXPECT_STREQ("text", deep);
    EXPECT_TRUE(utOwns(other));

    // The other one stays as it is, even if it borrows from the deep one.
    other = deep.buffer();
    deep.swap(other);
    EXPECT_NE(deep.buffer(), other.buffer());
    EXPECT_STREQ("text", deep);
    EXPECT_TRUE(utOwns(other));
    other = text;
    EXPECT_EQ(text, other.buffer());

    // Deliberate: no null comes in by an exchange.
    UT_String null;
    deep.swap(null);
    EXPECT_STREQ("", deep);
}

static UT_String
utNamed(const char *text, bool owning, bool alwaysDeep)
{
    if (alwaysDeep)
    {
        UT_String deep(UT_ALWAYS_DEEP, text);
        return deep;
    }
    UT_String plain(text, owning);
    return plain;
}

TEST(UT_String, ReturnedStringsKeepTheirTextAndHabits)
{
    const char *const text = "text";
    UT_String owned = utNamed(text, true, false);
    EXPECT_STREQ("text", owned);
    EXPECT_TRUE(utOwns(owned));
    owned = text;
    EXPECT_EQ(text, owned.buffer());
    EXPECT_EQ(text, utNamed(text, false, false).buffer());
    UT_String deep = utNamed(text, false, true);
    EXPECT_STREQ("text", deep);
    deep = text;
    EXPECT_NE(text, deep.buffer());

    // Containers move what they hold.
    std::vector<UT_String> strings;
    for (const char *word : {"a", "b", "c", "d", "e"})
        strings.push_back(UT_String(word, 1));
    EXPECT_STREQ("a", strings.front());
    EXPECT_STREQ("e", strings.back());
    const UT_String moved(std::move(strings.back()));
    EXPECT_STREQ("e", moved);
    EXPECT_TRUE(strings.back().isNull());
}

TEST(UT_String, TheEmptyStringIsOneAndOwned)
{
    UT_String &empty = UT_String::getEmptyString();
    EXPECT_STREQ("", empty);
    EXPECT_TRUE(utOwns(empty));
    EXPECT_EQ(&empty, &UT_String::getEmptyString());
}

TEST(UT_String, ComparisonsPutNullFirstAndBytesUnsigned)
{
    // In ascending order, all different.
    static const char *const theTexts[] = {
        nullptr, "", "\x01", "A", "a", "aa", "b", "\x7F", "\x80", "\xFF"};
    for (const char *const &a : theTexts)
        for (const char *const &b : theTexts)
        {
            SCOPED_TRACE(
                testing::Message()
                << &a - theTexts << " against " << &b - theTexts);
            const UT_String s(a, 1);
            const UT_String t(b, 1);
            EXPECT_EQ(&a == &b, s == t && s == b && a == t);
            EXPECT_EQ(&a != &b, s != t && s != b && a != t);
            EXPECT_EQ(&a < &b, s < t && s < b && a < t);
            EXPECT_EQ(&a > &b, s > t && s > b && a > t);
            EXPECT_EQ(&a <= &b, s <= t && s <= b && a <= t);
            EXPECT_EQ(&a >= &b, s >= t && s >= b && a >= t);
        }
}
