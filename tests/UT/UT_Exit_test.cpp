#include "UT/UT_Exit.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

// Callbacks whose data is the name that they write to standard error when they
// run. Each scenario below runs in a process of its own, which then exits.

static void
utSay(void *name)
{
    std::cerr << static_cast<const char *>(name);
}

static char theNames[][2] = {"A", "B", "C", "D"};
static char *const theA = theNames[0];
static char *const theB = theNames[1];
static char *const theC = theNames[2];
static char *const theD = theNames[3];

static bool
utAdd(char *name)
{
    return UT_Exit::addExitCallback(utSay, name);
}

static bool
utRemove(char *name)
{
    return UT_Exit::removeExitCallback(utSay, name);
}

// Expects that a process that does `scenario` and then exits writes `said`.
#define EXPECT_SAID(said, scenario) \
    EXPECT_EXIT(                    \
        {                           \
            scenario;               \
            UT_Exit::exit(7);       \
        },                          \
        testing::ExitedWithCode(7), "^" said "$")

// Ends a scenario in which something is not as claimed.
static void
utRequire(bool claim)
{
    if (!claim)
        std::cerr << "not as claimed";
}

TEST(UT_Exit, CallbacksRunOnceInTheirOrder)
{
    EXPECT_SAID("AB", {
        utRequire(utAdd(theA));
        utRequire(utAdd(theB));
        utRequire(!utAdd(theA)); // it is in the list
    });
    EXPECT_SAID("A", {
        utAdd(theA);
        UT_Exit::runExitCallbacks();
        utAdd(theB); // too late
    });
}

TEST(UT_Exit, RemovedCallbacksDoNotRun)
{
    EXPECT_SAID("B", {
        for (char *name : {theA, theB, theC, theD})
            utAdd(name);
        utRequire(utRemove(theD)); // the last
        utRequire(utRemove(theA)); // the first
        utAdd(theD);
        utRequire(utRemove(theC)); // from the middle
        utRequire(utRemove(theD)); // the last, once more
        utRequire(!utRemove(theA));
    });
    EXPECT_SAID("B", {
        utAdd(theA);
        UT_Exit::removeAllExitCallbacks();
        utAdd(theB);
    });
}

TEST(UT_Exit, CallbacksMayChangeTheList)
{
    static const auto theAddD = [](void *) { utAdd(theD); };
    static void (*const theRemoveItself)(void *) = [](void *data)
    { UT_Exit::removeExitCallback(theRemoveItself, data); };
    EXPECT_SAID("BD", {
        UT_Exit::addExitCallback(theAddD, nullptr);
        UT_Exit::addExitCallback(theRemoveItself, nullptr);
        utAdd(theB);
    });
    // Deliberate: what the last one adds is lost.
    EXPECT_SAID("A", {
        utAdd(theA);
        UT_Exit::addExitCallback(theAddD, nullptr);
    });
}
