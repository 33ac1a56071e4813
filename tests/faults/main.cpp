// Injects a fault into each call that a scenario makes. After each one the
// scenario must have had its result or a failure that was reported, must work
// again in the same process, and must have left no block of memory and no
// descriptor. What a scenario meets when it is the first in its process and
// what it meets later are both tried.
//
//     faults SCENARIO...                  every fault; all scenarios without
//     faults SCENARIO CALL KIND NUMBER    this one: read fails 3

#include "ut_Faults.h"
#include "ut_LoopbackServer.h"
#include "ut_Scenario.h"
#include "ut_TempDir.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

static const char *const theFaultCalls[] = {
    "memory",  "open", "read",    "write", "close",  "file", "socket",
    "connect", "wait", "options", "pages", "thread", "fork", "look-up"};
static_assert(std::size(theFaultCalls) == UT_FAULT_CALL_COUNT);

static const char *const theFaultKinds[] = {
    "fails", "is_cut", "is_interrupted", "lasts"};
static_assert(std::size(theFaultKinds) == UT_FAULT_KIND_COUNT);

// Seconds for a scenario and its repetitions; only a hang reaches it.
static const unsigned theDeadline = 10;

namespace
{

// How a process with a fault ended. Shared with it.
struct ut_Result
{
    bool hasStruck;
    bool isReported;
    long blocks;     // allocated and not freed
    int descriptors; // opened and not closed
    char wrong[200]; // "" for nothing
};

// What has happened to the faults of a scenario.
struct ut_Counts
{
    int faults = 0;
    int reported = 0;
    int wrong = 0;
};

} // namespace

static ut_Result *theResult;
static const ut_Scenario *theScenario; // that is running
static int theReportEnd = -1;          // where a program reports its fault
static int theServerPort;
static std::string theFolder;
static std::string theReplyText;

int
utPort()
{
    return theServerPort;
}

const char *
utFolder()
{
    return theFolder.c_str();
}

const char *
utReply()
{
    return theReplyText.c_str();
}

// Ends the fault, and returns whether it has struck.
static bool
utEndFault(const ut_Scenario &scenario)
{
    if (!scenario.isProgram)
        return utDisarmFault();
    char byte = 0;
    return ::read(theReportEnd, &byte, 1) == 1;
}

void
utWrong(const char *what)
{
    theResult->hasStruck = theResult->hasStruck || utEndFault(*theScenario);
    snprintf(theResult->wrong, sizeof(theResult->wrong), "%s", what);
    _exit(1);
}

// ---- In the process with the fault

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

// Descriptors in use.
static int
utOpenDescriptors()
{
    int count = 0;
    for (int fd = 0; fd < 256; ++fd)
        count += fcntl(fd, F_GETFD) >= 0;
    return count;
}

// Runs a scenario whose program gets the fault.
static bool
utRunProgram(const ut_Scenario &scenario, const ut_Fault &fault)
{
    int ends[2];
    if (pipe2(ends, O_NONBLOCK))
        utWrong("no pipe");
    const std::string text =
        std::to_string(fault.call) + ' ' + std::to_string(fault.kind) + ' ' +
        std::to_string(fault.number) + ' ' + std::to_string(ends[1]);
    setenv("VALDRIN_FAULT", text.c_str(), 1);
    theReportEnd = ends[0];
    const bool isRight = utRun(scenario);
    unsetenv("VALDRIN_FAULT");
    theResult->hasStruck = utEndFault(scenario);
    ::close(ends[0]);
    ::close(ends[1]);
    return isRight;
}

