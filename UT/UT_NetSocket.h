// TCP sockets over IPv4: clients, with the one-shot exchange that runs a
// command in the application, and listeners, with waiting and look-ups.
//
// The class has two sources. A banner names the source of the operations under
// it; the virtual ones are together, because their order is binary interface.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <sys/select.h>

// A timeval must be as wide as in the library.
static_assert(
    sizeof(timeval) == 2 * sizeof(long),
    "UT_NetSocket.h is for programs built without -D_TIME_BITS=64");

class UT_Lock;
class UT_String;
class UT_WorkBuffer;
struct in_addr;
struct sockaddr_in;

/// Results of socket operations.
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

/// Guards the resolver's calls with static results (`gethostbyname` and the
/// like). Look-ups of this class take it; programs that make such calls
/// themselves should too. Not recursive.
extern UT_API UT_Lock theHostByNameLock;

/// A stream socket: a client's, a listener, or one that a listener accepted.
///
/// Results are those of UT_NetResult unless an operation says otherwise.
/// Operations that wait use `select`, which has no bit for a descriptor of 1024
/// or more: they return -4 for it. Connecting, reading and writing without a
/// time limit work. A write to a connection that the peer has closed raises
/// SIGPIPE, which is left to the program.
///
/// The class calls its own virtual operations virtually, so a subclass can
/// replace them.
///
/// Descriptors are closed when the process starts another program, except those
/// that the program passed in. A child of fork() shares the connections with
/// its parent: it must not use, close or delete a socket that it inherited,
/// because that shuts the connection down for the parent too. It may close the
/// descriptor with the system's `close` and leave the object alone. It must not
/// look up a host if another thread may have done so during the fork, because
/// theHostByNameLock then stays locked.
///
/// One thread at a time may use a socket; static operations are thread-safe
/// unless they say otherwise.
class UT_API UT_NetSocket
{
public:
    /// A socket without descriptor, host or port.
    UT_NetSocket();

    /// A client socket for `host` (copied; null never resolves) and `port`. It
    /// is not connected yet, and nothing is looked up. `timeout` is ignored. If
    /// no descriptor is available, isValid() is false.
    UT_NetSocket(const char *host, int port, bool blocking, int timeout);

    /// A socket for a connected descriptor, which it owns, with the port of the
    /// `listener` that accepted it (0 for null).
    UT_NetSocket(UT_NetSocket *listener, int fd, bool blocking);

    /// A listener on all addresses of this host at `port`, with room for 128
    /// waiting connections. Port 0 stands for any free one, which getPort()
    /// returns. If the port is not available, isValid() is false.
    ///
    /// Deliberate: a port outside 0 to 65535 is taken modulo 65536, but
    /// getPort() returns the number that was asked for: 75536 listens at port
    /// 10000, and 65536 at any free one.
    UT_NetSocket(int port, bool blocking);

    UT_NetSocket(const UT_NetSocket &) = delete;
    UT_NetSocket &operator=(const UT_NetSocket &) = delete;

    // ---- Virtual operations
    // Their order is binary interface: add only at the end.

    /// Closes the socket.
    virtual ~UT_NetSocket();

    /// The next connection that waits at this listener, as a socket that blocks
    /// when `blocking` is non-zero; caller deletes. Null on failure. When there
    /// is no memory for the socket the connection is closed. `status` is set to
    /// 0, -1 (no connection waits at a non-blocking listener), -4 (a system
    /// call failed, a signal came or the peer has hung up), or -5 (not a
    /// listener).
    [[nodiscard]] virtual UT_NetSocket *accept(int blocking, int &status);

    /// Looks up the host and connects to it. Waits up to `timeoutMs`; with a
    /// value below 1 a blocking socket waits up to the system's own limit, and
    /// a non-blocking one returns -1 while the connection is being made: call
    /// again for the result. Returns -3 when the time runs out or a signal
    /// interrupts the wait. A failed connect can be tried again; after one that
    /// was refused during the wait, the system reports the failure once more
    /// before it retries.
    ///
    /// A connection of the socket to itself, which the system sometimes makes
    /// where nothing listens, counts as refused (-3).
    virtual int connect(int timeoutMs);

