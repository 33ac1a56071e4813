// Calls that code written for an older multiprocessor workstation expects of
// its system. They have C++ linkage and stand beside the C functions of the
// same names, which take other arguments.

#pragma once

#include "UT_API.h"

#include <sys/time.h>

// A timeval has the width that it has in the library.
static_assert(
    sizeof(timeval) == 2 * sizeof(long),
    "UT_Compat.h is for programs built without -D_TIME_BITS=64");

/// Command 0 answers the number of configured processors, at least 1; any
/// other command answers 0. May read files below /proc and /sys. Thread-safe.
UT_API int sysmp(int command, ...);

/// Does nothing and returns 0: no process is started.
UT_API int sproc(void (*entry)(void *), unsigned flags, void *arg);

/// Does nothing and returns 0.
UT_API int usconfig(int command, int value);

/// The system's msgctl() with a scratch record as its third argument: what a
/// command reports is lost, and a command that sets something sets zeros.
UT_API int msgctl(int id, int command);

/// The system's gettimeofday() with a scratch time zone. Thread-safe.
UT_API int gettimeofday(timeval *tv);

/// Writes the time `*clock`, in seconds since 1970, in the local time zone as
/// asctime() does but without its newline ("Thu Jan  1 00:00:00 1970") to
/// `buf` and returns `buf`. That takes 25 bytes, and one more for each byte
/// beyond the fourth of the year, 32 at most. A time whose year does not fit in
/// an int gives "". `format` is ignored. Thread-safe.
UT_API char *cftime(char *buf, char *format, long *clock);

/// The class of `x`: 0 a NaN of either kind and sign, 2 and 3 infinity, 8 and
/// 9 zero, 4 and 5 any other number, a denormal one too; the even number of
/// each pair for the sign bit set, the odd one for clear.
UT_API int fp_class_f(float x);
