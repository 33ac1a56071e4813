// Whether there are instructions for several numbers at once.

#pragma once

#if defined(__x86_64__) || defined(__i386__)
#define UT_HAS_VECTORS 1

// Whether this processor has vectors of eight 32-bit numbers (AVX2, and with it
// the conversions of halves), and the user allows them.
bool utHasVectors();

// Whether it has vectors of sixteen, too (AVX-512), and they cost nothing else.
bool utHasLongVectors();
#endif
