// What the sources of threads share.

#pragma once

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

// Lets the other half of a processor work, in loops that look for a change.
inline void
utPause()
{
#if defined(__x86_64__) || defined(__i386__)
    _mm_pause();
#endif
}

// Looks before it is better to sleep: about as long as falling asleep and
// waking up takes. 0 where one processor has to do for both sides.
int utSpinsBeforeSleep();

// Records the calling thread as the main one, if there is none yet.
void utRecordMainThread();
