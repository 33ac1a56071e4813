#include "ut_Port.h"

#include "SYS/SYS_Types.h"

#include <cerrno>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

int
utMappedPort(int port)
{
    int mapped = port % 65535;
    if (mapped < 0)
        mapped += 65535;
    return mapped < 10000 ? mapped + 10000 : mapped;
}

int
utProbePort(int port)
{
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(uint16(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool failed =
        connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address));
    int error = failed ? errno : 0;
    // A free port may be given to this end too, which then meets itself.
    sockaddr_in own = {};
    socklen_t length = sizeof(own);
    getsockname(fd, reinterpret_cast<sockaddr *>(&own), &length);
    if (own.sin_port == address.sin_port)
        error = ECONNREFUSED;
    close(fd);
    return error;
}
