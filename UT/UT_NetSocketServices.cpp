// Servers, sets of descriptors for select(), and look-ups of hosts and
// services.

#include "UT_NetSocket.h"

#include "UT_AllocImpl.h"
#include "UT_NetSocketImpl.h"
#include "UT_String.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

// This host's name, "" if it has none.
class ut_LocalHostName
{
public:
    ut_LocalHostName()
    {
        if (gethostname(myName, sizeof(myName)))
            myName[0] = '\0';
        // A name that just fits may come without its NUL.
        myName[sizeof(myName) - 1] = '\0';
    }

    operator const char *() const { return myName; }

private:
    char myName[128];
};

} // namespace

UT_NetSocket::UT_NetSocket(int port, bool blocking) : UT_NetSocket()
{
    openSocket();
    myHostName = utDuplicate(ut_LocalHostName());
    myPort = port;
    if (!bindToPort() || ::listen(mySocket, 128))
    {
        if (isValid())
        {
            const ut_CancelGuard guard;
            ::shutdown(mySocket, SHUT_RDWR);
            ::close(mySocket);
            mySocket = -1;
        }
        return;
    }
    setBlocking(blocking);
    myServerFlag = 1;
}

// Binds to the port on all addresses; 0 becomes the port that this gave.
bool
UT_NetSocket::bindToPort()
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = htons(uint16(myPort));
    auto *const any = reinterpret_cast<sockaddr *>(&address);
    socklen_t length = sizeof(address);
    if (::bind(mySocket, any, length))
        return false;
    if (myPort)
        return true;
    if (getsockname(mySocket, any, &length))
        return false;
    myPort = ntohs(address.sin_port);
    return true;
}

UT_NetSocket *
UT_NetSocket::accept(int blocking, int &status)
{
    if (!myServerFlag)
    {
        status = UT_NET_WRONG_KIND;
        return nullptr;
    }
    sockaddr_in address = {};
    socklen_t length = sizeof(address);
    const int fd = ::accept4(
        mySocket, reinterpret_cast<sockaddr *>(&address), &length,
        SOCK_CLOEXEC);
    if (fd < 0)
    {
        status = errno == EAGAIN ? UT_NET_WOULD_BLOCK : UT_NET_SYSTEM_ERROR;
        return nullptr;
    }
    UT_NetSocket *const accepted =
        new (std::nothrow) UT_NetSocket(this, fd, blocking != 0);
    if (!accepted)
    {
        ::close(fd);
        throw std::bad_alloc();
    }
    accepted->myRemoteAddress = address.sin_addr.s_addr;
    status = UT_NET_OK;
    return accepted;
}

int
UT_NetSocket::fdZero(fd_set *set)
{
    FD_ZERO(set);
    return UT_NET_OK;
}

int
UT_NetSocket::fdSet(int fd, fd_set *set)
{
    if (!utFitsSet(fd))
        return UT_NET_SYSTEM_ERROR;
    FD_SET(fd, set);
    return UT_NET_OK;
}

int
UT_NetSocket::fdClr(int fd, fd_set *set)
{
    if (!utFitsSet(fd))
        return UT_NET_SYSTEM_ERROR;
    FD_CLR(fd, set);
    return UT_NET_OK;
}

bool
UT_NetSocket::fdIsSet(int fd, fd_set *set)
{
    return utFitsSet(fd) && FD_ISSET(fd, set);
}

int
UT_NetSocket::select(
    int nfds, fd_set *read, fd_set *write, fd_set *except, timeval *limit,
    bool /*unused*/)
{
    // A failed call leaves the sets as they were, and the system takes the time
    // that has passed off the limit.
    int ready;
    do
        ready = ::select(nfds, read, write, except, limit);
    while (ready < 0 && errno == EINTR);
    return ready;
}

bool
UT_NetSocket::isSocketSelected(fd_set &set)
{
    return isValid() && fdIsSet(mySocket, &set);
}

int
UT_NetSocket::checkDataStatus(
    bool *readable, bool *writable, bool *exceptional, int timeoutMs)
{
    if (!utFitsSet(mySocket))
    {
        errno = EBADF;
        return UT_NET_SYSTEM_ERROR;
    }
    fd_set readSet;
    fd_set writeSet;
    fd_set exceptSet;
    const struct
    {
        bool *flag;
        fd_set *set;
    } states[] = {
        {readable,    &readSet  },
        {writable,    &writeSet },
        {exceptional, &exceptSet},
    };
    for (const auto &state : states)
    {
        fdZero(state.set);
        fdSet(mySocket, state.set);
    }
    timeval limit = utTimeLimit(timeoutMs);
    const int count = select(
        mySocket + 1, readable ? &readSet : nullptr,
        writable ? &writeSet : nullptr, exceptional ? &exceptSet : nullptr,
        &limit, true);
    if (count < 1)
        return count;
    for (const auto &state : states)
        if (state.flag)
            *state.flag = fdIsSet(mySocket, state.set);
    return count;
}

