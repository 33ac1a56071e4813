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

// What a caller does with them.
struct ut_Case
{
    const char *name;
    void (*change)(ut_Objects &);
};

} // namespace

static const char theLongText[] =
    "a text that is longer than what any small string has room for";

static const ut_Case theTextCases[] = {
    {"harden",                  [](ut_Objects &o) { o.borrowed.harden(); }                },
    {"harden null",             [](ut_Objects &) { UT_String().harden(); }                },
    {"harden a text",           [](ut_Objects &o) { o.owned.harden(theLongText); }        },
    {"harden a part",           [](ut_Objects &o) { o.owned.harden(theLongText, 9); }     },
    {"assign a text",           [](ut_Objects &o) { o.deep = theLongText; }               },
    {"assign a string",         [](ut_Objects &o) { o.deep = o.owned; }                   },
    {"construct a copy",        [](ut_Objects &) { UT_String(theLongText, 1); }           },
    {"construct a part",        [](ut_Objects &) { UT_String(theLongText, 0, 5); }        },
    {"copy an always deep one", [](ut_Objects &o) { UT_String copy(o.deep); }             },
    {"swap",                    [](ut_Objects &o) { o.borrowed.swap(o.deep); }            },
    {"swap with null",          [](ut_Objects &o) { o.null.swap(o.deep); }                },
    {"replace",                 [](ut_Objects &o) { o.owned.replace(0, 2, theLongText); } },
    {"substitute",              [](ut_Objects &o) { o.owned.substitute("o", "ooo"); }     },
    {"copy into a string",
     [](ut_Objects &o) { o.buffer.copyIntoString(o.owned); }                              },
    {"reserve",                 [](ut_Objects &o) { o.buffer.reserve(2001); }             },
    {"reserve again",
     [](ut_Objects &o)
     {
         o.buffer.reserve(2001);
         o.buffer.reserve(2002);
     }                                                                                    },
    {"append",                  [](ut_Objects &o) { o.buffer.append(theLongText); }       },
    {"append a byte",           [](ut_Objects &o) { o.buffer.append('c'); }               },
    {"append a buffer",         [](ut_Objects &o) { o.buffer.append(o.buffer); }          },
    {"protectedStrcat",
     [](ut_Objects &o) { o.buffer.protectedStrcat("a \"b\" c"); }                         },
    {"protectedStrcat its own",
     [](ut_Objects &o) { o.buffer.protectedStrcat(o.buffer.buffer()); }                   },
    {"sprintf",                 [](ut_Objects &o) { o.buffer.sprintf("%2500d", 1); }      },
    {"appendSprintf",           [](ut_Objects &o) { o.buffer.appendSprintf("%d", 1); }    },
    {"appendSprintf much",
     [](ut_Objects &o) { o.buffer.appendSprintf("%2500d", 1); }                           },
    {"write",                   [](ut_Objects &o) { o.buffer.write(1999, 'w'); }          },
    {"lock",
     [](ut_Objects &o)
     {
         o.buffer.lock(0, 2001);
         o.buffer.release();
     }                                                                                    },
    {"getNextToken",
     [](ut_Objects &o)
     {
         const std::string word(2500, 'w');
         const char *cursor = word.c_str();
         o.buffer.getNextToken(cursor, " ");
     }                                                                                    },
    {"strcatFirstWord",
     [](ut_Objects &o) { o.buffer.strcatFirstWord("word"); }                              },
    {"new UT_WorkArgs",         [](ut_Objects &) { delete new UT_WorkArgs; }              },
    {"setArg",                  [](ut_Objects &o) { o.arguments.setArg(255, o.writable); }},
    {"reserve slots",           [](ut_Objects &o) { o.arguments.reserve(1000); }          },
};

