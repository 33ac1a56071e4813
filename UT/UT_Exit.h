// What is to be done when the process ends.

#pragma once

#include "UT_API.h"

/// A list of callbacks that run once, in the order of their registration: when
/// runExitCallbacks() asks for it, or else when the process ends. Where the
/// library is unloaded earlier they run then, as long as their code is there.
///
/// Once they have run, callbacks that are added later never do. A callback may
/// add and remove callbacks; one that is added by the last one is lost.
///
/// One thread only.
class UT_API UT_Exit
{
public:
    using Callback = void (*)(void *data);

    /// Adds a callback; `data` is handed to it as it is. Returns false, and
    /// adds nothing, when the same function with the same data is there
    /// already. O(callbacks).
    static bool addExitCallback(Callback function, void *data);

    /// Takes a callback back. Returns false when it is not there.
    static bool removeExitCallback(Callback function, void *data);

    /// Takes all of them back.
    static void removeAllExitCallbacks();

    /// Runs the callbacks, unless that was done before; without callbacks, too,
    /// this counts as done.
    static void runExitCallbacks();

    /// The same, as the handler that the C library calls.
    static void doExitCallbacks();

    /// Ends the console and then the process, which runs the callbacks.
    [[noreturn]] static void exit(int status);
};
