// What the sources of the errors share.

#pragma once

#include <cerrno>

// Restores errno at its end: reporting an error must not change what the system
// reported.
class ut_ErrnoKeeper
{
public:
    ut_ErrnoKeeper() : myErrno(errno) {}
    ~ut_ErrnoKeeper() { errno = myErrno; }
    ut_ErrnoKeeper(const ut_ErrnoKeeper &) = delete;
    ut_ErrnoKeeper &operator=(const ut_ErrnoKeeper &) = delete;

private:
    const int myErrno;
};
