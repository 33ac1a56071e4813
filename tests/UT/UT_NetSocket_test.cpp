#include "UT/UT_NetSocket.h"

#include "UT/UT_WorkBuffer.h"

#include "ut_LoopbackServer.h"
#include "ut_SignalStorm.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace std::string_literals;
typedef ut_LoopbackServer Server;

typedef bool (*Exchange)(
    int, const char *, UT_WorkBuffer &, const char *, bool);

static const struct
{
    const char *name;
    Exchange run;
} theExchanges[] = {
    {"blocking",     UT_NetSocket::sendCommandAndGetResult           },
    {"non-blocking", UT_NetSocket::nonBlockingSendCommandAndGetResult},
};

static std::string
utText(const UT_WorkBuffer &buffer)
{
    return std::string(buffer.buffer(), size_t(buffer.length()));
}

static std::string
utPattern(size_t length)
{
    std::string text(length, '\0');
    for (size_t i = 0; i < length; ++i)
        text[i] = char(i % 255 + 1); // all bytes but NUL
    return text;
}

static long
utElapsedMs(std::chrono::steady_clock::time_point start)
{
    using namespace std::chrono;
    return long(
        duration_cast<milliseconds>(steady_clock::now() - start).count());
}

// ---- Exchanges -------------------------------------------------------------

TEST(UT_NetSocket, ExchangesCarryRequestAndReply)
{
    typedef ut_LoopbackServer S;
    const std::string big = utPattern(3 * 8191);
    const S::Step gap = S::pause(5);
    const struct
    {
        S::Script script;
        std::string reply;
    } cases[] = {
        {{S::send("ok\0"s)},                                      "ok\0"s   },
        {{S::send("ok"), S::close()},                             "ok"      },
        {{S::send("ok"), S::halfClose()},                         "ok"      },
        {{S::send("\0"s)},                                        "\0"s     },
        {{S::close()},                                            ""        },
        {{S::send("a\0b\0"s)},                                    "a\0b\0"s },
        {{S::send("a\0b"s), gap, S::send("\0"s)},                 "a\0b\0"s },
        {{S::send("a"), gap, S::send("b"), gap, S::send("c\0"s)}, "abc\0"s  },
        {{S::send("a\0"s), S::hold(), S::send("b\0"s)},           "a\0"s    },
        {{S::send(big), S::send("\0"s)},                          big + '\0'},
    };
    for (const auto &exchange : theExchanges)
        for (const auto &row : cases)
        {
            SCOPED_TRACE(exchange.name + ": "s + row.reply.substr(0, 10));
            Server server(row.script);
            UT_WorkBuffer result;
            result.append("left over");
            // A port beyond 65535 shows that the mapping is applied.
            EXPECT_TRUE(exchange.run(
                server.port() + 65535, "do \xe9\n", result, nullptr, true));
            EXPECT_EQ(row.reply, utText(result));
            server.release();
            EXPECT_EQ("do \xe9\n\0"s, server.request(0));
        }
}

TEST(UT_NetSocket, ExchangesGatherLongReplies)
{
    const std::string reply = utPattern(64 << 20) + '\0';
    Server server({Server::send(reply)});
    UT_WorkBuffer result;
    EXPECT_TRUE(UT_NetSocket::sendCommandAndGetResult(
        server.port(), "", result, "127.0.0.1", false));
    EXPECT_TRUE(utText(result) == reply);
    EXPECT_EQ(2000 << 16, result.capacity());
}

TEST(UT_NetSocket, ExchangesReportFailures)
{
    const ut_LoopbackPort refused;
    Server resetting({Server::send("part"), Server::reset()}, 2);
    for (const auto &exchange : theExchanges)
    {
        SCOPED_TRACE(exchange.name);
        UT_WorkBuffer result;
        EXPECT_FALSE(exchange.run(refused.port(), "x", result, nullptr, true));
        EXPECT_FALSE(
            exchange.run(resetting.port(), "x", result, "300.1.1.1", true));

        // Deliberate: the non-blocking exchange reads on after a reset, finds
        // the end of the connection and counts that as success.
        const bool isBlocking = &exchange == theExchanges;
        EXPECT_EQ(
            !isBlocking,
            exchange.run(resetting.port(), "x", result, nullptr, true));
        EXPECT_EQ("part", utText(result));
    }
}

TEST(UT_NetSocket, NonBlockingExchangeGivesUpOnSilence)
{
    Server server({Server::hold()});
    UT_WorkBuffer result;
    result.append("left over");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(UT_NetSocket::nonBlockingSendCommandAndGetResult(
        server.port(), "x", result, nullptr, true));
    EXPECT_GE(utElapsedMs(start), 11 * 200);
    EXPECT_EQ("", utText(result));
}

