// A layer over the C library that lets one chosen call fail, or be cut short,
// or be interrupted by a signal. A program is linked with it.
//
//     utArmFault({UT_FAULT_READ, UT_FAULT_FAILS, 3}); // the third read
//     ... work ...
//     const bool hasStruck = utDisarmFault();

#pragma once

// Groups of calls. theFaultCalls in main.cpp has their names.
enum ut_FaultCall
{
    UT_FAULT_MEMORY,
    UT_FAULT_OPEN,
    UT_FAULT_READ,
    UT_FAULT_WRITE,
    UT_FAULT_CLOSE,
    UT_FAULT_FILE,   // other calls for files: stat, lseek, unlink, mkdir
    UT_FAULT_SOCKET, // socket, bind, listen
    UT_FAULT_CONNECT,
    UT_FAULT_WAIT,    // accept, select, poll, pthread_cond_timedwait
    UT_FAULT_OPTIONS, // fcntl, getsockopt and the like
    UT_FAULT_THREAD,
    UT_FAULT_LOOK_UP, // of hosts and users
    UT_FAULT_CALL_COUNT
};

// What happens to the call.
enum ut_FaultKind
{
    UT_FAULT_FAILS,
    UT_FAULT_IS_CUT,         // moves one byte of those that were asked for
    UT_FAULT_IS_INTERRUPTED, // fails with EINTR
    UT_FAULT_LASTS,          // fails, and so do all that follow
    UT_FAULT_KIND_COUNT
};

struct ut_Fault
{
    int call;
    int kind;
    unsigned number; // of the call in its group, from 1
};

extern "C"
{
    // Counts the calls of all threads from here on.
    __attribute__((visibility("default"))) void utArmFault(ut_Fault fault);

    // Ends that, and returns whether the fault has struck.
    __attribute__((visibility("default"))) bool utDisarmFault();

    // Adds to the number of reasons why calls of this thread are left alone.
    __attribute__((visibility("default"))) void utPauseFaults(int change);

    // Blocks of memory that are allocated.
    __attribute__((visibility("default"))) long utLiveBlocks();
}

// While it lives, calls of this thread neither count nor fail: for what a
// scenario does on its own account.
class ut_FaultPause
{
public:
    ut_FaultPause() { utPauseFaults(1); }
    ~ut_FaultPause() { utPauseFaults(-1); }
    ut_FaultPause(const ut_FaultPause &) = delete;
    ut_FaultPause &operator=(const ut_FaultPause &) = delete;
};
