#include "UT/UT_SymbolTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

using ut_Names = std::vector<std::string>;

static int
utCollect(UT_Thing &, const char *name, void *data)
{
    static_cast<ut_Names *>(data)->push_back(name);
    return 1;
}

static void
utFill(UT_SymbolTable &table, int count)
{
    for (int i = 0; i < count; ++i)
        table.addSymbol(std::to_string(i).c_str(), i);
}

TEST(UT_SymbolTable, HashTakesBytesAsSignedDigits)
{
    EXPECT_EQ(3687u, UT_SymbolTable::hash("ab"));
    EXPECT_EQ(4294967295u, UT_SymbolTable::hash("\xff"));
    EXPECT_EQ(2386727841u, UT_SymbolTable::hash("a\x80zzzzzz"));
}

TEST(UT_SymbolTable, SizesAreTheNextPrimesAFifthApart)
{
    static const int theEdges[][3] = {
        {INT_MIN,    5,          5        }, // size, bump, decrease
        {5,          11,         5        },
        {11,         17,         5        },
        {12,         17,         11       },
        {1186785703, 1186785703, 988988087},
        {INT_MAX,    INT_MAX,    INT_MAX  },
    };
    for (const auto &row : theEdges)
    {
        EXPECT_EQ(row[1], UTbumpAllocToPrime(row[0])) << row[0];
        EXPECT_EQ(row[2], UTdecreaseAllocToPrime(row[0])) << row[0];
    }
    // In steps of a fifth or more, but for the last two, to the next prime.
    for (int size = 11; size < 824156741;)
    {
        const int next = UTbumpAllocToPrime(size);
        EXPECT_EQ(size, UTdecreaseAllocToPrime(next));
        size = int((int64(size) * 6 + 4) / 5);
        for (int i = 2; i * i <= size; ++i)
            if (size % i == 0)
                i = (++size, 1);
        ASSERT_EQ(size, next);
    }
}

// A std::map, and the size by the rule alone, under the same random script.
TEST(UT_SymbolTable, AgreesWithAMapAndKeepsItsOrder)
{
    for (const float max : {0.75f, 0.5f, 1e9f})
    {
        SCOPED_TRACE(max);
        const float min = max / 8;
        UT_SymbolTable table;
        table.setMaxLoadFactor(max);
        table.setMinLoadFactor(min);
        std::map<std::string, int> model;
        int size = 0;
        std::mt19937 random(3);
        for (int step = 0; step < 30000; ++step)
        {
            std::string name(random() % 4, ' ');
            for (char &c : name)
                c = "ABUz\x80\xff%1"[random() % 8]; // "Az", "BU": one hash
            const char *text = name.c_str();
            const bool isNew = !model.count(name);
            // Mostly insertions and mostly deletions, by turns.
            const int action = int(random() % (step / 3000 % 2 ? 16 : 6));
            const int value = int(random());
            if (action < 5)
            {
                if (float(model.size()) >= float(size) * max)
                    size = UTbumpAllocToPrime(size);
                int &known = model[name];
                if (action < 3)
                    known = value;
                if (action == 0)
                    ASSERT_EQ(isNew, table.addSymbol(text, value));
                else if (action < 3)
                    table[text].integer = value;
                else
                    ASSERT_EQ(name, table.getStringReference(text));
            }
            else
            {
                ASSERT_EQ(!isNew, table.deleteSymbol(text));
                model.erase(name);
                if (!isNew && float(size) * min > float(model.size()))
                    size = UTdecreaseAllocToPrime(size);
            }
            UT_Thing found(-7);
            ASSERT_EQ(model.count(name), table.findSymbol(text, &found));
            ASSERT_EQ(model.count(name) ? model[name] : -7, found.integer);
            ASSERT_EQ(int(model.size()), table.entries()) << step;
            ASSERT_EQ(size, table.tableSize()) << step;
            if (step % 500 > 0)
                continue;
            ut_Names names, expected;
            for (const auto &entry : model)
                expected.push_back(entry.first);
            const auto bucket = [=](const std::string &n)
            { return UT_SymbolTable::hash(n.c_str()) % unsigned(size); };
            std::stable_sort(
                expected.begin(), expected.end(),
                [=](auto &a, auto &b) { return bucket(a) < bucket(b); });
            EXPECT_EQ(1, table.traverseConst(utCollect, &names));
            ASSERT_EQ(expected, names);
        }
        table.clear();
        EXPECT_EQ(0, table.tableSize() + table.entries());
        EXPECT_EQ(0, table.findSymbol("a", nullptr) + table.deleteSymbol("a"));
    }
}

TEST(UT_SymbolTable, ReferencesOutliveRehashing)
{
    UT_SymbolTable table;
    const char *name = table.getStringReference("first");
    UT_Thing &value = table[name];
    EXPECT_EQ(nullptr, value.pointer);
    utFill(table, 5259);
    table.mergeTable(table); // the next attempt to insert would move it
    EXPECT_EQ(7013, table.tableSize());
    EXPECT_EQ(name, table.getStringReference("first"));
    UT_SymbolTable other;
    other.addSymbol("first", &table);
    table.mergeTable(other); // the merged values win
    EXPECT_EQ(&table, value.pointer);
}

static int
utDeleteSelf(UT_Thing &, const char *name, void *data)
{
    auto *table = static_cast<UT_SymbolTable *>(data);
    const int size = table->tableSize();
    EXPECT_EQ(1, table->deleteSymbol(name)); // the table's own copy
    // An inner traversal that ends must not let go of the outer one's table.
    EXPECT_EQ(1, table->traverse([](auto &, auto, auto) { return 1; }, data));
    table->addSymbol("added", 0);
    table->deleteSymbol("added");
    EXPECT_EQ(size, table->tableSize());
    return 1;
}

