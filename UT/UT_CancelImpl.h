// What the sources share that must not be left in the middle by a thread that
// is being ended.

#pragma once

#include <pthread.h>

// Switches cancellation of the calling thread off while it lives. For calls
// that POSIX names as cancellation points, where to leave them would end the
// program (in a destructor, and in whatever else must not throw), would lose a
// descriptor that they have just opened, or would leave a lock of the C library
// held.
class ut_CancelGuard
{
public:
    ut_CancelGuard()
    {
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &myState);
    }
    ~ut_CancelGuard() { pthread_setcancelstate(myState, nullptr); }
    ut_CancelGuard(const ut_CancelGuard &) = delete;
    ut_CancelGuard &operator=(const ut_CancelGuard &) = delete;

private:
    int myState; // before
};
