// TCP sockets over IPv4: the client side, with the one-shot exchange that runs
// a command in the application, and the listening side, with waiting and
// look-ups.
//
// The class has two sources. Its operations stand under a banner each, which
// names the source; the virtual ones stand together, because their order
// matters.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"
#include <sys/select.h>

// A timeval has the width that it has in the library.
static_assert(
    sizeof(timeval) == 2 * sizeof(long),
    "UT_NetSocket.h is for programs built without -D_TIME_BITS=64");

class UT_Lock;
class UT_String;
class UT_WorkBuffer;
struct in_addr;
struct sockaddr_in;

/// What socket operations answer.
enum UT_NetResult
{
    UT_NET_OK = 0,
    UT_NET_WOULD_BLOCK = -1,    ///< nothing yet: would block, or timed out
    UT_NET_HOST_NOT_FOUND = -2, ///< the host name did not resolve
    UT_NET_CONNECT_FAILED = -3, ///< refused, or failed for another reason
    UT_NET_SYSTEM_ERROR = -4,   ///< a system call failed
    UT_NET_WRONG_KIND = -5,     ///< connect on a listener, accept on another
    UT_NET_NOT_CONNECTED = -6   ///< not connected, or no descriptor
};

/// Guards the resolver's calls with static results (`gethostbyname` and its
/// like). Look-ups of this class take it; programs that make such calls beside
/// them should too. Not recursive.
extern UT_API UT_Lock theHostByNameLock;

/// A stream socket: a client's, a listener, or one that a listener accepted.
///
/// Results are those of UT_NetResult unless an operation says otherwise.
/// Waiting goes through `select`, so a descriptor of 1024 or more, for which it
/// has no bit, is refused there with -4; connecting, reading and writing
/// without a time limit work for it. A write to a connection that the peer has
/// closed raises SIGPIPE, which stays the program's business.
///
/// The class calls its own virtual operations through their slots, so a
/// subclass can replace them.
///
/// Descriptors are closed when the process starts another program, except those
/// that a program brought itself. A child of fork() shares the connections with
/// its parent: it must not use, close or delete a socket that it inherited,
/// because that shuts the connection down for the parent, too. It may close the
/// descriptor with the system's `close` and forget the object. And it must not
/// look a host up if another thread may have done so at the moment of the fork,
/// because theHostByNameLock then stays locked.
///
/// One thread at a time may use a socket; static operations are thread-safe
/// unless they say otherwise.
class UT_API UT_NetSocket
{
public:
    /// A socket without descriptor, host or port.
    UT_NetSocket();

    /// A client socket for `host` (copied; null never resolves) and `port`. It
    /// is not connected and nothing is looked up. `timeout` is ignored. Without
    /// a descriptor to be had, isValid() is false.
    UT_NetSocket(const char *host, int port, bool blocking, int timeout);

    /// Wraps a connected descriptor, which it owns, as `listener` (null counts
    /// as port 0) accepted it.
    UT_NetSocket(UT_NetSocket *listener, int fd, bool blocking);

    /// A listener on all addresses of this host at `port`, with room for 128
    /// waiting connections. Port 0 stands for any free one, which getPort()
    /// returns. When the port cannot be had, isValid() is false.
    ///
    /// Deliberate: a port outside 0 to 65535 is taken modulo 65536, 65536 as
    /// any free one, while getPort() goes on to return what was asked for.
    UT_NetSocket(int port, bool blocking);

    UT_NetSocket(const UT_NetSocket &) = delete;
    UT_NetSocket &operator=(const UT_NetSocket &) = delete;

    // ---- Virtual operations
    // Their order is binary interface: add only at the end.

    /// Closes the socket.
    virtual ~UT_NetSocket();

    /// The next connection that waits at this listener; the caller deletes it.
    /// It blocks later on when `blocking` is non-zero. Null on failure.
    /// Without memory for the socket the connection is closed. `status` becomes
    /// 0, -1 (nobody waits at a non-blocking listener), -4 (a signal, or a peer
    /// that has gone, gives this too), or -5 (not a listener).
    [[nodiscard]] virtual UT_NetSocket *accept(int blocking, int &status);

