// Helpers of the sources of threads.

#pragma once

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

// Yields to the core's other hardware thread, in loops that wait for a change.
inline void
utPause()
{
#if defined(__x86_64__) || defined(__i386__)
    _mm_pause();
#endif
}

// Number of checks before a wait should sleep: they take about as long as
// falling asleep and waking up. 0 on a machine with one processor.
int utSpinsBeforeSleep();

// Records the calling thread as the main one, if there is none yet.
void utRecordMainThread();
