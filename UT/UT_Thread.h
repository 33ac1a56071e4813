// Worker threads, and how many processors there are for them.

#pragma once

#include "UT_API.h"

/// What all worker threads share.
class UT_API UT_Thread
{
public:
    /// Number of processors to use, at least 1: those of the machine, but not
    /// more than VALDRIN_MAXTHREADS where that is above 0. Worked out at the
    /// first call. Thread-safe; while the first call is busy, others may get
    /// the machine's number.
    static int getNumProcessors();

    /// Makes the next getNumProcessors() work the number out again, from the
    /// settings as they are then.
    static void resetNumProcessors();
};
