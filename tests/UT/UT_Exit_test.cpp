#include "UT/UT_Exit.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <string>
#include <utility>

// The data of the callbacks: the letter that each tells on standard error when
// it runs, and what it does then.
static std::string theData[] = {"A", "B", "C", "D", "d+D", "s-s", "n0", "z!"};

static void utRunScript(const char *script);

static void
utSay(void *data)
{
    const char *text = static_cast<std::string *>(data)->c_str();
    std::cerr << *text;
    utRunScript(text + 1);
}

// Tells '#' where something is not added or not there to remove.
static void
utRunScript(const char *script)
{
    for (; *script; ++script)
    {
        const char act = *script;
        std::string *data = theData;
        if (act == '+' || act == '-')
            for (++script; data->front() != *script;)
                ++data;
        if (act == '+')
            std::cerr << (UT_Exit::addExitCallback(utSay, data) ? "" : "#");
        else if (act == '-')
            std::cerr << (UT_Exit::removeExitCallback(utSay, data) ? "" : "#");
        else if (act == '0')
            UT_Exit::removeAllExitCallbacks();
        else if (act == '!')
            UT_Exit::runExitCallbacks();
        else
            atexit([] { std::cerr << 'X'; });
    }
}

// What a process tells that runs the script and then exits.
static const std::pair<const char *, const char *> theScripts[] = {
    {"+A+B+A",             "#AB"},
    {"+A+B+C-C+D-A+C-D-A", "#BC"}, // the last, first, inner, and no longer
    {"+A!!+B",             "A"  }, // once only
    {"+z+B",               "zB" },
    {"+AX+B",              "XAB"}, // handlers run in reverse; the place of
    {"+A-AX+B",            "BX" }, // ours is where it last got its first
    {"+d+B",               "dBD"},
    {"+A+d",               "Ad" }, // Deliberate: what the last adds is lost
    {"+s+B",               "sB" },
    {"+n+B",               "n"  },
};

TEST(UT_Exit, CallbacksRunOnceInOrder)
{
    for (const auto &[script, tells] : theScripts)
        EXPECT_EXIT(
            {
                utRunScript(script);
                UT_Exit::exit(7);
            },
            testing::ExitedWithCode(7), std::string("^") + tells + "$")
            << script;
}
