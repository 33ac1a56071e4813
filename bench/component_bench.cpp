// One exchange through the component takes at most 1.10 times what a tight loop
// of the same system calls takes on loopback, and one through UT_Connection,
// which looks no host up, no more than one through the component. An envelope
// of 4000 bytes of plain text takes at most half of what std::string takes to
// build the same bytes, any other, and in 32 bits all, 0.7.
//
// Both sides of a pair take turns in one run, so that other load on the
// machine affects them alike; the counters are medians in microseconds.

#include "ut_Curve.h"
#include "ut_LoopbackServer.h"

#include "UT/UT_Connection.h"
#include "UT/UT_RequestImpl.h"
#include "UT/UT_WorkBuffer.h"
#include "component/IValdrinConnection.h"
#include "component/nsGenericModule.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace std::string_literals;

extern "C" nsresult NSGetModule(
    nsIComponentManager *manager, nsIFile *location, nsIModule **result);

template <class Work>
static double
utMicroseconds(Work &work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::micro>(
               std::chrono::steady_clock::now() - start)
        .count();
}

static double
utMedian(std::vector<double> &times)
{
    const auto middle = times.begin() + std::ptrdiff_t(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

template <class Ours, class Peer>
static void
utTakeTurns(benchmark::State &state, Ours ours, Peer peer)
{
    std::vector<double> ourTimes;
    std::vector<double> peerTimes;
    for (auto _ : state)
    {
        const bool isPeerFirst = ourTimes.size() % 2;
        if (isPeerFirst)
            peerTimes.push_back(utMicroseconds(peer));
        ourTimes.push_back(utMicroseconds(ours));
        if (!isPeerFirst)
            peerTimes.push_back(utMicroseconds(peer));
    }
    state.counters["ours_us"] = utMedian(ourTimes);
    state.counters["peer_us"] = utMedian(peerTimes);
    state.counters["ratio"] = utMedian(ourTimes) / utMedian(peerTimes);
}

// ---- The exchange

namespace
{

// A component manager as small as can be; the module only wants to see that it
// is a registrar.
class ut_Manager : public nsIComponentManager
{
public:
    nsresult QueryInterface(const nsID &, void **result) override
    {
        *result = this;
        return NS_OK;
    }
    nsrefcnt AddRef() override { return 1; }
    nsrefcnt Release() override { return 1; }
    nsresult GetClassObject(const nsID &, const nsID &, void **) override
    {
        return NS_ERROR_FAILURE;
    }
    nsresult
    GetClassObjectByContractID(const char *, const nsID &, void **) override
    {
        return NS_ERROR_FAILURE;
    }
    nsresult
    CreateInstance(const nsID &, nsISupports *, const nsID &, void **) override
    {
        return NS_ERROR_FAILURE;
    }
    nsresult CreateInstanceByContractID(
        const char *, nsISupports *, const nsID &, void **) override
    {
        return NS_ERROR_FAILURE;
    }
    virtual ~ut_Manager() = default;
};

} // namespace

static IValdrinConnection *
utNewConnection()
{
    const nsID cid = {
        0xbcd2fb75,
        0xa243,
        0x48f1,
        {0xb4, 0x95, 0xf3, 0xaa, 0x18, 0xea, 0x5c, 0x25}
    };
    ut_Manager manager;
    nsIModule *module = nullptr;
    void *factory = nullptr;
    void *object = nullptr;
    NSGetModule(&manager, nullptr, &module);
    module->GetClassObject(&manager, cid, nsIFactory::IID, &factory);
    static_cast<nsIFactory *>(factory)->CreateInstance(
        nullptr, IValdrinConnection::IID, &object);
    static_cast<nsIFactory *>(factory)->Release();
    module->Release();
    return static_cast<IValdrinConnection *>(object);
}

// What one call asks of the system, in the same order.
static bool
utRawExchange(int port, const char *request, size_t length)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    const hostent *const entry = ::gethostbyname("localhost");
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(uint16(port));
    memcpy(&address.sin_addr, entry->h_addr_list[0], 4);
    char chunk[8191];
    bool isWhole =
        !::connect(
            fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)) &&
        ::write(fd, request, length) == ssize_t(length);
    while (isWhole)
    {
        const ssize_t got = ::read(fd, chunk, sizeof(chunk));
        isWhole = got > 0;
        if (!isWhole || chunk[got - 1])
            continue;
        fd_set set;
        FD_ZERO(&set);
        FD_SET(fd, &set);
        timeval none = {0, 0};
        if (::select(fd + 1, &set, nullptr, nullptr, &none) != 1)
            break;
    }
    benchmark::DoNotOptimize(chunk);
    ::shutdown(fd, SHUT_RDWR);
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    ::close(fd);
    return isWhole;
}

