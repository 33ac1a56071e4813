#include "ut_BridgeHost.h"

#include "ut_BridgeComponent.h"
#include "ut_BridgeReply.h"
#include "ut_BridgeRequest.h"

#include "component/IValdrinConnection.h"
#include "host/ut_Descriptors.h"

#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <unistd.h>

static void
utComplain(const std::string &message)
{
    fprintf(stderr, "valdrin-bridge: %s\n", message.c_str());
}

// ---- The streams

// Moves standard output out of the way of whatever the library prints. The
// descriptor that is left for the frames; -1 when there is none.
static int
utTakeStandardOutput()
{
    utFillStandardDescriptors();
    const int frames = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (frames < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
        return -1;
    return frames;
}

static bool
utWriteAll(int fd, std::string_view data)
{
    while (!data.empty())
    {
        const ssize_t written = write(fd, data.data(), data.size());
        const int error = errno;
        if (written >= 0)
            data.remove_prefix(size_t(written));
        else if (!utIsWorthRepeating(error, fd, POLLOUT))
        {
            utComplain(std::string("cannot answer: ") + strerror(error));
            return false;
        }
    }
    return true;
}

// Reads `length` bytes of standard input to `data`. Returns how many there
// were before it ended, or could not be read any further.
static size_t
utReadInput(char *data, size_t length)
{
    size_t total = 0;
    while (total < length)
    {
        const ssize_t got = read(STDIN_FILENO, data + total, length - total);
        const int error = errno;
        if (got == 0)
            break;
        if (got > 0)
            total += size_t(got);
        else if (!utIsWorthRepeating(error, STDIN_FILENO, POLLIN))
        {
            utComplain(std::string("standard input: ") + strerror(error));
            break;
        }
    }
    return total;
}

enum class ut_Input
{
    FRAME,
    END,
    BROKEN
};

static ut_Input
utReadFrame(std::string &frame)
{
    char header[sizeof(uint32)];
    const size_t got = utReadInput(header, sizeof(header));
    if (got == 0)
        return ut_Input::END;
    bool isWhole = got == sizeof(header);
    if (isWhole)
    {
        uint32 length = 0;
        memcpy(&length, header, sizeof(header));
        if (length == 0 || length > theMaxRequestBytes)
        {
            utComplain("a frame of " + std::to_string(length) + " bytes");
            return ut_Input::BROKEN;
        }
        frame.resize(length);
        isWhole = utReadInput(frame.data(), length) == length;
    }
    if (!isWhole)
    {
        utComplain("the input ended in the middle of a frame");
        return ut_Input::BROKEN;
    }
    return ut_Input::FRAME;
}

// ---- The end of the browser

extern "C"
{
    static void utOnTermination(int)
    {
        _exit(EXIT_SUCCESS);
    }
}

// Ends the process when standard input ends while a request is at work. A call
// of the component cannot be interrupted, and the browser is patient for three
// seconds only.
class ut_InputWatch
{
public:
    ut_InputWatch() : myThread(&ut_InputWatch::watch, this)
    {
        myThread.detach();
    }

    ut_InputWatch(const ut_InputWatch &) = delete;
    ut_InputWatch &operator=(const ut_InputWatch &) = delete;

    /// Says that a request is at work, or that input is being read again: the
    /// reader sees the end by itself, and whether it lies inside a frame.
    void setAtWork(bool isAtWork)
    {
        const std::lock_guard<std::mutex> guard(myMutex);
        myIsAtWork = isAtWork;
        myChange.notify_one();
    }

private:
    void watch()
    {
        // Errors and hang-ups are always asked for. A socket that is shut down
        // on one side counts, too.
        pollfd input = {STDIN_FILENO, POLLRDHUP, 0};
        while (poll(&input, 1, /*timeout=*/-1) < 1)
            continue;
        std::unique_lock<std::mutex> lock(myMutex);
        myChange.wait(lock, [this] { return myIsAtWork; });
        _exit(EXIT_SUCCESS);
    }

    std::mutex myMutex;
    std::condition_variable myChange;
    bool myIsAtWork = false;
    std::thread myThread; // the last: it uses the others
};

static void
utPrepareSignals()
{
    // The library's sockets and our pipe report what is lost by a result.
    struct sigaction action = {};
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);

    // The caller may have left the signal ignored or blocked.
    action.sa_handler = utOnTermination;
    sigaction(SIGTERM, &action, nullptr);
    sigset_t termination;
    sigemptyset(&termination);
    sigaddset(&termination, SIGTERM);
    sigprocmask(SIG_UNBLOCK, &termination, nullptr);
}

// ---- The calls

// A string that the component hands out. It comes from the platform's
// allocator, which is malloc in a program that brings none of its own.
class ut_HandedOut
{
public:
    ut_HandedOut() = default;
    ut_HandedOut(const ut_HandedOut &) = delete;
    ut_HandedOut &operator=(const ut_HandedOut &) = delete;
    ~ut_HandedOut() { free(myText); }

