#include "UT/UT_StringArray.h"

#include <gtest/gtest.h>

// The texts, each followed by a blank.
static std::string
utJoined(const UT_StringArray &array)
{
    std::string joined;
    for (int i = 0; i < array.entries(); ++i)
        joined += std::string(array(i).isNull() ? "null" : array(i)) + ' ';
    return joined;
}

TEST(UT_StringArray, SortsAndLooksUpInFourOrders)
{
    static const struct
    {
        bool forward;
        bool numbered;
        const char *sorted;
    } theCases[] = {
        {true,  false, "null A a a10 a2 \xE9 "},
        {true,  true,  "null \xE9 A a a2 a10 "},
        {false, false, "\xE9 a2 a10 a A null "},
        {false, true,  "a10 a2 a A \xE9 null "},
    };
    static const char *const theTexts[] = {"a",    "a10",   "a2",   "A",
                                           "\xE9", nullptr, "other"};
    for (const auto &row : theCases)
    {
        UT_StringArray appended;
        UT_StringArray inserted;
        for (int i = 0; i < 6; ++i)
        {
            appended.append(theTexts[i]);
            const int at =
                inserted.sortedInsert(theTexts[i], row.forward, row.numbered);
            EXPECT_TRUE(inserted(at) == theTexts[i]);
        }
        appended.sort(row.forward, row.numbered);
        EXPECT_EQ(row.sorted, utJoined(appended));
        EXPECT_EQ(row.sorted, utJoined(inserted));
        for (const char *text : theTexts)
            EXPECT_EQ(
                appended.find(text),
                appended.sortedFind(text, row.forward, row.numbered));
    }
}

TEST(UT_StringArray, OwnsCopiesOfItsTexts)
{
    const char *list[] = {"abc", "abd", "ab", nullptr};
    UT_StringArray array(list);
    EXPECT_EQ(2, array.getLongestPrefixLength());
    UT_StringArray copy(array);
    EXPECT_EQ(3u, copy.capacity());
    array(0) = std::string("text").c_str();
    EXPECT_STREQ("text", array(0));
    EXPECT_TRUE(array != copy);
    array = copy;
    array = *&array;
    EXPECT_TRUE(array == copy);
    EXPECT_EQ(0, array.merge(array));
    EXPECT_EQ(3, array.merge(copy));
    copy.append("x");
    EXPECT_EQ("abc abd ab abc abd ab ", utJoined(array));
    std::vector<std::string> texts = {"1", "2"};
    EXPECT_EQ(6, array.toStdVectorOfStrings(texts));
    EXPECT_EQ("2", texts[1]);
    array.fromStdVectorOfStrings(texts);
    EXPECT_EQ("1 2 abc abd ab abc abd ab ", utJoined(array));
    EXPECT_EQ(0, array.getLongestPrefixLength());
    array = UT_StringArray(nullptr);
    EXPECT_EQ(0u, array.capacity());
    EXPECT_EQ(0, array.getLongestPrefixLength());
}

// Under the address checker this shows double deletions too.
TEST(UT_StringArray, GrowsAndShrinksAsAskedFor)
{
    UT_StringArray array;
    EXPECT_EQ(0, array.removeLast());
    array.append("a");
    array.resize(3);
    EXPECT_EQ(3u, array.capacity());
    EXPECT_EQ("a   ", utJoined(array));
    EXPECT_EQ(-1, array.remove(3));
    EXPECT_EQ(-1, array.remove(-1));
    EXPECT_EQ(0, array.remove(0));
    EXPECT_EQ(1, array.removeLast());
    array.resize(1);
    EXPECT_EQ(3u, array.capacity());
    EXPECT_EQ(-1, array.insert("b", -1));
    EXPECT_EQ(0, array.insert("b", 0));
    EXPECT_EQ("b  ", utJoined(array));
    array.clear();
    EXPECT_EQ(2, array.insert("c", 2));
    EXPECT_EQ(2, array.find("c"));
    EXPECT_EQ(-1, array.find(nullptr));
    EXPECT_FALSE(array == array); // holds null pointers
    array.resize(2);
    array.resize(0);
    EXPECT_EQ(0u, array.capacity());
}
