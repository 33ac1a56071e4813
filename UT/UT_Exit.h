// Callbacks that run when the process ends.

#pragma once

#include "UT_API.h"

/// A list of callbacks that run once, in the order of their registration: at
/// runExitCallbacks(), or else when the process ends. If the library is
/// unloaded earlier they run then, as long as their code is loaded.
///
/// Once they have run, callbacks that are added later never run. A callback may
/// add and remove callbacks; one that the last callback adds is lost.
///
/// One thread only.
class UT_API UT_Exit
{
public:
    /// A function that gets the data that it was registered with.
    using Callback = void (*)(void *data);

    /// Adds a callback, which is called with `data`. Returns false, and adds
    /// nothing, when the same function with the same data is already
    /// registered. O(callbacks).
    static bool addExitCallback(Callback function, void *data);

    /// Removes a callback. Returns false when it is not registered.
    static bool removeExitCallback(Callback function, void *data);

    /// Removes all callbacks.
    static void removeAllExitCallbacks();

    /// Runs the callbacks, unless they have run before. A run without callbacks
    /// counts too.
    static void runExitCallbacks();

    /// Runs the callbacks as runExitCallbacks() does: the handler that the C
    /// library calls.
    static void doExitCallbacks();

    /// Ends the console and then the process, which runs the callbacks. Never
    /// returns.
    [[noreturn]] static void exit(int status);
};
