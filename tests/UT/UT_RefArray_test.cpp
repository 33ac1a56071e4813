#include "UT/UT_RefArray.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

// Counts its objects; numbers them in the order of construction. It refuses to
// be copied, as the array promises.
class ut_Counted
{
public:
    ut_Counted() : myNumber(++theMade) { ++theLive; }
    ~ut_Counted()
    {
        --theLive;
        theDestroyed.push_back(myNumber);
    }
    ut_Counted(const ut_Counted &) = delete;
    ut_Counted &operator=(const ut_Counted &) = delete;

    static int theMade;
    static int theLive;
    static std::vector<int> theDestroyed;

    int myNumber;
};

int ut_Counted::theMade = 0;
int ut_Counted::theLive = 0;
std::vector<int> ut_Counted::theDestroyed;

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
    static const struct
    {
        unsigned entries, index, newEntries, newCapacity;
    } theRows[] = {
        {0,    0,    1,    4   },
        {4,    0,    5,    8   },
        {4,    4,    5,    8   },
        {0,    10,   11,   14  },
        {127,  3,    128,  131 },
        {127,  127,  128,  131 },
        {128,  128,  129,  256 },
        {1024, 1023, 1025, 1152},
    };
    for (const auto &row : theRows)
    {
        Counted array;
        if (row.entries)
            array.insert(row.entries - 1);
        array.resize(row.entries);
        EXPECT_EQ(row.index, array.insert(row.index));
        EXPECT_EQ(row.newEntries, array.entries());
        EXPECT_EQ(row.newCapacity, array.capacity());
        EXPECT_EQ(int(row.newEntries), ut_Counted::theLive);
    }
    EXPECT_EQ(0, ut_Counted::theLive);
}

TEST(UT_RefArray, EachElementIsMadeAndDestroyedOnceOverRandomScripts)
{
    const unsigned seed = 606;
    std::mt19937 random(seed);
    Counted array;
    Numbers model, destroyed;
    int made = 0;
    const auto destroy = [&](size_t first, size_t last)
    {
        destroyed.insert(
            destroyed.end(), model.data() + first, model.data() + last);
        model.erase(model.begin() + int(first), model.begin() + int(last));
    };
    for (int round = 0; round < 5000; ++round)
    {
        const size_t index = random() % (model.size() + 1);
        switch (random() % 8)
        {
        case 0:
            array.insert(unsigned(model.size() + index));
            for (size_t i = 0; i <= index; ++i)
                model.push_back(++made);
            break;
        case 1:
        case 2:
        case 3:
            array.insert(unsigned(index));
            model.insert(model.begin() + int(index), ++made);
            break;
        case 4:
        case 5:
            if (index < model.size())
            {
                array.removeAt(unsigned(index));
                destroy(index, index + 1);
            }
            break;
        case 6:
            array.resize(unsigned(model.size() + index));
            EXPECT_EQ(model.size() + index, array.capacity());
            break;
        default:
            if (model.size() > 200 || random() % 20 == 0)
            {
                array.resize(unsigned(index));
                destroy(index, model.size());
            }
        }
        ASSERT_EQ(model, utNumbers(array)) << "seed " << seed << " " << round;
        ASSERT_EQ(destroyed, ut_Counted::theDestroyed);
        ASSERT_EQ(int(model.size()), ut_Counted::theLive);
    }
    array.resize(0);
    EXPECT_EQ(nullptr, array.data());
    EXPECT_EQ(0u, array.capacity());
    EXPECT_EQ(0, ut_Counted::theLive);
}
