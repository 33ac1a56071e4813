// A loopback exchange takes at most 1.10 times as long as a tight loop of the
// same system calls, the look-up included. A reply of 16 MiB takes at most as
// long as libcurl takes to receive it, 0.6 of a loop of reads of 8191 bytes
// that appends to a std::string, and 1.5 of one that throws the bytes away; 2.2
// of the latter in programs of 32 bits, whose C library returns large blocks to
// the system.

#include "UT/UT_NetSocket.h"

#include "ut_LoopbackServer.h"

#include "UT/UT_WorkBuffer.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <string>

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#ifdef VALDRIN_HAVE_CURL
#include <curl/curl.h>
#endif

using namespace std::string_literals;

static const char theCommand[] =
    "<?xml version=\"1.0\"?>\n<vscript><![CDATA[echo hi]]></vscript>\n";

static ut_LoopbackServer &
utServer(size_t replyLength)
{
    static std::unique_ptr<ut_LoopbackServer> theServer;
    static size_t theReplyLength;
    if (!theServer || theReplyLength != replyLength)
    {
        theReplyLength = replyLength;
        theServer.reset(); // one at a time
        theServer =
            std::make_unique<ut_LoopbackServer>(ut_LoopbackServer::Script{
                ut_LoopbackServer::send(std::string(replyLength - 1, 'r')),
                ut_LoopbackServer::send("\0"s)});
    }
    return *theServer;
}

static void
utToolkit(benchmark::State &state)
{
    const int port = utServer(size_t(state.range(0))).port();
    for (auto _ : state)
    {
        UT_WorkBuffer result;
        if (!UT_NetSocket::sendCommandAndGetResult(
                port, theCommand, result, nullptr, true) ||
            result.length() != state.range(0))
            state.SkipWithError("the exchange failed");
        benchmark::DoNotOptimize(result.buffer());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

// What the exchange asks of the system, in the same order.
static bool
utRawExchange(int port, std::string *gathered, int &length)
{
    const ut_TestDescriptor fd(::socket(AF_INET, SOCK_STREAM, 0));
    const int on = 1;
    ::setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    ::setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    ::fcntl(fd.get(), F_SETFL, ::fcntl(fd.get(), F_GETFL) & ~O_NONBLOCK);

    const hostent *const entry = ::gethostbyname("localhost");
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(uint16_t(port));
    memcpy(&address.sin_addr, entry->h_addr_list[0], 4);
    if (::connect(
            fd.get(), reinterpret_cast<sockaddr *>(&address),
            sizeof(address)) ||
        ::write(fd.get(), theCommand, sizeof(theCommand)) < 0)
        return false;

    char chunk[8191];
    fd_set set;
    timeval limit;
    do
    {
        ssize_t got;
        do
        {
            got = ::read(fd.get(), chunk, sizeof(chunk));
            if (got < 1)
                return false;
            if (gathered)
                gathered->append(chunk, size_t(got));
            benchmark::DoNotOptimize(chunk);
            length += int(got);
        } while (chunk[got - 1]);
        FD_ZERO(&set);
        FD_SET(fd.get(), &set);
        limit = {0, 0};
    } while (::select(fd.get() + 1, &set, nullptr, nullptr, &limit));

    ::shutdown(fd.get(), SHUT_RDWR);
    ::fcntl(fd.get(), F_SETFL, ::fcntl(fd.get(), F_GETFL) & ~O_NONBLOCK);
    return true;
}

static void
utRaw(benchmark::State &state, bool gathers)
{
    const int port = utServer(size_t(state.range(0))).port();
    for (auto _ : state)
    {
        std::string reply;
        int length = 0;
        if (!utRawExchange(port, gathers ? &reply : nullptr, length) ||
            length != state.range(0))
            state.SkipWithError("the exchange failed");
        benchmark::DoNotOptimize(reply.data());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

static void
utRawGathering(benchmark::State &state)
{
    utRaw(state, /*gathers=*/true);
}

// Throws away what it reads.
static void
utRawDropping(benchmark::State &state)
{
    utRaw(state, /*gathers=*/false);
}

#ifdef VALDRIN_HAVE_CURL
// A connection of libcurl's, read as its manual shows, into a growing text.
static bool
utCurlExchange(int port, std::string &reply)
{
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle(
        curl_easy_init(), curl_easy_cleanup);
    CURL *const curl = handle.get();
    const std::string url = "http://127.0.0.1:" + std::to_string(port);
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_CONNECT_ONLY, 1L);
    curl_socket_t fd = -1;
    size_t count = 0;
    if (curl_easy_perform(curl) ||
        curl_easy_getinfo(curl, CURLINFO_ACTIVESOCKET, &fd) ||
        curl_easy_send(curl, theCommand, sizeof(theCommand), &count))
        return false;
    static char theChunk[1 << 16];
    while (reply.empty() || reply.back())
    {
        const CURLcode code =
            curl_easy_recv(curl, theChunk, sizeof(theChunk), &count);
        if (code == CURLE_OK && count > 0)
        {
            reply.append(theChunk, count);
            continue;
        }
        pollfd waiting = {fd, POLLIN, 0};
        if (code != CURLE_AGAIN || ::poll(&waiting, 1, -1) != 1)
            return false;
    }
    return true;
}

static void
utCurl(benchmark::State &state)
{
    const int port = utServer(size_t(state.range(0))).port();
    for (auto _ : state)
    {
        std::string reply;
        if (!utCurlExchange(port, reply) ||
            int64_t(reply.size()) != state.range(0))
            state.SkipWithError("the exchange failed");
        benchmark::DoNotOptimize(reply.data());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
#define UT_BENCHMARK_CURL(bytes) \
    BENCHMARK(utCurl)->Name("exchange/libcurl")->Arg(bytes)->UseRealTime()
#else
#define UT_BENCHMARK_CURL(bytes) static_assert(true)
#endif

// Size by size, so that what is compared runs side by side.
#define UT_BENCHMARK_SIZE(bytes)                                            \
    BENCHMARK(utToolkit)->Name("exchange/ours")->Arg(bytes)->UseRealTime(); \
    UT_BENCHMARK_CURL(bytes);                                               \
    BENCHMARK(utRawGathering)                                               \
        ->Name("exchange/read and append")                                  \
        ->Arg(bytes)                                                        \
        ->UseRealTime();                                                    \
    BENCHMARK(utRawDropping)                                                \
        ->Name("exchange/read alone")                                       \
        ->Arg(bytes)                                                        \
        ->UseRealTime()

UT_BENCHMARK_SIZE(3);
UT_BENCHMARK_SIZE(64 << 10);
UT_BENCHMARK_SIZE(16 << 20);
UT_BENCHMARK_SIZE(256 << 20);
