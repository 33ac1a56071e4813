// Interrupts system calls a thousand times a second: signals whose handler does
// not let calls restart, to the threads that do not block them.

#pragma once

#include <atomic>
#include <csignal>

#include <sys/time.h>

// One at a time; it blows from start() until the object goes.
class ut_SignalStorm
{
public:
    ut_SignalStorm()
    {
        theSignals = 0;
        struct sigaction action = {};
        action.sa_handler = [](int) { ++theSignals; };
        ::sigaction(SIGALRM, &action, &myActionBefore);
    }
    ut_SignalStorm(const ut_SignalStorm &) = delete;
    ut_SignalStorm &operator=(const ut_SignalStorm &) = delete;
    ~ut_SignalStorm()
    {
        setPeriod(0);
        ::signal(SIGALRM, SIG_IGN); // drops one that is on its way
        ::sigaction(SIGALRM, &myActionBefore, nullptr);
    }

    void start() { setPeriod(1000); }
    // Handlers run; the thread checker merges several into one.
    int signals() const { return theSignals; }

private:
    static void setPeriod(int us)
    {
        const itimerval period = {
            {0, us},
            {0, us}
        };
        ::setitimer(ITIMER_REAL, &period, nullptr);
    }

    static inline std::atomic<int> theSignals{0};
    struct sigaction myActionBefore;
};
