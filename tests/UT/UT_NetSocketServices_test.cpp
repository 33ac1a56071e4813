#include "UT/UT_NetSocket.h"

#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include <fcntl.h>
#include <sys/socket.h>

TEST(UT_NetSocketServices, ListenersAcceptWhoWaitsAndWhereFrom)
{
    UT_NetSocket listener(0, false);
    int status = 5;
    EXPECT_EQ(nullptr, listener.accept(0, status));
    EXPECT_EQ(-1, status);
    UT_NetSocket client("localhost", listener.getPort(), true, -1);
    EXPECT_EQ(nullptr, client.accept(0, status));
    EXPECT_EQ(-5, status);
    EXPECT_FALSE(UT_NetSocket(listener.getPort(), true).isValid()); // taken

    EXPECT_EQ(0, client.connect(0));
    EXPECT_EQ(1, listener.dataAvailable(10000));
    const std::unique_ptr<UT_NetSocket> server(listener.accept(0, status));
    ASSERT_EQ(0, status);
    EXPECT_FALSE(server->isServer());
    EXPECT_FALSE(server->isBlocking()); // as the listener is not
    char byte;
    EXPECT_EQ(-1, server->waitForDataOrTimeout(0));
    EXPECT_EQ(-1, server->read(&byte, 1, nullptr, -1));
    for (const UT_NetSocket *socket : {&listener, &client, server.get()})
        EXPECT_EQ(FD_CLOEXEC, fcntl(socket->getSocket(), F_GETFD))
            << "descriptor " << socket->getSocket();

    char text[16];
    int port = 0;
    EXPECT_EQ(-6, listener.getRemoteSocket(text, port));
    EXPECT_EQ(0, client.getRemoteSocket(text, port));
    EXPECT_STREQ("127.0.0.1", text);
    EXPECT_EQ(listener.getPort(), port);
    int ip[4] = {};
    EXPECT_TRUE(server->getRemoteIP4(ip));
    EXPECT_EQ(127, ip[0]);
    EXPECT_TRUE(client.getLocalIP4(ip));
    EXPECT_EQ(1, ip[3]);
}

TEST(UT_NetSocketServices, ReportsTheStatesThatAreAskedFor)
{
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
    UT_NetSocket socket(nullptr, ends[0], true);
    UT_NetSocket peer(nullptr, ends[1], true);
    bool read = true;
    bool write = false;
    bool except = true;
    // Deliberate: a negative time is refused.
    EXPECT_EQ(-1, socket.checkDataStatus(&read, nullptr, nullptr, -1));
    EXPECT_TRUE(read); // left as it was
    EXPECT_EQ(1, socket.checkDataStatus(&read, &write, &except, 0));
    EXPECT_FALSE(read);
    EXPECT_TRUE(write);
    EXPECT_FALSE(except);
    peer.write("x", 1, nullptr);
    EXPECT_EQ(1, socket.checkDataStatus(&read, nullptr, nullptr, 0));
    EXPECT_TRUE(read);
    // Deliberate: the requests mean nothing to sockets, and are refused.
    EXPECT_EQ(1, socket.flushRead());
    EXPECT_EQ(1, socket.flushWrite());
}

TEST(UT_NetSocketServices, LooksHostsUp)
{
    unsigned char address[4] = {9, 9, 9, 9};
    EXPECT_FALSE(UT_NetSocket::getHostAddress(address, "300.1.1.1"));
    EXPECT_EQ(0, memcmp(address, "\x9\x9\x9\x9", 4));
    EXPECT_TRUE(UT_NetSocket::getHostAddress(address, "localhost"));
    EXPECT_EQ(0, memcmp(address, "\x7f\0\0\x1", 4));
    // This host, which may have no address.
    EXPECT_EQ(UT_NetSocket().getLocalIP4(), utGetHostId());
    EXPECT_EQ(7, UT_NetSocket::getPortByService("no such one", nullptr, 7));
    UT_String name("before");
    EXPECT_FALSE(UT_NetSocket::getHostNameByAlias(name, "300.1.1.1"));
    EXPECT_STREQ("before", name);
    // Deliberate: the octet wraps to 127.
    EXPECT_TRUE(UT_NetSocket::getHostNameByAlias(name, "65663.0.0.1"));
    EXPECT_TRUE(UT_NetSocket::getHostNameByAlias(name, "localhost"));
    EXPECT_STREQ("localhost", name);
}