    /// Looks the host up and connects to it. With `timeoutMs` below 1 the
    /// system's limit holds for a blocking socket, and a non-blocking one
    /// answers -1 while the connection is being made: call again to learn how
    /// it went. Otherwise waits up to `timeoutMs`. A failed connect can be
    /// tried again; after one that was refused while it was waited for, the
    /// system tells the failure once more before it tries. Time runs out with
    /// -3, as does a signal while the system waits.
    ///
    /// A connection to this very socket, which the system makes now and then
    /// where nobody listens, counts as refused (-3).
    virtual int connect(int timeoutMs);

    /// The same as closeInetSocket().
    virtual int close();

    /// Ends one direction (SHUT_RD, SHUT_WR) or both (SHUT_RDWR).
    virtual int shutdown(int how);

    /// Writes `len` bytes in one system call, which may take fewer: `*written`
    /// (unless null) tells how many went out, 0 on failure; it is left alone
    /// when the answer is -6. The rest is the caller's to write.
    virtual int write(const void *data, int len, int *written);

    /// 1 when a read (on a listener: accept) would not wait, 0 when `timeoutMs`
    /// milliseconds passed without that. -4 also for a negative `timeoutMs`.
    /// Signals do not extend the time.
    virtual int dataAvailable(int timeoutMs);

    /// Waits for bytes as waitForDataOrTimeout() does and, when that answers 0,
    /// reads up to `len` bytes in one system call. `*got` (unless null) is
    /// their number, where 0 means that the peer closed; 0 on failure, but left
    /// alone when the wait did not end well.
    virtual int read(void *buf, int len, int *got, int timeoutMs);

    /// Replaces the text of `out` by the message that arrives, after a wait
    /// for its first bytes as waitForDataOrTimeout() does it. With `untilNul`
    /// the message goes on until its last byte is NUL and nothing more waits at
    /// that moment; without it, until nothing more waits. In any case it ends
    /// when the peer closes, with result 0. A blocking socket waits for the
    /// bytes of the message without limit; a non-blocking one answers -1 when
    /// they stop short.
    ///
    /// NULs, the last one too, are part of the text. A failure leaves in `out`
    /// what came before. A locked `out` stays as it is and what arrives is
    /// lost; with `untilNul` and an empty locked `out`, a blocking socket then
    /// reads until the peer closes.
    ///
    /// The message is gathered by read() of at most 8191 bytes each, and
    /// dataAvailable() is asked only where its answer decides whether the
    /// message goes on. The only allocations are those of `out`, which doubles.
    virtual int read(UT_WorkBuffer &out, int timeoutMs, bool untilNul);

    /// Copies up to `len` bytes that arrived to `buf` and leaves them to be
    /// read, after waitForDataOrTimeout(). Their number is not reported: clear
    /// `buf` before and look at it afterwards.
    virtual int peek(void *buf, int len, int timeoutMs);

    /// Ask the descriptor's driver for its control request number 1 (reading)
    /// or 2 (writing). 1 when it refused, as sockets of this system do; 0 when
    /// it took it.
    virtual int flushRead();
    virtual int flushWrite();

    /// The peer's address as text ("127.0.0.1"), for which `text` has 16 bytes,
    /// and its port. On failure both are left alone.
    virtual int getRemoteSocket(char *text, int &port) const;

    /// Makes operations wait, or answer -1 instead. The wish is recorded even
    /// where it fails: -6 without a descriptor, -4 when the system refuses.
    virtual int setBlocking(bool blocking);

    /// Whether there is a descriptor.
    virtual bool isValid();

    // ---- Connection and exchange: UT_NetSocket.cpp

    /// A new client socket; the caller deletes it. The last argument is
    /// ignored, as is `timeout`.
    [[nodiscard]] static UT_NetSocket *newSocketFromAddr(
        const char *host, int port, bool blocking, int timeout, int unused);

    /// A new listener; the caller deletes it.
    [[nodiscard]] static UT_NetSocket *newSocket(int port, bool blocking);

