#include "UT/UT_SymbolTable.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
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

// What a function prints.
template <class Print>
static std::string
utPrinted(Print print)
{
    char *text = nullptr;
    size_t length = 0;
    FILE *stream = open_memstream(&text, &length);
    print(stream);
    fclose(stream);
    const std::string result(text, length);
    free(text);
    return result;
}

// Horner's rule with 64 bits, cut to 32 at the end of each step.
static unsigned
utHash(const std::string &name)
{
    int64 hash = 0;
    for (char c : name)
        hash = (hash * 37 + (uint8(c) < 128 ? uint8(c) : uint8(c) - 256)) &
               0xffffffff;
    return unsigned(hash);
}

static bool
utIsPrime(int number)
{
    for (int i = 2; i * i <= number; ++i)
        if (number % i == 0)
            return false;
    return number > 1;
}

TEST(UT_SymbolTable, HashTakesBytesAsSignedDigits)
{
    EXPECT_EQ(0u, UT_SymbolTable::hash(nullptr));
    EXPECT_EQ(3687u, UT_SymbolTable::hash("ab"));
    EXPECT_EQ(4294967295u, UT_SymbolTable::hash("\xff"));
}

TEST(UT_SymbolTable, SizesAreTheNextPrimesAFifthApart)
{
    static const int theEdges[][3] = {
        {INT_MIN,    5,          5         }, // size, bump, decrease
        {0,          5,          5         },
        {4,          5,          5         },
        {5,          11,         5         },
        {6,          11,         5         },
        {11,         17,         5         },
        {12,         17,         11        },
        {1186785702, 1186785703, 988988087 },
        {1186785703, 1186785703, 988988087 },
        {1186785704, 1186785704, 1186785704},
        {INT_MAX,    INT_MAX,    INT_MAX   },
    };
    for (const auto &row : theEdges)
    {
        EXPECT_EQ(row[1], UTbumpAllocToPrime(row[0])) << row[0];
        EXPECT_EQ(row[2], UTdecreaseAllocToPrime(row[0])) << row[0];
    }
    int steps = 3; // 5, 11 and the last one
    for (int size = 11; size < 988988087; ++steps)
    {
        const int next = UTbumpAllocToPrime(size);
        EXPECT_EQ(size, UTdecreaseAllocToPrime(next));
        int expected = int((int64(size) * 6 + 4) / 5);
        while (!utIsPrime(expected))
            ++expected;
        // The last two steps are a little less than a fifth.
        EXPECT_EQ(next > 900000000 ? 988988087 : expected, next);
        EXPECT_TRUE(utIsPrime(next));
        size = next;
    }
    EXPECT_EQ(99, steps);
}

