// Settings from the environment, read and checked once.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <atomic>

/// Ids of the whole-number settings.
enum UT_IntControl
{
    UT_VALDRIN_MAXTHREADS = 132, ///< most processors to use; -1 to 100
    UT_INT_CONTROL_COUNT = 135
};

/// The one table of settings. It comes into being at the first question, with
/// the environment of that moment, and lives as long as the process.
class UT_API UT_EnvControl
{
public:
    /// The table, which is created when it is not there yet.
    static UT_EnvControl &getControl();

    /// The value of a setting: its default when the variable is unset; 0 when
    /// it is no number; the nearest allowed value when it is out of range.
    static int getInt(UT_IntControl id) { return getControl().myInts[id]; }

private:
    UT_LOCAL UT_EnvControl();

    UT_LOCAL void setDefaults();
    UT_LOCAL void loadEnvironment();

    static std::atomic<UT_EnvControl *> theControl;

    int32 myInts[UT_INT_CONTROL_COUNT];
};
