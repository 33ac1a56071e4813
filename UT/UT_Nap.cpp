#include "UT_Nap.h"

#include <sys/select.h>

int
UTnap(long ms)
{
    if (ms < 0)
        return 0;
    const float seconds = float(ms) / 1000.0f;
    timeval limit;
    limit.tv_sec = time_t(seconds);
    limit.tv_usec = suseconds_t((seconds - float(limit.tv_sec)) * 1000000.0f);
    if (limit.tv_usec > 999999)
        limit.tv_usec = 999999;
    // A nap always yields.
    if (ms && !limit.tv_sec && !limit.tv_usec)
        limit.tv_usec = 1;
    select(0, nullptr, nullptr, nullptr, &limit);
    return 0;
}