    /// Runs one command in the application that listens on `port` of `host`
    /// (null means this machine): connects, sends `command` (null counts as "")
    /// with its NUL, reads the reply until it is complete or the peer closes,
    /// and closes. True when all of it succeeded; `result` is then the reply,
    /// with its NUL if there was one. A failure may leave part of a reply.
    ///
    /// `mapToUnprivileged` sends the port through mapToUnprivilegedPort().
    /// The command goes out in one write(); false when that takes only a part
    /// of it, as it may when a signal comes while the peer does not read. There
    /// is no time limit: a peer that stays silent is waited for without end.
    ///
    /// Commands are code: without a host they never leave the machine. The name
    /// "localhost" is looked up, and where that gives nothing, or an address
    /// outside 127.0.0.0/8, the address is 127.0.0.1.
    ///
    /// A message ends where its last byte is NUL and nothing more waits. So a
    /// peer that sends two parts, each with its NUL, is read as one reply if
    /// both are there in time, and as the first of them otherwise.
    static bool sendCommandAndGetResult(
        int port, const char *command, UT_WorkBuffer &result, const char *host,
        bool mapToUnprivileged);

    /// The same with limits: about 5 seconds to connect, and 11 reads that may
    /// bring nothing, or not the end, within 200 ms over the whole exchange. A
    /// read that fails otherwise is tried again without limit; after a reset
    /// that ends at once, with true and what had come. A command beyond what
    /// the system takes at once fails. Signals do not shorten the waiting
    /// between the attempts to connect.
    ///
    /// False, before anything is sent, when the process has so many files open
    /// that the descriptor is 1024 or more.
    static bool nonBlockingSendCommandAndGetResult(
        int port, const char *command, UT_WorkBuffer &result, const char *host,
        bool mapToUnprivileged);

    /// `port` modulo 65535, plus 10000 if that is below 10000: 10000 to 65534
    /// stay, 80 becomes 10080, 65535 becomes 10000 and -1 becomes 65534.
    static int mapToUnprivilegedPort(int port);

    /// connect() for an address of `addrLen` bytes. Returns 0 or the `errno`
    /// value of the failure, ETIMEDOUT when `timeoutMs` (1 or more) passed.
    int connectOrTimeout(sockaddr_in *addr, int addrLen, int timeoutMs);

    /// One `connect` system call. Returns 0 or its `errno` value.
    int doConnect(int fd, sockaddr_in *addr, int addrLen);

    /// 0 when a read would not wait: at once when `timeoutMs` is negative,
    /// which waits for nothing. -1 when `timeoutMs` passed, -4 on a failure and
    /// -6 unless connected.
    int waitForDataOrTimeout(int timeoutMs);

    /// Shuts down and closes the descriptor. Returns what the system's `close`
    /// did, or -1 when there is none. The socket counts as blocking afterwards.
    int closeInetSocket();

    /// Whether a connect or accept succeeded and no close followed.
    bool isConnected() { return myConnectedFlag; }

    /// The descriptor, -1 without one. The socket goes on owning it.
    [[nodiscard]] int getSocket() const { return mySocket; }

    /// The port: of the peer for a client, of the listener otherwise.
    [[nodiscard]] int getPort() const { return myPort; }

    /// The host given at construction, this host's name for a listener, null
    /// for an accepted socket. Borrowed until the socket goes.
    [[nodiscard]] const char *getHost() const { return myHostName; }

    /// Whether this is a listener.
    [[nodiscard]] bool isServer() const { return myServerFlag; }

    /// Whether operations wait.
    [[nodiscard]] bool isBlocking() const { return myBlockingFlag; }

    /// Makes read, write and peek end the process, with UT_Exit::exit(2), when
    /// they find that the peer aborted or reset the connection. Off by default.
    void terminateOnConnectionLost(bool terminate)
    {
        myTerminateFlag = terminate;
    }

    // ---- Waiting and look-ups: UT_NetSocketServices.cpp

    /// Empties a set. Returns 0.
    static int fdZero(fd_set *set);

    /// Put `fd` into a set, or take it out. 0, or -4 with the set untouched
    /// when `fd` is not within 0 to 1023.
    static int fdSet(int fd, fd_set *set);
    static int fdClr(int fd, fd_set *set);

