// A layer over the C library that lets one chosen call fail, alone or with all
// that follow.
//
//     utArmFault({UT_FAULT_READ, 3, /*lasts=*/false}); // the third read
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
    UT_FAULT_FILE,    // other calls for files: stat, lseek, unlink, mkdir
    UT_FAULT_SOCKET,  // socket, bind, listen
    UT_FAULT_CONNECT, // connect, accept
    UT_FAULT_WAIT,    // select, poll, pthread_cond_timedwait
    UT_FAULT_OPTIONS, // fcntl, getsockopt and the like
    UT_FAULT_PAGES,   // madvise
    UT_FAULT_THREAD,
    UT_FAULT_LOOK_UP, // of hosts, services and users
    UT_FAULT_CALL_COUNT
};

struct ut_Fault
{
    int call;
    unsigned number; // of the call in its group, from 1
    bool lasts;      // all that follow fail, too
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
