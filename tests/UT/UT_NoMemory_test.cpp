// What texts, arrays and tables do when there is no memory: they say so by
// std::bad_alloc, and hold what they held before.

#include "ut_MemoryLimit.h"

#include "UT/UT_FixedAllocator.h"
#include "UT/UT_FloatArray.h"
#include "UT/UT_IntArray.h"
#include "UT/UT_NetSocket.h"
#include "UT/UT_PtrArray.h"
#include "UT/UT_QuickSort.h"
#include "UT/UT_RefArray.h"
#include "UT/UT_SpecialDir.h"
#include "UT/UT_String.h"
#include "UT/UT_StringArray.h"
#include "UT/UT_SymbolTable.h"
#include "UT/UT_WorkArgs.h"
#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

namespace
{

// One object of each kind, with something in it and no room for more.
struct ut_Objects
{
    ut_Objects()
    {
        buffer.append(std::string(1999, 'b').c_str());
        for (int i = 0; i < 9; ++i)
            many.append(i);
        for (int i = 0; i < 4; ++i)
        {
            ints.append(2 * i);
            floats.append(float(i));
            pointers.append(&theTexts[i]);
            strings.append(theTexts[i]);
        }
        evens = ints;
        odds.append(1);
        odds.append(3);
        others.append("x");
        others.append("y");
        for (unsigned i = 0; i < 4; ++i)
            objects.insert(i);
        for (int i = 0; i < 255; ++i)
            arguments.setArg(i, writable);
        table.addSymbol("known", UT_Thing(1));
    }

    // All that a caller can see of them.
    std::string contents()
    {
        std::ostringstream out;
        for (const UT_String *text : {&owned, &borrowed, &deep, &null})
            out << (text->isNull() ? "(null)" : text->buffer()) << '\n';
        out.write(buffer.buffer(), buffer.length());
        out << buffer.isLocked() << buffer.isNullTerminated() << '\n';
        for (const UT_IntArray *array : {&ints, &evens, &odds})
        {
            for (unsigned i = 0; i < array->entries(); ++i)
                out << (*array)(i) << ' ';
            out << '\n';
        }
        for (unsigned i = 0; i < floats.entries(); ++i)
            out << floats(i) << ' ';
        for (unsigned i = 0; i < pointers.entries(); ++i)
            out << *static_cast<const char *const *>(pointers(i)) << ' ';
        for (const UT_StringArray *array : {&strings, &others})
        {
            out << '\n';
            for (int i = 0; i < array->entries(); ++i)
                out << (*array)(i).buffer() << ' ';
        }
        out << objects.entries() << ' ' << arguments.getArgc() << ' '
            << table.entries() << '\n';
        return out.str();
    }

    static inline const char *theTexts[] = {"a", "b", "c", "d", "e"};
    char writable[10] = "argument";

    UT_String owned{"owned", 1};
    UT_String borrowed{"borrowed"};
    UT_String deep{UT_ALWAYS_DEEP, "deep"};
    UT_String null{UT_ALWAYS_DEEP};
    UT_WorkBuffer buffer;
    UT_IntArray ints;
    UT_IntArray evens;
    UT_IntArray odds;
    UT_IntArray many;
    UT_FloatArray floats;
    UT_PtrArrayRaw pointers;
    UT_StringArray strings;
    UT_StringArray others;
    UT_RefArray<UT_String> objects;
    UT_WorkArgs arguments;
    UT_SymbolTable table;
};

} // namespace

static const char theLongText[] =
    "a text that is longer than what any small string has room for";

// Changes objects with one block, two blocks and so on until there are enough.
static void
utCheck(const char *what, void (*change)(ut_Objects &))
{
    ut_Objects done;
    change(done);
    const std::string after = done.contents();
    bool isEnough = false;
    for (size_t blocks = 0; !isEnough; ++blocks)
    {
        SCOPED_TRACE(testing::Message() << what << ", " << blocks << " blocks");
        ut_Objects objects;
        const std::string before = objects.contents();
        bool hasThrown = false;
        {
            const ut_MemoryLimit limit(blocks);
            try
            {
                change(objects);
            }
            catch (const std::bad_alloc &)
            {
                hasThrown = true;
            }
            isEnough = !limit.hasRefused();
        }
        if (blocks == 0)
        {
            EXPECT_FALSE(isEnough) << "a case without need shows nothing";
        }
        EXPECT_EQ(!isEnough, hasThrown);
        ASSERT_EQ(isEnough ? after : before, objects.contents());
    }
}

