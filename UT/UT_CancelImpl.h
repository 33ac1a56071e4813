// Helpers for code that a cancelled thread must finish, or leave in order.

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

// `function`, for calls within a try block or below guards that a cancelled
// thread has to leave through. Clang takes the C library's calls of streams for
// ones that never unwind, and drops what would run then, unless it cannot see
// which function it is.
template <class Function>
Function *
utMayUnwind(Function *function)
{
    asm("" : "+r"(function));
    return function;
}
