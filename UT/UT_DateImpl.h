// The clock and the local time in 64 bits, also where a time_t has 32.

#pragma once

#include "SYS/SYS_Types.h"

#include <ctime>

// Seconds since 1970.
int64 utCurrentTime();

// The local time at `seconds` since 1970, as localtime() has it at this moment,
// stored in `result`. Null when the year does not fit in an int.
const tm *utLocalTime(int64 seconds, tm &result);