static int
utLowestFreeDescriptor()
{
    const int descriptor = ::dup(0);
    ::close(descriptor);
    return descriptor;
}

TEST(UT_NoMemory, TextsStayAsTheyWere)
{
    utCheck("harden", [](auto &o) { o.borrowed.harden(); });
    utCheck("harden null", [](auto &) { UT_String().harden(); });
    utCheck("harden a text", [](auto &o) { o.owned.harden(theLongText); });
    utCheck("harden a part", [](auto &o) { o.owned.harden(theLongText, 9); });
    utCheck("assign a text", [](auto &o) { o.deep = theLongText; });
    utCheck("assign a string", [](auto &o) { o.deep = o.owned; });
    utCheck("construct a copy", [](auto &) { UT_String(theLongText, 1); });
    utCheck("construct a part", [](auto &) { UT_String(theLongText, 0, 5); });
    utCheck("copy an always deep one", [](auto &o) { UT_String copy(o.deep); });
    utCheck("swap", [](auto &o) { o.borrowed.swap(o.deep); });
    utCheck("swap with null", [](auto &o) { o.null.swap(o.deep); });
    utCheck("replace", [](auto &o) { o.owned.replace(0, 2, theLongText); });
    utCheck("substitute", [](auto &o) { o.owned.substitute("o", "ooo"); });
    utCheck(
        "copy into a string",
        [](auto &o) { o.buffer.copyIntoString(o.owned); });
    utCheck("reserve", [](auto &o) { o.buffer.reserve(2001); });
    utCheck(
        "reserve again",
        [](auto &o)
        {
            o.buffer.reserve(2001);
            o.buffer.reserve(2002);
        });
    utCheck("append", [](auto &o) { o.buffer.append(theLongText); });
    utCheck("append a byte", [](auto &o) { o.buffer.append('c'); });
    utCheck("append a buffer", [](auto &o) { o.buffer.append(o.buffer); });
    utCheck(
        "protectedStrcat",
        [](auto &o) { o.buffer.protectedStrcat("a \"b\" c"); });
    utCheck(
        "protectedStrcat its own",
        [](auto &o) { o.buffer.protectedStrcat(o.buffer.buffer()); });
    utCheck("sprintf", [](auto &o) { o.buffer.sprintf("%2500d", 1); });
    utCheck("appendSprintf", [](auto &o) { o.buffer.appendSprintf("%d", 1); });
    utCheck(
        "appendSprintf much",
        [](auto &o) { o.buffer.appendSprintf("%2500d", 1); });
    utCheck("write", [](auto &o) { o.buffer.write(1999, 'w'); });
    utCheck(
        "lock",
        [](auto &o)
        {
            o.buffer.lock(0, 2001);
            o.buffer.release();
        });
    utCheck(
        "getNextToken",
        [](auto &o)
        {
            const std::string word(2500, 'w');
            const char *cursor = word.c_str();
            o.buffer.getNextToken(cursor, " ");
        });
    utCheck(
        "strcatFirstWord", [](auto &o) { o.buffer.strcatFirstWord("word"); });
    utCheck("new UT_WorkArgs", [](auto &) { delete new UT_WorkArgs; });
    utCheck("setArg", [](auto &o) { o.arguments.setArg(255, o.writable); });
    utCheck("reserve slots", [](auto &o) { o.arguments.reserve(1000); });
}