// A std::map, and the size by the rule alone, under the same random script.
TEST(UT_SymbolTable, AgreesWithAMapAndKeepsItsOrder)
{
    static const struct
    {
        float max, min;
        size_t longest; // bytes in a name
    } theCases[] = {
        {0.75f, 0.1f,  3},
        {2,     0.5f,  2},
        {0.5f,  0.25f, 3},
        {1e9f,  0,     2}, // one step, and never another
    };
    for (const auto &row : theCases)
    {
        SCOPED_TRACE(row.max);
        UT_SymbolTable table;
        table.setMaxLoadFactor(row.max);
        table.setMinLoadFactor(row.min);
        std::map<std::string, int> model;
        int size = 0;
        std::mt19937 random(3);
        for (int step = 0; step < 30000; ++step)
        {
            std::string name(random() % (row.longest + 1), ' ');
            for (char &c : name)
                c = "ABUz\x80\xff%1"[random() % 8]; // "Az", "BU": one hash
            const char *text = name.c_str();
            const bool isNew = !model.count(name);
            // Mostly insertions and mostly deletions, by turns.
            const int action = int(random() % (step / 3000 % 2 ? 16 : 8));
            const int value = int(random());
            if (action < 5) // all the ways to insert
            {
                if (float(model.size()) >= float(size) * row.max)
                    size = UTbumpAllocToPrime(size);
                int &known = model[name];
                if (action < 3)
                    known = value;
                if (action == 0)
                    ASSERT_EQ(isNew, table.addSymbol(text, value));
                else if (action == 1)
                    ASSERT_EQ(
                        name, table.addSymbolAndGetReference(text, value));
                else if (action == 2)
                    table[text].integer = value;
                else if (action == 3)
                    ASSERT_EQ(name, table.getStringReference(text));
                else
                    ASSERT_EQ(known, table[text].integer);
            }
            else if (action == 5)
            {
                UT_Thing found(-7);
                ASSERT_EQ(!isNew, table.findSymbol(text, &found));
                ASSERT_EQ(isNew ? -7 : model[name], found.integer);
                ASSERT_EQ(!isNew, table.findSymbol(text, nullptr));
            }
            else
            {
                ASSERT_EQ(!isNew, table.deleteSymbol(text));
                model.erase(name);
                if (!isNew && float(size) * row.min > float(model.size()))
                    size = UTdecreaseAllocToPrime(size);
            }
            ASSERT_EQ(int(model.size()), table.entries()) << step;
            ASSERT_EQ(size, table.tableSize()) << step;
            if (step % 500 > 0)
                continue;
            std::map<unsigned, ut_Names> buckets;
            for (const auto &entry : model)
                buckets[utHash(entry.first) % unsigned(size)].push_back(
                    entry.first);
            ut_Names names, expected;
            for (const auto &bucket : buckets)
                expected.insert(
                    expected.end(), bucket.second.begin(), bucket.second.end());
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
    utFill(table, 5000);
    EXPECT_EQ(name, table.getStringReference("first"));
    EXPECT_EQ(name, table.addSymbolAndGetReference("first", &table));
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
    const int size = table.tableSize();
    EXPECT_EQ(1, table.traverse(utDeleteSelf, &table));
    EXPECT_EQ(0, table.entries());
    EXPECT_EQ(UTdecreaseAllocToPrime(size), table.tableSize());
}

TEST(UT_SymbolTable, TraversalStopsAtZero)
{
    UT_SymbolTable table;
    int calls = 0;
    const auto untilThird = [](UT_Thing &, const char *, void *data)
    { return int(++*static_cast<int *>(data) < 3); };
    EXPECT_EQ(1, table.traverse(untilThird, &calls)); // no buckets
    utFill(table, 50);
    EXPECT_EQ(0, table.traverse(untilThird, &calls));
    EXPECT_EQ(3, calls);
    EXPECT_EQ(1, table.traverse(nullptr, nullptr));
}

TEST(UT_SymbolTable, LoadFactorsKeepTheirDistance)
{
    static const struct
    {
        float min, max, resultMin, resultMax;
    } theCases[] = {
        {0.1f,  0,         0.1f,   0.75f    },
        {0.5f,  0,         0.5f,   1        },
        {0.5f,  0.5f,      0.5f,   1        }, // not above the minimum
        {0.5f,  0.6f,      0.5f,   0.6f     },
        {0.9f,  2,         0.375f, 2        }, // not below the 0.75 there
        {0.75f, -1,        0.375f, 0.75f    },
        {-1,    2,         0.375f, 2        },
        {0,     HUGE_VALF, 0,      HUGE_VALF},
        {NAN,   NAN,       0.375f, 0.75f    },
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

TEST(UT_SymbolTable, MergedValuesWin)
{
    UT_SymbolTable table, other;
    table.addSymbol("a", 1);
    table.addSymbol("b", 2);
    other.addSymbol("b", 20);
    table.mergeTable(other);
    table.mergeTable(table);
    EXPECT_EQ(2, table.entries());
    EXPECT_EQ(1, table["a"].integer);
    EXPECT_EQ(20, table["b"].integer);
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
        {{"box"},                                  "box",  "box1"        },
        {{"box1", "box7"},                         "box3", "box8"        },
        {{"box12abc"},                             "box",  "box13"       },
        {{"12", "box99"},                          "12",   "13"          },
        {{"boxer5", "xbox6", "box-7"},             "box",  "box1"        },
        {{"box007"},                               "box0", "box8"        },
        {{"\xe9\x39", "\xb2\x35"},                 "\xe9", "\xe9\x31\x30"},
        {{"x2147483646"},                          "x",    "x2147483647" },
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

TEST(UT_SymbolTable, PrintsAndMeasuresItself)
{
    UT_SymbolTable table;
    const auto print = [&](void (UT_SymbolTable::*member)(FILE *) const)
    { return utPrinted([&](FILE *stream) { (table.*member)(stream); }); };
    EXPECT_EQ(
        "Table size: 0\n   Entries: 0\nCollisions: 0\n",
        print(&UT_SymbolTable::outputStats));
    // Buckets 97 % 5 = 2, 102 % 5 = 2 and 98 % 5 = 3.
    table.addSymbol("f", -1);
    table.addSymbol("a", 0x1234);
    table.addSymbol("b", 0);
    EXPECT_EQ(
        "[  2]:  \"a\" = 0x00001234\n \"f\" = 0xFFFFFFFF\n"
        "[  3]:  \"b\" = 0x00000000\n",
        print(&UT_SymbolTable::dumpTable));
    EXPECT_EQ(
        "Table size: 5\n   Entries: 3\n  Coverage: 0.4\nCollisions: 1\n"
        "   Lengths: [1-2] avg: 1.5\n Deviation: 1\n",
        print(&UT_SymbolTable::outputStats));
    EXPECT_EQ(int64(sizeof table), table.getMemUsage(true));
    EXPECT_EQ(
        int64(
            sizeof table + 5 * sizeof(UT_SymList) +
            3 * (sizeof(UT_SymList::UT_Sym) + 2)),
        table.getMemUsage(false));
}

TEST(UT_SymList, SortsByUnsignedBytesAndMayRepeatNames)
{
    UT_SymList list, other;
    EXPECT_EQ(nullptr, list.removeFirstSym());
    int created = -1;
    for (const char *name : {"b", "\xe9", "", "a", "b"})
        list.findOrCreate(name, &created)->value = uint8(*name);
    EXPECT_EQ(0, created);
    EXPECT_EQ(1, list.insertEntry("c", 3));
    EXPECT_STREQ("c", list.insertEntryAndGetReference("c", 4, created));
    EXPECT_EQ(0, created);
    EXPECT_STREQ("d", list.getStringReference("d", nullptr));
    // A node from another list goes in front of the one of its name.
    other.insertEntry("b", 77);
    list.insertSym(*other.removeFirstSym());
    UT_Thing value;
    EXPECT_EQ(1, list.findEntry("b", &value));
    EXPECT_EQ(77, value.integer);
    EXPECT_EQ(7, list.count());
    EXPECT_EQ(
        ",0,a,97,b,77,b,98,c,4,d,0,\xe9,233,",
        utPrinted([&](FILE *stream) { list.dump(stream, "%s,%u,"); }));
    EXPECT_EQ(2, list.deleteEntry(list.getStringReference("b", nullptr)));
    EXPECT_EQ(0, list.deleteEntry("b"));
    EXPECT_EQ(0, list.findEntry("b", &value));
    EXPECT_EQ(0, list.findEntry(nullptr, &value) + list.deleteEntry(nullptr));

    UT_SymList::UT_Sym *first = list.removeFirstSym();
    EXPECT_STREQ("", first->name);
    EXPECT_EQ(nullptr, first->next);
    delete first;
    EXPECT_EQ(4, list.entries());
}
