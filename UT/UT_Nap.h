// A short sleep, for waiting loops.

#pragma once

#include "UT_API.h"

/// Sleeps for `ms` milliseconds and returns 0; returns at once when `ms` is 0
/// or less. A signal ends the sleep early. The time is computed in single
/// precision, so it may be a microsecond short, and a long one is off by up to
/// a ten-millionth. Thread-safe.
UT_API int UTnap(long ms);
