// Requests over a socket: a plain reader of CDATA finds the text in what the
// application gets, and the client says of any reply what its bytes say. The
// input is a byte, the text, a NUL and the reply.

#include "ut_FuzzCheck.h"
#include "ut_LoopbackServer.h"

#include "UT/UT_Connection.h"
#include "UT/UT_WorkBuffer.h"

#include <atomic>
#include <cstdint>
#include <memory>

static const std::string theTraceback = "Traceback (most recent call last):\n";
static const std::string theError = "ERROR: ";

static std::atomic<const std::string *> theReply; // to the next request

static const struct
{
    bool (*send)(UT_Connection &, const char *text, UT_WorkBuffer &reply);
    const char *tag;
    bool checksReply;
    bool keepsReply;
} theKinds[] = {
    {[](auto &connection, auto text, auto &reply)
     { return connection.run(text, reply); },
     "vscript",           false, true },
    {[](auto &connection, auto text, auto &)
     { return connection.execute(text); },
     "python_statements", true,  false},
    {[](auto &connection, auto text, auto &reply)
     { return connection.evaluate(text, reply); },
     "python_expression", true,  true },
    {[](auto &connection, auto text, auto &reply)
     { return connection.evaluate(text, reply, /*check=*/false); },
     "python_expression", false, true },
};

static bool
utStartsWith(const std::string &text, const std::string &start)
{
    return text.compare(0, start.size(), start) == 0;
}

// Removes the text from the front of `rest`, where it has to be.
static void
utExpect(std::string &rest, const std::string &text)
{
    utRequire(utStartsWith(rest, text));
    rest.erase(0, text.size());
}

static std::string
utDecode(std::string rest, const std::string &tag)
{
    static const std::string theStart = "<![CDATA[";
    static const std::string theEnd = "]]>";
    utExpect(rest, "<?xml version=\"1.0\"?>\n<" + tag + ">");
    std::string text;
    while (utStartsWith(rest, theStart))
    {
        rest.erase(0, theStart.size());
        const size_t length = rest.find(theEnd);
        utRequire(length != rest.npos);
        text += rest.substr(0, length);
        rest.erase(0, length + theEnd.size());
    }
    utExpect(rest, "</" + tag + ">\n");
    utRequire(rest == std::string(1, '\0'));
    return text;
}

static std::string
utLastLine(std::string text)
{
    text.erase(text.find_last_not_of(" \t\n\v\f\r") + 1);
    return text.substr(text.rfind('\n') + 1); // all of it without a newline
}

static void
utCheckResult(
    const UT_Connection &connection, const std::string &reply, bool checksReply)
{
    UT_ConnectionResult result = UT_CONNECTION_OK;
    std::string message;
    std::string traceback;
    if (int(reply.size()) > connection.maxReply())
        result = UT_CONNECTION_TOO_LONG;
    else if (checksReply && utStartsWith(reply, theTraceback))
    {
        result = UT_CONNECTION_REMOTE_ERROR;
        message = utLastLine(reply);
        traceback = reply;
    }
    else if (checksReply && utStartsWith(reply, theError))
    {
        result = UT_CONNECTION_REQUEST_REFUSED;
        message = reply.substr(theError.size());
        message.erase(message.find_last_not_of('\n') + 1);
    }
    utRequire(connection.result() == result);
    utRequire(connection.traceback() == traceback);
    if (result != UT_CONNECTION_TOO_LONG)
        utRequire(connection.message() == message);
}

// A reply without a NUL ends with the connection.
static bool
utReply(int fd, const std::string &)
{
    const std::string &reply = *theReply;
    ::send(fd, reply.data(), reply.size(), MSG_NOSIGNAL);
    return reply.find('\0') != reply.npos;
}

extern "C" int
LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0 || size > 4096)
        return 0;
    static constexpr size_t theMostRequests = 10000; // a server keeps them all
    static std::unique_ptr<ut_LoopbackServer> theServer;
    static size_t theRequests = theMostRequests;
    if (theRequests == theMostRequests)
    {
        theServer = std::make_unique<ut_LoopbackServer>(
            ut_LoopbackServer::Script{utReply});
        theRequests = 0;
    }

    const auto &kind = theKinds[data[0] % 4];
    const std::string input(data + 1, data + size);
    const std::string text = input.c_str();
    const std::string reply = input.substr(std::min(size - 1, text.size() + 1));
    const std::string expected = reply.c_str();
    theReply = &reply;

    UT_Connection connection(theServer->port());
    if (data[0] >= 128)
        connection.setMaxReply(data[0] / 4);
    UT_WorkBuffer got;
    const bool isDone = kind.send(connection, text.c_str(), got);
    utRequire(utDecode(theServer->request(theRequests++), kind.tag) == text);
    utRequire(isDone == (connection.result() == UT_CONNECTION_OK));
    utCheckResult(connection, expected, kind.checksReply);
    const bool hasReply = isDone && kind.keepsReply;
    utRequire(got.buffer() == (hasReply ? expected : ""));
    if (isDone)
        utRequire(connection.endedByClose() == (expected == reply));
    return 0;
}
