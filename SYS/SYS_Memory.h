// Byte counts for people, and how much memory the process uses.

#pragma once

#include "SYS_API.h"

/// Writes `bytes` into `buffer` with two decimals and a unit: KB below a
/// mebibyte, MB below a gibibyte, GB from there on, each the power of two. A
/// negative count is written as "-0.01 B ". With `width` 1 or more the number
/// is padded with blanks on its left to that many characters. The buffer needs
/// 24 bytes, or `width` + 4 where that is more. Calculates in float, so that
/// 1048575 bytes are "1024.00 KB".
SYS_API void SYSprintMemory(char *buffer, long long bytes, int width = 0);

/// Bytes in the process's data segment, modulo 2^32, as the system tells;
/// where it does not, what is in use of the heap. Reads a file of /proc.
SYS_API unsigned getProcMemUsage();

/// The number itself: memory sizes are calculated in 64 bits.
SYS_API long long intToBigMem(int size);
SYS_API long long intToBigMem(unsigned size);
