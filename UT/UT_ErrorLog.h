// The file in which errors are kept when nobody is there to see them.

#pragma once

#include "UT_API.h"
#include "UT_Error.h"
#include "UT_Lock.h"
#include "UT_String.h"
#include "UT_SymbolTable.h"

#include <ctime>

/// Appends errors, with the time, to the file that the setting
/// VALDRIN_ERRORLOG_FILENAME names; without one it does nothing. All errors
/// that are added to an error manager come here first.
///
/// Errors below the severity VALDRIN_ERRORLOG_LEVEL are left out, and so is a
/// message that comes again within 2 seconds, so that a loop that keeps failing
/// does not fill the disk.
///
/// The file is opened for each error and closed again: it may be moved away at
/// any time. Each error is written in one piece, so that several processes can
/// share a file. Thread-safe; a child of fork() may use it, too.
class UT_API UT_ErrorLog
{
public:
    UT_ErrorLog(const UT_ErrorLog &) = delete;
    UT_ErrorLog &operator=(const UT_ErrorLog &) = delete;

    /// Whether there is a file to write to.
    [[nodiscard]] bool isEnabled() const { return myEnabled; }

    /// Appends an error's date and time, its message with prefixes, and a
    /// newline. Nothing else happens when the file cannot be opened or
    /// written. Null opens the file only, and so makes it, as does an error
    /// below the level.
    ///
    /// A message is left out when the same text came 2 seconds ago or less.
    /// Deliberate: a text that was left out counts too, so one that comes
    /// every second is written once; and the texts are forgotten as soon as
    /// nothing came for 3 seconds. `errno` is the same afterwards.
    void logError(UT_Error *error)
    {
        if (myEnabled)
            write(error);
    }

private:
    friend UT_API UT_ErrorLog *UTgetErrorLog();

    UT_LOCAL UT_ErrorLog();

    void write(const UT_Error *error);
    UT_LOCAL bool isRepeated(const char *text, int64 now);

    // Order and size stay.
    int32 myLevel; // the least severity
    UT_String myFileName;
    bool myEnabled;
    UT_SymbolTable myRecentMessages; // seconds by texts
    time_t myLastLogTime;            // of the last error at the level or above
    UT_Lock myLock;                  // guards the last two, and the file
};

// A time_t has the width that it has in the library.
static_assert(
    sizeof(time_t) == sizeof(long),
    "UT_ErrorLog.h is for programs built without -D_TIME_BITS=64");
static_assert(sizeof(void *) != 4 || sizeof(UT_ErrorLog) == 68);

/// The one log, which is made at the first call with the settings of that
/// moment. Lives as long as the process. Thread-safe, but for the first call,
/// which expands the name of the file.
UT_API UT_ErrorLog *UTgetErrorLog();
