// A peer for socket tests and benchmarks: a server on 127.0.0.1 that plays one
// script to each connection and keeps what it received.
//
//     ut_LoopbackServer server({ut_LoopbackServer::send("ok\0"s)});
//     ... talk to server.port() ...
//     EXPECT_EQ("echo hi\0"s, server.request(0));

#pragma once

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

// A descriptor with an owner.
class ut_TestDescriptor
{
public:
    explicit ut_TestDescriptor(int fd = -1) : myFd(fd) {}
    ut_TestDescriptor(ut_TestDescriptor &&source) noexcept
        : myFd(std::exchange(source.myFd, -1))
    {
    }
    ut_TestDescriptor(const ut_TestDescriptor &) = delete;
    ut_TestDescriptor &operator=(const ut_TestDescriptor &) = delete;
    ~ut_TestDescriptor() { reset(); }

    int get() const { return myFd; }
    void reset(int fd = -1)
    {
        if (myFd >= 0)
            ::close(myFd);
        myFd = fd;
    }

private:
    int myFd;
};

// A stream socket bound to a free port of 127.0.0.1. As long as it does not
// listen, connecting to its port is refused. Ports that the exchanges would map
// to others are not chosen.
class ut_LoopbackPort
{
public:
    ut_LoopbackPort()
    {
        do
            bindAnew();
        while (myPort < 10000 || myPort > 65534);
    }

    int port() const { return myPort; }
    int fd() const { return mySocket.get(); }

private:
    void bindAnew()
    {
        mySocket.reset(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_in address = {};
        socklen_t length = sizeof address;
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        auto *const any = reinterpret_cast<sockaddr *>(&address);
        if (::bind(mySocket.get(), any, length) ||
            ::getsockname(mySocket.get(), any, &length))
            throw std::runtime_error("no loopback port");
        myPort = ntohs(address.sin_port);
    }

    ut_TestDescriptor mySocket;
    int myPort = 0;
};

// Each connection is read until what came ends in a NUL, then the script
// is played, then (unless the script ended the connection) what else the peer
// sends is read until it ends the connection. Several workers serve several
// connections at once. Its threads take no signals.
class ut_LoopbackServer
{
public:
    struct Step
    {
        enum Action
        {
            SEND,
            ECHO,
            PAUSE,
            HOLD,
            CALL,
            HALF_CLOSE,
            CLOSE,
            RESET
        } action;
        std::string bytes = {};
        int ms = 0;
        std::function<void()> function = {};
    };
    typedef std::vector<Step> Script;

    // Sends bytes, as one segment if they are few and a pause follows.
    static Step send(std::string bytes)
    {
        return {Step::SEND, std::move(bytes)};
    }
    // Sends the request back.
    static Step echo() { return {Step::ECHO}; }
    // A peer that takes its time.
    static Step pause(int ms) { return {Step::PAUSE, {}, ms}; }
    // Silence until release(), or until the server goes.
    static Step hold() { return {Step::HOLD}; }
    // Runs a function on the server's thread.
    static Step call(std::function<void()> function)
    {
        return {Step::CALL, {}, 0, std::move(function)};
    }
    // Ends our direction; the peer can still send.
    static Step halfClose() { return {Step::HALF_CLOSE}; }
    static Step close() { return {Step::CLOSE}; }
    // Ends the connection as a crash would.
    static Step reset() { return {Step::RESET}; }

    explicit ut_LoopbackServer(Script script, int workers = 1)
        : myScript(std::move(script))
    {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) ||
            ::listen(myListener.fd(), 128) ||
            ::fcntl(myListener.fd(), F_SETFL, O_NONBLOCK))
            throw std::runtime_error("no loopback server");
        myStopReader.reset(ends[0]);
        myStopWriter.reset(ends[1]);

