// The heap's own statistics.

#pragma once

#include <malloc.h>

#if __GLIBC_PREREQ(2, 33)
using ut_HeapInfo = struct mallinfo2;

inline ut_HeapInfo
utHeapInfo()
{
    return mallinfo2();
}
#else
// Counts in int, so the result is wrong from 2 GiB on.
using ut_HeapInfo = struct mallinfo;

inline ut_HeapInfo
utHeapInfo()
{
    return mallinfo();
}
#endif
