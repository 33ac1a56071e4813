// A short sleep, for waiting loops.

#pragma once

#include "UT_API.h"

/// Sleeps for `ms` milliseconds and returns 0. 0 and less return without
/// waiting; a signal ends the sleep early. The time is worked out in single
/// precision, so it may come out a microsecond short. Thread-safe.
UT_API int UTnap(long ms);
