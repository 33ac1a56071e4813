// The scenario of texts and arrays: what finds no memory says so by
// std::bad_alloc, and changes nothing.

#include "ut_Faults.h"
#include "ut_Scenario.h"

#include "UT/UT_IntArray.h"
#include "UT/UT_QuickSort.h"
#include "UT/UT_String.h"
#include "UT/UT_StringArray.h"
#include "UT/UT_WorkBuffer.h"

#include <algorithm>
#include <new>
#include <sstream>
#include <string>

// One object of each kind, with something in it and no room for more.
struct ut_Objects
{
    ut_Objects()
    {
        buffer.append(std::string(1999, 'b').c_str());
        for (int i = 0; i < 4; ++i)
        {
            ints.append(2 * i);
            strings.append(std::string(1, char('a' + i)).c_str());
        }
        odds.append(1);
        others.append("x");
    }

    // What a caller can see of them.
    std::string contents() const
    {
        std::ostringstream out;
        out << owned.buffer() << '\n' << deep.buffer() << '\n';
        out.write(buffer.buffer(), buffer.length());
        for (const UT_IntArray *array : {&ints, &odds})
            for (unsigned i = 0; i < array->entries(); ++i)
                out << (i > 0 ? ' ' : '\n') << (*array)(i);
        for (const UT_StringArray *array : {&strings, &others})
            for (int i = 0; i < array->entries(); ++i)
                out << (i > 0 ? ' ' : '\n') << (*array)(i).buffer();
        return out.str();
    }

    UT_String owned{"owned", 1};
    UT_String deep{UT_ALWAYS_DEEP, "deep"};
    UT_WorkBuffer buffer;
    UT_IntArray ints;
    UT_IntArray odds;
    UT_StringArray strings;
    UT_StringArray others;
};

static const char theLongText[] =
    "a text that is longer than what any small string has room for";

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
    {"harden",          [](auto &o) { o.owned.harden(theLongText); }          },
    {"swap",            [](auto &o) { o.owned.swap(o.deep); }                 },
    {"replace",         [](auto &o) { o.owned.replace(0, 2, theLongText); }   },
    {"substitute",      [](auto &o) { o.owned.substitute("o", "ooo"); }       },
    {"rename",          [](auto &o) { o.owned.patternRename("?*n*e*d", "*"); }},
    {"append",          [](auto &o) { o.buffer.append(theLongText); }         },
    {"protectedStrcat", [](auto &o) { o.buffer.protectedStrcat("a \"b\""); }  },
    {"sprintf",         [](auto &o) { o.buffer.sprintf("%2500d", 1); }        },
    {"resize",          [](auto &o) { o.ints.resize(400); }                   },
    {"insert",          [](auto &o) { o.ints.multipleInsert(1, 7); }          },
    {"union",           [](auto &o) { o.ints.sortedUnion(o.odds); }           },
    {"assign strings",  [](auto &o) { o.others = o.strings; }                 },
    {"sort strings",    [](auto &o) { o.strings.sort(false, false); }         },
    {"sort keys",       utSort                                                },
};

// Whether a change did not lack memory. Otherwise all is as it was.
static bool
utTryChange(const ut_Change &row)
{
    utPauseFaults(1);
    ut_Objects objects;
    ut_Objects changed;
    const std::string before = objects.contents();
    row.change(changed);
    utPauseFaults(-1);
    bool hasThrown = false;
    try
    {
        row.change(objects);
    }
    catch (const std::bad_alloc &)
    {
        hasThrown = true;
    }
    const ut_FaultPause pause;
    if (objects.contents() != (hasThrown ? before : changed.contents()))
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