static void
utTryHere(const ut_Scenario &scenario, const ut_Fault &fault, bool isWarm)
{
    theScenario = &scenario;
    alarm(theDeadline);
    const long blocksBefore = utLiveBlocks();
    const int descriptorsBefore = utOpenDescriptors();
    if (isWarm && !utRun(scenario))
        utWrong("fails without a fault");
    bool isRight = false;
    if (scenario.isProgram)
        isRight = utRunProgram(scenario, fault);
    else
    {
        utArmFault(fault);
        isRight = utRun(scenario);
        theResult->hasStruck = utEndFault(scenario);
    }
    theResult->isReported = !isRight;
    const bool isTransfer = fault.call == UT_FAULT_READ ||
                            fault.call == UT_FAULT_WRITE ||
                            fault.call == UT_FAULT_WAIT;
    if (!isRight && !theResult->hasStruck)
        utWrong("fails without a fault");
    const bool goesOn =
        fault.kind == UT_FAULT_IS_CUT || fault.kind == UT_FAULT_IS_INTERRUPTED;
    if (!isRight && isTransfer && goesOn && !scenario.mayGiveUp)
        utWrong("gave up after a short or interrupted call");
    if (!utRun(scenario))
        utWrong("does not work again");
    const long blocks = utLiveBlocks();
    if (!utRun(scenario))
        utWrong("does not work the third time");
    theResult->blocks = utLiveBlocks() - blocksBefore;
    theResult->descriptors = utOpenDescriptors() - descriptorsBefore;
    if (utLiveBlocks() > blocks && !scenario.leavesMemory)
        utWrong("uses more memory each time");
}

// ---- In the process that starts them

// Tries one fault in a process of its own, whose result is then theResult.
static void
utTry(const ut_Scenario &scenario, const ut_Fault &fault, bool isWarm)
{
    *theResult = {};
    const pid_t process = fork();
    if (process == 0)
    {
        utTryHere(scenario, fault, isWarm);
        _exit(0);
    }
    int status = -1;
    waitpid(process, &status, 0);
    if (WIFSIGNALED(status) || (status && !theResult->wrong[0]))
    {
        theResult->hasStruck = true;
        const bool isHang = WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM;
        snprintf(
            theResult->wrong, sizeof(theResult->wrong), "%s",
            isHang                ? "hangs"
            : WIFSIGNALED(status) ? strsignal(WTERMSIG(status))
                                  : "exits");
    }
}

// Tries one fault, and compares with what is left without one. Returns whether
// it has struck.
static bool
utCheck(
    const ut_Scenario &scenario, const ut_Fault &fault, bool isWarm,
    const ut_Result &usual, ut_Counts &counts)
{
    utTry(scenario, fault, isWarm);
    ut_Result &result = *theResult;
    if (!result.hasStruck && !result.wrong[0])
        return false;
    if (!result.wrong[0] && result.blocks > usual.blocks &&
        !scenario.leavesMemory)
        snprintf(
            result.wrong, sizeof(result.wrong), "leaks %ld blocks",
            result.blocks - usual.blocks);
    if (!result.wrong[0] && result.descriptors != usual.descriptors)
        snprintf(
            result.wrong, sizeof(result.wrong), "leaks %d descriptors",
            result.descriptors - usual.descriptors);
    ++counts.faults;
    counts.reported += result.isReported && !result.wrong[0];
    if (result.wrong[0])
    {
        ++counts.wrong;
        printf(
            "  %s %s %s %u%s: %s\n", scenario.name, theFaultCalls[fault.call],
            theFaultKinds[fault.kind], fault.number,
            isWarm ? " (not the first)" : "", result.wrong);
    }
    return result.hasStruck;
}

// Whether that can happen to calls of the group.
static bool
utIsPossible(int call, int kind)
{
    switch (call)
    {
    case UT_FAULT_READ:
    case UT_FAULT_WRITE:
        return kind != UT_FAULT_LASTS;
    case UT_FAULT_OPEN:
    case UT_FAULT_CLOSE:
    case UT_FAULT_CONNECT:
        return kind != UT_FAULT_IS_CUT;
    case UT_FAULT_WAIT: // one that fails for good is tried again for good
        return kind == UT_FAULT_FAILS || kind == UT_FAULT_IS_INTERRUPTED;
    default:
        return kind == UT_FAULT_FAILS || kind == UT_FAULT_LASTS;
    }
}