    /// Whether `fd` is in a set; false for one that cannot be.
    static bool fdIsSet(int fd, fd_set *set);

    /// The system's `select`, repeated while signals interrupt it; the time
    /// that has passed is taken off `limit`. The last argument is ignored.
    /// Returns the number of descriptors, 0 at the end of the time, and -1 with
    /// `errno` set on failure.
    static int select(
        int nfds, fd_set *read, fd_set *write, fd_set *except, timeval *limit,
        bool unused);

    /// Whether this socket's descriptor is in `set`.
    bool isSocketSelected(fd_set &set);

    /// Waits up to `timeoutMs` for the states whose pointers are not null.
    /// Returns how many of them hold and stores which; 0 at the end of the
    /// time, -1 when `select` fails (`errno` tells why; EINVAL for a negative
    /// time), -4 when the descriptor does not suit it (`errno` is EBADF). The
    /// flags then stay as they were.
    int checkDataStatus(
        bool *readable, bool *writable, bool *exceptional, int timeoutMs);

    /// The peer's address, first octet first, as the connect or accept had it.
    /// False when there is none; the octets are 0 then.
    bool getRemoteIP4(int ip[4]);

    /// The address of this end, or of this host when there is no descriptor,
    /// as `sin_addr` holds it (network byte order). 0 when it is not known or
    /// not bound yet.
    [[nodiscard]] unsigned getLocalIP4() const;

    /// The same as octets, first octet first. Returns whether it is not 0.
    bool getLocalIP4(int ip[4]);

    /// The name of this host. Returns what the system's `gethostname` does: 0,
    /// or -1 when `len` bytes are too few.
    static int getHostName(char *buf, int len);

    /// The first IPv4 address of `host` (null or "" means this host), first
    /// octet first. On failure returns false and leaves `addr` alone. May ask a
    /// name server and so take its time.
    static bool getHostAddress(unsigned char addr[4], const char *host);

    /// The official name of a host given by name or by dotted address; null or
    /// "" means this host. `name` owns it. On failure returns false and leaves
    /// `name` alone. May ask a name server.
    static bool getHostNameByAlias(UT_String &name, const char *alias);

    /// The same for an `alias` that is not null. Call with theHostByNameLock
    /// held. The octets of a dotted address are read as 16-bit numbers, which
    /// wrap: 65663 is 127.
    static bool commonGetHostNameByAlias(UT_String &name, const char *alias);

    /// The port of a service ("http") under a protocol ("tcp"; null means any),
    /// or `fallback` when it is unknown. The system call has a static result,
    /// which this does not guard: one thread at a time.
    static int
    getPortByService(const char *service, const char *protocol, int fallback);

private:
    UT_LOCAL void openSocket();
    UT_LOCAL bool bindToPort();
    UT_LOCAL int connectTo(const in_addr &host, int timeoutMs);
    UT_LOCAL int connectExchange(const char *host);
    UT_LOCAL bool connectPatiently(const char *host);
    UT_LOCAL int waitForConnect(int timeoutMs);
    UT_LOCAL bool goesOn(const UT_WorkBuffer &out, bool untilNul);
    [[nodiscard]] UT_LOCAL int resultOfError(int error) const;

    // Programs derive from sockets: order and size stay.
    char *myHostName;          // strdup'ed, or null
    int32 myPort;              // in host byte order
    int32 mySocket;            // the descriptor, or -1
    uint32 myRemoteAddress;    // as sin_addr holds it; 0 when not known
    uint8 myServerFlag : 1;    // listens
    uint8 myConnectedFlag : 1; // may be read and written
    uint8 myKeepOpenFlag : 1;  // leave the descriptor open; nothing sets it
    uint8 myTerminateFlag : 1; // a lost connection ends the process
    uint8 myBlockingFlag : 1;  // O_NONBLOCK is clear
};

static_assert(sizeof(UT_NetSocket) == (sizeof(void *) == 4 ? 24 : 32));

/// The address of this host; its first octet is the lowest byte. 0 when the
/// host's own name does not resolve.
UT_API unsigned utGetHostId();
