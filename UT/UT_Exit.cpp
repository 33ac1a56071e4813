#include "UT_Exit.h"

#include "UT_Console.h"

#include <cstdlib>

struct ut_ExitCallback
{
    UT_Exit::Callback function;
    void *data;
    ut_ExitCallback *next;
};

// In the order of registration.
static ut_ExitCallback *theHead = nullptr;
static ut_ExitCallback *theTail = nullptr;

// The record whose callback is being called; null once it was deleted.
static ut_ExitCallback *theRunning = nullptr;

static bool
utIsSame(const ut_ExitCallback &record, UT_Exit::Callback function, void *data)
{
    return record.function == function && record.data == data;
}

// Unlinks and deletes the record after `previous`, or the first one for null.
static void
utDeleteAfter(ut_ExitCallback *previous)
{
    ut_ExitCallback *&link = previous ? previous->next : theHead;
    ut_ExitCallback *record = link;
    link = record->next;
    if (record == theTail)
        theTail = previous;
    if (record == theRunning)
        theRunning = nullptr;
    delete record;
}

bool
UT_Exit::addExitCallback(Callback function, void *data)
{
    for (const ut_ExitCallback *record = theHead; record; record = record->next)
        if (utIsSame(*record, function, data))
            return false;
    // Each time, so that the list runs before what was there when it filled.
    // The handler belongs to this library and runs when it is unloaded, too.
    if (!theHead)
        atexit(doExitCallbacks);
    ut_ExitCallback *record = new ut_ExitCallback{function, data, nullptr};
    (theHead ? theTail->next : theHead) = record;
    theTail = record;
    return true;
}

bool
UT_Exit::removeExitCallback(Callback function, void *data)
{
    ut_ExitCallback *previous = nullptr;
    for (ut_ExitCallback *record = theHead; record; record = record->next)
    {
        if (utIsSame(*record, function, data))
        {
            utDeleteAfter(previous);
            return true;
        }
        previous = record;
    }
    return false;
}

void
UT_Exit::removeAllExitCallbacks()
{
    while (theHead)
        utDeleteAfter(nullptr);
}

void
UT_Exit::runExitCallbacks()
{
    doExitCallbacks();
}

void
UT_Exit::doExitCallbacks()
{
    static bool recurse = false;
    if (recurse)
        return;
    recurse = true;
    // The record that runs is always the first one, and stays in the list
    // meanwhile: its callback may add, and may remove any record, its own too.
    while (theHead)
    {
        const bool isLast = !theHead->next;
        theRunning = theHead;
        theHead->function(theHead->data);
        if (theRunning)
            utDeleteAfter(nullptr);
        // Deliberate: what the last callback adds is lost.
        if (isLast)
            break;
    }
    removeAllExitCallbacks();
}

void
UT_Exit::exit(int status)
{
    UT_Console::terminateConsole();
    ::exit(status);
}
