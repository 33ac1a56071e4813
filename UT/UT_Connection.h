// The client's end of the connection to a running application: sends commands
// and Python code, and gets the replies.
//
//     UT_Connection connection;
//     UT_WorkBuffer reply;
//     if (connection.evaluate("6 * 7", reply))
//         std::puts(reply.buffer()); // 42
//     else
//         std::fprintf(stderr, "%s\n", connection.message());

#pragma once

#include "UT_API.h"
#include "UT_String.h"

#include "SYS/SYS_Types.h"

class UT_WorkBuffer;

/// The application's command port, unless a client asks for another one.
constexpr int UT_DEFAULT_PORT = 32153;

/// How a request ended.
enum UT_ConnectionResult
{
    UT_CONNECTION_OK,
    UT_CONNECTION_REFUSED,         ///< nothing listens at the port
    UT_CONNECTION_NO_HOST,         ///< the host's name did not resolve
    UT_CONNECTION_TIMED_OUT,       ///< no complete reply within the time limit
    UT_CONNECTION_CLOSED,          ///< lost before the reply was complete
    UT_CONNECTION_TOO_LONG,        ///< the text, or the reply, has no room
    UT_CONNECTION_HAS_NUL,         ///< the text contains a NUL byte
    UT_CONNECTION_REQUEST_REFUSED, ///< the reply begins with "ERROR: "
    UT_CONNECTION_REMOTE_ERROR,    ///< the Python code raised an exception
    UT_CONNECTION_SYSTEM_ERROR     ///< another system call failed
};

/// Sends requests to the application that listens on a port.
///
/// Each request opens a connection of its own, as the application expects, so
/// an object holds no socket and outlives a restart of the application. A
/// request never raises SIGPIPE, and signals do not interrupt it.
///
/// Texts travel byte for byte; the application expects UTF-8. A text with a
/// `length` (in bytes, negative for the text up to its NUL) needs no NUL; null
/// counts as "". A NUL within `length` bytes is refused, because no request can
/// carry it.
///
/// A reply ends before its first NUL; what follows that is not read. An
/// application may also end a reply by closing the connection, see
/// endedByClose(). A reply that has arrived counts even when the application
/// has not read all of the request. The reply replaces the contents of `reply`,
/// which must not be locked and is empty after a failure. The text of a request
/// must not be part of it.
///
/// One thread at a time may use an object; several objects are independent.
class UT_API UT_Connection
{
public:
    /// For the application at `port` of `host` (copied). The port is mapped as
    /// UT_NetSocket::mapToUnprivilegedPort() does. Null is this machine,
    /// 127.0.0.1, without a look-up; a name or a dotted address is looked up by
    /// each request, and its IPv4 addresses are tried in turn.
    ///
    /// A request and its reply take at most `timeoutMs` milliseconds, however
    /// the application behaves; 0 and less set no limit. Only the look-up of a
    /// name, by the system's resolver, may take longer than that.
    explicit UT_Connection(
        int port = UT_DEFAULT_PORT, const char *host = nullptr,
        int timeoutMs = 0);

    ~UT_Connection();

    UT_Connection(const UT_Connection &) = delete;
    UT_Connection &operator=(const UT_Connection &) = delete;

    /// The port that requests connect to, from 10000 to 65534.
    [[nodiscard]] int port() const { return myPort; }

    /// The host as it was given; "127.0.0.1" for null. Borrowed until the
    /// object is destroyed.
    [[nodiscard]] const char *host() const { return myHost; }

    /// The time limit in milliseconds; 0 for none.
    [[nodiscard]] int timeoutMs() const { return myTimeoutMs; }

    /// The length of the longest reply in bytes, without its NUL.
    [[nodiscard]] int maxReply() const { return myMaxReply; }

    // ---- The last request

    /// How it ended; UT_CONNECTION_OK before the first.
    [[nodiscard]] UT_ConnectionResult result() const { return myResult; }

