// The scenario of texts, arrays and tables: what finds no memory says so by
// std::bad_alloc, and changes nothing.

#include "ut_Faults.h"
#include "ut_Scenario.h"

#include "UT/UT_IntArray.h"
#include "UT/UT_NetSocket.h"
#include "UT/UT_PtrArray.h"
#include "UT/UT_QuickSort.h"
#include "UT/UT_RefArray.h"
#include "UT/UT_String.h"
#include "UT/UT_StringArray.h"
#include "UT/UT_SymbolTable.h"
#include "UT/UT_WorkArgs.h"
#include "UT/UT_WorkBuffer.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <sstream>
#include <string>

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
        for (const UT_String *text : {&owned, &borrowed, &deep})
            out << text->buffer() << '\n';
        out.write(buffer.buffer(), buffer.length());
        out << buffer.isLocked() << buffer.isNullTerminated() << '\n';
        for (const UT_IntArray *array : {&ints, &evens, &odds})
        {
            for (unsigned i = 0; i < array->entries(); ++i)
                out << (*array)(i) << ' ';
            out << '\n';
        }
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
    UT_WorkBuffer buffer;
    UT_IntArray ints;
    UT_IntArray evens;
    UT_IntArray odds;
    UT_IntArray many;
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

// One without its host would connect to this machine.
static void
utMakeSocket(ut_Objects &)
{
    const UT_NetSocket socket("host", 1, true, 0);
    utExpect(strcmp(socket.getHost(), "host") == 0, "another host");
}

static void
utFillTable(ut_Objects &)
{
    UT_SymbolTable table;
    for (int i = 0; i < 200; ++i)
    {
        char name[40];
        snprintf(name, sizeof(name), "a name of some length %d", i);
        table.addSymbol(name, UT_Thing(i));
    }
}

// Without memory for the fast way there is another one.
static void
utSort(ut_Objects &)
{
    static const unsigned theCount = 20000;
    static unsigned theKeys[theCount];
    for (unsigned i = 0; i < theCount; ++i)
        theKeys[i] = i * 2654435761u;
    UT_QuickSort().sort(theKeys, theCount, /*makeIndex=*/1, /*isSigned=*/false);
    utExpect(std::is_sorted(theKeys, theKeys + theCount), "not sorted");
}

static const struct ut_Change
{
    const char *what;
    void (*change)(ut_Objects &);
} theChanges[] = {
    {"harden",             [](auto &o) { o.borrowed.harden(); }                  },
    {"harden a text",      [](auto &o) { o.owned.harden(theLongText); }          },
    {"assign a text",      [](auto &o) { o.deep = theLongText; }                 },
    {"assign a string",    [](auto &o) { o.deep = o.owned; }                     },
    {"construct a copy",   [](auto &) { UT_String(theLongText, 1); }             },
    {"swap",               [](auto &o) { o.borrowed.swap(o.deep); }              },
    {"replace",            [](auto &o) { o.owned.replace(0, 2, theLongText); }   },
    {"substitute",         [](auto &o) { o.owned.substitute("o", "ooo"); }       },
    {"append",             [](auto &o) { o.buffer.append(theLongText); }         },
    {"protectedStrcat",    [](auto &o) { o.buffer.protectedStrcat("a \"b\" c"); }},
    {"sprintf",            [](auto &o) { o.buffer.sprintf("%2500d", 1); }        },
    {"sprintf at the end",
     [](auto &o) { o.buffer.appendSprintf("%2500d", 1); }                        },
    {"setArg",             [](auto &o) { o.arguments.setArg(255, o.writable); }  },
    {"resize",             [](auto &o) { o.ints.resize(400); }                   },
    {"append a number",    [](auto &o) { o.ints.append(1); }                     },
    {"assign",             [](auto &o) { o.odds = o.many; }                      },
    {"insert",             [](auto &o) { o.ints.insert(1, 1u); }                 },
    {"multipleInsert",     [](auto &o) { o.ints.multipleInsert(1, 7); }          },
    {"concat itself",      [](auto &o) { o.ints.concat(o.ints); }                },
    {"cycle",              [](auto &o) { o.ints.cycle(1); }                      },
    {"union",              [](auto &o) { o.ints.sortedUnion(o.odds); }           },
    {"into a union",       [](auto &o) { o.ints.sortedUnion(o.odds, o.evens); }  },
    {"heapPush",           [](auto &o) { o.ints.heapPush(9); }                   },
    {"append a pointer",   [](auto &o) { o.pointers.append(&o.theTexts[4]); }    },
    {"move pointers",      [](auto &o) { o.pointers.move(0, 2, 1); }             },
    {"append a string",    [](auto &o) { o.strings.append("e"); }                },
    {"insert a string",    [](auto &o) { o.strings.insert("e", 1); }             },
    {"assign strings",     [](auto &o) { o.others = o.strings; }                 },
    {"merge strings",      [](auto &o) { o.strings.merge(o.others); }            },
    {"sort strings",       [](auto &o) { o.strings.sort(false, false); }         },
    {"insert an object",   [](auto &o) { o.objects.insert(1); }                  },
    {"add a long symbol",  [](auto &o) { o.table.addSymbol(theLongText, 2); }    },
    {"make a socket",      utMakeSocket                                          },
    {"rename",             [](auto &o) { o.owned.patternRename("?*n*e*d", "*"); }},
    {"fill a table",       utFillTable                                           },
    {"sort keys",          utSort                                                },
};

// Whether a change did not lack memory. Otherwise all is as it was.
static bool
utTryChange(const ut_Change &row)
{
    std::unique_ptr<ut_Objects> objects;
    std::string before;
    {
        const ut_FaultPause pause;
        objects = std::make_unique<ut_Objects>();
        before = objects->contents();
    }
    bool hasThrown = false;
    try
    {
        row.change(*objects);
    }
    catch (const std::bad_alloc &)
    {
        hasThrown = true;
    }
    const ut_FaultPause pause;
    ut_Objects changed;
    row.change(changed);
    if (objects->contents() != (hasThrown ? before : changed.contents()))
        utWrong((std::string(row.what) + ": another result").c_str());
    return !hasThrown;
}

bool
utObjects()
{
    bool isRight = true;
    for (const ut_Change &row : theChanges)
        isRight = utTryChange(row) && isRight;
    return isRight;
}
