#include "UT/UT_Lock.h"
#include "UT/UT_NetSocket.h"
#include "UT/UT_String.h"

#include "ut_SignalStorm.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

// A connection through a listener of ours.
class UT_NetSocketServices : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(myListener.isValid());
        myClient.reset(UT_NetSocket::newSocketFromAddr(
            "localhost", myListener.getPort(), true, -1, 0));
        ASSERT_EQ(0, myClient->connect(0));
        ASSERT_EQ(1, myListener.dataAvailable(10000));
        int status = 5;
        myServer.reset(myListener.accept(/*blocking=*/0, status));
        ASSERT_EQ(0, status);
        ASSERT_TRUE(myServer);
    }

    UT_NetSocket myListener{0, false};
    std::unique_ptr<UT_NetSocket> myClient;
    std::unique_ptr<UT_NetSocket> myServer; // non-blocking
};

} // namespace

static int
utBoundPort(const UT_NetSocket &socket)
{
    sockaddr_in address = {};
    socklen_t length = sizeof address;
    getsockname(
        socket.getSocket(), reinterpret_cast<sockaddr *>(&address), &length);
    return ntohs(address.sin_port);
}

TEST_F(UT_NetSocketServices, ListenersTellTheirPort)
{
    EXPECT_NE(0, myListener.getPort());
    EXPECT_EQ(utBoundPort(myListener), myListener.getPort());
    EXPECT_TRUE(myListener.isServer() && !myListener.isBlocking());
    char name[256];
    ASSERT_EQ(0, UT_NetSocket::getHostName(name, sizeof name));
    EXPECT_STREQ(name, myListener.getHost());
    EXPECT_NE(0, UT_NetSocket::getHostName(name, 1));

    // A port that cannot be had leaves no listener.
    const std::unique_ptr<UT_NetSocket> second(
        UT_NetSocket::newSocket(myListener.getPort(), true));
    EXPECT_FALSE(second->isValid() || second->isServer());
    EXPECT_EQ(myListener.getPort(), second->getPort());
    int status = 0;
    EXPECT_EQ(nullptr, second->accept(0, status));
    EXPECT_EQ(-5, status);
}

TEST_F(UT_NetSocketServices, AcceptsWhoWaits)
{
    int status = 0;
    EXPECT_EQ(nullptr, myListener.accept(0, status));
    EXPECT_EQ(-1, status);
    EXPECT_EQ(nullptr, myClient->accept(0, status));
    EXPECT_EQ(-5, status);
    ::shutdown(myListener.getSocket(), SHUT_RDWR);
    EXPECT_EQ(nullptr, myListener.accept(0, status));
    EXPECT_EQ(-4, status);

    EXPECT_TRUE(myServer->isConnected() && !myServer->isServer());
    EXPECT_FALSE(myServer->isBlocking());
    EXPECT_EQ(nullptr, myServer->getHost());
    EXPECT_EQ(myListener.getPort(), myServer->getPort());

    char text[16];
    int port = 0;
    ASSERT_EQ(0, myServer->getRemoteSocket(text, port));
    EXPECT_STREQ("127.0.0.1", text);
    EXPECT_EQ(utBoundPort(*myClient), port);
    ASSERT_EQ(0, myClient->getRemoteSocket(text, port));
    EXPECT_EQ(myListener.getPort(), port);
    EXPECT_EQ(-6, myListener.getRemoteSocket(text, port));
}

TEST_F(UT_NetSocketServices, AddressesComeFirstOctetFirst)
{
    UT_NetSocket *const ends[] = {myClient.get(), myServer.get()};
    for (UT_NetSocket *end : ends)
    {
        int remote[4] = {};
        int local[4] = {};
        EXPECT_TRUE(end->getRemoteIP4(remote) && end->getLocalIP4(local));
        static const int loopback[] = {127, 0, 0, 1};
        for (int i = 0; i < 4; ++i)
        {
            EXPECT_EQ(loopback[i], remote[i]);
            EXPECT_EQ(loopback[i], local[i]);
        }
        EXPECT_EQ(
            htonl(INADDR_LOOPBACK),
            static_cast<const UT_NetSocket *>(end)->getLocalIP4());
    }
    // A listener is bound to all addresses, which is none.
    int local[4];
    EXPECT_FALSE(myListener.getLocalIP4(local));
}

TEST_F(UT_NetSocketServices, TellsStatesAsked)
{
    bool readable = true;
    bool writable = false;
    bool exceptional = true;
    EXPECT_EQ(
        1, myServer->checkDataStatus(&readable, &writable, &exceptional, 0));
    EXPECT_TRUE(!readable && writable && !exceptional);

    readable = exceptional = true;
    EXPECT_EQ(
        0, myServer->checkDataStatus(&readable, nullptr, &exceptional, 5));
    EXPECT_EQ(-1, myServer->checkDataStatus(&readable, nullptr, nullptr, -1));
    EXPECT_TRUE(readable && exceptional); // left as they were

    ASSERT_EQ(0, myClient->write("x", 1, nullptr));
    readable = writable = false;
    EXPECT_EQ(
        2, myServer->checkDataStatus(&readable, &writable, nullptr, 10000));
    EXPECT_TRUE(readable && writable);

    UT_NetSocket nothing;
    EXPECT_EQ(-4, nothing.checkDataStatus(&readable, nullptr, nullptr, 0));
}