    /// Closes the socket as closeInetSocket() does.
    virtual int close();

    /// Ends one direction (SHUT_RD, SHUT_WR) or both (SHUT_RDWR).
    virtual int shutdown(int how);

    /// Writes `len` bytes in one system call, which may take fewer; the caller
    /// writes the rest. `*written` (unless null) is set to the number of bytes
    /// written, 0 on failure; it is left alone when the result is -6.
    virtual int write(const void *data, int len, int *written);

    /// Waits until a read (on a listener: accept) would not block, and returns
    /// 1; returns 0 when `timeoutMs` milliseconds have passed. -4 also for a
    /// negative `timeoutMs`. Signals do not extend the time.
    virtual int dataAvailable(int timeoutMs);

    /// Waits for bytes as waitForDataOrTimeout() does and, when that returns 0,
    /// reads up to `len` bytes in one system call. `*got` (unless null) is set
    /// to their number: 0 when the peer has closed the connection, and on
    /// failure. It is left alone when the wait failed.
    virtual int read(void *buf, int len, int *got, int timeoutMs);

    /// Replaces the text of `out` by the next message. Waits for its first
    /// bytes as waitForDataOrTimeout() does. With `untilNul` the message ends
    /// when its last byte is NUL and no more bytes are waiting; without it,
    /// when no more bytes are waiting. It also ends, with result 0, when the
    /// peer closes the connection. A blocking socket waits without limit for
    /// the rest of the message; a non-blocking one returns -1 when no more
    /// bytes arrive before its end.
    ///
    /// NULs, including the last one, are part of the text. After a failure
    /// `out` holds the bytes received before it. A locked `out` is unchanged
    /// and the bytes are lost; with `untilNul` and an empty locked `out`, a
    /// blocking socket then reads until the peer closes the connection. Throws
    /// std::bad_alloc, as for any lack of memory, when the message has INT_MAX
    /// bytes or more.
    ///
    /// The message is collected by calls of read() for at most 8191 bytes each,
    /// and dataAvailable() is called only where its result decides whether the
    /// message continues. A socket that is not of a subclass reads the rest of
    /// a long message in larger parts, to the same result. The only allocations
    /// are those of `out`, which doubles.
    virtual int read(UT_WorkBuffer &out, int timeoutMs, bool untilNul);

    /// Waits as waitForDataOrTimeout() does and copies up to `len` of the bytes
    /// that arrived to `buf`, without consuming them. Their number is not
    /// reported: clear `buf` before the call to see what was written.
    virtual int peek(void *buf, int len, int timeoutMs);

    /// Sends the control request number 1 (reading) or 2 (writing) to the
    /// descriptor's driver. Returns 1 when the driver refuses, as sockets of
    /// this system do, and 0 when it accepts.
    virtual int flushRead();
    virtual int flushWrite();

    /// Stores the peer's address as text ("127.0.0.1"), for which `text` has 16
    /// bytes, and its port. On failure both are left alone.
    virtual int getRemoteSocket(char *text, int &port) const;

    /// Sets whether operations wait, or return -1 instead. The setting is
    /// recorded even when the call fails: -6 without a descriptor, -4 when the
    /// system refuses.
    virtual int setBlocking(bool blocking);

    /// Whether there is a descriptor.
    virtual bool isValid();

    // ---- Connection and exchange: UT_NetSocket.cpp

    /// A new client socket; caller deletes. The last argument is ignored, as is
    /// `timeout`.
    [[nodiscard]] static UT_NetSocket *newSocketFromAddr(
        const char *host, int port, bool blocking, int timeout, int unused);

    /// A new listener; caller deletes.
    [[nodiscard]] static UT_NetSocket *newSocket(int port, bool blocking);

