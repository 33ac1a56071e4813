#include "UT/UT_RefArray.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

// Counts its objects; numbers them in the order of construction. It refuses to
// be copied, as the array promises.
class ut_Counted
{
public:
    ut_Counted() : myNumber(++theMade) {}
    ~ut_Counted() { theDestroyed.push_back(myNumber); }
    ut_Counted(const ut_Counted &) = delete;
    ut_Counted &operator=(const ut_Counted &) = delete;

    static inline int theMade = 0;
    static inline std::vector<int> theDestroyed;

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

TEST(UT_RefArray, EachElementIsMadeAndDestroyedOnceOverRandomScripts)
{
    std::mt19937 random(606);
    Counted array;
    Numbers model; // of the elements
    Numbers destroyed;
    int made = 0;
    const auto destroy = [&](size_t first, size_t last)
    {
        destroyed.insert(
            destroyed.end(), model.data() + first, model.data() + last);
        model.erase(model.begin() + int(first), model.begin() + int(last));
    };
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
            destroy(index, index + 1);
        }
        else if (call == 3) // more slots
            array.resize(unsigned(model.size() + index));
        else if (call == 4) // fewer elements
        {
            array.resize(unsigned(index));
            destroy(index, model.size());
        }
        else
        {
            array.insert(unsigned(index));
            model.insert(model.begin() + int(index), ++made);
        }
        ASSERT_EQ(model, utNumbers(array));
        ASSERT_EQ(destroyed, ut_Counted::theDestroyed);
        ASSERT_EQ(made, ut_Counted::theMade);
    }
    array.resize(0);
    EXPECT_EQ(size_t(made), ut_Counted::theDestroyed.size());
}