    /// What went wrong, as in "127.0.0.1 port 32153: Connection refused". The
    /// last line of the traceback when Python code raised an exception, and the
    /// reply without "ERROR: " when the request was refused.
    /// "" after success. Borrowed until the next request.
    [[nodiscard]] const char *message() const { return myMessage; }

    /// The application's traceback for UT_CONNECTION_REMOTE_ERROR, "" for any
    /// other result. Borrowed until the next request.
    [[nodiscard]] const char *traceback() const { return myTraceback; }

    /// Whether the reply ended with the connection instead of a NUL. It is
    /// complete if the application ends its replies so, and may be cut if it
    /// usually sends the NUL.
    [[nodiscard]] bool endedByClose() const { return myEndedByClose; }

    // ---- Requests
    // They return whether result() is UT_CONNECTION_OK.

    /// Runs a vscript command. `reply` is its output, also where that reports
    /// an error.
    bool run(const char *command, UT_WorkBuffer &reply)
    {
        return run(command, -1, reply);
    }
    bool run(const char *command, int length, UT_WorkBuffer &reply);

    /// Runs Python statements. False also when they fail.
    bool execute(const char *statements) { return execute(statements, -1); }
    bool execute(const char *statements, int length);

    /// Evaluates a Python expression. `reply` is the text of its value. False
    /// also when it fails.
    ///
    /// Only its text shows that a request failed: a value whose text begins
    /// with the line "Traceback (most recent call last):" or with "ERROR: " is
    /// taken for a failure. With `check` false any reply is a success.
    bool
    evaluate(const char *expression, UT_WorkBuffer &reply, bool check = true)
    {
        return evaluate(expression, -1, reply, check);
    }
    bool evaluate(
        const char *expression, int length, UT_WorkBuffer &reply,
        bool check = true);

    // ---- Changes

    /// Sets the length of the longest reply, in bytes without its NUL; 64 MiB
    /// by default. A request whose reply is longer fails, and the rest of the
    /// reply is not read. Negative counts as 0; no reply can be longer than a
    /// UT_WorkBuffer.
    void setMaxReply(int bytes);

private:
    UT_LOCAL bool
    send(const char *tag, const char *text, int length, UT_WorkBuffer &reply);
    UT_LOCAL bool
    connectAndExchange(const UT_WorkBuffer &xml, UT_WorkBuffer &reply);
    UT_LOCAL bool checkReply(UT_WorkBuffer &reply);
    UT_LOCAL bool fail(UT_ConnectionResult result, const char *message);
    UT_LOCAL bool failAtPeer(UT_ConnectionResult result, const char *reason);
    UT_LOCAL bool failAtPeer(int error);

    // Programs hold connections by value: order and size stay.
    UT_String myHost;      // owned
    UT_String myMessage;   // owned
    UT_String myTraceback; // owned
    int32 myPort;
    int32 myTimeoutMs;
    int32 myMaxReply;
    UT_ConnectionResult myResult = UT_CONNECTION_OK;
    bool myEndedByClose = false;
};

static_assert(sizeof(void *) != 4 || sizeof(UT_Connection) == 44);

/// The kinds of requests.
enum UT_RequestKind
{
    UT_REQUEST_RUN,
    UT_REQUEST_EXECUTE,
    UT_REQUEST_EVALUATE
};

extern "C"
{
    /// Sends one request as a UT_Connection does and returns its result().
    /// `*reply` is set to the reply or, for UT_CONNECTION_REMOTE_ERROR, to the
    /// traceback, and `*message` to the message(); caller frees both with
    /// free(). When there is no memory for them both are null, and the result
    /// is UT_CONNECTION_SYSTEM_ERROR. Thread-safe. The name is plain, for
    /// programs that load the library.
    UT_API UT_ConnectionResult UTsendRequest(
        UT_RequestKind kind, const char *text, int port, const char *host,
        int timeoutMs, char **reply, char **message);
}
