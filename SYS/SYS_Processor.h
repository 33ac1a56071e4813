// What the machine's processors are and can do.

#pragma once

#include "SYS_API.h"

/// Number of processors that /proc/cpuinfo lists, 0 when it cannot be read.
/// Reads the whole file at each call.
SYS_API int parse_cpuinfo_for_nprocs();

/// The same for another file of that form; null reads as a missing file.
SYS_API int parse_cpuinfo_for_nprocs(const char *path);
