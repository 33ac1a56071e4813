#include "UT/UT_StringArray.h"

#include <gtest/gtest.h>

static const char *const theList[] = {"abc", "abd", "ab", nullptr};

TEST(UT_StringArray, OwnsCopiesOfItsTexts)
{
    UT_StringArray array(theList);
    const UT_StringArray copy(array);
    array(0) = std::string("text").c_str();
    EXPECT_STREQ("text", array(0));
    EXPECT_STREQ("abc", copy(0));
    EXPECT_TRUE(array != copy);
    array = copy;
    EXPECT_TRUE(array == copy);
    array = UT_StringArray(nullptr);
    EXPECT_EQ(0u, array.capacity());
}

TEST(UT_StringArray, FindsAndInsertsInADescendingOrder)
{
    UT_StringArray array(theList);
    EXPECT_EQ(2, array.getLongestPrefixLength());
    array.sort(/*forward=*/false, /*numbered=*/true);
    EXPECT_EQ(2, array.sortedFind("ab", /*forward=*/false, true));
    EXPECT_EQ(3, array.sortedInsert(nullptr, /*forward=*/false, true));
    std::vector<std::string> texts = {"old"};
    EXPECT_EQ(4, array.toStdVectorOfStrings(texts));
    EXPECT_EQ(std::vector<std::string>({"old", "abd", "abc", "ab", ""}), texts);
}

TEST(UT_StringArray, TakesTheElementsOfAnother)
{
    UT_StringArray array(theList);
    UT_StringArray other(theList);
    EXPECT_EQ(0, array.merge(array));
    EXPECT_EQ(3, array.merge(other));
    EXPECT_STREQ("ab", array(5));
    EXPECT_EQ(0, other.insert("x", 0)); // it is empty, and of use
}

// The address checker sees an element that is deleted twice.
TEST(UT_StringArray, GrowsAndShrinksAsAskedFor)
{
    UT_StringArray array;
    EXPECT_EQ(0, array.removeLast());
    EXPECT_EQ(2, array.insert("c", 2)); // past the end, after null pointers
    EXPECT_EQ(-1, array.insert("d", -1));
    EXPECT_EQ(-1, array.find(nullptr));
    array.resize(5);
    EXPECT_STREQ("", array.last());
    EXPECT_EQ(-1, array.remove(5));
    EXPECT_EQ(4, array.removeLast());
    array.resize(4); // has as many already
    EXPECT_EQ(5u, array.capacity());
    array.resize(1);
    EXPECT_EQ(1u, array.capacity());
}
