// Settings from the environment, read and checked once. docs/settings.md lists
// them all.

#pragma once

#include "UT_API.h"
#include "UT_EnvControlIds.h"

#include "SYS/SYS_Types.h"

#include <atomic>

/// What kind of value a setting has.
enum UT_ControlKind
{
    UT_CONTROL_SWITCH, ///< 0 or 1, with a UT_IntControl
    UT_CONTROL_INT,
    UT_CONTROL_FLOAT,
    UT_CONTROL_STRING
};

/// The description of one setting; see UTdescribeControl(). Names and use live
/// as long as the process; the texts are borrowed until the next change of the
/// settings.
struct UT_ControlInfo
{
    UT_ControlKind kind;     ///< what kind of value it has
    int32 id;                ///< in the enumeration of its kind
    const char *name;        ///< of the environment variable
    const char *formerName;  ///< null when it never had another one
    const char *use;         ///< its purpose, in a few words
    double value;            ///< of numbers and switches
    double defaultValue;     ///< when the variable is unset
    double minimum;          ///< the least value
    double maximum;          ///< the greatest value
    const char *text;        ///< the value of texts; null when there is none
    const char *defaultText; ///< null when there is none
    bool isComputed;         ///< the default depends on machine and user
    bool isObeyed;           ///< by this library, which keeps the others for
                             ///< the application
};

// Programs that load the library pass it.
static_assert(sizeof(UT_ControlInfo) == (sizeof(void *) == 4 ? 64 : 88));

/// The table of settings. It is created when a setting is first read, from the
/// environment at that time, and lives as long as the process.
///
/// A switch is off for "0" and on for "1". Deliberate: any other value, ""
/// included, sets it to the opposite of its default. A number is read up to the
/// first byte that is not part of it ("12px" is 12), counts as 0 when there is
/// none, and is moved to the nearest allowed value when it is out of range. In
/// a text each backslash becomes a slash, and the variable is then rewritten.
/// An unset variable leaves the default.
///
/// The table sets the variables USER, HOME, VALDRIN_TEMP_DIR and
/// VALDRIN_DESKTOP_DIR to the values that it computed, for child processes.
///
/// Reading is thread-safe; the first read and all changes touch the
/// environment: one thread only.
class UT_API UT_EnvControl
{
public:
    /// The table, which is created when it does not exist yet.
    static UT_EnvControl &getControl()
    {
        UT_EnvControl *control = theControl.load(std::memory_order_acquire);
        return control ? *control : createControl();
    }

    UT_EnvControl(const UT_EnvControl &) = delete;
    UT_EnvControl &operator=(const UT_EnvControl &) = delete;

    /// The value of a setting.
    static int getInt(UT_IntControl id) { return getControl().myInts[id]; }
    static float getFloat(UT_FltControl id)
    {
        return getControl().myFloats[id];
    }

    /// The value of a text, null when there is neither a value nor a default.
    /// Borrowed until the next change of the settings.
    static const char *getString(UT_StrControl id)
    {
        return getControl().myStrings[id];
    }

    /// The name of a setting's variable, null for an unknown id. Does not
    /// create the table.
    static const char *getIntVar(UT_IntControl id);
    static const char *getFloatVar(UT_FltControl id);
    static const char *getStringVar(UT_StrControl id);

    /// The former name of a setting's variable, null when it never had another
    /// one. Deliberate: a variable of that name is not read.
    static const char *getOldIntVar(UT_IntControl id);
    static const char *getOldFloatVar(UT_FltControl id);
    static const char *getOldStringVar(UT_StrControl id);

    /// Changes a text and its variable in the environment. `value` is copied
    /// unchanged, backslashes included, and may be the current value; null
    /// removes the variable and leaves no value. Does nothing for an unknown
    /// id.
    static void setStringVar(UT_StrControl id, const char *value);

    /// Reads all settings again after the variable `name` has changed. Does
    /// nothing when `name` is not a setting's variable (a former name is not
    /// one), or before the table is created, which will read the new value
    /// anyway.
    static void varChanged(const char *name);

private:
    UT_LOCAL UT_EnvControl();
    UT_LOCAL ~UT_EnvControl();

    static UT_EnvControl &createControl();
    UT_LOCAL void doInit();
    UT_LOCAL void setDefaults();
    UT_LOCAL void loadEnvironment();
    UT_LOCAL void freeStrings();

    static std::atomic<UT_EnvControl *> theControl;

    // Order and size stay.
    int32 myInts[UT_INT_CONTROL_COUNT];
    float myFloats[UT_FLT_CONTROL_COUNT];
    char *myStrings[UT_STR_CONTROL_COUNT]; // owned, or null
};

static_assert(sizeof(void *) != 4 || sizeof(UT_EnvControl) == 956);

extern "C"
{
    /// Describes one setting, by its position in the list of all: the switches,
    /// the whole numbers, those with a fraction, the texts. Returns 1, or 0
    /// when `index` (from 0) is past the end; `info` is then left alone.
    /// Creates the table. The name is plain, for programs that load the
    /// library.
    UT_API int UTdescribeControl(int index, UT_ControlInfo &info);
}
