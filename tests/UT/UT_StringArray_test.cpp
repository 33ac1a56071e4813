#include "UT/UT_StringArray.h"

#include <gtest/gtest.h>

TEST(UT_StringArray, OwnsCopiesOfItsTexts)
{
    const char *list[] = {"abc", "abd", "ab", nullptr};
    UT_StringArray array(list), copy(array);
    EXPECT_EQ(2, array.getLongestPrefixLength());
    array.sort(/*forward=*/false, /*numbered=*/true);
    EXPECT_EQ(2, array.sortedFind("ab", /*forward=*/false, true));
    array(0) = std::string("text").c_str();
    EXPECT_STREQ("text", array(0));
    EXPECT_TRUE(array != copy);
    array = copy;
    EXPECT_TRUE(array == copy);
    EXPECT_EQ(0, array.merge(array));
    EXPECT_EQ(3, array.merge(copy));
    EXPECT_EQ(0, copy.insert("x", 0));
    EXPECT_EQ(6, array.sortedInsert(nullptr, /*forward=*/false, true));
    std::vector<std::string> texts = {"1"};
    EXPECT_EQ(7, array.toStdVectorOfStrings(texts));
    EXPECT_EQ("1abc", texts[0] + texts[1] + texts[7]);
    array = UT_StringArray(nullptr);
    EXPECT_EQ(0u, array.capacity());
}

// The address checker sees an element that is deleted twice.
TEST(UT_StringArray, GrowsAndShrinksAsAskedFor)
{
    UT_StringArray array;
    EXPECT_EQ(0, array.removeLast());
    array.append("a");
    array.resize(3);
    EXPECT_TRUE(array.capacity() == 3 && array.last() == "");
    EXPECT_TRUE(array.remove(3) == -1 && array.remove(-1) == -1);
    EXPECT_EQ(2, array.removeLast());
    array.resize(2);
    EXPECT_EQ(3u, array.capacity());
    array.clear();
    EXPECT_EQ(2, array.insert("c", 2)); // null pointers lie before it
    EXPECT_TRUE(array.find("c") == 2 && array.find(nullptr) == -1);
    EXPECT_FALSE(array == array);
    array.resize(1);
    EXPECT_EQ(1u, array.capacity());
}