TEST(UT_SymbolTable, TraversalMayDeleteWhatItVisits)
{
    UT_SymbolTable table;
    utFill(table, 1000);
    int left = 3;
    const auto untilNone = [](UT_Thing &, const char *, void *data)
    { return --*static_cast<int *>(data); };
    EXPECT_EQ(0, table.traverse(untilNone, &left));
    EXPECT_EQ(0, left);
    const int size = table.tableSize();
    EXPECT_EQ(1, table.traverse(utDeleteSelf, &table));
    EXPECT_EQ(0, table.entries());
    EXPECT_EQ(UTdecreaseAllocToPrime(size), table.tableSize());
}

// The state that keeps the size must end with the walk, or it never changes
// again.
TEST(UT_SymbolTable, AnExceptionEndsATraversal)
{
    UT_SymbolTable table;
    utFill(table, 10);
    const int size = table.tableSize();
    const auto fail = [](UT_Thing &, const char *, void *) -> int
    { throw std::runtime_error("no further"); };
    EXPECT_THROW(table.traverse(fail, nullptr), std::runtime_error);
    utFill(table, 100);
    EXPECT_LT(size, table.tableSize());
}

TEST(UT_SymbolTable, LoadFactorsKeepTheirDistance)
{
    static const struct
    {
        float min, max, resultMin, resultMax;
    } theCases[] = {
        {0.1f, 0,         0.1f,   0.75f    },
        {0.9f, 2,         0.375f, 2        }, // not below the 0.75 there
        {0,    HUGE_VALF, 0,      HUGE_VALF},
        {NAN,  NAN,       0.375f, 0.75f    },
    };
    for (const auto &row : theCases)
    {
        UT_SymbolTable table;
        table.setMinLoadFactor(row.min);
        table.setMaxLoadFactor(row.max);
        EXPECT_EQ(row.resultMin, table.minLoadFactor()) << row.min;
        EXPECT_EQ(row.resultMax, table.maxLoadFactor()) << row.max;
        table.addSymbol("a", 1); // there are buckets, however odd the factors
        EXPECT_EQ(5, table.tableSize());
    }
}

TEST(UT_SymbolTable, NewNamesAreUnused)
{
    static const struct
    {
        std::vector<const char *> stored;
        const char *name;
        const char *result;
    } theCases[] = {
        {{},                                       "",     "1"           },
        {{"box1", "box7"},                         "box3", "box8"        },
        {{"box12abc"},                             "box",  "box13"       },
        {{"boxer5", "xbox6", "box-7"},             "box",  "box1"        },
        {{"box007"},                               "box0", "box8"        },
        {{"\xe9\x39", "\xb2\x35"},                 "\xe9", "\xe9\x31\x30"},
        {{"x2147483647", "x4"},                    "x",    "x5"          },
        {{"x99999999999999999999", "x4294967299"}, "x",    "x1"          },
    };
    for (const auto &row : theCases)
    {
        UT_SymbolTable table;
        for (const char *name : row.stored)
            table.addSymbol(name, 0);
        char *name = table.newName(row.name);
        EXPECT_STREQ(row.result, name);
        free(name);
    }
}

TEST(UT_SymbolTable, PrintsNamesAndStatistics)
{
    testing::internal::CaptureStdout();
    UT_SymbolTable table;
    table.outputStats(stdout);
    // Buckets 97 % 5 = 2, 102 % 5 = 2 and 98 % 5 = 3.
    table.addSymbol("f", -1);
    table.addSymbol("a", 0x1234);
    table.addSymbol("b", 0);
    table.dumpTable(stdout);
    table.outputStats(stdout);
    fflush(stdout);
    EXPECT_EQ(
        "Table size: 0\n   Entries: 0\nCollisions: 0\n"
        "[  2]:  \"a\" = 0x00001234\n \"f\" = 0xFFFFFFFF\n"
        "[  3]:  \"b\" = 0x00000000\n"
        "Table size: 5\n   Entries: 3\n  Coverage: 0.4\nCollisions: 1\n"
        "   Lengths: [1-2] avg: 1.5\n Deviation: 1\n",
        testing::internal::GetCapturedStdout());
}

TEST(UT_SymList, SortsByUnsignedBytesAndMayRepeatNames)
{
    UT_SymList list, other;
    EXPECT_EQ(nullptr, list.removeFirstSym());
    for (const char *name : {"b", "\xe9", "", "a", "b"})
        list.insertEntry(name, uint8(*name));
    // A node from another list goes in front of the one of its name.
    other.insertEntry("b", 77);
    list.insertSym(*other.removeFirstSym());
    ut_Names names;
    EXPECT_EQ(1, list.traverse(utCollect, &names));
    EXPECT_EQ((ut_Names{"", "a", "b", "b", "\xe9"}), names);
    UT_Thing value;
    EXPECT_EQ(1, list.findEntry("b", &value));
    EXPECT_EQ(77, value.integer);
    EXPECT_EQ(2, list.deleteEntry(list.getStringReference("b", nullptr)));
    EXPECT_EQ(0, list.deleteEntry("b") + list.findEntry("b", nullptr));
    EXPECT_EQ(0, list.deleteEntry(nullptr) + list.findEntry(nullptr, nullptr));

    UT_SymList::UT_Sym *first = list.removeFirstSym();
    EXPECT_EQ(nullptr, first->next);
    delete first;
    EXPECT_EQ(2, list.entries());
}
