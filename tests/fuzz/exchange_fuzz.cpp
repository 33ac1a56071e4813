// Requests over a socket: the application gets the text in sections of CDATA,
// and the client says of any reply what its bytes say. The input is a byte, the
// text, a NUL and the reply.

#include "ut_FuzzCheck.h"
#include "ut_LoopbackServer.h"

#include "SYS/SYS_Types.h"
#include "UT/UT_Connection.h"
#include "UT/UT_WorkBuffer.h"

#include <atomic>
#include <memory>

static std::atomic<const std::string *> theReply; // to the next request

static bool
utStartsWith(const std::string &text, const std::string &start)
{
    return text.compare(0, start.size(), start) == 0;
}

// A reply without a NUL ends with the connection.
static bool
utReply(int fd, const std::string &)
{
    const std::string &reply = *theReply;
    ::send(fd, reply.data(), reply.size(), MSG_NOSIGNAL);
    return reply.find('\0') != reply.npos;
}

void
utTry(const std::string &input)
{
    if (input.empty() || input.size() > 4096)
        return;
    static constexpr size_t theMostRequests = 10000; // a server keeps them all
    static std::unique_ptr<ut_LoopbackServer> theServer;
    static size_t theRequests = theMostRequests;
    if (theRequests == theMostRequests)
    {
        theServer = std::make_unique<ut_LoopbackServer>(
            ut_LoopbackServer::Script{utReply});
        theRequests = 0;
    }

    const uint8 choice = uint8(input[0]);
    std::string reply = input.substr(1);
    const std::string text = utTakeText(reply);
    const std::string expected = reply.c_str();
    theReply = &reply;

    UT_Connection connection(theServer->port());
    if (choice >= 128)
        connection.setMaxReply(choice / 4);
    const bool isRun = choice % 2;
    UT_WorkBuffer got;
    const bool isDone = isRun ? connection.run(text.c_str(), got)
                              : connection.evaluate(text.c_str(), got);
    const std::string tag = isRun ? "vscript" : "python_expression";
    // Sections that follow each other are one text.
    static const std::string theJoin = "]]><![CDATA[";
    std::string sent = theServer->request(theRequests++);
    size_t at = 0;
    while ((at = sent.find(theJoin, at)) != sent.npos)
        sent.erase(at, theJoin.size());
    utRequire(
        sent == "<?xml version=\"1.0\"?>\n<" + tag + "><![CDATA[" + text +
                    "]]></" + tag + ">\n" + '\0');

    UT_ConnectionResult result = UT_CONNECTION_OK;
    if (int(expected.size()) > connection.maxReply())
        result = UT_CONNECTION_TOO_LONG;
    else if (
        !isRun &&
        utStartsWith(expected, "Traceback (most recent call last):\n"))
        result = UT_CONNECTION_REMOTE_ERROR;
    else if (!isRun && utStartsWith(expected, "ERROR: "))
        result = UT_CONNECTION_REQUEST_REFUSED;
    utRequire(connection.result() == result);
    utRequire(isDone == (result == UT_CONNECTION_OK));
    utRequire(got.buffer() == (isDone ? expected : ""));
    const bool isRemote = result == UT_CONNECTION_REMOTE_ERROR;
    utRequire(connection.traceback() == (isRemote ? expected : ""));
    // The message is a part of the reply.
    if (isRemote || result == UT_CONNECTION_REQUEST_REFUSED)
        utRequire(expected.find(connection.message()) != expected.npos);
    if (isDone)
        utRequire(connection.endedByClose() == (expected == reply));
}
