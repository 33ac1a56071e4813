// Peers of all kinds, and what each way to send a request gets from them.

#include "ut_LoopbackServer.h"

#include "UT/UT_Connection.h"
#include "UT/UT_NetSocket.h"
#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include <sys/socket.h>

using namespace std::string_literals;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using Server = ut_LoopbackServer;

namespace
{

// The peer's bytes and the outcomes are written with '|' for NUL.
struct ut_Peer
{
    std::string what;
    Server::Script script;
    // What the callers get: a reply, or an outcome in parentheses. Empty where
    // no call is made: it would wait forever, or depend on the moment.
    std::string blocking;
    std::string nonBlocking;
    std::string connection;
    // The time limit of a connection, 0 for none. No call ends before if the
    // peer reads the request.
    int limitMs;
};

} // namespace

// ---- Steps of peers

static Server::Step
utSay(std::string bytes)
{
    std::replace(bytes.begin(), bytes.end(), '|', '\0');
    return Server::send(bytes);
}

// Sends bytes again and again until the caller ends the connection.
static Server::Step
utRepeat(const std::string &bytes)
{
    return [bytes](int fd, const std::string &)
    {
        while (::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) > 0)
            continue;
        return false;
    };
}

// ---- The tables

static std::vector<ut_Peer>
utReaders()
{
    const Server::Step gap = Server::pause(5);
    const Server::Step close = Server::close();
    const Server::Step reset = Server::reset();
    const std::string big(1 << 20, '\xfe');
    const Server::Script inParts = {utSay("a"), gap, utSay("b|")};
    const Server::Script atLength = {utSay(big), utSay("|")};
    const Server::Script withoutNul = {utSay("a"), close};
    const Server::Script nothing = {close};
    const Server::Script silent = {};
    const Server::Script goesOn = {utSay("a|b"), gap, utSay("|")};
    const Server::Script endless = {utRepeat(big)};
    const Server::Script torn = {utSay("a"), reset};
    // The blocking exchange may meet the reset before it sees that the reply is
    // complete.
    const Server::Script late = {utSay("a|"), reset};
    // Deliberate: the non-blocking exchange reads on after a reset, finds the
    // end of the connection and counts that as success.
    const Server::Script never = {reset};
    return {
        {"replies in parts",     inParts,    "ab|",     "ab|",     "ab",               0       },
        {"sends no NUL",         withoutNul, "a",       "a",       "a (closed)",       0       },
        {"sends nothing",        nothing,    "(empty)", "(empty)", "(empty) (closed)", 0       },
        {"goes on after a NUL",  goesOn,     "a|b|",    "a|b|",    "a",                0       },
        {"is silent",            silent,     "",        "(false)", "(timed out)",      11 * 200},
        {"is endless",           endless,    "",        "",        "(too long)",       0       },
        {"resets at once",       never,      "(false)", "(empty)", "(closed)",         0       },
        {"resets after a byte",  torn,       "(false)", "a",       "(closed)",         0       },
        {"replies at length",    atLength,   big + "|", big + "|", big,                0       },
        {"resets after a reply", late,       "",        "a|",      "a",                0       },
    };
}

// They leave a request unread that is longer than the buffers of both ends.
static std::vector<ut_Peer>
utNonReaders()
{
    const Server::Script silent = {};
    const Server::Script early = {utSay("early|")};
    const Server::Script refuses = {Server::reset()};
    return {
        {"is silent",     silent,  "",        "(false)", "(timed out)", 100},
        {"replies early", early,   "",        "(false)", "early",       0  },
        {"refuses",       refuses, "(false)", "(false)", "(closed)",    0  },
    };
}

// ---- The callers

static std::string
utShown(const UT_WorkBuffer &reply)
{
    std::string text(reply.buffer(), size_t(reply.length()));
    std::replace(text.begin(), text.end(), '\0', '|');
    return text.empty() ? "(empty)" : text;
}

template <auto exchange>
static std::string
utExchange(int port, const std::string &command, int /*limitMs*/)
{
    UT_WorkBuffer reply;
    reply.append("left over");
    const bool succeeds =
        exchange(port, command.c_str(), reply, /*host=*/nullptr, true);
    return succeeds ? utShown(reply) : "(false)";
}

static std::string
utConnection(int port, const std::string &command, int limitMs)
{
    UT_Connection connection(port, /*host=*/nullptr, limitMs);
    UT_WorkBuffer reply;
    reply.append("left over");
    const bool succeeds = connection.run(command.c_str(), reply);
    EXPECT_EQ(succeeds, connection.result() == UT_CONNECTION_OK);
    EXPECT_EQ(succeeds, connection.message() == ""s) << connection.message();
    if (succeeds)
        return utShown(reply) + (connection.endedByClose() ? " (closed)" : "");
    EXPECT_EQ(0, reply.length());
    switch (connection.result())
    {
    case UT_CONNECTION_TIMED_OUT:
        return "(timed out)";
    case UT_CONNECTION_CLOSED:
        return "(closed)";
    case UT_CONNECTION_TOO_LONG:
        return "(too long)";
    default:
        return connection.message();
    }
}

static const struct
{
    const char *name;
    std::string ut_Peer::*expected;
    std::string (*call)(int port, const std::string &command, int limitMs);
} theCallers[] = {
    {"blocking exchange",     &ut_Peer::blocking,
     utExchange<UT_NetSocket::sendCommandAndGetResult>           },
    {"non-blocking exchange", &ut_Peer::nonBlocking,
     utExchange<UT_NetSocket::nonBlockingSendCommandAndGetResult>},
    {"connection",            &ut_Peer::connection,  utConnection},
};

static void
utMeet(
    const std::vector<ut_Peer> &peers, const std::string &command, bool isRead)
{
    for (const ut_Peer &peer : peers)
        for (const auto &caller : theCallers)
        {
            SCOPED_TRACE("a peer that " + peer.what + ": " + caller.name);
            const std::string &expected = peer.*caller.expected;
            if (expected.empty())
                continue;
            Server server(peer.script, /*isDeaf=*/!isRead);
            const auto start = steady_clock::now();
            // A port beyond 65535 shows that it is mapped.
            EXPECT_EQ(
                expected,
                caller.call(server.port() + 65535, command, peer.limitMs));
            const auto passed = steady_clock::now() - start;
            if (isRead)
            {
                EXPECT_GE(passed, milliseconds(peer.limitMs));
                EXPECT_NE(std::string::npos, server.request(0).find(command));
            }
        }
}

TEST(UT_Wire, PeersDecideWhatCallersGet)
{
    const int lowestFree = ut_TestDescriptor(::dup(0)).get();
    utMeet(utReaders(), "do \xe9\n", /*isRead=*/true);
    utMeet(utNonReaders(), std::string(64 << 20, 'x'), false);
    EXPECT_EQ(lowestFree, ut_TestDescriptor(::dup(0)).get()); // none is left
}
