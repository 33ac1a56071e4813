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

static ut_Names
utNames(const UT_SymbolTable &table)
{
    ut_Names names;
    EXPECT_EQ(1, table.traverseConst(utCollect, &names));
    return names;
}

static void
utFill(UT_SymbolTable &table, int count)
{
    for (int i = 0; i < count; ++i)
        table.addSymbol(std::to_string(i).c_str(), i);
}

TEST(UT_SymbolTable, HashTakesBytesAsSignedDigits)
{
    const std::string text = "z\x80y\xff"
                             "abcdefgh\x81jklmno\xfe"
                             "rstu";
    unsigned expected = 0;
    for (size_t length = 0; length < text.size(); ++length)
    {
        EXPECT_EQ(
            expected, UT_SymbolTable::hash(text.substr(0, length).c_str()))
            << length << " bytes";
        expected = expected * 37 + unsigned(int8(text[length]));
    }
}

static bool
utIsPrime(int number)
{
    for (int divisor = 2; divisor * divisor <= number; ++divisor)
        if (number % divisor == 0)
            return false;
    return true;
}

TEST(UT_SymbolTable, SizesAreTheNextPrimesAFifthApart)
{
    EXPECT_EQ(5, UTbumpAllocToPrime(INT_MIN));
    EXPECT_EQ(5, UTdecreaseAllocToPrime(INT_MIN));
    EXPECT_EQ(11, UTbumpAllocToPrime(5));
    EXPECT_EQ(INT_MAX, UTbumpAllocToPrime(INT_MAX));
    EXPECT_EQ(988988087, UTdecreaseAllocToPrime(1186785703));
    // Each is the first prime that is a fifth larger, except the last two.
    for (int size = 11; size < 824156741;)
    {
        int next = int((int64(size) * 6 + 4) / 5);
        while (!utIsPrime(next))
            ++next;
        ASSERT_EQ(next, UTbumpAllocToPrime(size)) << size;
        EXPECT_EQ(size, UTdecreaseAllocToPrime(next)) << next;
        size = next;
    }
}

// A std::map, and the number of buckets by the rule alone.
class ut_TableModel
{
public:
    ut_TableModel(float minLoad, float maxLoad)
        : myMinLoad(minLoad), myMaxLoad(maxLoad)
    {
    }

    bool has(const std::string &name) const { return values.count(name) > 0; }

    // Any call that inserts makes room first, also for a name that is there.
    void insert(const std::string &name)
    {
        if (float(values.size()) >= float(buckets) * myMaxLoad)
            buckets = UTbumpAllocToPrime(buckets);
        values[name];
    }

    void erase(const std::string &name)
    {
        if (values.erase(name))
            shrink();
    }

    // Once after a deletion, and after a traversal that may delete.
    void shrink()
    {
        if (float(buckets) * myMinLoad > float(values.size()))
            buckets = UTdecreaseAllocToPrime(buckets);
    }

    int64 bytes() const
    {
        size_t sum = sizeof(UT_SymbolTable);
        sum += unsigned(buckets) * sizeof(UT_SymList);
        for (const auto &entry : values)
            sum += sizeof(UT_SymList::UT_Sym) + entry.first.size() + 1;
        return int64(sum);
    }

    // In the order of a traversal: by bucket, and by name in a bucket.
    ut_Names names() const
    {
        ut_Names sorted;
        for (const auto &entry : values)
            sorted.push_back(entry.first);
        const auto bucketOf = [this](const std::string &name)
        { return UT_SymbolTable::hash(name.c_str()) % unsigned(buckets); };
        std::stable_sort(
            sorted.begin(), sorted.end(),
            [&](const std::string &a, const std::string &b)
            { return bucketOf(a) < bucketOf(b); });
        return sorted;
    }

    std::map<std::string, int> values;
    int buckets = 0;

private:
    const float myMinLoad;
    const float myMaxLoad;
};

