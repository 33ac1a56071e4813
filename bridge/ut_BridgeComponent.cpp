#include "ut_BridgeComponent.h"

#include "component/IValdrinConnection.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

static std::vector<std::string>
utLibraries()
{
    const std::string program = utProgramPath();
    std::vector<std::string> paths = utLibrariesOfProgram(program);
    // A bare name would have the loader search for it.
    if (!program.empty())
        paths.insert(
            paths.begin(),
            program.substr(0, program.rfind('/') + 1) + theLibraryName);
    return paths;
}

ut_BridgeComponent::ut_BridgeComponent()
{
    if (myHost.load(utLibraries(), myProblem))
    {
        myLibrary = myHost.library();
        myProblem.clear();
    }
    else if (myProblem.empty())
        myProblem = "this program does not know where it lies";
}

static constexpr int thePatienceMs = 3000;

// Exit status of the process that asks.
enum
{
    PROBE_ANSWERED,
    PROBE_UNREACHABLE,
    PROBE_FAILED
};

// What the process that asks does.
[[noreturn]] static void
utAsk(IValdrinConnection &connection, int32 port, pid_t parent)
{
    // It must not outlast the program, which a browser may kill.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(PROBE_FAILED);

    signal(SIGPIPE, SIG_IGN);
    connection.SetSocketPortNum(port);
    char *text = nullptr;
    const nsresult result = connection.RunPythonExpression("0", &text);
    if (NS_FAILED(result) || !text)
        _exit(PROBE_FAILED);
    _exit(
        strcmp(text, theFailureReply) == 0 ? PROBE_UNREACHABLE
                                           : PROBE_ANSWERED);
}

// Waits for `process`, which holds the other end of the pipe `end` until it
// ends, and kills it when it takes too long. Its exit status, or -1.
static int
utAwait(pid_t process, int end)
{
    pollfd waiting = {end, 0, 0};
    int ready = -1;
    while ((ready = poll(&waiting, 1, thePatienceMs)) < 0 && errno == EINTR)
        continue;
    if (ready <= 0)
        kill(process, SIGKILL);
    int status = 0;
    pid_t ended = -1;
    while ((ended = waitpid(process, &status, 0)) < 0 && errno == EINTR)
        continue;
    return ended == process && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool
ut_BridgeComponent::probeApplication(int32 port, std::string &problem) const
{
    int ends[2];
    if (pipe(ends) != 0)
    {
        problem = std::string("No pipe: ") + strerror(errno) + ".";
        return false;
    }
    // The caller may have left it ignored, and the status would be lost.
    signal(SIGCHLD, SIG_DFL);
    const pid_t parent = getpid();
    const pid_t process = fork();
    if (process == 0)
        utAsk(*get(), port, parent);
    const int error = errno;
    close(ends[1]);
    const int status = process < 0 ? PROBE_FAILED : utAwait(process, ends[0]);
    close(ends[0]);

    const std::string there = " on port " + std::to_string(port);
    switch (status)
    {
    case PROBE_ANSWERED:
        return true;
    case PROBE_UNREACHABLE:
        problem = "Nothing answers" + there + ".";
        break;
    case PROBE_FAILED:
        problem = process < 0 ? std::string("No process: ") + strerror(error)
                              : "The component failed.";
        break;
    default:
        problem = "Something listens" + there +
                  " and has not answered within three seconds.";
    }
    return false;
}
