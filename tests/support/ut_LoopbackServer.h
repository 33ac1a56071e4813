// A peer for socket tests and benchmarks: a server on 127.0.0.1 that plays one
// script to each connection and keeps what it received.
//
//     ut_LoopbackServer server({ut_LoopbackServer::send("ok\0"s)});
//     ... talk to server.port() ...
//     EXPECT_EQ("echo hi\0"s, server.request(0));

#pragma once

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

// A descriptor with an owner.
class ut_TestDescriptor
{
public:
    explicit ut_TestDescriptor(int fd) : myFd(fd) {}
    ut_TestDescriptor(const ut_TestDescriptor &) = delete;
    ut_TestDescriptor &operator=(const ut_TestDescriptor &) = delete;
    ~ut_TestDescriptor() { ::close(myFd); }

    int get() const { return myFd; }

private:
    const int myFd;
};

// A stream socket bound to a free port of 127.0.0.1. As long as it does not
// listen, connecting to its port is refused. The system chooses among high
// ports, which the exchanges do not map to others.
class ut_LoopbackPort
{
public:
    ut_LoopbackPort() : mySocket(::socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address = {};
        socklen_t length = sizeof(address);
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        auto *const any = reinterpret_cast<sockaddr *>(&address);
        if (::bind(fd(), any, length) || ::getsockname(fd(), any, &length))
            throw std::runtime_error("no loopback port");
        myPort = ntohs(address.sin_port);
    }

    int port() const { return myPort; }
    int fd() const { return mySocket.get(); }

private:
    const ut_TestDescriptor mySocket;
    int myPort;
};

// One connection after the other is read until what came ends in a NUL, then
// the script is played, then (unless the script ended the connection) what else
// the peer sends is read until it ends the connection. So an empty script is a
// peer that stays silent. With `isDeaf` nothing is read, except by the script.
// The peers must end before the server is destroyed. Its thread takes no
// signals.
class ut_LoopbackServer
{
public:
    // Does something with the connection; false ends it.
    using Step = std::function<bool(int fd, const std::string &request)>;
    using Script = std::vector<Step>;

    // Sends bytes, as one segment if they are few and a pause follows.
    static Step send(const std::string &bytes)
    {
        return [bytes](int fd, const std::string &)
        { return sendAll(fd, bytes); };
    }
    // Sends the request back.
    static Step echo() { return sendAll; }
    // A peer that takes its time.
    static Step pause(int ms)
    {
        return [ms](int, const std::string &)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(ms));
            return true;
        };
    }
    static Step close()
    {
        return [](int, const std::string &) { return false; };
    }
    // Ends the connection as a crash would.
    static Step reset()
    {
        return [](int fd, const std::string &)
        {
            const linger now = {1, 0};
            ::setsockopt(fd, SOL_SOCKET, SO_LINGER, &now, sizeof(now));
            return false;
        };
    }

    explicit ut_LoopbackServer(Script script, bool isDeaf = false)
        : myScript(std::move(script)), myIsDeaf(isDeaf)
    {
        ::listen(myListener.fd(), 128);
        myThread = std::thread([this] { serve(); });
    }
    ~ut_LoopbackServer()
    {
        ::shutdown(myListener.fd(), SHUT_RDWR); // wakes the thread
        {
            // A peer that was not read may have left without a trace.
            const std::lock_guard<std::mutex> guard(myMutex);
            myIsEnding = true;
            ::shutdown(myConnection, SHUT_RDWR);
        }
        myThread.join();
    }

    int port() const { return myListener.port(); }

    // All that connection `index` (from 0) received. Waits until that
    // connection has ended; throws when that takes too long.
    std::string request(size_t index)
    {
        std::unique_lock<std::mutex> guard(myMutex);
        const bool hasEnded = myChanged.wait_for(
            guard, std::chrono::seconds(120), // only a failure takes so long
            [&] { return index < myRequests.size(); });
        if (!hasEnded)
            throw std::runtime_error(
                "no end of connection " + std::to_string(index));
        return myRequests[index];
    }

private:
    static bool sendAll(int fd, const std::string &bytes)
    {
        return ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
               ssize_t(bytes.size());
    }

    // Appends what arrives; false when the peer ended the connection.
    static bool receive(int fd, std::string &received, bool untilNul)
    {
        char chunk[65536];
        ssize_t got;
        while ((got = ::recv(fd, chunk, sizeof(chunk), 0)) > 0)
        {
            received.append(chunk, size_t(got));
            if (untilNul && !chunk[got - 1])
                return true;
        }
        return false;
    }

    // Sets the connection that the destructor shuts down; false if it has
    // begun.
    bool setConnection(int fd)
    {
        const std::lock_guard<std::mutex> guard(myMutex);
        myConnection = fd;
        return !myIsEnding;
    }

    std::string converse(const ut_TestDescriptor &connection)
    {
        const int fd = connection.get();
        const int on = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
        std::string received;
        bool goesOn = setConnection(fd);
        if (goesOn && !myIsDeaf)
            goesOn = receive(fd, received, /*untilNul=*/true);
        for (size_t i = 0; goesOn && i < myScript.size(); ++i)
            goesOn = myScript[i](fd, received);
        pollfd end = {fd, POLLRDHUP, 0};
        if (goesOn && myIsDeaf)
            ::poll(&end, 1, /*timeout=*/-1);
        else if (goesOn)
            receive(fd, received, /*untilNul=*/false);
        setConnection(-1);
        return received;
    }

    void serve()
    {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
        int fd;
        while ((fd = ::accept(myListener.fd(), nullptr, nullptr)) >= 0)
        {
            // The connection is closed before its request is handed out.
            std::string received = converse(ut_TestDescriptor(fd));
            const std::lock_guard<std::mutex> guard(myMutex);
            myRequests.push_back(std::move(received));
            myChanged.notify_all();
        }
    }

    const Script myScript;
    const bool myIsDeaf;
    const ut_LoopbackPort myListener;
    std::thread myThread;

    std::mutex myMutex; // guards what follows
    std::condition_variable myChanged;
    std::vector<std::string> myRequests;
    int myConnection = -1;
    bool myIsEnding = false;
};