static void
utExchange(benchmark::State &state)
{
    ut_LoopbackServer server({ut_LoopbackServer::send("ok\0"s)});
    IValdrinConnection *const connection = utNewConnection();
    connection->SetSocketPortNum(server.port());
    UT_WorkBuffer request;
    buildXML("echo hi", "vscript", request);
    utTakeTurns(
        state,
        [&]
        {
            char *reply = nullptr;
            connection->Run("echo hi", &reply);
            if (!reply || strcmp(reply, "ok") != 0)
                state.SkipWithError("the component's exchange failed");
            free(reply);
        },
        [&]
        {
            if (!utRawExchange(
                    server.port(), request.buffer(),
                    size_t(request.length()) + 1))
                state.SkipWithError("the raw exchange failed");
        });
    connection->Release();
}

BENCHMARK(utExchange)
    ->Name("exchange by the component/ours and system calls")
    ->UseRealTime();

static void
utConnectionExchange(benchmark::State &state)
{
    ut_LoopbackServer server({ut_LoopbackServer::send("ok\0"s)});
    IValdrinConnection *const component = utNewConnection();
    component->SetSocketPortNum(server.port());
    UT_Connection connection(server.port());
    utTakeTurns(
        state,
        [&]
        {
            UT_WorkBuffer reply;
            if (!connection.run("echo hi", reply))
                state.SkipWithError(connection.message());
            benchmark::DoNotOptimize(reply.buffer());
        },
        [&]
        {
            char *reply = nullptr;
            component->Run("echo hi", &reply);
            if (!reply || strcmp(reply, "ok") != 0)
                state.SkipWithError("the component's exchange failed");
            free(reply);
        });
    component->Release();
}

BENCHMARK(utConnectionExchange)
    ->Name("exchange by UT_Connection/ours and the component")
    ->UseRealTime();

// ---- The envelope

static std::string
utBuildString(const char *text, const char *tag)
{
    std::string out = "<?xml version=\"1.0\"?>\n<";
    out += tag;
    out += "><![CDATA[";
    const std::string_view source = text;
    size_t from = 0;
    for (size_t at; (at = source.find("]]>", from)) != std::string::npos;)
    {
        out.append(source, from, at - from);
        out += "]]]]><![CDATA[>";
        from = at + 3;
    }
    out.append(source, from, std::string::npos);
    out += "]]></";
    out += tag;
    out += ">\n";
    return out;
}

// A command of so many bytes: plain text, text full of brackets, and with "]]>"
// every so many bytes.
static std::string
utCommand(size_t length, long period)
{
    std::string text;
    while (text.size() < length)
    {
        text += period < 0 ? "a[b[0]] = x->y;\n" : "print 'hello, world'\n";
        if (period > 0 && text.size() % size_t(period) < 21)
            text += "]]>";
    }
    return text;
}

static void
utEnvelope(benchmark::State &state)
{
    const std::string text =
        utCommand(size_t(state.range(0)), long(state.range(1)));
    UT_WorkBuffer check;
    buildXML(text.c_str(), "vscript", check);
    if (utBuildString(text.c_str(), "vscript") != check.buffer())
        state.SkipWithError("the envelopes differ");
    // A short one is built many times, so that the clock costs nothing.
    const size_t repeats = 1 + (1 << 16) / text.size();
    utTakeTurns(
        state,
        [&]
        {
            for (size_t i = 0; i < repeats; ++i)
            {
                UT_WorkBuffer out;
                buildXML(text.c_str(), "vscript", out);
                benchmark::DoNotOptimize(out.buffer());
            }
        },
        [&]
        {
            for (size_t i = 0; i < repeats; ++i)
            {
                const std::string out = utBuildString(text.c_str(), "vscript");
                benchmark::DoNotOptimize(out.data());
            }
        });
}

BENCHMARK(utEnvelope)
    ->Name("envelope/ours and std::string")
    ->Args({40, 0})
    ->Args({4000, 0})
    ->Args({4000, -1})
    ->Args({4000, 64})
    ->Args({1 << 20, 0})
    ->Args({1 << 20, -1})
    ->Args({1 << 20, 64 << 10})
    ->Args({1 << 20, 1 << 10})
    ->Args({1 << 20, 64})
    ->Apply(
        [](benchmark::internal::Benchmark *rows)
        {
            if (utIsLongCurve())
                rows->Args({1 << 28, 0});
        });