// One call, the same of both, with a name of up to three of a few letters, or
// a long one: "Az" and "BU" have one hash.
static void
utDoTheSame(
    UT_SymbolTable &table, ut_TableModel &model, std::mt19937 &random,
    bool isGrowing)
{
    static const char theLetters[] = "ABUz\x80\xff%1";
    std::string name(random() % 4, ' ');
    for (char &letter : name)
        letter = theLetters[random() % 8];
    // Some are too long to be stored with their value.
    if (random() % 4 == 0)
        name.append(18 + random() % 10, '-');
    const bool wasThere = model.has(name);
    const int value = int(random());
    // Mostly insertions, or mostly deletions.
    const unsigned call = unsigned(random() % (isGrowing ? 6 : 16));
    if (call < 5)
    {
        model.insert(name);
        model.values[name] = value;
        if (call > 2)
            table[name.c_str()].integer = value;
        else
            EXPECT_EQ(!wasThere, table.addSymbol(name.c_str(), value));
    }
    else
    {
        model.erase(name);
        EXPECT_EQ(wasThere, table.deleteSymbol(name.c_str()));
    }
    UT_Thing found(-7);
    EXPECT_EQ(model.has(name), table.findSymbol(name.c_str(), &found));
    EXPECT_EQ(model.has(name) ? model.values[name] : -7, found.integer);
}

TEST(UT_SymbolTable, AgreesWithAMapAndKeepsItsOrder)
{
    for (const float maxLoad : {0.75f, 0.5f, 1e9f})
    {
        const float minLoad = maxLoad / 8;
        UT_SymbolTable table;
        table.setMaxLoadFactor(maxLoad);
        table.setMinLoadFactor(minLoad);
        ut_TableModel model(minLoad, maxLoad);
        std::mt19937 random(3);
        for (int step = 0; step < 30000; ++step)
        {
            SCOPED_TRACE(
                testing::Message() << "load " << maxLoad << ", step " << step);
            utDoTheSame(
                table, model, random, /*isGrowing=*/step / 3000 % 2 == 0);
            EXPECT_EQ(int(model.values.size()), table.entries());
            EXPECT_EQ(model.buckets, table.tableSize());
            if (step % 200 == 0)
            {
                EXPECT_EQ(model.names(), utNames(table));
                EXPECT_EQ(model.bytes(), table.getMemUsage(false));
            }
            // From here to the next change of its size the table is sorted.
            if (step % 250 == 0)
            {
                ut_Names names;
                EXPECT_EQ(1, table.traverse(utCollect, &names));
                EXPECT_EQ(model.names(), names);
                model.shrink();
            }
            if (testing::Test::HasFailure())
                return;
        }
        table.clear();
        EXPECT_EQ(0, table.tableSize()) << maxLoad;
        EXPECT_EQ(0, table.findSymbol("a", nullptr)) << maxLoad;
    }
}

TEST(UT_SymbolTable, ReferencesOutliveRehashing)
{
    UT_SymbolTable table;
    const char *name = table.getStringReference("first");
    UT_Thing &value = table[name];
    EXPECT_EQ(nullptr, value.pointer);
    utFill(table, 5259);
    table.setMinLoadFactor(0);
    table.setMaxLoadFactor(0.01f); // from here on every attempt moves it
    for (int i = 0; i < 30; ++i)
        EXPECT_EQ(name, table.getStringReference("first")) << i;
    UT_SymbolTable other;
    other.addSymbol("first", &table);
    table.mergeTable(table);
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
    // Programs do so in a walk that lets the table shrink, too.
    utFill(table, 1000);
    const auto deleteIt = [](UT_Thing &, const char *name, void *data)
    { return static_cast<UT_SymbolTable *>(data)->deleteSymbol(name); };
    EXPECT_EQ(1, table.traverseConst(deleteIt, &table));
    EXPECT_EQ(0, table.entries());
    // The state that keeps the size must end with an exception, too.
    utFill(table, 10);
    const auto fail = [](UT_Thing &, const char *, void *) -> int
    { throw std::runtime_error("no further"); };
    EXPECT_THROW(table.traverse(fail, nullptr), std::runtime_error);
    utFill(table, 1000);
    EXPECT_LT(1000, table.tableSize());
}