        sigset_t all;
        sigset_t before;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before);
        for (int i = 0; i < workers; ++i)
            myWorkers.emplace_back([this] { serve(); });
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

    ut_LoopbackServer(const ut_LoopbackServer &) = delete;
    ut_LoopbackServer &operator=(const ut_LoopbackServer &) = delete;

    ~ut_LoopbackServer()
    {
        {
            std::lock_guard<std::mutex> guard(myMutex);
            myIsStopping = true;
        }
        myChanged.notify_all();
        myStopWriter.reset();
        for (std::thread &worker : myWorkers)
            worker.join();
    }

    int port() const { return myListener.port(); }

    // All that connection `index` (from 0, in the order in which they ended)
    // received. Waits until that connection has ended.
    std::string request(size_t index)
    {
        std::unique_lock<std::mutex> guard(myMutex);
        waitUntil(guard, [&] { return index < myRequests.size(); });
        return myRequests[index];
    }

    // Lets one connection that holds, or the next one to do so, go on.
    void release()
    {
        {
            std::lock_guard<std::mutex> guard(myMutex);
            ++myReleases;
        }
        myChanged.notify_all();
    }

private:
    // A deadline that only fails: whoever waits here waits for an event.
    template <class Condition>
    void waitUntil(std::unique_lock<std::mutex> &guard, Condition condition)
    {
        if (!myChanged.wait_for(guard, std::chrono::seconds(60), condition))
            throw std::runtime_error("the loopback server waits for ever");
    }

    // False when the server stops first.
    bool waitFor(int fd, short events) const
    {
        pollfd both[] = {
            {fd,                 events, 0},
            {myStopReader.get(), POLLIN, 0}
        };
        ::poll(both, 2, -1);
        return !both[1].revents;
    }

    void serve()
    {
        while (waitFor(myListener.fd(), POLLIN))
        {
            const int fd = ::accept4(
                myListener.fd(), nullptr, nullptr,
                SOCK_CLOEXEC | SOCK_NONBLOCK);
            if (fd < 0)
                continue; // another worker has it
            ut_TestDescriptor connection(fd);
            const int on = 1;
            ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            std::string received;
            if (receive(fd, received, /*untilNul=*/true) && play(fd, received))
                receive(fd, received, /*untilNul=*/false);
            connection.reset();
            {
                std::lock_guard<std::mutex> guard(myMutex);
                myRequests.push_back(std::move(received));
            }
            myChanged.notify_all();
        }
    }

    // Appends what arrives; false when the peer ended the connection.
    bool receive(int fd, std::string &received, bool untilNul) const
    {
        char chunk[65536];
        for (;;)
        {
            const ssize_t got = ::recv(fd, chunk, sizeof chunk, 0);
            if (got < 0 && errno == EAGAIN && waitFor(fd, POLLIN))
                continue;
            if (got <= 0)
                return false;
            received.append(chunk, size_t(got));
            if (untilNul && !chunk[got - 1])
                return true;
        }
    }

    bool sendAll(int fd, const std::string &bytes) const
    {
        for (size_t sent = 0; sent < bytes.size();)
        {
            const ssize_t count = ::send(
                fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (count >= 0)
                sent += size_t(count);
            else if (errno != EAGAIN || !waitFor(fd, POLLOUT))
                return false;
        }
        return true;
    }

    bool waitForRelease()
    {
        std::unique_lock<std::mutex> guard(myMutex);
        waitUntil(guard, [&] { return myReleases > 0 || myIsStopping; });
        --myReleases;
        return !myIsStopping;
    }

    // False when the connection is to be closed without further reading.
    bool play(int fd, const std::string &request)
    {
        for (const Step &step : myScript)
        {
            switch (step.action)
            {
            case Step::SEND:
                if (!sendAll(fd, step.bytes))
                    return false;
                break;
            case Step::ECHO:
                if (!sendAll(fd, request))
                    return false;
                break;
            case Step::PAUSE:
                std::this_thread::sleep_for(std::chrono::milliseconds(step.ms));
                break;
            case Step::HOLD:
                if (!waitForRelease())
                    return false;
                break;
            case Step::CALL:
                step.function();
                break;
            case Step::HALF_CLOSE:
                ::shutdown(fd, SHUT_WR);
                break;
            case Step::CLOSE:
                return false;
            case Step::RESET:
                const linger now = {1, 0};
                ::setsockopt(fd, SOL_SOCKET, SO_LINGER, &now, sizeof now);
                return false;
            }
        }
        return true;
    }

    const Script myScript;
    ut_LoopbackPort myListener;
    ut_TestDescriptor myStopReader;
    ut_TestDescriptor myStopWriter; // its end wakes all workers
    std::vector<std::thread> myWorkers;

    std::mutex myMutex; // guards what follows
    std::condition_variable myChanged;
    std::vector<std::string> myRequests;
    int myReleases = 0;
    bool myIsStopping = false;
};
