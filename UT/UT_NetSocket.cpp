// Clients: connecting, reading and writing, and the one-shot exchange.

#include "UT_NetSocket.h"

#include "UT_AllocImpl.h"
#include "UT_CancelImpl.h"
#include "UT_Exit.h"
#include "UT_Nap.h"
#include "UT_NetSocketImpl.h"
#include "UT_WorkBuffer.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <typeinfo>

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

// Ready before any code of the library runs, and still there when it ends.
UT_Lock theHostByNameLock(UT_STATIC_LOCK);
static_assert(std::is_trivially_destructible_v<UT_Lock>);

// Bytes that a message is read by.
static const int theChunkSize = 8191;

// From this length on a message is long, and may be read by larger parts.
static const int theLongMessage = 1 << 16;
static const int theLargePart = 1 << 16;

// Bytes whose pages are asked for at once.
static const int thePagesSize = 1 << 20;

UT_NetSocket::UT_NetSocket()
    : myHostName(nullptr), myPort(0), mySocket(-1), myRemoteAddress(0),
      myServerFlag(0), myConnectedFlag(0), myKeepOpenFlag(0),
      myTerminateFlag(0), myBlockingFlag(0)
{
}

UT_NetSocket::UT_NetSocket(
    const char *host, int port, bool blocking, int /*timeout*/)
    : UT_NetSocket()
{
    openSocket();
    myHostName = utDuplicate(host);
    myPort = port;
    setBlocking(blocking);
}

UT_NetSocket::UT_NetSocket(UT_NetSocket *listener, int fd, bool blocking)
    : UT_NetSocket()
{
    myPort = listener ? listener->myPort : 0;
    mySocket = fd;
    myConnectedFlag = 1;
    setBlocking(blocking);
}

UT_NetSocket::~UT_NetSocket()
{
    if (!myKeepOpenFlag)
        closeInetSocket();
    free(myHostName);
}

