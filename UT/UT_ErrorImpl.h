// What the sources of the errors share.

#pragma once

#include <cerrno>

// Leaves errno as it was: telling of an error must not change what the system
// said.
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
