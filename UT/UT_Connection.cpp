#include "UT_Connection.h"

#include "UT_AllocImpl.h"
#include "UT_CancelImpl.h"
#include "UT_NetSocket.h"
#include "UT_NetSocketImpl.h"
#include "UT_RequestImpl.h"
#include "UT_WorkBuffer.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

static const char theLocalHost[] = "127.0.0.1";
static const int theDefaultMaxReply = 64 << 20;

// How a reply to a Python request begins when the request failed.
static const char theTraceback[] = "Traceback (most recent call last):\n";
static const char theError[] = "ERROR: ";

namespace
{

// The end of the time for one request.
class ut_Deadline
{
public:
    using Clock = std::chrono::steady_clock;

    explicit ut_Deadline(int timeoutMs)
        : myHasEnd(timeoutMs > 0),
          myEnd(Clock::now() + std::chrono::milliseconds(timeoutMs))
    {
    }

    // As poll() takes it: -1 for no limit. Rounded up, so that the time is not
    // up before its end.
    [[nodiscard]] int remainingMs() const
    {
        if (!myHasEnd)
            return -1;
        const auto rest =
            std::chrono::ceil<std::chrono::milliseconds>(myEnd - Clock::now());
        return int(std::max<std::chrono::milliseconds::rep>(0, rest.count()));
    }

private:
    const bool myHasEnd;
    const Clock::time_point myEnd;
};

// A client's descriptor, which does not block.
class ut_ClientDescriptor
{
public:
    ut_ClientDescriptor()
        : myFd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
    {
    }
    ~ut_ClientDescriptor()
    {
        if (myFd < 0)
            return;
        const ut_CancelGuard guard;
        ::shutdown(myFd, SHUT_RDWR);
        ::close(myFd);
    }
    ut_ClientDescriptor(const ut_ClientDescriptor &) = delete;
    ut_ClientDescriptor &operator=(const ut_ClientDescriptor &) = delete;

    [[nodiscard]] int get() const { return myFd; }

private:
    const int myFd;
};

struct ut_FreeAddresses
{
    void operator()(addrinfo *list) const { freeaddrinfo(list); }
};
using ut_Addresses = std::unique_ptr<addrinfo, ut_FreeAddresses>;

} // namespace

// Waits for `events` of poll(). Returns 0, ETIMEDOUT, or the errno value of the
// failure.
static int
utWait(int fd, short events, const ut_Deadline &deadline)
{
    pollfd waiting = {fd, events, 0};
    for (;;)
    {
        // Also a peer that always has something to read runs out of time.
        const int remaining = deadline.remainingMs();
        if (!remaining)
            return ETIMEDOUT;
        const int ready = ::poll(&waiting, 1, remaining);
        const int error = errno;
        if (ready > 0)
            return 0;
        if (ready < 0 && error != EINTR)
            return error;
    }
}

// Connects a descriptor that does not block. Returns 0 or an errno value.
static int
utConnect(int fd, const sockaddr_in &address, const ut_Deadline &deadline)
{
    if (::connect(
            fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address)))
    {
        if (errno != EINPROGRESS)
            return errno;
        if (const int error = utWait(fd, POLLOUT, deadline))
            return error;
        int pending = 0;
        socklen_t length = sizeof(pending);
        if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &pending, &length))
            return errno;
        if (pending)
            return pending;
    }
    return utIsOwnEnd(fd, address.sin_port) ? ECONNREFUSED : 0;
}

// The IPv4 addresses of a host. On failure returns the resolver's code, which
// is not 0.
static int
utLookUp(const char *host, ut_Addresses &out)
{
    addrinfo hints = {};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    // The resolver holds locks of the C library, and what it returns has no
    // owner yet.
    const ut_CancelGuard guard;
    addrinfo *list = nullptr;
    const int code = getaddrinfo(host, nullptr, &hints, &list);
    if (!code)
        out.reset(list);
    return code;
}

// ---- The exchange

namespace
{

// One request on a connected descriptor, and its reply.
class ut_RequestExchange
{
public:
    ut_RequestExchange(
        int fd, const ut_Deadline &deadline, const UT_WorkBuffer &request,
        UT_WorkBuffer &reply, int maxReply)
        : myFd(fd), myDeadline(deadline), myRequest(request.buffer()),
          myUnsent(size_t(request.length()) + 1), myReply(reply),
          myMaxReply(maxReply)
    {
    }

    // The reply is read while the request is sent: a peer that replies early
    // and reads no more does not hold it up.
    UT_ConnectionResult run()
    {
        send();
        while (!myIsDone)
        {
            if (myError)
                return UT_CONNECTION_SYSTEM_ERROR;
            const bool sends = myUnsent && !myIsBroken;
            const short events = sends ? POLLIN | POLLOUT : POLLIN;
            myError = utWait(myFd, events, myDeadline);
            if (myError)
                return myError == ETIMEDOUT ? UT_CONNECTION_TIMED_OUT
                                            : UT_CONNECTION_SYSTEM_ERROR;
            if (sends)
                send();
            if (!myError)
                receive();
        }
        return myResult;
    }