    /// Runs one command in the application that listens on `port` of `host`
    /// (null means this machine): connects, sends `command` (null counts as "")
    /// with its NUL, reads the reply until it is complete or the peer closes
    /// the connection, and closes. Returns true when all of it succeeded;
    /// `result` is then the reply, with its NUL if there was one. A failure may
    /// leave part of a reply.
    ///
    /// `mapToUnprivileged` applies mapToUnprivilegedPort() to the port. The
    /// command is sent in one write(); the result is false when that takes only
    /// a part of it, as may happen when a signal arrives while the peer does
    /// not read. Signals end no other step. There is no time limit: a silent
    /// peer is waited for forever.
    ///
    /// Commands are code: without a host they never leave the machine. The name
    /// "localhost" is looked up, and if that fails or gives an address outside
    /// 127.0.0.0/8, the address is 127.0.0.1.
    ///
    /// A reply ends when its last byte is NUL and no more bytes are waiting. So
    /// if a peer sends two parts, each with its NUL, the reply is both of them
    /// when the second has arrived by then, and only the first otherwise.
    static bool sendCommandAndGetResult(
        int port, const char *command, UT_WorkBuffer &result, const char *host,
        bool mapToUnprivileged);

    /// Runs one command as sendCommandAndGetResult() does, but with limits:
    /// about 5 seconds to connect, and 11 reads in the whole exchange that end
    /// after 200 ms without data or before the end of the reply. A read that
    /// fails for another reason is repeated without limit; after a reset the
    /// next one ends the exchange, with true and the bytes received so far. A
    /// command that the system does not accept in one write fails. Signals do
    /// not shorten the waits between the attempts to connect.
    ///
    /// Returns false, before anything is sent, when the process has so many
    /// open files that the descriptor is 1024 or more.
    static bool nonBlockingSendCommandAndGetResult(
        int port, const char *command, UT_WorkBuffer &result, const char *host,
        bool mapToUnprivileged);

    /// `port` modulo 65535, plus 10000 if that is below 10000: 10000 to 65534
    /// are unchanged, 80 becomes 10080, 65535 becomes 10000 and -1 becomes
    /// 65534.
    static int mapToUnprivilegedPort(int port);

    /// Connects to an address of `addrLen` bytes. Returns 0 or the `errno`
    /// value of the failure, ETIMEDOUT when `timeoutMs` (1 or more) have
    /// passed.
    int connectOrTimeout(sockaddr_in *addr, int addrLen, int timeoutMs);

    /// Makes one `connect` system call. Returns 0 or its `errno` value.
    int doConnect(int fd, sockaddr_in *addr, int addrLen);

    /// Waits until a read would not block, and returns 0; a negative
    /// `timeoutMs` returns 0 at once without waiting. -1 when `timeoutMs` have
    /// passed, -4 on failure and -6 unless connected.
    int waitForDataOrTimeout(int timeoutMs);

    /// Shuts down and closes the descriptor. Returns the result of the system's
    /// `close`, or -1 without a descriptor. The socket counts as blocking
    /// afterwards.
    int closeInetSocket();

    /// Whether a connect or accept has succeeded and no close has followed.
    bool isConnected() { return myConnectedFlag; }

    /// The descriptor, -1 without one. The socket still owns it.
    [[nodiscard]] int getSocket() const { return mySocket; }

    /// The port: the peer's for a client, otherwise the listener's.
    [[nodiscard]] int getPort() const { return myPort; }

    /// The host given at construction, this host's name for a listener, null
    /// for an accepted socket. Borrowed until the socket is destroyed.
    [[nodiscard]] const char *getHost() const { return myHostName; }

    /// Whether this is a listener.
    [[nodiscard]] bool isServer() const { return myServerFlag; }

    /// Whether operations wait.
    [[nodiscard]] bool isBlocking() const { return myBlockingFlag; }

    /// Sets whether read, write and peek end the process, with
    /// UT_Exit::exit(2), when the peer has aborted or reset the connection. Off
    /// by default.
    void terminateOnConnectionLost(bool terminate)
    {
        myTerminateFlag = terminate;
    }

    // ---- Waiting and look-ups: UT_NetSocketServices.cpp

    /// Empties a set. Returns 0.
    static int fdZero(fd_set *set);

