#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

static unsigned
utMinorCount(int major, void *)
{
    static const unsigned theCounts[] = {2, 0, 3, 1};
    return theCounts[major % 4];
}

static int
utEmit(int major, int minor, void *items)
{
    static_cast<std::string *>(items)->append(
        std::to_string(major) + '.' + std::to_string(minor) + ' ');
    return 1;
}

namespace
{

// One level of both ends of a range.
struct ut_Level
{
    enum Kind
    {
        ABSENT,
        STAR,
        NUMBERS
    };

    Kind kind;
    int first; // of numbers
    int last;

    std::string text(int index) const
    {
        return kind == STAR ? "*" : std::to_string(index);
    }
};

struct ut_Selection
{
    int take;
    int cycle;
    bool negated;
};

struct ut_Item
{
    int major;
    int minor;
};

// What a range selects, by a look at every item that there is.
struct ut_RangeModel
{
    ut_Level majors;
    ut_Level minors;
    ut_Selection selection;
    int maximum; // -1 for none; the numbers above stay below 9

    std::string text() const
    {
        std::string first = majors.text(majors.first);
        std::string last = majors.text(majors.last);
        if (minors.kind != ut_Level::ABSENT)
        {
            first += "." + minors.text(minors.first);
            last += "." + minors.text(minors.last);
        }
        return (selection.negated ? "!" : "") + first + "-" + last + ":" +
               std::to_string(selection.take) + "," +
               std::to_string(selection.cycle);
    }

    int end() const { return maximum < 0 ? 9 : maximum; }
    int firstMajor() const { return std::min(majors.first, end() - 1); }
    int lastMajor() const { return std::min(majors.last, end() - 1); }

    bool majorsAscend() const
    {
        return majors.kind == ut_Level::STAR || firstMajor() <= lastMajor();
    }
    bool minorsAscend() const
    {
        if (majors.kind == ut_Level::STAR || firstMajor() == lastMajor())
            return minors.kind != ut_Level::NUMBERS ||
                   minors.first <= minors.last;
        return majorsAscend();
    }

    // Whether `a` comes before `b` in the order of the range, as far as it has
    // numbers.
    bool isBefore(const ut_Item &a, const ut_Item &b) const
    {
        if (majors.kind == ut_Level::NUMBERS && a.major != b.major)
            return majorsAscend() ? a.major < b.major : a.major > b.major;
        if (minors.kind == ut_Level::NUMBERS)
            return minorsAscend() ? a.minor < b.minor : a.minor > b.minor;
        return false;
    }
    bool isInside(const ut_Item &item) const
    {
        return !isBefore(item, {firstMajor(), minors.first}) &&
               !isBefore({lastMajor(), minors.last}, item);
    }

    // Every item there is, in the order of the range.
    std::vector<ut_Item> items() const
    {
        const bool isZeroAlone =
            maximum < 0 && (majors.kind == ut_Level::STAR || selection.negated);
        std::vector<int> allMajors;
        for (int major = 0; major < (isZeroAlone ? 1 : end()); ++major)
            allMajors.push_back(major);
        if (!majorsAscend())
            std::reverse(allMajors.begin(), allMajors.end());

        std::vector<ut_Item> result;
        for (const int major : allMajors)
        {
            std::vector<ut_Item> ofMajor;
            if (minors.kind == ut_Level::ABSENT)
                ofMajor.push_back({major, -1});
            else
                for (unsigned i = 0; i < utMinorCount(major, nullptr); ++i)
                    ofMajor.push_back({major, int(i)});
            if (!minorsAscend())
                std::reverse(ofMajor.begin(), ofMajor.end());
            result.insert(result.end(), ofMajor.begin(), ofMajor.end());
        }
        return result;
    }

    std::string selected() const
    {
        std::string result;
        if (majors.kind == ut_Level::NUMBERS &&
            std::min(majors.first, majors.last) >= end())
            return result;
        int counter = 0; // of the items inside
        for (const ut_Item &item : items())
        {
            bool isSelected = false;
            if (isInside(item))
            {
                isSelected = counter % selection.cycle < selection.take;
                ++counter;
            }
            if (isSelected != selection.negated)
                utEmit(item.major, item.minor, &result);
        }
        return result;
    }
};

} // namespace

static void
utCheck(const ut_RangeModel &model)
{
    const std::string text = model.text();
    std::string actual;
    EXPECT_EQ(
        1,
        UT_String(text.c_str())
            .traversePattern(model.maximum, &actual, utEmit, utMinorCount, 0))
        << text << " of " << model.maximum;
    EXPECT_EQ(model.selected(), actual) << text << " of " << model.maximum;
}

static void
utCheckSelections(const ut_Level &majors, const ut_Level &minors)
{
    for (const int maximum : {-1, 1, 3, 5})
        for (const bool negated : {false, true})
            for (int cycle = 1; cycle <= 3; ++cycle)
                for (int take = 1; take <= 3; ++take)
                    utCheck({
                        majors, minors, {take, cycle, negated},
                          maximum
                    });
}

TEST(UT_StringRange, SelectsAsAModelThatListsEverything)
{
    std::vector<ut_Level> levels;
    levels.push_back({ut_Level::STAR, 0, 0});
    for (int first = 0; first < 5; ++first)
        for (int last = 0; last < 5; ++last)
            levels.push_back({ut_Level::NUMBERS, first, last});
    for (const ut_Level &majors : levels)
    {
        utCheckSelections(majors, {ut_Level::ABSENT, -1, -1});
        for (const ut_Level &minors : levels)
            utCheckSelections(majors, minors);
    }
}

TEST(UT_StringRange, AWalkEndsWhereItsFunctionSays)
{
    const auto stop = [](int, int, void *) { return 0; };
    for (const char *const text : {"0", "!1", "9.1", ""})
        EXPECT_EQ(
            0, UT_String(text).traversePattern(2, nullptr, stop, nullptr, 0))
            << text;
}

// No step for the majors in between.
TEST(UT_StringRange, ARangeGoesAsFarAsTheNumbers)
{
    const UT_String text("99999999999-1:2147483645");
    std::string items;
    EXPECT_EQ(0, text.traversePattern(0, &items, utEmit, nullptr, 0));
    EXPECT_EQ(0, text.traversePattern(-1, &items, utEmit, nullptr, -2));
    EXPECT_EQ("", items);
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