    [[nodiscard]] bool endedByClose() const { return myEndedByClose; }
    [[nodiscard]] int error() const { return myError; }

private:
    void send()
    {
        const ssize_t sent = ::send(myFd, myRequest, myUnsent, MSG_NOSIGNAL);
        if (sent >= 0)
        {
            myRequest += sent;
            myUnsent -= size_t(sent);
        }
        else if (errno == EPIPE || errno == ECONNRESET)
            // What the peer has replied before can still be read.
            myIsBroken = true;
        else if (errno != EAGAIN && errno != EINTR)
            // The peer would wait for the rest of the request, and we for it.
            myError = errno;
    }

    void receive()
    {
        char chunk[16384];
        const ssize_t got = ::recv(myFd, chunk, sizeof(chunk), 0);
        const int error = errno;
        if (got > 0)
            take(chunk, size_t(got));
        else if (got == 0)
        {
            myEndedByClose = true;
            finish(myUnsent ? UT_CONNECTION_CLOSED : UT_CONNECTION_OK);
        }
        else if (error != EAGAIN && error != EINTR)
        {
            myError = error;
            finish(UT_CONNECTION_CLOSED);
        }
    }

    void take(const char *bytes, size_t length)
    {
        if (const void *nul = memchr(bytes, '\0', length))
        {
            length = size_t(static_cast<const char *>(nul) - bytes);
            finish(UT_CONNECTION_OK);
        }
        myReceived += int64(length);
        if (myReceived > myMaxReply)
            finish(UT_CONNECTION_TOO_LONG);
        else
            myReply.append(bytes, int(length));
    }

    void finish(UT_ConnectionResult result)
    {
        myResult = result;
        myIsDone = true;
    }

    const int myFd;
    const ut_Deadline &myDeadline;
    const char *myRequest;
    size_t myUnsent;         // bytes from myRequest on, with the NUL
    bool myIsBroken = false; // no more can be sent
    UT_WorkBuffer &myReply;
    const int64 myMaxReply;
    int64 myReceived = 0;
    bool myIsDone = false;
    bool myEndedByClose = false;
    UT_ConnectionResult myResult = UT_CONNECTION_OK;
    int myError = 0; // errno value, 0 for none
};

} // namespace

// ---- UT_Connection

UT_Connection::UT_Connection(int port, const char *host, int timeoutMs)
    : myHost(UT_ALWAYS_DEEP, host ? host : theLocalHost),
      myMessage(UT_ALWAYS_DEEP, ""), myTraceback(UT_ALWAYS_DEEP, ""),
      myPort(UT_NetSocket::mapToUnprivilegedPort(port)),
      myTimeoutMs(std::max(0, timeoutMs)), myMaxReply(theDefaultMaxReply)
{
}

UT_Connection::~UT_Connection() = default;

bool
UT_Connection::run(const char *command, int length, UT_WorkBuffer &reply)
{
    return send(theCommandTag, command, length, reply);
}

bool
UT_Connection::execute(const char *statements, int length)
{
    UT_WorkBuffer reply;
    return send(theStatementsTag, statements, length, reply) &&
           checkReply(reply);
}

bool
UT_Connection::evaluate(
    const char *expression, int length, UT_WorkBuffer &reply, bool check)
{
    return send(theExpressionTag, expression, length, reply) &&
           (!check || checkReply(reply));
}

void
UT_Connection::setMaxReply(int bytes)
{
    myMaxReply = std::clamp(bytes, 0, INT_MAX - 1);
}

bool
UT_Connection::send(
    const char *tag, const char *text, int length, UT_WorkBuffer &reply)
{
    reply.clear();
    myResult = UT_CONNECTION_OK;
    myMessage.harden("");
    myTraceback.harden("");
    myEndedByClose = false;

    if (!text)
    {
        text = "";
        length = 0;
    }
    const size_t lengthBytes = length < 0 ? strlen(text) : size_t(length);
    if (lengthBytes > theLongestRequestText)
        return fail(UT_CONNECTION_TOO_LONG, "the text is too long to be sent");
    if (strnlen(text, lengthBytes) < lengthBytes)
        return fail(
            UT_CONNECTION_HAS_NUL, "a request cannot contain a NUL byte");

    UT_WorkBuffer xml;
    buildXML(text, lengthBytes, tag, xml);
    if (connectAndExchange(xml, reply))
        return true;
    reply.clear();
    return false;
}