TEST(UT_NetSocket, SignalStormsLoseNothing)
{
    const std::string part = utPattern(100000);
    for (const auto &exchange : theExchanges)
    {
        SCOPED_TRACE(exchange.name);
        ut_SignalStorm storm;
        Server::Script script = {Server::call([&] { storm.start(); })};
        std::string reply;
        for (int i = 0; i < 10; ++i)
        {
            script.push_back(Server::send(part));
            script.push_back(Server::pause(3));
            reply += part;
        }
        script.push_back(Server::send("\0"s));
        reply += '\0';
        Server server(script);
        UT_WorkBuffer result;
        EXPECT_TRUE(exchange.run(server.port(), "x", result, nullptr, true));
        EXPECT_TRUE(utText(result) == reply);
        EXPECT_GT(storm.signals(), 0);
    }
}

TEST(UT_NetSocket, ExchangesMayRunAtOnce)
{
    Server server({Server::echo()}, 4);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back(
            [&, t]
            {
                for (int i = 0; i < 50; ++i)
                {
                    const std::string command = std::to_string(t * 1000 + i);
                    UT_WorkBuffer result;
                    EXPECT_TRUE(UT_NetSocket::sendCommandAndGetResult(
                        server.port(), command.c_str(), result, nullptr, true));
                    EXPECT_EQ(command + '\0', utText(result));
                }
            });
    for (std::thread &thread : threads)
        thread.join();
}

static long
utOpenDescriptors()
{
    return long(std::distance(
        std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

TEST(UT_NetSocket, ExchangesLeaveNoDescriptorsBehind)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    const int rounds = 500;
#else
    const int rounds = 10000;
#endif
    const ut_LoopbackPort refused;
    Server server({Server::send("ok\0"s)});
    const long before = utOpenDescriptors();
    UT_WorkBuffer result;
    for (int i = 0; i < rounds; ++i)
        ASSERT_TRUE(UT_NetSocket::sendCommandAndGetResult(
            server.port(), "x", result, nullptr, true));
    for (int i = 0; i < 10; ++i)
        UT_NetSocket::sendCommandAndGetResult(
            refused.port(), "x", result, nullptr, true);
    // The server closes its end of a connection before it tells of it.
    server.request(size_t(rounds) - 1);
    EXPECT_EQ(before, utOpenDescriptors());
}

TEST(UT_NetSocket, HighDescriptorsAreNotWaitedFor)
{
    rlimit limit;
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &limit));
    if (limit.rlim_max < 2048)
        GTEST_SKIP() << "the system allows too few descriptors";
    limit.rlim_cur = 2048;
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &limit));

    Server server({Server::send("ok\0"s)});
    std::vector<ut_TestDescriptor> fill;
    do
        fill.emplace_back(::open("/dev/null", O_RDONLY));
    while (fill.back().get() < FD_SETSIZE);

    UT_NetSocket socket("localhost", server.port(), true, -1);
    EXPECT_EQ(0, socket.connect(0));
    bool readable = true;
    EXPECT_EQ(-4, socket.checkDataStatus(&readable, nullptr, nullptr, 0));
    EXPECT_TRUE(readable);
    EXPECT_EQ(-4, socket.dataAvailable(0));
    EXPECT_EQ(-4, socket.waitForDataOrTimeout(0));
    socket.close();

    UT_WorkBuffer result;
    for (const auto &exchange : theExchanges)
        EXPECT_EQ(
            &exchange == theExchanges,
            exchange.run(server.port(), "x", result, nullptr, true))
            << exchange.name;
}

TEST(UT_NetSocket, PortsMapIntoTheUnprivilegedRange)
{
    // 65535 * 32768 + 32767, and 65535 * -32769 + 32767.
    EXPECT_EQ(32767, UT_NetSocket::mapToUnprivilegedPort(INT_MAX));
    EXPECT_EQ(32767, UT_NetSocket::mapToUnprivilegedPort(INT_MIN));
    // Six rounds, counted instead of divided.
    int residue = 0;
    for (int port = -3 * 65535; port <= 3 * 65535; ++port)
    {
        const int mapped = residue < 10000 ? residue + 10000 : residue;
        ASSERT_EQ(mapped, UT_NetSocket::mapToUnprivilegedPort(port)) << port;
        residue = residue == 65534 ? 0 : residue + 1;
    }
}

// ---- Messages --------------------------------------------------------------

