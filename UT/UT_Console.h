// The text console that a program may or may not have.

#pragma once

#include "UT_API.h"

/// Process-wide switches of the console. One thread only.
class UT_API UT_Console
{
public:
    /// Brings up the environment controls, once.
    static void initConsole();

    /// Ends the console; UT_Exit::exit() does this.
    static void terminateConsole();

    /// Whether the program said that it has a text console; false unless it
    /// did.
    static bool hasTextConsole() { return theHasTextConsole; }
    static void setHasTextConsole(bool has) { theHasTextConsole = has; }

    /// Returns 0: a child process needs no flag to keep its window away.
    static int childProcessCreateWindowFlag() { return 0; }

    /// Does nothing: a console here does not close behind its program.
    static void setWaitForUserToClose(int) {}

private:
    static bool theConsoleInitialized;
    static bool theHasTextConsole;
};