TEST_F(UT_NetSocketServices, SelectOutlastsSignals)
{
    ut_SignalStorm storm;
    storm.start();
    fd_set set;
    EXPECT_EQ(0, UT_NetSocket::fdZero(&set));
    EXPECT_EQ(0, UT_NetSocket::fdSet(myServer->getSocket(), &set));
    timeval limit = {0, 100000};
    EXPECT_EQ(
        0, UT_NetSocket::select(
               FD_SETSIZE, &set, nullptr, nullptr, &limit, false));
    EXPECT_GT(storm.signals(), 0);
    EXPECT_FALSE(myServer->isSocketSelected(set));

    ASSERT_EQ(0, myClient->write("x", 1, nullptr));
    UT_NetSocket::fdSet(myServer->getSocket(), &set);
    EXPECT_EQ(
        1, UT_NetSocket::select(
               FD_SETSIZE, &set, nullptr, nullptr, nullptr, false));
    EXPECT_TRUE(myServer->isSocketSelected(set));
    EXPECT_FALSE(myClient->isSocketSelected(set));
    memset(&set, 0xff, sizeof set);
    EXPECT_FALSE(UT_NetSocket().isSocketSelected(set));
}

TEST_F(UT_NetSocketServices, PeekLeavesTheBytes)
{
    char bytes[8] = "";
    EXPECT_EQ(-1, myServer->peek(bytes, 4, 0));
    ASSERT_EQ(0, myClient->write("abc", 3, nullptr));
    EXPECT_EQ(0, myServer->peek(bytes, 2, 10000));
    EXPECT_STREQ("ab", bytes);
    int got = 0;
    EXPECT_EQ(0, myServer->read(bytes, 8, &got, 0));
    EXPECT_EQ(3, got);

    // Deliberate: the requests mean nothing to sockets, and are refused.
    EXPECT_EQ(1, myServer->flushRead());
    EXPECT_EQ(1, myServer->flushWrite());
}

TEST(UT_NetSocketSets, HoldOneBitForEachDescriptor)
{
    static_assert(sizeof(fd_set) == 32 * sizeof(uint32_t));
    for (int fd = -2; fd < 1026; ++fd)
    {
        const bool fits = fd >= 0 && fd < 1024;
        uint32_t words[32] = {};
        if (fits)
            words[fd / 32] = 1u << fd % 32;
        fd_set set;
        UT_NetSocket::fdZero(&set);
        EXPECT_EQ(fits ? 0 : -4, UT_NetSocket::fdSet(fd, &set));
        EXPECT_EQ(0, memcmp(words, &set, sizeof set)) << fd;
        EXPECT_EQ(fits, UT_NetSocket::fdIsSet(fd, &set)) << fd;
        EXPECT_FALSE(UT_NetSocket::fdIsSet((fd + 32) % 1024, &set)) << fd;
        memset(&set, 0xff, sizeof set);
        EXPECT_EQ(fits ? 0 : -4, UT_NetSocket::fdClr(fd, &set));
        for (uint32_t &word : words)
            word = ~word;
        EXPECT_EQ(0, memcmp(words, &set, sizeof set)) << fd;
    }
}

// ---- Look-ups --------------------------------------------------------------

TEST(UT_NetSocketLookUp, FindsAddresses)
{
    unsigned char address[4] = {9, 9, 9, 9};
    EXPECT_FALSE(UT_NetSocket::getHostAddress(address, "300.1.1.1"));
    EXPECT_EQ(0, memcmp(address, "\x9\x9\x9\x9", 4));
    const char *const names[] = {"127.0.0.1", "localhost"};
    for (const char *name : names)
    {
        EXPECT_TRUE(UT_NetSocket::getHostAddress(address, name));
        EXPECT_EQ(0, memcmp(address, "\x7f\0\0\x1", 4)) << name;
    }

    // This host, which may have no address.
    char local[256];
    UT_NetSocket::getHostName(local, sizeof local);
    const char *const selves[] = {local, "", nullptr};
    for (const char *self : selves)
    {
        memset(address, 0, sizeof address);
        const bool isKnown = UT_NetSocket::getHostAddress(address, self);
        uint32_t value = 0;
        memcpy(&value, address, sizeof value);
        EXPECT_EQ(isKnown, value != 0);
        EXPECT_EQ(value, UT_NetSocket().getLocalIP4());
        EXPECT_EQ(le32toh(value), utGetHostId());
    }
}

TEST(UT_NetSocketLookUp, FindsOfficialNames)
{
    const unsigned char loopback[] = {127, 0, 0, 1};
    const hostent *const entry = gethostbyaddr(loopback, 4, AF_INET);
    const std::string official = entry ? entry->h_name : "127.0.0.1";
    static const struct
    {
        const char *alias;
        bool isKnown;
    } cases[] = {
        {"127.0.0.1",   true },
        {"300.1.1.1",   false}, // not dotted octets, and not a name
        {"65663.0.0.1", true }, // wraps to 127
    };
    for (const auto &row : cases)
    {
        UT_String name("before");
        EXPECT_EQ(
            row.isKnown, UT_NetSocket::getHostNameByAlias(name, row.alias))
            << row.alias;
        EXPECT_STREQ(row.isKnown ? official.c_str() : "before", name)
            << row.alias;
    }
    // The inner operation leaves the lock to its caller.
    ASSERT_TRUE(theHostByNameLock.tryLock());
    UT_String name;
    EXPECT_TRUE(UT_NetSocket::commonGetHostNameByAlias(name, "localhost"));
    EXPECT_STREQ("localhost", name);
    theHostByNameLock.unlock();
}

TEST(UT_NetSocketLookUp, FindsServices)
{
    const servent *const entry = getservbyname("http", "tcp");
    EXPECT_EQ(entry ? 80 : 7, UT_NetSocket::getPortByService("http", "tcp", 7));
    EXPECT_EQ(7, UT_NetSocket::getPortByService("no such one", nullptr, 7));
}