namespace
{

// Plays what a peer sends without one, and counts what is asked.
class ut_ScriptedSocket : public UT_NetSocket
{
public:
    struct Arrival
    {
        std::string bytes; // "" when the peer closed
        int result = 0;    // of the read
        int available = 1; // what dataAvailable says before
    };

    ut_ScriptedSocket(std::vector<Arrival> arrivals, bool blocking)
        : UT_NetSocket(nullptr, ::open("/dev/null", O_RDONLY), blocking),
          myArrivals(std::move(arrivals))
    {
    }

    using UT_NetSocket::read;

    int dataAvailable(int) override
    {
        ++myPolls;
        return myNext < myArrivals.size() ? myArrivals[myNext].available : 0;
    }

    int read(void *buf, int len, int *got, int timeoutMs) override
    {
        EXPECT_EQ(8191, len);
        EXPECT_EQ(-1, timeoutMs);
        if (myNext >= myArrivals.size())
        {
            ADD_FAILURE() << "would wait for ever";
            return UT_NET_SYSTEM_ERROR;
        }
        const Arrival &arrival = myArrivals[myNext++];
        memcpy(buf, arrival.bytes.data(), arrival.bytes.size());
        *got = int(arrival.bytes.size());
        return arrival.result;
    }

    int setBlocking(bool blocking) override
    {
        ++mySwitches;
        return UT_NetSocket::setBlocking(blocking);
    }

    size_t reads() const { return myNext; }

    int myPolls = 0;
    int mySwitches = 0;

private:
    const std::vector<Arrival> myArrivals;
    size_t myNext = 0;
};

} // namespace

TEST(UT_NetSocket, MessagesEndWhereTheyShould)
{
    static const struct
    {
        bool blocking;
        bool untilNul;
        std::vector<ut_ScriptedSocket::Arrival> arrivals;
        int result;
        std::string text;
        int polls; // asked only where the answer decides
    } cases[] = {
        {true,  true,  {{"ab"}, {"c\0"s}},             0,  "abc\0"s,  1},
        {true,  true,  {{"a\0"s}, {"b\0"s}},           0,  "a\0b\0"s, 2},
        {true,  true,  {{"a\0"s}, {"b\0"s, 0, 0}},     0,  "a\0"s,    1},
        {true,  true,  {{"a\0"s}, {"b\0"s, 0, -4}},    0,  "a\0"s,    1},
        {true,  true,  {{"a", 0, 0}, {"b\0"s, 0, 0}},  0,  "ab\0"s,   1},
        {true,  true,  {{"a"}, {""}},                  0,  "a",       0},
        {true,  true,  {{"a"}, {"", -4}},              -4, "a",       0},
        {true,  false, {{"a", 0, 0}, {"b", 0, 0}},     0,  "a",       1},
        {true,  false, {{"a\0"s}, {"b"}, {"c", 0, 0}}, 0,  "a\0b"s,   2},
        {false, false, {{"a", 0, 0}},                  0,  "",        1},
        {false, false, {{"a"}, {""}},                  0,  "a",       2},
        {false, true,  {{"", -1, 0}},                  -1, "",        0},
        {false, true,  {{"a", 0, 0}, {"", -1, 0}},     -1, "a",       0},
        {false, true,  {{"a\0"s, 0, 0}, {"b", 0, 0}},  0,  "a\0"s,    1},
    };
    for (const auto &row : cases)
    {
        SCOPED_TRACE(&row - cases);
        ut_ScriptedSocket socket(row.arrivals, row.blocking);
        UT_WorkBuffer out;
        out.append("left over");
        EXPECT_EQ(row.result, socket.read(out, -1, row.untilNul));
        EXPECT_EQ(row.text, utText(out));
        EXPECT_EQ(row.polls, socket.myPolls);
    }
}

TEST(UT_NetSocket, LockedResultsStayAsTheyAre)
{
    static const struct
    {
        std::string text;
        size_t reads;
    } cases[] = {
        {"",       3}, // still empty: goes on until the peer closes
        {"old",    3},
        {"old\0"s, 0}, // ends in a NUL, so what waits decides
    };
    for (const auto &row : cases)
    {
        ut_ScriptedSocket socket(
            {
                {"a\0"s, 0, 0},
                {"b\0"s    },
                {""}
        },
            true);
        UT_WorkBuffer out;
        out.append(row.text.data(), int(row.text.size()));
        out.lock(0, 1);
        EXPECT_EQ(0, socket.read(out, -1, true));
        EXPECT_EQ(row.text, utText(out));
        EXPECT_EQ(row.reads, socket.reads()) << row.text;
    }
}

