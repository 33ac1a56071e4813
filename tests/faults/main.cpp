// Injects a fault into each call that a scenario makes. After each one the
// scenario must have had its result or a failure that was reported, must work
// again in the same process, and must have left no block of memory and no
// descriptor. What a scenario meets when it is the first in its process and
// what it meets later are both tried.
//
//     faults SCENARIO...    all scenarios without

#include "ut_Faults.h"
#include "ut_LoopbackServer.h"
#include "ut_Scenario.h"
#include "ut_TempDir.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>
#include <string>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

static const char *const theFaultCalls[] = {
    "memory", "open",    "read", "write",   "close",  "file",
    "socket", "connect", "wait", "options", "thread", "look-up"};
static_assert(std::size(theFaultCalls) == UT_FAULT_CALL_COUNT);

static const char *const theFaultKinds[] = {
    "fails", "is cut short", "is interrupted",
    "fails, and so do all that follow"};
static_assert(std::size(theFaultKinds) == UT_FAULT_KIND_COUNT);

// Seconds for a scenario and its repetitions; only a hang reaches it.
static const unsigned theDeadline = 10;

// How a process with a fault ends: bits of its status.
static const int theHasStruck = 1;
static const int theIsWrong = 2;

int theServerPort;
std::string theFolder;
std::string theReply;

// ---- In the process with the fault

void
utWrong(const char *what)
{
    printf("  %s:\n", what);
    _exit(theIsWrong | (utDisarmFault() ? theHasStruck : 0));
}

static bool
utRun(const ut_Scenario &scenario)
{
    try
    {
        return scenario.run();
    }
    catch (const std::bad_alloc &)
    {
        return false;
    }
}

static int
utOpenDescriptors()
{
    int count = 0;
    for (int fd = 0; fd < 256; ++fd)
        count += fcntl(fd, F_GETFD) >= 0;
    return count;
}

// Returns whether the fault has struck.
static bool
utTryHere(const ut_Scenario &scenario, const ut_Fault &fault, bool isLater)
{
    alarm(theDeadline);
    if (isLater)
        utExpect(utRun(scenario), "fails without a fault");
    const long blocks = utLiveBlocks();
    const int descriptors = utOpenDescriptors();
    utArmFault(fault);
    const bool isRight = utRun(scenario);
    const bool hasStruck = utDisarmFault();
    utExpect(isRight || hasStruck, "fails without a fault");
    const bool isTransfer = fault.call == UT_FAULT_READ ||
                            fault.call == UT_FAULT_WRITE ||
                            fault.call == UT_FAULT_WAIT;
    const bool mayGoOn =
        fault.kind == UT_FAULT_IS_CUT || fault.kind == UT_FAULT_IS_INTERRUPTED;
    if (isTransfer && mayGoOn && !scenario.mayGiveUp)
        utExpect(isRight, "gave up after a short or interrupted call");
    utExpect(utRun(scenario), "does not work again");
    // The first run makes what lives as long as the process.
    if (isLater && !scenario.leavesMemory)
        utExpect(utLiveBlocks() <= blocks, "leaks memory");
    if (isLater)
        utExpect(utOpenDescriptors() == descriptors, "leaks descriptors");
    return hasStruck;
}

// ---- In the process that starts them

// Tries one fault in a process of its own. Returns whether it has struck or
// something is wrong, which is then printed and counted.
static bool
utTry(
    const ut_Scenario &scenario, const ut_Fault &fault, bool isLater,
    int &wrongCount)
{
    const pid_t process = fork();
    if (process == 0)
        _exit(utTryHere(scenario, fault, isLater) ? theHasStruck : 0);
    int status = -1;
    waitpid(process, &status, 0);
    const bool isKilled = WIFSIGNALED(status);
    const bool hangs = isKilled && WTERMSIG(status) == SIGALRM;
    if (isKilled || WEXITSTATUS(status) >= theIsWrong)
    {
        ++wrongCount;
        printf(
            "  %s: %s %u %s%s%s%s\n", scenario.name, theFaultCalls[fault.call],
            fault.number, theFaultKinds[fault.kind],
            isLater ? " (in a later run)" : "", isKilled ? ": " : "",
            hangs      ? "hangs"
            : isKilled ? strsignal(WTERMSIG(status))
                       : "");
    }
    return isKilled || (WEXITSTATUS(status) & theHasStruck);
}

// Whether that can happen to calls of the group. What transfers or waits and
// fails for good is tried again for good.
static bool
utIsPossible(int call, int kind)
{
    const bool isTransfer = call == UT_FAULT_READ || call == UT_FAULT_WRITE;
    switch (kind)
    {
    case UT_FAULT_IS_CUT:
        return isTransfer;
    case UT_FAULT_IS_INTERRUPTED:
        return isTransfer || call == UT_FAULT_OPEN || call == UT_FAULT_CLOSE ||
               call == UT_FAULT_CONNECT || call == UT_FAULT_WAIT;
    case UT_FAULT_LASTS:
        return !isTransfer && call != UT_FAULT_WAIT;
    default:
        return true;
    }
}

// Every fault of a scenario; whether all is well.
static bool
utTryAll(const ut_Scenario &scenario)
{
    int count = 0;
    int wrongCount = 0;
    for (const bool isLater : {false, true})
        for (int call = 0; call < UT_FAULT_CALL_COUNT; ++call)
            for (int kind = 0; kind < UT_FAULT_KIND_COUNT; ++kind)
            {
                unsigned number = 1;
                while (
                    utIsPossible(call, kind) &&
                    utTry(scenario, {call, kind, number}, isLater, wrongCount))
                    ++number;
                count += int(number) - 1;
            }
    printf("%-12s %6d faults, %d wrong\n", scenario.name, count, wrongCount);
    return wrongCount == 0;
}

int
main(int argc, char **argv)
{
    setvbuf(stdout, nullptr, _IOLBF, 0);
    const ut_TempDir folder;
    theFolder = folder.path() + '/';
    setenv("VALDRIN_TEMP_DIR", folder.path().c_str(), 1);
    setenv("VALDRIN_PATH", (folder.path() + ":").c_str(), 1);
    setenv("VALDRIN_ERRORLOG_FILENAME", folder.path("log").c_str(), 1);
    for (int i = 0; i < 100000; ++i)
        theReply += char('a' + i % 23);
    ut_LoopbackServer server({ut_LoopbackServer::send(theReply + '\0')});
    theServerPort = server.port();

    bool isWell = true;
    for (unsigned i = 0; i < theScenarioCount; ++i)
    {
        const bool isAsked = std::any_of(
            argv + 1, argv + argc,
            [&](const char *name)
            { return !strcmp(name, theScenarios[i].name); });
        if (argc == 1 || isAsked)
            isWell = utTryAll(theScenarios[i]) && isWell;
    }
    return isWell ? EXIT_SUCCESS : EXIT_FAILURE;
}