static const ut_Case theArrayCases[] = {
    {"resize",                    [](ut_Objects &o) { o.ints.resize(400); }            },
    {"resize an empty one",       [](ut_Objects &) { UT_IntArray(5); }                 },
    {"append",                    [](ut_Objects &o) { o.ints.append(1); }              },
    {"copy",                      [](ut_Objects &o) { UT_IntArray copy(o.ints); }      },
    {"assign",                    [](ut_Objects &o) { o.odds = o.many; }               },
    {"insert",                    [](ut_Objects &o) { o.ints.insert(1, 1u); }          },
    {"insert beyond",             [](ut_Objects &o) { o.ints.insert(9u); }             },
    {"multipleInsert",            [](ut_Objects &o) { o.ints.multipleInsert(1, 7); }   },
    {"concat",                    [](ut_Objects &o) { o.ints.concat(o.ints); }         },
    {"cycle",                     [](ut_Objects &o) { o.ints.cycle(1); }               },
    {"union",                     [](ut_Objects &o) { o.ints.sortedUnion(o.odds); }    },
    {"union into a third",
     [](ut_Objects &o) { o.ints.sortedUnion(o.odds, o.evens); }                        },
    {"intersection into a third",
     [](ut_Objects &o) { o.ints.sortedIntersection(o.ints, o.evens); }                 },
    {"heapPush",                  [](ut_Objects &o) { o.ints.heapPush(9); }            },
    {"take a vector",
     [](ut_Objects &o) {
         o.ints.fromStdVectorOfInts({1, 2, 3, 4, 5, 6, 7, 8, 9});
     }                                                                                 },
    {"append a float",            [](ut_Objects &o) { o.floats.append(1); }            },
    {"append a pointer",
     [](ut_Objects &o) { o.pointers.append(&o.theTexts[4]); }                          },
    {"move pointers",             [](ut_Objects &o) { o.pointers.move(0, 2, 1); }      },
    {"append a string",           [](ut_Objects &o) { o.strings.append("e"); }         },
    {"insert a string",           [](ut_Objects &o) { o.strings.insert("e", 1); }      },
    {"insert a string in order",
     [](ut_Objects &o) { o.strings.sortedInsert("bb", true, false); }                  },
    {"copy strings",              [](ut_Objects &o) { UT_StringArray copy(o.strings); }},
    {"assign strings",            [](ut_Objects &o) { o.others = o.strings; }          },
    {"merge strings",             [](ut_Objects &o) { o.strings.merge(o.others); }     },
    {"add strings",               [](ut_Objects &o) { o.others.resize(9); }            },
    {"take strings",
     [](ut_Objects &o) {
         o.others.fromStdVectorOfStrings({"1", "2", "3", "4", "5", "6"});
     }                                                                                 },
    {"sort strings",              [](ut_Objects &o) { o.strings.sort(false, false); }  },
    {"insert an object",          [](ut_Objects &o) { o.objects.insert(1); }           },
    {"insert objects beyond",     [](ut_Objects &o) { o.objects.insert(9); }           },
};

static const ut_Case theOtherCases[] = {
    {"add a long symbol", [](ut_Objects &o)
     { o.table.addSymbol("a name that needs a block of its own", 2); }},
    {"make a table",
     [](ut_Objects &) { UT_SymbolTable().addSymbol("first", 1); }                              },
    {"make a name",       [](ut_Objects &o) { free(o.table.newName("known")); }                },
    {"make a socket",     [](ut_Objects &) { UT_NetSocket("host", 1, true, 0); }               },
    {"make a listener",   [](ut_Objects &) { UT_NetSocket(0, true); }                          },
    {"name a directory",  [](ut_Objects &) { free(UTgetDefaultTmpDir()); }                     },
    {"allocate a page",
     [](ut_Objects &)
     {
         UT_FixedAllocator pool(16, /*reclaim=*/true, 4);
         pool.deallocate(pool.allocate());
     }                                                                                         },
};

// Runs each case with one block, two blocks and so on until there are enough.
template <size_t count>
static void
utExpectAllOrNothing(const ut_Case (&cases)[count])
{
    for (const ut_Case &row : cases)
    {
        ut_Objects done;
        row.change(done);
        const std::string after = done.contents();
        bool isEnough = false;
        for (size_t blocks = 0; !isEnough; ++blocks)
        {
            SCOPED_TRACE(
                testing::Message()
                << row.name << " with " << blocks << " blocks");
            ut_Objects objects;
            const std::string before = objects.contents();
            bool hasThrown = false;
            {
                const ut_MemoryLimit limit(blocks);
                try
                {
                    row.change(objects);
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
            EXPECT_EQ(isEnough ? after : before, objects.contents());
            if (testing::Test::HasFailure())
                return;
        }
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
    utExpectAllOrNothing(theTextCases);
}

TEST(UT_NoMemory, ArraysStayAsTheyWere)
{
    utExpectAllOrNothing(theArrayCases);
}

TEST(UT_NoMemory, TablesAndPoolsStayAsTheyWere)
{
    const int lowestFree = utLowestFreeDescriptor();
    utExpectAllOrNothing(theOtherCases);
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
