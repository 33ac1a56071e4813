#include "UT/UT_Connection.h"

#include "ut_LoopbackServer.h"

#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>

using namespace std::string_literals;
using Server = ut_LoopbackServer;

static const std::string theTraceback = "Traceback (most recent call last):\n";

static std::string
utText(const UT_WorkBuffer &buffer)
{
    return std::string(buffer.buffer(), size_t(buffer.length()));
}

// ---- Replies

TEST(UT_Connection, RepliesMayBeAsLongAsTheLimit)
{
    Server server({Server::send(std::string(70000, 'r') + '\0')});
    UT_Connection connection(server.port());
    UT_WorkBuffer reply;
    connection.setMaxReply(70000);
    EXPECT_TRUE(connection.run("", reply));
    EXPECT_EQ(70000, reply.length());
    connection.setMaxReply(69999);
    EXPECT_FALSE(connection.run("", reply));
    EXPECT_EQ(UT_CONNECTION_TOO_LONG, connection.result());
    EXPECT_EQ(0, reply.length());
}

TEST(UT_Connection, RepliesToPythonShowItsFailures)
{
    const std::string raised = theTraceback + "  File x\nE: caf\xe9\n";
    const struct
    {
        std::string reply;
        UT_ConnectionResult result;
        const char *message;
        std::string traceback;
    } cases[] = {
        {"42",           UT_CONNECTION_OK,              "",           ""          },
        {raised,         UT_CONNECTION_REMOTE_ERROR,    "E: caf\xe9", raised      },
        {theTraceback,   UT_CONNECTION_REMOTE_ERROR,
         "Traceback (most recent call last):",                        theTraceback},
        {"ERROR: no\n",  UT_CONNECTION_REQUEST_REFUSED, "no",         ""          },
        {"ERROR: ",      UT_CONNECTION_REQUEST_REFUSED, "",           ""          },
        {" ERROR: no\n", UT_CONNECTION_OK,              "",           ""          },
    };
    for (const auto &row : cases)
    {
        SCOPED_TRACE(row.reply);
        Server server({Server::send(row.reply + '\0')});
        UT_Connection connection(server.port());
        const bool succeeds = row.result == UT_CONNECTION_OK;
        UT_WorkBuffer reply;
        EXPECT_EQ(succeeds, connection.execute("x"));
        EXPECT_EQ(succeeds, connection.evaluate("x", reply));
        EXPECT_EQ(row.result, connection.result());
        EXPECT_STREQ(row.message, connection.message());
        EXPECT_EQ(row.traceback, connection.traceback());
        EXPECT_EQ(succeeds ? row.reply : "", utText(reply));
        // These take the reply as it is.
        EXPECT_TRUE(connection.evaluate("x", reply, /*check=*/false));
        EXPECT_EQ(row.reply, utText(reply));
        EXPECT_TRUE(connection.run("x", reply));
        EXPECT_EQ(row.reply, utText(reply));
    }
}

// ---- Requests

// The text that a parser finds in a request: what its sections contain.
static std::string
utParse(const std::string &request, const std::string &tag)
{
    const std::string head = "<?xml version=\"1.0\"?>\n<" + tag + ">";
    const std::string tail = "</" + tag + ">\n\0"s;
    const std::string begin = "<![CDATA[";
    const std::string end = "]]>";
    EXPECT_EQ(head, request.substr(0, head.size()));
    std::string text;
    size_t at = head.size();
    while (request.compare(at, begin.size(), begin) == 0)
    {
        at += begin.size();
        const size_t close = request.find(end, at);
        text += request.substr(at, close - at);
        at = close + end.size();
    }
    EXPECT_EQ(tail, request.substr(at));
    return text;
}

TEST(UT_Connection, AnyTextArrivesAsItIs)
{
    Server server({Server::send("\0"s)});
    UT_Connection connection(server.port());
    UT_WorkBuffer reply;
    std::mt19937 random(20);
    for (size_t i = 0; i < 200; ++i)
    {
        std::string text(random() % 40, ' ');
        for (char &byte : text)
            byte =
                random() % 4 ? "]]>["[random() % 4] : char(random() % 255 + 1);
        SCOPED_TRACE(testing::PrintToString(text));
        // What follows the text is not part of it.
        const std::string longer = text + "]]>";
        const int length = int(text.size());
        EXPECT_TRUE(connection.evaluate(longer.c_str(), length, reply));
        EXPECT_EQ(text, utParse(server.request(i), "python_expression"));
    }
}

TEST(UT_Connection, KindsOfRequestsHaveTheirElements)
{
    Server server({Server::send("\0"s)});
    UT_Connection connection(server.port(), "localhost");
    UT_WorkBuffer reply;
    EXPECT_TRUE(connection.run(nullptr, reply));
    EXPECT_EQ("", utParse(server.request(0), "vscript"));
    EXPECT_TRUE(connection.execute("x = 1"));
    EXPECT_EQ("x = 1", utParse(server.request(1), "python_statements"));
}

// ---- Failures

TEST(UT_Connection, FailuresHaveReasons)
{
    const ut_LoopbackPort refusing;
    const ut_LoopbackPort silent;
    ::listen(silent.fd(), 16);
    Server resetting({Server::send("part"), Server::reset()});
    const std::string refused = "127.0.0.1 port " +
                                std::to_string(refusing.port()) +
                                ": Connection refused";
    const struct
    {
        const char *host;
        int port;
        const char *text;
        int length;
        UT_ConnectionResult result;
        std::string message; // what it contains
    } cases[] = {
        {nullptr,     refusing.port(),  "x",    1,       UT_CONNECTION_REFUSED,   refused    },
        {"300.1.1.1", refusing.port(),  "x",    1,       UT_CONNECTION_NO_HOST,
         "300.1.1.1"                                                                         },
        {nullptr,     silent.port(),    "x",    1,       UT_CONNECTION_TIMED_OUT, "in 100 ms"},
        {nullptr,     resetting.port(), "x",    1,       UT_CONNECTION_CLOSED,    "closed"   },
        {nullptr,     refusing.port(),  "a\0b", 3,       UT_CONNECTION_HAS_NUL,   "NUL"      },
        {nullptr,     refusing.port(),  "x",    INT_MAX, UT_CONNECTION_TOO_LONG,
         "text"                                                                              },
    };
    for (const auto &row : cases)
    {
        SCOPED_TRACE(row.message);
        UT_Connection connection(row.port, row.host, /*timeoutMs=*/100);
        UT_WorkBuffer reply;
        EXPECT_FALSE(connection.run(row.text, row.length, reply));
        EXPECT_EQ(row.result, connection.result());
        EXPECT_NE(
            std::string::npos,
            std::string(connection.message()).find(row.message))
            << connection.message();
        EXPECT_EQ(0, reply.length());
    }
}