// ---- Single operations -----------------------------------------------------

// What a socket answers to one operation after the other; nothing waits at it.
static std::vector<int>
utProbe(UT_NetSocket &socket)
{
    char byte;
    return {
        socket.write("x", 1, nullptr),
        socket.read(&byte, 1, nullptr, -1),
        socket.read(&byte, 1, nullptr, 1),
        socket.peek(&byte, 1, -1),
        socket.waitForDataOrTimeout(-1),
        socket.waitForDataOrTimeout(0),
        socket.dataAvailable(0),
        socket.dataAvailable(-1),
        socket.shutdown(SHUT_WR),
        socket.setBlocking(true),
        socket.close(),
        socket.close(),
        socket.write("x", 1, nullptr),
    };
}

TEST(UT_NetSocket, ChecksComeInOrder)
{
    UT_NetSocket nothing;
    UT_NetSocket client("localhost", 1, true, -1);
    UT_NetSocket listener(0, true);
    UT_NetSocket nowhere("300.1.1.1", 1, true, -1);
    UT_NetSocket unnamed(nullptr, 1, true, -1);
    Server server({Server::hold()});
    UT_NetSocket connected("localhost", server.port(), false, -1);
    ASSERT_EQ(0, connected.connect(10000));
    EXPECT_EQ(-5, listener.connect(0));
    EXPECT_EQ(-2, nowhere.connect(0));
    EXPECT_EQ(-2, unnamed.connect(0));

    typedef std::vector<int> Answers;
    EXPECT_EQ(
        Answers({-6, -6, -6, -6, -6, -6, -6, -6, -6, -6, -1, -1, -6}),
        utProbe(nothing));
    EXPECT_EQ(
        Answers({-6, -6, -6, -6, -6, -6, -6, -6, -6, 0, 0, -1, -6}),
        utProbe(client));
    EXPECT_EQ(
        Answers({-6, -6, -6, -6, -6, -6, 0, -4, -6, 0, 0, -1, -6}),
        utProbe(listener));
    EXPECT_EQ(
        Answers({0, -1, -1, -1, 0, -1, 0, -4, 0, 0, 0, -1, -6}),
        utProbe(connected));
}

TEST(UT_NetSocket, BlockingModeFollowsItsFlag)
{
    UT_NetSocket socket("localhost", 1, false, -1);
    EXPECT_TRUE(fcntl(socket.getSocket(), F_GETFL) & O_NONBLOCK);
    EXPECT_EQ(0, socket.setBlocking(true));
    EXPECT_FALSE(fcntl(socket.getSocket(), F_GETFL) & O_NONBLOCK);
    EXPECT_EQ(0, socket.setBlocking(false));
    socket.close();
    EXPECT_TRUE(socket.isBlocking());
    // The flag changes without a descriptor too.
    EXPECT_EQ(-6, socket.setBlocking(false));
    EXPECT_FALSE(socket.isBlocking());
}

TEST(UT_NetSocket, ConnectsWithinATimeLimit)
{
    const ut_LoopbackPort refused;
    UT_NetSocket first("localhost", refused.port(), true, -1);
    EXPECT_EQ(-3, first.connect(10000));
    EXPECT_FALSE(first.isConnected());

    Server server({Server::hold()});
    UT_NetSocket second("localhost", server.port(), true, -1);
    int ip[4];
    EXPECT_FALSE(second.getRemoteIP4(ip));
    EXPECT_EQ(0, second.connect(10000));
    EXPECT_TRUE(second.isConnected() && second.isBlocking());
    EXPECT_TRUE(second.getRemoteIP4(ip));
    EXPECT_EQ(0, second.connect(0)); // already connected

    // A full queue leaves the next ones waiting.
    const ut_LoopbackPort full;
    ASSERT_EQ(0, ::listen(full.fd(), 0));
    UT_NetSocket filler("localhost", full.port(), true, -1);
    ASSERT_EQ(0, filler.connect(0));
    UT_NetSocket late("localhost", full.port(), true, -1);
    EXPECT_EQ(-3, late.connect(50));
    EXPECT_TRUE(late.isBlocking());
    late.setBlocking(false);
    EXPECT_EQ(-1, late.connect(0)); // still under way
}