    [[nodiscard]] const char *get() const { return myText; }
    char **out() { return &myText; }

private:
    char *myText = nullptr;
};

// Sets `isVoid` when the method hands nothing out.
static nsresult
utCall(
    IValdrinConnection &connection, const ut_BridgeRequest &request,
    ut_HandedOut &text, bool &isVoid)
{
    const char *const argument = request.text.c_str();
    isVoid = false;
    switch (request.method)
    {
    case ut_BridgeMethod::RUN:
        return connection.Run(argument, text.out());
    case ut_BridgeMethod::RUN_PYTHON_EXPRESSION:
        return connection.RunPythonExpression(argument, text.out());
    case ut_BridgeMethod::GET_STASHED_STRING:
        return connection.GetStashedString(text.out());
    default:
        break;
    }
    isVoid = true;
    switch (request.method)
    {
    case ut_BridgeMethod::SET_SOCKET_PORT_NUM:
        return connection.SetSocketPortNum(request.number);
    case ut_BridgeMethod::RUN_PYTHON_STATEMENTS:
        return connection.RunPythonStatements(argument);
    case ut_BridgeMethod::STASH_STRING:
        return connection.StashString(argument);
    default:
        return NS_ERROR_UNEXPECTED;
    }
}

// What the extension's own page shows.
static std::string
utDescribe(const ut_BridgeComponent &component, int32 port)
{
    using ut_Json = nlohmann::ordered_json;
    const bool isLoaded = component.get() != nullptr;
    std::string problem = "The connection library cannot be used.";
    const bool isThere = isLoaded && component.probeApplication(port, problem);
    ut_Json state;
    state["bridge"] = VALDRIN_VERSION;
    state["library"] = isLoaded ? ut_Json(component.library()) : ut_Json();
    state["libraryProblem"] =
        isLoaded ? ut_Json() : ut_Json(component.problem());
    state["port"] = port;
    state["application"] = isThere;
    state["applicationProblem"] = isThere ? ut_Json() : ut_Json(problem);
    // A path may be anything, and what is not UTF-8 in it is replaced.
    return state.dump(
        /*indent=*/-1, ' ', /*ensure_ascii=*/false,
        ut_Json::error_handler_t::replace);
}

static bool
utAnswer(
    const ut_BridgeComponent &component, const ut_BridgeRequest &request,
    const ut_FrameSink &send)
{
    if (request.method == ut_BridgeMethod::CHECK)
        return utSendReply(
            request.id, utDescribe(component, request.number), send);
    if (!component.get())
        return utSendError(
            request.id, "component",
            "The connection library cannot be used: " + component.problem(),
            send);

    ut_HandedOut text;
    bool isVoid = false;
    const nsresult result = utCall(*component.get(), request, text, isVoid);
    if (NS_FAILED(result))
    {
        char message[64];
        snprintf(
            message, sizeof(message), "The component failed with 0x%08x.",
            result);
        return utSendError(request.id, "component", message, send);
    }
    if (!isVoid && !text.get())
        return utSendError(
            request.id, "component", "There is no memory for the reply.", send);
    return utSendReply(request.id, isVoid ? "" : text.get(), send);
}

// False when the stream of requests cannot be trusted, or answers not be sent,
// after a line on standard error.
static bool
utServe(
    const ut_BridgeComponent &component, std::string frame,
    const ut_FrameSink &send)
{
    ut_BridgeRequest request;
    std::string problem;
    switch (utReadRequest(std::move(frame), request, problem))
    {
    case ut_BridgeVerdict::ACCEPTED:
        return utAnswer(component, request, send);
    case ut_BridgeVerdict::REFUSED:
        return utSendError(request.id, "argument", problem, send);
    case ut_BridgeVerdict::BROKEN:
        break;
    }
    utComplain("not a request of the extension: " + problem);
    return false;
}

int
utServeBrowser()
{
    const int frames = utTakeStandardOutput();
    if (frames < 0)
    {
        utComplain(std::string("standard output: ") + strerror(errno));
        return EXIT_FAILURE;
    }
    utPrepareSignals();
    const ut_BridgeComponent component;
    if (!component.get())
        utComplain(
            "cannot use the connection library:\n" + component.problem());

    const ut_FrameSink send = [frames](const std::string &frame)
    { return utWriteAll(frames, frame); };
    // Never destroyed: its thread runs on.
    ut_InputWatch &watch = *new ut_InputWatch;
    for (;;)
    {
        std::string frame;
        const ut_Input input = utReadFrame(frame);
        if (input != ut_Input::FRAME)
            return input == ut_Input::END ? EXIT_SUCCESS : EXIT_FAILURE;
        watch.setAtWork(true);
        if (!utServe(component, std::move(frame), send))
            return EXIT_FAILURE;
        watch.setAtWork(false);
    }
}