bool
UT_Connection::connectAndExchange(
    const UT_WorkBuffer &xml, UT_WorkBuffer &reply)
{
    const ut_Deadline deadline(myTimeoutMs);
    ut_Addresses addresses;
    if (const int code = utLookUp(myHost, addresses))
        return failAtPeer(UT_CONNECTION_NO_HOST, gai_strerror(code));

    int error = 0;
    for (const addrinfo *each = addresses.get(); each; each = each->ai_next)
    {
        const ut_ClientDescriptor fd;
        if (fd.get() < 0)
            return failAtPeer(errno);
        sockaddr_in address;
        memcpy(&address, each->ai_addr, sizeof(address));
        address.sin_port = htons(uint16(myPort));
        error = utConnect(fd.get(), address, deadline);
        if (error)
            continue;

        ut_RequestExchange exchange(fd.get(), deadline, xml, reply, myMaxReply);
        switch (exchange.run())
        {
        case UT_CONNECTION_OK:
            myEndedByClose = exchange.endedByClose();
            return true;
        case UT_CONNECTION_TOO_LONG:
            return failAtPeer(
                UT_CONNECTION_TOO_LONG, "the reply is longer than the limit");
        case UT_CONNECTION_CLOSED:
            return failAtPeer(
                UT_CONNECTION_CLOSED,
                "the connection was closed before the reply was complete");
        default:
            return failAtPeer(exchange.error());
        }
    }
    return failAtPeer(error);
}

// Whether a reply to a Python request reports success. A failure empties it.
bool
UT_Connection::checkReply(UT_WorkBuffer &reply)
{
    const char *const text = reply.buffer();
    if (strncmp(text, theTraceback, strlen(theTraceback)) == 0)
    {
        myTraceback.harden(text);
        int end = reply.length();
        while (isspace(uint8(text[end - 1])))
            --end;
        int start = end;
        while (start > 0 && text[start - 1] != '\n')
            --start;
        UT_WorkBuffer message;
        message.append(text + start, end - start);
        fail(UT_CONNECTION_REMOTE_ERROR, message.buffer());
    }
    else if (strncmp(text, theError, strlen(theError)) == 0)
    {
        int end = reply.length();
        while (text[end - 1] == '\n')
            --end;
        UT_WorkBuffer message;
        const int start = int(strlen(theError));
        message.append(text + start, end - start);
        fail(UT_CONNECTION_REQUEST_REFUSED, message.buffer());
    }
    else
        return true;
    reply.clear();
    return false;
}

bool
UT_Connection::fail(UT_ConnectionResult result, const char *message)
{
    myResult = result;
    myMessage.harden(message);
    return false;
}

// A failure that concerns the other end.
bool
UT_Connection::failAtPeer(UT_ConnectionResult result, const char *reason)
{
    UT_WorkBuffer message;
    message.sprintf("%s port %d: %s", host(), myPort, reason);
    return fail(result, message.buffer());
}

// A failure that has an errno value.
bool
UT_Connection::failAtPeer(int error)
{
    char space[128];
    const char *const reason = strerror_r(error, space, sizeof(space));
    switch (error)
    {
    case ECONNREFUSED:
        return failAtPeer(UT_CONNECTION_REFUSED, reason);
    case ECONNRESET:
        return failAtPeer(UT_CONNECTION_CLOSED, reason);
    case ETIMEDOUT:
        break;
    default:
        return failAtPeer(UT_CONNECTION_SYSTEM_ERROR, reason);
    }
    if (!myTimeoutMs) // the system's own limit
        return failAtPeer(UT_CONNECTION_TIMED_OUT, reason);
    UT_WorkBuffer text;
    text.sprintf("no complete reply in %d ms", myTimeoutMs);
    return failAtPeer(UT_CONNECTION_TIMED_OUT, text.buffer());
}

UT_ConnectionResult
UTsendRequest(
    UT_RequestKind kind, const char *text, int port, const char *host,
    int timeoutMs, char **reply, char **message)
{
    *reply = nullptr;
    *message = nullptr;
    try
    {
        UT_Connection connection(port, host, timeoutMs);
        UT_WorkBuffer received;
        switch (kind)
        {
        case UT_REQUEST_RUN:
            connection.run(text, received);
            break;
        case UT_REQUEST_EXECUTE:
            connection.execute(text);
            break;
        case UT_REQUEST_EVALUATE:
            connection.evaluate(text, received);
            break;
        }
        received.append(connection.traceback());
        ut_BlockOwner<char> owner(utDuplicate(received.buffer()));
        *message = utDuplicate(connection.message());
        *reply = owner.release();
        return connection.result();
    }
    catch (const std::bad_alloc &)
    {
        return UT_CONNECTION_SYSTEM_ERROR;
    }
}
