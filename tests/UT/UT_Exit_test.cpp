#include "UT/UT_Exit.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <string>

static void utRunScript(const char *script);

// The data of the callbacks: what each does when it runs, besides telling its
// letter on standard error. A letter without a row does nothing else.
static struct ut_Data
{
    char letter;
    const char *script;
} theData[] = {
    {'A', ""    },
    {'B', ""    },
    {'C', ""    },
    {'d', "+D"  }, // adds D
    {'D', ""    },
    {'b', "-B"  }, // removes B
    {'r', "-B+D"}, // replaces B by D
    {'s', "-s"  }, // removes itself
    {'t', "+t"  }, // adds itself
    {'n', "0"   }, // removes all
    {'z', "!"   }, // runs all
};

static void
utSay(void *data)
{
    const ut_Data *row = static_cast<ut_Data *>(data);
    std::cerr << row->letter;
    utRunScript(row->script);
}

static void
utSayAgain(void *data)
{
    utSay(data);
}

static void
utSayX()
{
    std::cerr << 'X';
}

static void *
utFindData(char letter)
{
    ut_Data *row = theData;
    while (row->letter != letter)
        ++row;
    return row;
}

// Tells '?' where something is not added or not there to remove.
static void
utRunScript(const char *script)
{
    for (; *script; ++script)
    {
        bool done = true;
        if (*script == '+')
            done = UT_Exit::addExitCallback(utSay, utFindData(*++script));
        else if (*script == '*')
            done = UT_Exit::addExitCallback(utSayAgain, utFindData(*++script));
        else if (*script == '-')
            done = UT_Exit::removeExitCallback(utSay, utFindData(*++script));
        else if (*script == '0')
            UT_Exit::removeAllExitCallbacks();
        else if (*script == '!')
            UT_Exit::runExitCallbacks();
        else
            atexit(utSayX);
        if (!done)
            std::cerr << '?';
    }
}

// What a process tells that runs the script and then exits.
static const struct
{
    const char *script;
    const char *tells;
} theScripts[] = {
    {"+A+B",               "AB"  },
    {"+A+A*A+B",           "?AAB"}, // either part may differ, not both
    {"+A+B+C-C+D-A+C-D-A", "?BC" }, // the last, first, inner, and no longer
    {"+A-A+B0+C",          "C"   },
    {"+A!!+B",             "A"   }, // once only
    {"!+A",                ""    }, // also when there was nothing to run
    {"+z+B",               "zB"  },
    {"+AX+B",              "XAB" }, // handlers run in reverse; the place of
    {"+A-AX+B",            "BX"  }, // ours is where it last got its first
    {"+d+B",               "dBD" },
    {"+A+d",               "Ad"  }, // Deliberate: what the last adds is lost
    {"+t+B",               "t?B" }, // one that runs is still there
    {"+b+B+C",             "bC"  },
    {"+b+B",               "b"   },
    {"+r+B",               "rD"  },
    {"+s+B",               "sB"  },
    {"+n+B",               "n"   },
};

// A regular expression for that text.
static std::string
utExactly(const char *text)
{
    std::string expression = "^";
    for (; *text; ++text)
        expression += std::string("[") + *text + ']';
    return expression + '$';
}

TEST(UT_Exit, CallbacksRunOnceInOrder)
{
    for (const auto &row : theScripts)
    {
        SCOPED_TRACE(row.script);
        EXPECT_EXIT(
            {
                utRunScript(row.script);
                UT_Exit::exit(7);
            },
            testing::ExitedWithCode(7), utExactly(row.tells));
    }
}
