// Interrupts system calls a thousand times a second: signals whose handler does
// not let calls restart, to the threads that do not block them.

#pragma once

#include <csignal>

#include <unistd.h>

// One at a time; it blows as long as the object lives.
class ut_SignalStorm
{
public:
    ut_SignalStorm()
    {
        struct sigaction action = {};
        action.sa_handler = [](int) {};
        ::sigaction(SIGALRM, &action, nullptr);
        ::ualarm(1000, 1000); // microseconds
    }
    ut_SignalStorm(const ut_SignalStorm &) = delete;
    ut_SignalStorm &operator=(const ut_SignalStorm &) = delete;
    // The handler stays, for a signal that is on its way.
    ~ut_SignalStorm() { ::ualarm(0, 0); }
};
