#include "UT/UT_RefArray.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <vector>

// Numbers its objects in the order of construction. It refuses to be copied, as
// the array promises.
class ut_Counted
{
public:
    ut_Counted() : myNumber(++theMade) { theAlive.insert(myNumber); }
    ~ut_Counted() { EXPECT_EQ(1u, theAlive.erase(myNumber)) << myNumber; }
    ut_Counted(const ut_Counted &) = delete;
    ut_Counted &operator=(const ut_Counted &) = delete;

    static inline int theMade = 0;
    static inline std::set<int> theAlive;

    int myNumber;
};

using Counted = UT_RefArray<ut_Counted>;
using Numbers = std::vector<int>;

static Numbers
utNumbers(const Counted &array)
{
    Numbers numbers;
    for (unsigned i = 0; i < array.entries(); ++i)
        numbers.push_back(array(i).myNumber);
    return numbers;
}

TEST(UT_RefArray, InsertGrowsFromTheEntriesOrTheIndex)
{
    UT_RefArray<int> array;
    EXPECT_EQ(10u, array.insert(10));
    EXPECT_EQ(14u, array.capacity());
    EXPECT_EQ(13u, array.insert(13));
    EXPECT_EQ(3u, array.insert(3));
    EXPECT_EQ(18u, array.capacity());
    EXPECT_EQ(15u, array.entries());
}

TEST(UT_RefArray, EachElementIsMadeAndDestroyedOnce)
{
    std::mt19937 random(606);
    Counted array;
    Numbers model;
    int made = 0;
    for (int round = 0; round < 5000; ++round)
    {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const size_t index = random() % (model.size() + 1);
        const unsigned call = unsigned(random() % 16);
        if (call == 0) // past the end
        {
            array.insert(unsigned(model.size() + index));
            for (size_t i = 0; i <= index; ++i)
                model.push_back(++made);
        }
        else if (call < 3 && index < model.size())
        {
            array.removeAt(unsigned(index));
            model.erase(model.begin() + int(index));
        }
        else if (call == 3) // more slots
            array.resize(unsigned(model.size() + index));
        else if (call == 4) // fewer elements
        {
            array.resize(unsigned(index));
            model.resize(index);
        }
        else
        {
            array.insert(unsigned(index));
            model.insert(model.begin() + int(index), ++made);
        }
        ASSERT_EQ(model, utNumbers(array));
        ASSERT_EQ(model.size(), ut_Counted::theAlive.size());
    }
}
