#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

static unsigned
utMinorCount(int major, void *)
{
    return unsigned("\2\0\3\1"[major % 4]);
}

static int
utEmit(int major, int minor, void *items)
{
    static_cast<std::string *>(items)->append(
        std::to_string(major) + '.' + std::to_string(minor) + ' ');
    return 1;
}

// All items there are, sorted in the order of the range; those that lie between
// its ends and are taken, or the others. -9 to 9 is a star, -1 no minors.
static void
utCheck(std::pair<int, int> majors, std::pair<int, int> minors, int variant)
{
    const int take = variant % 3 + 1;
    const int cycle = variant / 3 % 3 + 1;
    const int negated = variant / 9 % 2;
    const int maximum = variant / 18 * 2 - 1; // -1, 1, 3, 5
    const bool isStar = majors.first < 0;
    const bool isFlat = minors.first == -1;
    const int end = maximum < 0 ? 9 : maximum;
    const int all = maximum < 0 && (isStar || negated) ? 1 : end;
    const int first = std::min(majors.first, end - 1);
    const int last = std::min(majors.second, end - 1);
    const int step = first <= last ? 1 : -1;
    const bool isOne = isStar || first == last;
    const int minorStep = isOne ? minors.first <= minors.second ? 1 : -1 : step;

    std::vector<std::pair<int, int>> items;
    for (int major = 0; major < all; ++major)
        for (int i = isFlat ? 1 : int(utMinorCount(major, nullptr)); i-- > 0;)
            items.emplace_back(step * major, minorStep * i);
    std::sort(items.begin(), items.end());
    if (minors.first < 0)
        minors = {-9 * minorStep, 9 * minorStep};
    const std::pair from(step * first, minorStep * minors.first);
    const std::pair to(step * last, minorStep * minors.second);
    std::string expected;
    int counter = 0;
    for (const auto &item : items)
    {
        const int i = item.second;
        const bool isInside = isStar ? from.second <= i && i <= to.second
                                     : from <= item && item <= to;
        if ((isInside && counter++ % cycle < take) != negated)
            utEmit(step * item.first, isFlat ? -1 : minorStep * i, &expected);
    }
    if (std::min(majors.first, majors.second) >= end)
        expected.clear();

    std::string text(negated ? "!" : "");
    for (const auto &[major, minor, behind] : {
             std::tuple(majors.first, minors.first, "-"),
             {majors.second, minors.second, ":"}
    })
    {
        text += abs(major) == 9 ? "*" : std::to_string(major);
        if (!isFlat)
            text += abs(minor) == 9 ? ".*" : "." + std::to_string(minor);
        text += behind;
    }
    text += std::to_string(take) + ',' + std::to_string(cycle);
    std::string actual;
    EXPECT_EQ(
        1, UT_String(text.c_str())
               .traversePattern(maximum, &actual, utEmit, utMinorCount, 0));
    EXPECT_EQ(expected, actual) << text << " of " << maximum;
}

TEST(UT_StringRange, SelectsAsAModelThatListsEverything)
{
    std::vector<std::pair<int, int>> pairs(2, {-1, -1});
    pairs[1] = {-9, 9};
    for (int i = 0; i < 25; ++i)
        pairs.emplace_back(i / 5, i % 5);
    for (size_t i = 1; i < pairs.size(); ++i)
        for (const auto &minors : pairs)
            for (int variant = 0; variant < 72; ++variant)
                utCheck(pairs[i], minors, variant);
}

TEST(UT_StringRange, WalksEndWhereTheyAreToldTo)
{
    const auto stop = [](int, int, void *) { return 0; };
    for (const UT_String text : {"0", "!1", "9.1", ""})
        EXPECT_EQ(0, text.traversePattern(2, nullptr, stop, nullptr, 0));
    // As far as the numbers go, and no step that selects nothing.
    const UT_String text("99999999999-1:2147483645");
    std::string items;
    EXPECT_EQ(0, text.traversePattern(0, &items, utEmit, nullptr, 0));
    EXPECT_EQ(0, text.traversePattern(-1, &items, utEmit, nullptr, -2));
    EXPECT_EQ(1, text.traversePattern(-1, &items, utEmit, nullptr, 1));
    EXPECT_EQ("2147483647.-1 2.-1 ", items);
}

TEST(UT_StringRange, AWordMayHaveAnyNumberOfGroups)
{
    std::string word;
    for (int i = 0; i < 50000; ++i)
        word += "[1-2]";
    char *name;
    ASSERT_EQ(1, UT_String(word.c_str()).expandArrays(&name, 1));
    EXPECT_EQ(std::string(50000, '1'), name);
    free(name);
}