TEST(UT_NoMemory, ArraysStayAsTheyWere)
{
    utCheck("resize", [](auto &o) { o.ints.resize(400); });
    utCheck("resize an empty one", [](auto &) { UT_IntArray(5); });
    utCheck("append", [](auto &o) { o.ints.append(1); });
    utCheck("copy", [](auto &o) { UT_IntArray copy(o.ints); });
    utCheck("assign", [](auto &o) { o.odds = o.many; });
    utCheck("insert", [](auto &o) { o.ints.insert(1, 1u); });
    utCheck("insert beyond", [](auto &o) { o.ints.insert(9u); });
    utCheck("multipleInsert", [](auto &o) { o.ints.multipleInsert(1, 7); });
    utCheck("concat", [](auto &o) { o.ints.concat(o.ints); });
    utCheck("cycle", [](auto &o) { o.ints.cycle(1); });
    utCheck("union", [](auto &o) { o.ints.sortedUnion(o.odds); });
    utCheck(
        "union into a third",
        [](auto &o) { o.ints.sortedUnion(o.odds, o.evens); });
    utCheck(
        "intersection into a third",
        [](auto &o) { o.ints.sortedIntersection(o.ints, o.evens); });
    utCheck("heapPush", [](auto &o) { o.ints.heapPush(9); });
    utCheck(
        "take a vector",
        [](auto &o) {
            o.ints.fromStdVectorOfInts({1, 2, 3, 4, 5, 6, 7, 8, 9});
        });
    utCheck("append a float", [](auto &o) { o.floats.append(1); });
    utCheck(
        "append a pointer", [](auto &o) { o.pointers.append(&o.theTexts[4]); });
    utCheck("move pointers", [](auto &o) { o.pointers.move(0, 2, 1); });
    utCheck("append a string", [](auto &o) { o.strings.append("e"); });
    utCheck("insert a string", [](auto &o) { o.strings.insert("e", 1); });
    utCheck(
        "insert a string in order",
        [](auto &o) { o.strings.sortedInsert("bb", true, false); });
    utCheck("copy strings", [](auto &o) { UT_StringArray copy(o.strings); });
    utCheck("assign strings", [](auto &o) { o.others = o.strings; });
    utCheck("merge strings", [](auto &o) { o.strings.merge(o.others); });
    utCheck("add strings", [](auto &o) { o.others.resize(9); });
    utCheck(
        "take strings",
        [](auto &o) {
            o.others.fromStdVectorOfStrings({"1", "2", "3", "4", "5", "6"});
        });
    utCheck("sort strings", [](auto &o) { o.strings.sort(false, false); });
    utCheck("insert an object", [](auto &o) { o.objects.insert(1); });
    utCheck("insert objects beyond", [](auto &o) { o.objects.insert(9); });
}

TEST(UT_NoMemory, TablesAndPoolsStayAsTheyWere)
{
    const int lowestFree = utLowestFreeDescriptor();
    utCheck(
        "add a long symbol", [](auto &o)
        { o.table.addSymbol("a name that needs a block of its own", 2); });
    utCheck(
        "make a table", [](auto &) { UT_SymbolTable().addSymbol("first", 1); });
    utCheck("make a name", [](auto &o) { free(o.table.newName("known")); });
    utCheck("make a socket", [](auto &) { UT_NetSocket("host", 1, true, 0); });
    utCheck("make a listener", [](auto &) { UT_NetSocket(0, true); });
    utCheck("name a directory", [](auto &) { free(UTgetDefaultTmpDir()); });
    utCheck(
        "allocate a page",
        [](auto &)
        {
            UT_FixedAllocator pool(16, /*reclaim=*/true, 4);
            pool.deallocate(pool.allocate());
        });
    EXPECT_EQ(lowestFree, utLowestFreeDescriptor()); // no socket is left
}

TEST(UT_NoMemory, AcceptClosesAConnectionThatItCannotHandOut)
{
    UT_NetSocket listener(0, true);
    UT_NetSocket client("127.0.0.1", listener.getPort(), true, -1);
    ASSERT_EQ(0, client.connect(0));
    const int lowestFree = utLowestFreeDescriptor();
    int status = 77;
    {
        const ut_MemoryLimit limit(0);
        EXPECT_THROW(
            static_cast<void>(listener.accept(1, status)), std::bad_alloc);
    }
    EXPECT_EQ(77, status);
    EXPECT_EQ(lowestFree, utLowestFreeDescriptor());
    int got = 77;
    char byte;
    EXPECT_EQ(0, client.read(&byte, 1, &got, 10000));
    EXPECT_EQ(0, got); // the end of the connection
}

// Long sorts of keys have a fast way that needs memory, and one that does not.
TEST(UT_NoMemory, SortsDoWithout)
{
    std::mt19937 random(5);
    std::vector<unsigned> keys(20000);
    for (unsigned &key : keys)
        key = unsigned(random());
    std::vector<unsigned> expected = keys;
    std::sort(expected.begin(), expected.end());

    UT_QuickSort sorter;
    std::vector<unsigned> sorted = keys;
    sorter.sort(sorted.data(), 20000, /*makeIndex=*/1, /*isSigned=*/false);
    for (int makeIndex : {0, 1}) // the index has its storage
    {
        sorted = keys;
        const ut_MemoryLimit limit(0);
        sorter.sort(sorted.data(), 20000, makeIndex, /*isSigned=*/false);
        EXPECT_TRUE(limit.hasRefused()) << makeIndex;
        EXPECT_TRUE(expected == sorted) << makeIndex;
    }
    std::vector<unsigned> gathered;
    for (unsigned i = 0; i < 20000; ++i)
        gathered.push_back(keys[unsigned(sorter.index()(i))]);
    EXPECT_EQ(expected, gathered);
}
