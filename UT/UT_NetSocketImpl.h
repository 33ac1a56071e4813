// Helpers of the sources of UT_NetSocket.

#pragma once

#include "UT_CancelImpl.h"
#include "UT_LockImpl.h"
#include "UT_NetSocket.h"

#include <sys/select.h>

// Holds theHostByNameLock, with cancellation off: a cancelled look-up would
// leave locks of the C library held.
class ut_HostByNameGuard
{
public:
    ut_HostByNameGuard() = default;
    ut_HostByNameGuard(const ut_HostByNameGuard &) = delete;
    ut_HostByNameGuard &operator=(const ut_HostByNameGuard &) = delete;

private:
    // First: waiting for it may be cancelled.
    const ut_LockGuard myGuard{&theHostByNameLock};
    const ut_CancelGuard myCancelGuard;
};

// Whether `select` has a bit for the descriptor.
inline bool
utFitsSet(int fd)
{
    return fd >= 0 && fd < FD_SETSIZE;
}

// Deliberate: a negative time stays negative, and select() refuses it.
inline timeval
utTimeLimit(int timeoutMs)
{
    timeval limit;
    limit.tv_sec = timeoutMs / 1000;
    limit.tv_usec = (timeoutMs % 1000) * 1000;
    return limit;
}

// Whether the peer at `port` (in network byte order) is this very socket. That
// happens where nobody listens at a port of the range from which the system
// takes the ports of clients: it may give this client the same one, and the
// connection succeeds. Any port may be in the range, so one system call is made
// for every connect.
bool utIsOwnEnd(int fd, uint16 port);