TEST(UT_NetSocket, TransfersTellTheirCountsThroughSignals)
{
    Server server({Server::send("reply"), Server::close()});
    UT_NetSocket socket("localhost", server.port(), true, -1);
    ASSERT_EQ(0, socket.connect(0));
    const std::string data = utPattern(16 << 20) + '\0';
    ut_SignalStorm storm;
    storm.start();
    for (size_t sent = 0; sent < data.size();)
    {
        const size_t rest = std::min<size_t>(data.size() - sent, 256 << 10);
        int written = -1;
        ASSERT_EQ(0, socket.write(&data[sent], int(rest), &written));
        ASSERT_GT(written, 0);
        sent += size_t(written);
    }
    char bytes[8] = "";
    int got = -1;
    EXPECT_EQ(0, socket.read(bytes, 3, &got, -1));
    EXPECT_EQ(3, got);
    EXPECT_EQ(0, socket.read(bytes + 3, 5, &got, 10000));
    EXPECT_STREQ("reply", bytes);
    EXPECT_EQ(0, socket.read(bytes, 3, &got, 10000));
    EXPECT_EQ(0, got); // closed
    EXPECT_TRUE(server.request(0) == data);
}

TEST(UT_NetSocket, SignalsDoNotChangeTheWait)
{
    Server server({Server::hold()});
    UT_NetSocket socket("localhost", server.port(), true, -1);
    ASSERT_EQ(0, socket.connect(0));
    ut_SignalStorm storm;
    storm.start();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(0, socket.dataAvailable(200));
    EXPECT_GE(utElapsedMs(start), 199);
    int got = 5;
    EXPECT_EQ(-1, socket.read(nullptr, 0, &got, 20));
    EXPECT_EQ(5, got); // a wait in vain leaves it alone
    EXPECT_GT(storm.signals(), 0);
}

// The end of a connection that the peer resets, as `use` finds it.
static int
utMeetReset(bool terminate, int (*use)(UT_NetSocket &))
{
    Server server({Server::reset()});
    UT_NetSocket socket("localhost", server.port(), true, -1);
    socket.terminateOnConnectionLost(terminate);
    if (socket.connect(0) || socket.write("", 1, nullptr))
        return 1;
    return use(socket);
}

TEST(UT_NetSocketDeathTest, LostConnectionsEndTheProcessIfAsked)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto read = [](UT_NetSocket &socket)
    {
        char byte;
        int got = 5;
        return socket.read(&byte, 1, &got, -1) - got;
    };
    const auto peek = [](UT_NetSocket &socket)
    {
        char byte;
        return socket.peek(&byte, 1, -1);
    };
    EXPECT_EQ(-4, utMeetReset(false, read));
    EXPECT_EQ(-4, utMeetReset(false, peek));
    EXPECT_EXIT(utMeetReset(true, read), testing::ExitedWithCode(2), "");
    EXPECT_EXIT(utMeetReset(true, peek), testing::ExitedWithCode(2), "");
}

// ---- Slots -----------------------------------------------------------------

TEST(UT_NetSocket, InternalCallsGoThroughSlots)
{
    ut_ScriptedSocket socket({{"a\0"s}}, true);
    EXPECT_EQ(0, socket.waitForDataOrTimeout(10));
    EXPECT_EQ(1, socket.myPolls);
    sockaddr_in address = {};
    EXPECT_EQ(ENOTSOCK, socket.connectOrTimeout(&address, sizeof address, 10));
    EXPECT_EQ(2, socket.mySwitches); // to non-blocking and back
    EXPECT_EQ(0, socket.closeInetSocket());
    EXPECT_EQ(3, socket.mySwitches);
}

#if defined(__i386__) || defined(__x86_64__)
// A pointer to a virtual member holds its place in the table, plus one.
template <class Member>
static size_t
utSlot(Member member)
{
    size_t place;
    memcpy(&place, &member, sizeof place);
    return (place - 1) / sizeof(void *);
}

TEST(UT_NetSocket, SlotsKeepTheirPlaces)
{
    typedef UT_NetSocket S;
    const size_t slots[] = {
        utSlot(&S::accept),
        utSlot(&S::connect),
        utSlot(&S::close),
        utSlot(&S::shutdown),
        utSlot(&S::write),
        utSlot(&S::dataAvailable),
        utSlot<int (S::*)(void *, int, int *, int)>(&S::read),
        utSlot<int (S::*)(UT_WorkBuffer &, int, bool)>(&S::read),
        utSlot(&S::peek),
        utSlot(&S::flushRead),
        utSlot(&S::flushWrite),
        utSlot(&S::getRemoteSocket),
        utSlot(&S::setBlocking),
        utSlot(&S::isValid),
    };
    // The destructor has the first two.
    for (size_t i = 0; i < std::size(slots); ++i)
        EXPECT_EQ(i + 2, slots[i]);
}
#endif