    /// Adds `fd` to a set, or removes it. Returns 0, or -4 with the set
    /// unchanged when `fd` is not within 0 to 1023.
    static int fdSet(int fd, fd_set *set);
    static int fdClr(int fd, fd_set *set);

    /// Whether `fd` is in a set; false when it is not within 0 to 1023.
    static bool fdIsSet(int fd, fd_set *set);

    /// Calls the system's `select`, again after each signal that interrupts it;
    /// the time that has passed is subtracted from `limit`. The last argument
    /// is ignored. Returns the number of descriptors, 0 when the time runs out,
    /// and -1 with `errno` set on failure.
    static int select(
        int nfds, fd_set *read, fd_set *write, fd_set *except, timeval *limit,
        bool unused);

    /// Whether this socket's descriptor is in `set`.
    bool isSocketSelected(fd_set &set);

    /// Waits up to `timeoutMs` for the states whose pointers are not null,
    /// stores whether each holds, and returns how many do. Returns 0 when the
    /// time runs out, -1 when `select` fails (with `errno` set; EINVAL for a
    /// negative time), and -4 when `select` does not accept the descriptor
    /// (`errno` is EBADF). The flags are then unchanged.
    int checkDataStatus(
        bool *readable, bool *writable, bool *exceptional, int timeoutMs);

    /// Stores the peer's address at the connect or accept, first octet first.
    /// Returns false, and stores zeros, when there is none.
    bool getRemoteIP4(int ip[4]);

    /// The address of this end, or of this host when there is no descriptor, as
    /// in `sin_addr` (network byte order). 0 when it is unknown or not bound
    /// yet.
    [[nodiscard]] unsigned getLocalIP4() const;

    /// Stores the address of this end as octets, first octet first. Returns
    /// whether it is not 0.
    bool getLocalIP4(int ip[4]);

    /// Stores the name of this host. Returns 0, or -1 when `len` bytes are too
    /// few, as the system's `gethostname` does.
    static int getHostName(char *buf, int len);

    /// Stores the first IPv4 address of `host` (null or "" means this host),
    /// first octet first. On failure returns false and leaves `addr` alone. May
    /// ask a name server, which can take long.
    static bool getHostAddress(unsigned char addr[4], const char *host);

    /// Stores the official name of a host given by name or by dotted address;
    /// null or "" means this host. `name` owns its text. On failure returns
    /// false and leaves `name` alone. May ask a name server.
    static bool getHostNameByAlias(UT_String &name, const char *alias);

    /// Stores the official name of a host as getHostNameByAlias() does; `alias`
    /// must not be null. Call with theHostByNameLock held. The octets of a
    /// dotted address are read as 16-bit numbers, which wrap: 65663 is 127.
    static bool commonGetHostNameByAlias(UT_String &name, const char *alias);

    /// The port of a service ("http") under a protocol ("tcp"; null means any),
    /// or `fallback` when it is unknown. The system's look-up has a static
    /// result, which no lock guards: one thread only.
    static int
    getPortByService(const char *service, const char *protocol, int fallback);

private:
    UT_LOCAL void openSocket();
    UT_LOCAL bool bindToPort();
    UT_LOCAL int connectTo(const in_addr &host, int timeoutMs, int &error);
    UT_LOCAL int connectExchange(const char *host);
    UT_LOCAL bool connectPatiently(const char *host);
    UT_LOCAL int waitForConnect(int timeoutMs);
    UT_LOCAL bool goesOn(const UT_WorkBuffer &out, bool untilNul);
    UT_LOCAL int readPart(UT_WorkBuffer &out, int &got);
    UT_LOCAL int readIntoStorage(UT_WorkBuffer &out, int &got, int &touched);
    [[nodiscard]] UT_LOCAL int resultOfError(int error) const;

    // Programs derive from sockets: order and size stay.
    char *myHostName;          // strdup'ed, or null
    int32 myPort;              // in host byte order
    int32 mySocket;            // the descriptor, or -1
    uint32 myRemoteAddress;    // as in sin_addr; 0 when not known
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
