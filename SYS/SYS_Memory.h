// Readable byte counts, and the memory use of the process.

#pragma once

#include "SYS_API.h"

/// Writes `bytes` to `buffer` with two decimals and a unit: KB below a
/// mebibyte, MB below a gibibyte, GB from there on, each a power of two. 1536
/// bytes are "1.50 KB". A negative count is written as "-0.01 B ". With a
/// `width` of 1 or more the number is padded with blanks on its left to that
/// many characters. The buffer needs 24 bytes, or `width` + 4 if that is more.
/// Calculates in float, so that 1048575 bytes are "1024.00 KB".
SYS_API void SYSprintMemory(char *buffer, long long bytes, int width = 0);

/// Bytes in the process's data segment, modulo 2^32, as the system reports
/// them; otherwise the bytes in use in the heap. Reads a file of /proc.
SYS_API unsigned getProcMemUsage();

/// `size` in 64 bits, for calculations of memory sizes.
SYS_API long long intToBigMem(int size);
SYS_API long long intToBigMem(unsigned size);
