// A guard for code that must finish even in a thread that is being cancelled.

#pragma once

#include <pthread.h>

// Switches cancellation of the calling thread off while the guard lives. It is
// for calls that POSIX names as cancellation points, where cancellation would
// end the program (in a destructor, and in whatever else must not throw), leak
// a descriptor that was just opened, or leave a lock of the C library held.
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