TEST(UT_SymbolTable, LoadFactorsKeepTheirDistance)
{
    UT_SymbolTable table;
    table.setMinLoadFactor(0.9f); // not below the 0.75 there
    EXPECT_EQ(0.375f, table.minLoadFactor());
    table.setMaxLoadFactor(2);
    EXPECT_EQ(2, table.maxLoadFactor());
    for (const float none : {0.0f, NAN})
    {
        table.setMinLoadFactor(0.1f);
        table.setMaxLoadFactor(none);
        EXPECT_EQ(0.75f, table.maxLoadFactor()) << none;
    }
    table.setMinLoadFactor(NAN);
    EXPECT_EQ(0.375f, table.minLoadFactor());
    table.setMaxLoadFactor(HUGE_VALF);
    table.addSymbol("a", 1); // there are buckets all the same
    EXPECT_EQ(5, table.tableSize());
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
        {{"box12abc"},                             "box",  "box13"       }, // deliberate
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
        EXPECT_STREQ(row.result, name) << "for " << row.name;
        free(name);
    }
}

TEST(UT_SymbolTable, PrintsNamesAndStatistics)
{
    testing::internal::CaptureStdout();
    UT_SymbolTable table;
    // Buckets 97 % 5 = 2, 102 % 5 = 2 and 98 % 5 = 3.
    table.addSymbol("f", -1);
    table.addSymbol("a", 0x1234);
    table.addSymbol("b", 0);
    table.dumpTable(stdout);
    table.outputStats(stdout);
    fflush(stdout);
    EXPECT_EQ(
        "[  2]:  \"a\" = 0x00001234\n \"f\" = 0xFFFFFFFF\n"
        "[  3]:  \"b\" = 0x00000000\n"
        "Table size: 5\n   Entries: 3\n  Coverage: 0.4\nCollisions: 1\n"
        "   Lengths: [1-2] avg: 1.5\n Deviation: 1\n",
        testing::internal::GetCapturedStdout());
}

TEST(UT_SymList, SortsByUnsignedBytesAndMayRepeatNames)
{
    UT_SymList list;
    EXPECT_EQ(nullptr, list.removeFirstSym());
    for (const char *name : {"b", "\xe9", "", "a", "b"})
        list.insertEntry(name, uint8(*name));
    // A node from another list goes before the one of its name.
    UT_SymList other;
    other.insertEntry("b", 77);
    list.insertSym(*other.removeFirstSym());
    ut_Names names;
    EXPECT_EQ(1, list.traverse(utCollect, &names));
    EXPECT_EQ((ut_Names{"", "a", "b", "b", "\xe9"}), names);
    UT_Thing value;
    EXPECT_EQ(1, list.findEntry("b", &value));
    EXPECT_EQ(77, value.integer);
    EXPECT_EQ(2, list.deleteEntry(list.getStringReference("b", nullptr)));
    EXPECT_EQ(0, list.deleteEntry("b"));
    EXPECT_EQ(0, list.findEntry(nullptr, nullptr));
    UT_SymList::UT_Sym *first = list.removeFirstSym();
    EXPECT_EQ(nullptr, first->next);
    delete first;
    EXPECT_EQ(2, list.entries());
}

static int
utInsertAround(UT_Thing &visits, const char *, void *data)
{
    ++visits.integer;
    for (const char *name : {"d", "f", "c"}) // in buckets 0, 2 and 4
        (*static_cast<UT_SymbolTable *>(data))[name];
    return 1;
}

TEST(UT_SymbolTable, NamesInsertedAheadAreVisited)
{
    UT_SymbolTable table;
    table["a"]; // in bucket 2 of 5, at the end when it is visited
    EXPECT_EQ(1, table.traverse(utInsertAround, &table));
    EXPECT_EQ(1, table["c"].integer);
    EXPECT_EQ(0, table["d"].integer);
    EXPECT_EQ(0, table["f"].integer);
}
