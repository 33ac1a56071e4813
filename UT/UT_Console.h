// The text console of a program that has one.

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

    /// Whether the program has a text console: false until the program sets it.
    static bool hasTextConsole() { return theHasTextConsole; }
    static void setHasTextConsole(bool has) { theHasTextConsole = has; }

    /// Returns 0: no flag is needed to keep a child process from opening a
    /// window.
    static int childProcessCreateWindowFlag() { return 0; }

    /// Does nothing: a console here stays open after its program ends.
    static void setWaitForUserToClose(int) {}

private:
    static bool theConsoleInitialized;
    static bool theHasTextConsole;
};
