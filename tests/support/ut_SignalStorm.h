// Interrupts system calls a thousand times a second: signals whose handler does
// not let calls restart, to the threads that do not block them.

#pragma once

#include <atomic>
#include <csignal>

#include <unistd.h>

// One at a time; it blows as long as the object lives.
class ut_SignalStorm
{
public:
    ut_SignalStorm()
    {
        struct sigaction action = {};
        action.sa_handler = [](int) { ++theSignals; };
        ::sigaction(SIGALRM, &action, nullptr);
        ::ualarm(1000, 1000); // microseconds
    }
    ut_SignalStorm(const ut_SignalStorm &) = delete;
    ut_SignalStorm &operator=(const ut_SignalStorm &) = delete;
    // The handler stays, for a signal that is on its way.
    ~ut_SignalStorm() { ::ualarm(0, 0); }

    // Handlers run; the thread checker merges several into one.
    int signals() const { return theSignals; }

private:
    static inline std::atomic<int> theSignals{0};
};
