// System calls that code written for an older multiprocessor workstation
// expects. They have C++ linkage, beside the C functions of the same names,
// which take other arguments.

#pragma once

#include "UT_API.h"

#include <sys/time.h>

// A timeval must be as wide as in the library.
static_assert(
    sizeof(timeval) == 2 * sizeof(long),
    "UT_Compat.h is for programs built without -D_TIME_BITS=64");

/// Returns the number of configured processors, at least 1, for command 0, and
/// 0 for any other command. May read files below /proc and /sys. Thread-safe.
UT_API int sysmp(int command, ...);

/// Returns 0 and does nothing: no process is started.
UT_API int sproc(void (*entry)(void *), unsigned flags, void *arg);

/// Returns 0 and does nothing.
UT_API int usconfig(int command, int value);

/// Calls the system's msgctl() with a scratch record as its third argument:
/// what a command reports is lost, and a command that sets something sets
/// zeros.
UT_API int msgctl(int id, int command);

/// Calls the system's gettimeofday() with a scratch time zone. Thread-safe.
UT_API int gettimeofday(timeval *tv);

/// Writes the local time at `*clock`, in seconds since 1970, to `buf` as
/// asctime() does but without its newline ("Thu Jan  1 00:00:00 1970"), and
/// returns `buf`. That takes 25 bytes, the NUL included, and one more for each
/// character of the year after the fourth: 32 at most. A time whose year does
/// not fit in an int gives "". `format` is ignored. Thread-safe.
UT_API char *cftime(char *buf, char *format, long *clock);

/// The class of `x`: 0 for a NaN of either kind and sign, 2 and 3 for infinity,
/// 8 and 9 for zero, 4 and 5 for any other number, denormal ones included. The
/// even number of a pair means that the sign bit is set: -1.0f gives 4, and
/// 1.0f gives 5.
UT_API int fp_class_f(float x);