// Every fault of a scenario; whether all is well.
static bool
utCheckAll(const ut_Scenario &scenario)
{
    ut_Counts counts;
    for (const bool isWarm : {false, true})
    {
        if (isWarm && scenario.isProgram)
            continue;
        utTry(scenario, {-1, UT_FAULT_FAILS, 0}, isWarm);
        const ut_Result usual = *theResult;
        if (usual.wrong[0])
        {
            printf("  %s: %s\n", scenario.name, usual.wrong);
            return false;
        }
        for (int call = 0; call < UT_FAULT_CALL_COUNT; ++call)
            for (int kind = 0; kind < UT_FAULT_KIND_COUNT; ++kind)
                for (unsigned number = 1;
                     utIsPossible(call, kind) &&
                     utCheck(
                         scenario, {call, kind, number}, isWarm, usual, counts);
                     ++number)
                    ;
    }
    printf(
        "%-12s %6d faults: %6d survived, %6d reported, %3d wrong\n",
        scenario.name, counts.faults,
        counts.faults - counts.reported - counts.wrong, counts.reported,
        counts.wrong);
    return counts.wrong == 0;
}

// The position of a name in a list of `count`; ends the program without one.
static int
utPositionOf(const char *name, const char *const *names, int count)
{
    for (int i = 0; i < count; ++i)
        if (!strcmp(name, names[i]))
            return i;
    fprintf(stderr, "faults: no \"%s\"\n", name);
    exit(2);
}

static const ut_Scenario &
utFind(const char *name)
{
    for (const ut_Scenario *each = theScenarios; each->name; ++each)
        if (!strcmp(name, each->name))
            return *each;
    fprintf(stderr, "faults: no scenario \"%s\"\n", name);
    exit(2);
}

int
main(int argc, char **argv)
{
    setvbuf(stdout, nullptr, _IOLBF, 0);
    theResult = static_cast<ut_Result *>(mmap(
        nullptr, sizeof(ut_Result), PROT_READ | PROT_WRITE,
        MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    const ut_TempDir folder;
    theFolder = folder.path() + '/';
    setenv("VALDRIN_TEMP_DIR", folder.path().c_str(), 1);
    setenv("VALDRIN_PATH", (folder.path() + ":").c_str(), 1);
    setenv("VALDRIN_ERRORLOG_FILENAME", folder.path("log").c_str(), 1);
    for (int i = 0; i < theReplyLength; ++i)
        theReplyText += char('a' + i % 23);
    ut_LoopbackServer server(
        {ut_LoopbackServer::send(std::string(utReply(), theReplyLength + 1))});
    theServerPort = server.port();

    if (argc == 5 && atoi(argv[4]) > 0)
    {
        const ut_Fault fault = {
            utPositionOf(argv[2], theFaultCalls, UT_FAULT_CALL_COUNT),
            utPositionOf(argv[3], theFaultKinds, UT_FAULT_KIND_COUNT),
            unsigned(atoi(argv[4]))};
        const ut_Scenario &scenario = utFind(argv[1]);
        bool isWell = true;
        for (const bool isWarm : {false, true})
        {
            utTry(scenario, {-1, UT_FAULT_FAILS, 0}, isWarm);
            const ut_Result usual = *theResult;
            ut_Counts counts;
            if (!utCheck(scenario, fault, isWarm, usual, counts))
                printf("  not reached\n");
            isWell = isWell && !counts.wrong;
        }
        return isWell ? EXIT_SUCCESS : EXIT_FAILURE;
    }

    bool isWell = true;
    for (const ut_Scenario *each = theScenarios; each->name; ++each)
    {
        const bool isAsked = std::any_of(
            argv + 1, argv + argc,
            [&](const char *name) { return !strcmp(name, each->name); });
        if (argc == 1 || isAsked)
            isWell = utCheckAll(*each) && isWell;
    }
    return isWell ? EXIT_SUCCESS : EXIT_FAILURE;
}
