// A log file for errors that nobody is there to see.

#pragma once

#include "UT_API.h"
#include "UT_Error.h"
#include "UT_Lock.h"
#include "UT_String.h"
#include "UT_SymbolTable.h"

#include <ctime>

/// Appends errors, with the time, to the file that the setting
/// VALDRIN_ERRORLOG_FILENAME names; does nothing without one. All errors that
/// are added to an error manager are logged first.
///
/// Errors below the severity VALDRIN_ERRORLOG_LEVEL are left out, as is a
/// message that is repeated within 2 seconds, so that a loop that keeps failing
/// does not fill the disk.
///
/// The file is opened for each error and closed again: it may be moved away at
/// any time. Each error is written in one write, so that several processes can
/// share a file. Thread-safe; a child of fork() may use it too.
class UT_API UT_ErrorLog
{
public:
    UT_ErrorLog(const UT_ErrorLog &) = delete;
    UT_ErrorLog &operator=(const UT_ErrorLog &) = delete;

    /// Whether there is a file to write to.
    [[nodiscard]] bool isEnabled() const { return myEnabled; }

    /// Appends an error's date and time, its message with prefixes, and a
    /// newline. A file that cannot be opened or written is not reported. Null,
    /// or an error below the level, only creates the file if it is missing.
    ///
    /// A message is left out when the same text was last logged, or left out, 2
    /// seconds ago or less. Deliberate: since a text that was left out counts
    /// too, one that is repeated every second is written once. At the seconds
    /// 0, 2 and 5 it is written at 0 and 5. All texts are forgotten when
    /// nothing has been logged for 3 seconds. `errno` is unchanged afterwards.
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

// A time_t must be as wide as in the library.
static_assert(
    sizeof(time_t) == sizeof(long),
    "UT_ErrorLog.h is for programs built without -D_TIME_BITS=64");
static_assert(sizeof(void *) != 4 || sizeof(UT_ErrorLog) == 68);

/// The log of the process, created at the first call from the settings at that
/// time. Lives as long as the process. Thread-safe, except for the first call,
/// which expands the name of the file.
UT_API UT_ErrorLog *UTgetErrorLog();
