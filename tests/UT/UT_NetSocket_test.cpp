#include "UT/UT_NetSocket.h"

#include "ut_LoopbackServer.h"

#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>

#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace std::string_literals;
using Server = ut_LoopbackServer;

static bool
utExchange(bool blocking, int port)
{
    UT_WorkBuffer reply;
    return blocking ? UT_NetSocket::sendCommandAndGetResult(
                          port, "x", reply, /*host=*/nullptr, true)
                    : UT_NetSocket::nonBlockingSendCommandAndGetResult(
                          port, "x", reply, /*host=*/nullptr, true);
}

TEST(UT_NetSocket, HighDescriptorsAreNotWaitedFor)
{
    const rlimit limit = {2048, 2048};
    if (setrlimit(RLIMIT_NOFILE, &limit))
        GTEST_SKIP() << "the system allows too few descriptors";
    std::deque<ut_TestDescriptor> fill;
    while (fill.emplace_back(::dup(0)).get() < FD_SETSIZE)
        continue;
    Server server({Server::send("ok\0"s)});
    for (const bool blocking : {false, true})
        EXPECT_EQ(blocking, utExchange(blocking, server.port()));
    UT_NetSocket client("localhost", server.port(), true, -1);
    ASSERT_GE(client.getSocket(), FD_SETSIZE);
    EXPECT_EQ(-4, client.connect(10000));
    EXPECT_EQ(0, client.connect(0));
    client.close(); // the server serves one after the other
    fd_set set;
    EXPECT_EQ(-4, UT_NetSocket::fdSet(1024, &set));
    EXPECT_EQ(-4, UT_NetSocket::fdClr(-1, &set));
    EXPECT_FALSE(UT_NetSocket::fdIsSet(-1, &set));
}

TEST(UT_NetSocket, MessagesEndWhereTheyShould)
{
    const std::string full(8190, 'a');
    const struct
    {
        const char *what;
        bool blocking;
        bool untilNul;
        std::string bytes; // the peer sends them, and stays
        int result;
    } cases[] = {
        {"more waits after a NUL", true,  true,  full + "\0b\0"s, 0 },
        {"nothing waits",          false, false, "",              0 },
        {"no NUL comes",           false, true,  "",              -1},
    };
    for (const auto &row : cases)
    {
        SCOPED_TRACE(row.what);
        int ends[2];
        ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
        UT_NetSocket socket(nullptr, ends[0], row.blocking);
        UT_NetSocket peer(nullptr, ends[1], true);
        peer.write(row.bytes.data(), int(row.bytes.size()), nullptr);
        UT_WorkBuffer out;
        EXPECT_EQ(row.result, socket.read(out, -1, row.untilNul));
        EXPECT_EQ(row.bytes, std::string(out.buffer(), size_t(out.length())));
    }
}

TEST(UT_NetSocket, ChecksComeInOrder)
{
    EXPECT_EQ(10000, UT_NetSocket::mapToUnprivilegedPort(65535));
    UT_NetSocket nowhere("300.1.1.1", 1, true, -1);
    EXPECT_EQ(-2, nowhere.connect(0));
    EXPECT_EQ(-6, nowhere.write("x", 1, nullptr));
    EXPECT_EQ(0, nowhere.setBlocking(false));
    EXPECT_EQ(0, nowhere.close());
    EXPECT_TRUE(nowhere.isBlocking()); // deliberate: whatever it was
    EXPECT_EQ(-1, nowhere.close());
    // Deliberate: recorded, though there is nothing to set.
    EXPECT_EQ(-6, nowhere.setBlocking(false));
    EXPECT_FALSE(nowhere.isBlocking());

    UT_NetSocket listener(0, true);
    EXPECT_EQ(-5, listener.connect(0));
    EXPECT_EQ(-4, listener.dataAvailable(-1));
}

TEST(UT_NetSocket, ConnectsWithinATimeLimit)
{
    const ut_LoopbackPort port;
    UT_NetSocket refused("localhost", port.port(), true, -1);
    EXPECT_EQ(-3, refused.connect(10000));
    ::listen(port.fd(), 0);
    UT_NetSocket first("localhost", port.port(), true, -1);
    EXPECT_EQ(0, first.connect(10000));
    // A full queue leaves the next one waiting.
    UT_NetSocket late("localhost", port.port(), true, -1);
    EXPECT_EQ(-3, late.connect(50));
    EXPECT_TRUE(late.isBlocking());
    late.setBlocking(false);
    EXPECT_EQ(-1, late.connect(0)); // still under way
}

TEST(UT_NetSocket, LostConnectionsEndTheProcessIfAsked)
{
    EXPECT_EXIT(
        {
            Server server({Server::reset()});
            UT_NetSocket socket("localhost", server.port(), true, -1);
            socket.terminateOnConnectionLost(true);
            socket.connect(0);
            socket.write("", 1, nullptr);
            char byte;
            socket.read(&byte, 1, nullptr, -1);
        },
        testing::ExitedWithCode(2), "");
}
