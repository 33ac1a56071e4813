// Connecting and sending where the system does what it seldom does. The calls
// that connect and look up are replaced for the whole program, and do as the
// system does unless a test says otherwise.

#include "UT/UT_NetSocket.h"

#include "ut_LoopbackServer.h"

#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include <arpa/inet.h>
#include <dlfcn.h>
#include <netdb.h>
#include <sys/socket.h>

using namespace std::string_literals;

namespace
{

// What the replaced calls do for the thread.
struct ut_System
{
    // connect(): the client gets the port that it connects to.
    bool bindsToPeer = false;
    bool refuses = false; // connect()
    // connect(): a signal ends so many calls.
    int connectsInterrupted = 0;
    std::string connectedTo; // the last address

    std::string foundAddress; // by gethostbyname(), unless it is ""
};

} // namespace

static thread_local ut_System theSystem;

template <class Function>
static Function *
utNext(Function *, const char *name)
{
    void *const address = dlsym(RTLD_NEXT, name);
    Function *function;
    memcpy(&function, &address, sizeof(function));
    return function;
}

extern "C" __attribute__((visibility("default"))) int
connect(int fd, const sockaddr *address, socklen_t length)
{
    if (address->sa_family == AF_INET)
    {
        sockaddr_in peer;
        memcpy(&peer, address, sizeof(peer));
        theSystem.connectedTo = inet_ntoa(peer.sin_addr);
        if (theSystem.bindsToPeer)
            ::bind(fd, address, length); // no use if it is bound already
        if (theSystem.connectsInterrupted > 0)
        {
            --theSystem.connectsInterrupted;
            errno = EINTR;
            return -1;
        }
        if (theSystem.refuses)
        {
            errno = ECONNREFUSED;
            return -1;
        }
    }
    return utNext(&connect, "connect")(fd, address, length);
}

extern "C" __attribute__((visibility("default"))) hostent *
gethostbyname(const char *name)
{
    if (theSystem.foundAddress.empty())
        return utNext(&gethostbyname, "gethostbyname")(name);
    static in_addr address;
    static char *list[2];
    static hostent entry;
    inet_aton(theSystem.foundAddress.c_str(), &address);
    list[0] = static_cast<char *>(static_cast<void *>(&address));
    entry.h_addrtype = AF_INET;
    entry.h_length = sizeof(address);
    entry.h_addr_list = list;
    return &entry;
}

static bool
utExchange(bool blocking, int port, const char *command, const char *host)
{
    UT_WorkBuffer reply;
    return blocking ? UT_NetSocket::sendCommandAndGetResult(
                          port, command, reply, host, false)
                    : UT_NetSocket::nonBlockingSendCommandAndGetResult(
                          port, command, reply, host, false);
}

TEST(UT_NetSocketConnect, AConnectionToItselfIsRefused)
{
    // A port that nobody else gets, and that a client may bind to as well.
    const ut_LoopbackPort port;
    const int on = 1;
    ::setsockopt(port.fd(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    theSystem.bindsToPeer = true;
    for (const int timeoutMs : {0, 10000})
    {
        UT_NetSocket socket("127.0.0.1", port.port(), true, -1);
        EXPECT_EQ(-3, socket.connect(timeoutMs)) << timeoutMs;
        EXPECT_FALSE(socket.isConnected()) << timeoutMs;
    }
    for (const bool blocking : {false, true})
        EXPECT_FALSE(utExchange(blocking, port.port(), "x", "127.0.0.1"))
            << blocking;
}

TEST(UT_NetSocketConnect, CommandsWithoutAHostStayOnTheMachine)
{
    static const struct
    {
        const char *host;      // of the exchange
        const char *found;     // what the look-up gives
        const char *connected; // the address that is connected to
    } theCases[] = {
        {nullptr,     "192.0.2.1", "127.0.0.1"},
        {nullptr,     "127.0.0.2", "127.0.0.2"},
        {"localhost", "192.0.2.1", "192.0.2.1"},
    };
    for (const auto &row : theCases)
        for (const bool blocking : {false, true})
        {
            theSystem.foundAddress = row.found;
            theSystem.connectedTo = "";
            theSystem.refuses = true;
            SCOPED_TRACE(
                testing::Message()
                << (row.host ? row.host : "(null)") << " as \"" << row.found
                << "\", blocking " << blocking);
            EXPECT_FALSE(utExchange(blocking, 10000, "x", row.host));
            EXPECT_EQ(row.connected, theSystem.connectedTo);
        }
}

TEST(UT_NetSocketConnect, SignalsDoNotEndAnExchangeThatConnects)
{
    ut_LoopbackServer server({ut_LoopbackServer::send("ok\0"s)});
    theSystem.connectsInterrupted = 3;
    EXPECT_TRUE(utExchange(/*blocking=*/true, server.port(), "x", nullptr));
}