int
UT_NetSocket::peek(void *buf, int len, int timeoutMs)
{
    const int ready = waitForDataOrTimeout(timeoutMs);
    if (ready)
        return ready;
    ssize_t count;
    do
        count = ::recv(mySocket, buf, size_t(len), MSG_PEEK);
    while (count < 0 && errno == EINTR);
    // Deliberate: how many bytes wait is not reported.
    return count < 0 ? resultOfError(errno) : UT_NET_OK;
}

// The null argument matters: request 2 is one that the system does know, and it
// stores a number through whatever is passed.
static int
utControl(int fd, unsigned long request)
{
    return ioctl(fd, request, nullptr) < 0 ? 1 : 0;
}

int
UT_NetSocket::flushRead()
{
    return utControl(mySocket, 1);
}

int
UT_NetSocket::flushWrite()
{
    return utControl(mySocket, 2);
}

// Octets of an address as sin_addr holds it, first octet first.
static void
utSplit(uint32 address, int ip[4])
{
    uint8 octets[4];
    memcpy(octets, &address, sizeof(octets));
    for (int i = 0; i < 4; ++i)
        ip[i] = octets[i];
}

int
UT_NetSocket::getRemoteSocket(char *text, int &port) const
{
    if (!myConnectedFlag)
        return UT_NET_NOT_CONNECTED;
    sockaddr_in address = {};
    socklen_t length = sizeof(address);
    if (getpeername(mySocket, reinterpret_cast<sockaddr *>(&address), &length))
        return UT_NET_SYSTEM_ERROR;
    int ip[4];
    utSplit(address.sin_addr.s_addr, ip);
    snprintf(text, 16, "%d.%d.%d.%d", ip[0], ip[1], ip[2], ip[3]);
    port = ntohs(address.sin_port);
    return UT_NET_OK;
}

bool
UT_NetSocket::getRemoteIP4(int ip[4])
{
    utSplit(myRemoteAddress, ip);
    return myRemoteAddress != 0;
}

unsigned
UT_NetSocket::getLocalIP4() const
{
    sockaddr_in address = {};
    socklen_t length = sizeof(address);
    if (!getsockname(mySocket, reinterpret_cast<sockaddr *>(&address), &length))
        return address.sin_addr.s_addr;
    unsigned char octets[4] = {};
    getHostAddress(octets, nullptr);
    uint32 whole;
    memcpy(&whole, octets, sizeof(whole));
    return whole;
}

bool
UT_NetSocket::getLocalIP4(int ip[4])
{
    const uint32 address = getLocalIP4();
    utSplit(address, ip);
    return address != 0;
}

int
UT_NetSocket::getHostName(char *buf, int len)
{
    return gethostname(buf, size_t(len));
}

bool
UT_NetSocket::getHostAddress(unsigned char addr[4], const char *host)
{
    ut_HostByNameGuard guard;
    const hostent *const entry =
        gethostbyname(host && *host ? host : ut_LocalHostName());
    if (!entry || entry->h_length != 4 || !entry->h_addr_list[0])
        return false;
    memcpy(addr, entry->h_addr_list[0], 4);
    return true;
}

bool
UT_NetSocket::getHostNameByAlias(UT_String &name, const char *alias)
{
    ut_HostByNameGuard guard;
    return commonGetHostNameByAlias(
        name, alias && *alias ? alias : ut_LocalHostName());
}

static bool
utHardenOfficialName(UT_String &name, const hostent *entry)
{
    if (!entry || !entry->h_name || !*entry->h_name)
        return false;
    name.harden(entry->h_name);
    return true;
}

// Reads "1.2.3.4", and nothing after it. Deliberate: numbers of more than 16
// bits wrap.
static bool
utReadDottedQuad(const char *text, uint8 octets[4])
{
    unsigned short numbers[4];
    int used = 0;
    if (sscanf(
            text, "%hu.%hu.%hu.%hu%n", &numbers[0], &numbers[1], &numbers[2],
            &numbers[3], &used) < 4 ||
        text[used])
        return false;
    for (int i = 0; i < 4; ++i)
    {
        if (numbers[i] > 255)
            return false;
        octets[i] = uint8(numbers[i]);
    }
    return true;
}

// Calls nothing that takes the look-up lock: the caller holds it.
bool
UT_NetSocket::commonGetHostNameByAlias(UT_String &name, const char *alias)
{
    uint8 octets[4];
    if (utReadDottedQuad(alias, octets) &&
        utHardenOfficialName(
            name, gethostbyaddr(octets, sizeof(octets), AF_INET)))
        return true;
    return utHardenOfficialName(name, gethostbyname(alias));
}

int
UT_NetSocket::getPortByService(
    const char *service, const char *protocol, int fallback)
{
    const ut_CancelGuard guard; // the C library has a lock in it
    const servent *const entry =
        service ? getservbyname(service, protocol) : nullptr;
    return entry ? ntohs(uint16(entry->s_port)) : fallback;
}

unsigned
utGetHostId()
{
    unsigned char octets[4] = {};
    UT_NetSocket::getHostAddress(octets, nullptr);
    unsigned id = 0;
    for (int i = 3; i >= 0; --i)
        id = id << 8 | octets[i];
    return id;
}
