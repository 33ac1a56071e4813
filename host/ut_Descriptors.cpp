#include "ut_Descriptors.h"

#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

void
utFillStandardDescriptors()
{
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; fd++)
    {
        if (fcntl(fd, F_GETFD) < 0 && errno == EBADF)
            open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

bool
utIsWorthRepeating(int error, int fd, short events)
{
    if (error == EINTR)
        return true;
    if (error != EAGAIN)
        return false;
    // A failure here shows in the repeated call.
    pollfd waiting = {fd, events, 0};
    poll(&waiting, 1, /*timeout=*/-1);
    return true;
}