void
UT_NetSocket::openSocket()
{
    mySocket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    // Deliberate: the option is set twice.
    const int on = 1;
    setsockopt(mySocket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    setsockopt(mySocket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
}

UT_NetSocket *
UT_NetSocket::newSocketFromAddr(
    const char *host, int port, bool blocking, int timeout, int /*unused*/)
{
    return new UT_NetSocket(host, port, blocking, timeout);
}

UT_NetSocket *
UT_NetSocket::newSocket(int port, bool blocking)
{
    return new UT_NetSocket(port, blocking);
}

// The first address of a host, zeros after it.
static bool
utResolve(const char *host, in_addr &out)
{
    if (!host)
        return false;
    ut_HostByNameGuard guard;
    const hostent *const entry = gethostbyname(host);
    if (!entry || !entry->h_addr_list[0])
        return false;
    // An answer of another family may be longer than there is room for.
    const int room = sizeof(out);
    memcpy(
        &out, entry->h_addr_list[0], size_t(std::min(entry->h_length, room)));
    return true;
}

bool
utIsOwnEnd(int fd, uint16 port)
{
    sockaddr_in own = {};
    sockaddr_in peer = {};
    socklen_t length = sizeof(own);
    if (getsockname(fd, reinterpret_cast<sockaddr *>(&own), &length) ||
        own.sin_port != port)
        return false;
    length = sizeof(peer);
    return !getpeername(fd, reinterpret_cast<sockaddr *>(&peer), &length) &&
           own.sin_port == peer.sin_port &&
           own.sin_addr.s_addr == peer.sin_addr.s_addr;
}

// Ends a connection and keeps the descriptor, which can be connected again.
static void
utDisconnect(int fd)
{
    sockaddr nobody = {};
    nobody.sa_family = AF_UNSPEC;
    (void)::connect(fd, &nobody, sizeof(nobody));
}

int
UT_NetSocket::connect(int timeoutMs)
{
    if (myServerFlag)
        return UT_NET_WRONG_KIND;
    if (timeoutMs > 0 && isValid() && !utFitsSet(mySocket))
        return UT_NET_SYSTEM_ERROR;
    in_addr host = {};
    if (!utResolve(myHostName, host))
        return UT_NET_HOST_NOT_FOUND;
    int error;
    return connectTo(host, timeoutMs, error);
}

// Whether the address is one of 127.0.0.0/8, which never leaves this machine.
static bool
utIsLoopback(const in_addr &address)
{
    return ntohl(address.s_addr) >> 24 == IN_LOOPBACKNET;
}

// connect(0) for an exchange, which no signal ends. Without a host the command
// is for this machine and does not leave it, whatever the look-up of
// "localhost" returns.
int
UT_NetSocket::connectExchange(const char *host)
{
    in_addr address = {};
    const bool isFound = utResolve(myHostName, address);
    if (host && !isFound)
        return UT_NET_HOST_NOT_FOUND;
    if (!host && (!isFound || !utIsLoopback(address)))
        address.s_addr = htonl(INADDR_LOOPBACK);
    int error;
    int result;
    do
        result = connectTo(address, 0, error);
    while (error == EINTR); // goes on in the next call
    return result;
}

// `error` is set to that of the system's call.
int
UT_NetSocket::connectTo(const in_addr &host, int timeoutMs, int &error)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr = host;
    address.sin_port = htons(uint16(myPort));
    error = connectOrTimeout(&address, sizeof(address), timeoutMs);
    switch (error)
    {
    case 0:
    case EISCONN: // a connect that was under way has succeeded
        if (utIsOwnEnd(mySocket, address.sin_port))
        {
            utDisconnect(mySocket);
            myRemoteAddress = 0;
            return UT_NET_CONNECT_FAILED;
        }
        myConnectedFlag = 1;
        return UT_NET_OK;
    case EAGAIN:
    case EALREADY:
    case EINPROGRESS:
        return UT_NET_WOULD_BLOCK;
    default:
        return UT_NET_CONNECT_FAILED;
    }
}

namespace
{

// Keeps a socket from blocking while it lives, also when its thread is ended
// in that time.
class ut_NonBlocking
{
public:
    explicit ut_NonBlocking(UT_NetSocket &socket)
        : mySocket(socket), myWasBlocking(socket.isBlocking())
    {
        mySocket.setBlocking(false);
    }
    ~ut_NonBlocking()
    {
        const ut_CancelGuard guard;
        mySocket.setBlocking(myWasBlocking);
    }
    ut_NonBlocking(const ut_NonBlocking &) = delete;
    ut_NonBlocking &operator=(const ut_NonBlocking &) = delete;

private:
    UT_NetSocket &mySocket;
    const bool myWasBlocking;
};

} // namespace

int
UT_NetSocket::connectOrTimeout(sockaddr_in *addr, int addrLen, int timeoutMs)
{
    int error;
    if (timeoutMs < 1)
        error = doConnect(mySocket, addr, addrLen);
    else
    {
        const ut_NonBlocking nonBlocking(*this);
        error = doConnect(mySocket, addr, addrLen);
        if (error == EINPROGRESS)
            error = waitForConnect(timeoutMs);
    }
    if (!error)
        myRemoteAddress = addr->sin_addr.s_addr;
    return error;
}

int
UT_NetSocket::doConnect(int fd, sockaddr_in *addr, int addrLen)
{
    if (::connect(fd, reinterpret_cast<sockaddr *>(addr), socklen_t(addrLen)))
        return errno;
    return 0;
}

// How the connect that is under way ends: 0 or an errno value.
int
UT_NetSocket::waitForConnect(int timeoutMs)
{
    bool readable = false;
    bool writable = false;
    bool exceptional = false;
    const int states =
        checkDataStatus(&readable, &writable, &exceptional, timeoutMs);
    if (states < 0)
        return errno;
    if (!states)
        return ETIMEDOUT;
    int pending = 0;
    socklen_t length = sizeof(pending);
    if (getsockopt(mySocket, SOL_SOCKET, SO_ERROR, &pending, &length))
        return errno;
    return pending;
}

int
UT_NetSocket::close()
{
    return closeInetSocket();
}

int
UT_NetSocket::closeInetSocket()
{
    if (mySocket == -1)
        return -1;
    const ut_CancelGuard guard; // destructors come here
    ::shutdown(mySocket, SHUT_RDWR);
    // Deliberate: the socket counts as blocking afterwards. The system's close
    // may return early otherwise.
    setBlocking(true);
    const int result = ::close(mySocket);
    myConnectedFlag = 0;
    mySocket = -1;
    return result;
}

int
UT_NetSocket::shutdown(int how)
{
    if (!myConnectedFlag)
        return UT_NET_NOT_CONNECTED;
    return ::shutdown(mySocket, how) ? UT_NET_SYSTEM_ERROR : UT_NET_OK;
}

int
UT_NetSocket::setBlocking(bool blocking)
{
    // Deliberate: recorded first, and so also where there is nothing to set.
    myBlockingFlag = blocking;
    if (!isValid())
        return UT_NET_NOT_CONNECTED;
    const int flags = fcntl(mySocket, F_GETFL);
    const int wanted = blocking ? flags & ~O_NONBLOCK : flags | O_NONBLOCK;
    if (flags < 0 || fcntl(mySocket, F_SETFL, wanted) < 0)
        return UT_NET_SYSTEM_ERROR;
    return UT_NET_OK;
}

bool
UT_NetSocket::isValid()
{
    return mySocket != -1;
}

// The result of a failed transfer.
int
UT_NetSocket::resultOfError(int error) const
{
    if (error == EAGAIN)
        return UT_NET_WOULD_BLOCK;
    if (myTerminateFlag && (error == ECONNABORTED || error == ECONNRESET))
        UT_Exit::exit(2);
    return UT_NET_SYSTEM_ERROR;
}

int
UT_NetSocket::write(const void *data, int len, int *written)
{
    if (!myConnectedFlag)
        return UT_NET_NOT_CONNECTED;
    ssize_t count;
    do
        count = ::write(mySocket, data, size_t(len));
    while (count < 0 && errno == EINTR);
    const int error = errno;
    // Deliberate: a short write is not continued.
    if (written)
        *written = count < 0 ? 0 : int(count);
    return count < 0 ? resultOfError(error) : UT_NET_OK;
}

int
UT_NetSocket::dataAvailable(int timeoutMs)
{
    if (!myServerFlag && !myConnectedFlag)
        return UT_NET_NOT_CONNECTED;
    fd_set set;
    fdZero(&set);
    if (fdSet(mySocket, &set))
        return UT_NET_SYSTEM_ERROR;
    timeval limit = utTimeLimit(timeoutMs);
    const int ready =
        select(mySocket + 1, &set, nullptr, nullptr, &limit, true);
    return ready < 0 ? UT_NET_SYSTEM_ERROR : ready;
}

int
UT_NetSocket::waitForDataOrTimeout(int timeoutMs)
{
    if (!myConnectedFlag)
        return UT_NET_NOT_CONNECTED;
    if (timeoutMs < 0)
        return UT_NET_OK;
    const int available = dataAvailable(timeoutMs);
    if (available < 0)
        return UT_NET_SYSTEM_ERROR;
    return available ? UT_NET_OK : UT_NET_WOULD_BLOCK;
}

int
UT_NetSocket::read(void *buf, int len, int *got, int timeoutMs)
{
    const int ready = waitForDataOrTimeout(timeoutMs);
    if (ready)
        return ready;
    ssize_t count;
    do
        count = ::read(mySocket, buf, size_t(len));
    while (count < 0 && errno == EINTR);
    const int error = errno;
    if (got)
        *got = count < 0 ? 0 : int(count);
    return count < 0 ? resultOfError(error) : UT_NET_OK;
}

int
UT_NetSocket::read(UT_WorkBuffer &out, int timeoutMs, bool untilNul)
{
    out.clear();
    // A subclass sees each read.
    const bool isPlain = typeid(*this) == typeid(UT_NetSocket);
    int touched = 0;
    int result = waitForDataOrTimeout(timeoutMs);
    while (!result && goesOn(out, untilNul))
    {
        const bool hasRoom = out.capacity() - out.length() > theChunkSize;
        int got = 0;
        result = isPlain && hasRoom && !out.isLocked()
                     ? readIntoStorage(out, got, touched)
                     : readPart(out, got);
        if (got < 1)
            break; // the peer closed, or the read failed
    }
    return result;
}

// Appends all of `bytes`, unless the buffer is locked. There is no memory for
// more than its longest text: that would be dropped, its NUL at the end, too.
static void
utAppendAll(UT_WorkBuffer &out, const char *bytes, int count)
{
    if (!out.isLocked() && count >= INT_MAX - out.length())
        throw std::bad_alloc();
    out.append(bytes, count);
}

int
UT_NetSocket::readPart(UT_WorkBuffer &out, int &got)
{
    char chunk[theChunkSize];
    const int result = read(chunk, theChunkSize, &got, -1);
    if (!result && got > 0)
        utAppendAll(out, chunk, got);
    return result;
}

// Has the system provide the pages of `count` bytes: one by one, as the bytes
// arrive, they would cost several times as much. Storage that was in use before
// has its pages, and then a look at the last one is enough. A system that
// cannot provide them refuses, and nothing is lost.
static void
utProvidePages(char *bytes, int count)
{
#ifdef MADV_POPULATE_WRITE
    const size_t pageSize = size_t(sysconf(_SC_PAGESIZE));
    const size_t before = uintptr_t(bytes) % pageSize;
    char *const first = bytes - before;
    const size_t size = size_t(count) + before;
    unsigned char isThere = 0;
    if (!mincore(first + (size - 1) / pageSize * pageSize, 1, &isThere) &&
        !(isThere & 1))
        (void)madvise(first, size, MADV_POPULATE_WRITE);
#else
    (void)bytes;
    (void)count;
#endif
}

// Does what readPart() does, without a copy of the bytes, and with fewer calls
// for a long message. That makes no difference to where the message ends: what
// one call returns was waiting, so the calls for its parts would have gone on.
// The storage needs room for a part, so that it grows as by appends.
int
UT_NetSocket::readIntoStorage(UT_WorkBuffer &out, int &got, int &touched)
{
    char *const end = out.myBuffer + out.myLength;
    const int room = out.myAllocatedSize - 1 - out.myLength;
    int size = theChunkSize;
    if (out.myLength >= theLongMessage)
    {
        size = std::min(theLargePart, room);
        if (touched - out.myLength < size)
        {
            const int count = std::min(thePagesSize, room);
            utProvidePages(end, count);
            touched = out.myLength + count;
        }
    }
    const int result = UT_NetSocket::read(end, size, &got, -1);
    out.myLength += got;
    out.myBuffer[out.myLength] = '\0';
    return result;
}

// Whether to read more of the message whose beginning is `out`. The bytes that
// wait at the socket are queried only where they decide: that costs a system
// call, and for most of a long message the text is enough.
bool
UT_NetSocket::goesOn(const UT_WorkBuffer &out, bool untilNul)
{
    const int length = out.length();
    if (!length && (myBlockingFlag || untilNul))
        return true;
    if (length && untilNul && out(length - 1))
        return true;
    return dataAvailable(0) == 1;
}

// The socket for one exchange, not connected.
static std::unique_ptr<UT_NetSocket>
utNewExchangeSocket(
    const char *host, int port, bool mapToUnprivileged, bool blocking)
{
    if (mapToUnprivileged)
        port = UT_NetSocket::mapToUnprivilegedPort(port);
    return std::unique_ptr<UT_NetSocket>(UT_NetSocket::newSocketFromAddr(
        host ? host : "localhost", port, blocking, /*timeout=*/-1, 0));
}

static bool
utWriteCommand(UT_NetSocket &socket, const char *command)
{
    if (!command)
        command = "";
    const size_t length = strlen(command) + 1; // with its NUL
    // The reply to a part of a command is not worth a wait.
    int written = 0;
    return length <= INT_MAX &&
           socket.write(command, int(length), &written) == UT_NET_OK &&
           size_t(written) == length;
}

bool
UT_NetSocket::sendCommandAndGetResult(
    int port, const char *command, UT_WorkBuffer &result, const char *host,
    bool mapToUnprivileged)
{
    const auto socket =
        utNewExchangeSocket(host, port, mapToUnprivileged, /*blocking=*/true);
    return socket->connectExchange(host) == UT_NET_OK &&
           utWriteCommand(*socket, command) &&
           socket->read(result, -1, /*untilNul=*/true) == UT_NET_OK;
}

// Sleeps through signals, which end a UTnap().
static void
utSleep(int ms)
{
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + std::chrono::milliseconds(ms);
    for (auto now = steady_clock::now(); now < end; now = steady_clock::now())
    {
        const std::chrono::duration<double, std::milli> rest = end - now;
        UTnap(long(rest.count()) + 1);
    }
}

// Waits for the result of a connect under way, for about five seconds.
bool
UT_NetSocket::connectPatiently(const char *host)
{
    int result = UT_NET_WOULD_BLOCK;
    for (int i = 0; i < 51 && result == UT_NET_WOULD_BLOCK; ++i)
    {
        result = connectExchange(host);
        if (result == UT_NET_WOULD_BLOCK)
            utSleep(100);
    }
    return result == UT_NET_OK;
}

bool
UT_NetSocket::nonBlockingSendCommandAndGetResult(
    int port, const char *command, UT_WorkBuffer &result, const char *host,
    bool mapToUnprivileged)
{
    const auto socket =
        utNewExchangeSocket(host, port, mapToUnprivileged, /*blocking=*/false);
    // No wait would ever succeed, and the loop below would not end.
    if (socket->getSocket() >= FD_SETSIZE)
        return false;
    if (!socket->connectPatiently(host) || !utWriteCommand(*socket, command))
        return false;

    result.clear();
    int budget = 10;
    int answer;
    do
    {
        UT_WorkBuffer part;
        answer = socket->read(part, 200, /*untilNul=*/true);
        utAppendAll(result, part.buffer(), part.length());
        // Deliberate: only silence uses up the budget, other failures do not.
        if (answer == UT_NET_WOULD_BLOCK)
            --budget;
    } while (answer != UT_NET_OK && budget >= 0);
    return answer == UT_NET_OK;
}

int
UT_NetSocket::mapToUnprivilegedPort(int port)
{
    // Deliberate: 65535, not 65536, so no port maps to 65535.
    int mapped = port % 65535;
    if (mapped < 0)
        mapped += 65535;
    if (mapped < 10000)
        mapped += 10000;
    return mapped;
}
