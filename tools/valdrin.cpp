// Sends one command to a running Valdrin through the connection component, the
// way a page's script does, and writes the reply to standard output. Or lists
// the settings from the environment, or describes the machine.

#include "ut_Machine.h"
#include "ut_Port.h"
#include "ut_Settings.h"
#include "ut_Text.h"

#include "UT/UT_Connection.h"
#include "component/IValdrinConnection.h"
#include "host/ut_ComponentHost.h"
#include "host/ut_Descriptors.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>
#include <string>
#include <vector>

#include <getopt.h>
#include <poll.h>
#include <sys/time.h>
#include <unistd.h>

enum
{
    EXIT_INPUT_OUTPUT = 1,
    EXIT_REMOTE = 1,
    EXIT_USAGE = 2,
    EXIT_NOT_CONNECTED = 3,
    EXIT_TIMED_OUT = 4,
    EXIT_LIBRARY = 5
};

static const char theHelp[] = R"(Usage: valdrin [OPTION]... COMMAND [TEXT]
Send one command to the Valdrin application on this machine, list settings, or
describe the machine.

Commands:
  run TEXT    run a vscript command, and print the reply
  exec TEXT   run Python statements; Valdrin gives no reply to these
  eval TEXT   evaluate a Python expression, and print the reply
  env [GLOB]  list the settings made by environment variables, or only those
              whose name matches; case is not significant
  info        describe the machine: processors, memory, load

Without a TEXT, or when it is "-", standard input is read. The reply is printed
unchanged. On a terminal a newline is added, and control characters are shown as
\xHH.

Options, which may precede or follow the command:
  -p, --port N           Valdrin's command port (default: the variable
                         VALDRIN_PORT, or 32153). N is taken modulo 65535, and
                         10000 is added if that gives less than 10000
  -l, --library PATH     the connection library to load
  -t, --timeout SECONDS  give up when the reply has not arrived by then;
                         decimals are allowed, 0 means no limit (default)
  -c, --check            make exec and eval fail when Python fails, with the
                         traceback on standard error
      --page             make env print a page about all settings, in Markdown
      --json             make env and info print JSON
  -h, --help             print this text
  -V, --version          print the version
  --                     end of options, for a TEXT that begins with "-"

Exit status:
  0  done
  1  the input could not be read or sent, the reply could not be written, no
     setting matches, --check found a failure, or there is no memory
  2  wrong usage
  3  Valdrin could not be reached, or the connection failed
  4  timed out
  5  the connection library could not be loaded or used
)";

// The envelope of a text of nothing but "]]>" is five times as long. It must
// stay well inside what the library can count, and what 32 bits can hold.
static constexpr size_t theMaxTextBytes = size_t(64) << 20;

enum class ut_Command
{
    RUN,
    EXEC,
    EVAL,
    ENV,
    INFO
};

static const option theOptions[] = {
    {"port",    required_argument, nullptr, 'p'},
    {"library", required_argument, nullptr, 'l'},
    {"timeout", required_argument, nullptr, 't'},
    {"page",    no_argument,       nullptr, 'P'},
    {"json",    no_argument,       nullptr, 'J'},
    {"check",   no_argument,       nullptr, 'c'},
    {"help",    no_argument,       nullptr, 'h'},
    {"version", no_argument,       nullptr, 'V'},
    {nullptr,   0,                 nullptr, 0  },
};

static const struct
{
    const char *name;
    ut_Command command;
    const char *options; // their letters
    const char *takes;
    const char *input; // what standard input is read for
} theCommands[] = {
    {"run",  ut_Command::RUN,  "plt",
     "run takes one TEXT, the command; put quotes around blanks",     "command"   },
    {"exec", ut_Command::EXEC, "pltc",
     "exec takes one TEXT, the statements; put quotes around blanks", "statements"},
    {"eval", ut_Command::EVAL, "pltc",
     "eval takes one TEXT, the expression; put quotes around blanks", "expression"},
    {"env",  ut_Command::ENV,  "lPJ",
     "env takes one GLOB; put quotes around its wildcards",           nullptr     },
    {"info", ut_Command::INFO, "lJ",   "info takes no arguments",     nullptr     },
};

struct ut_Options
{
    ut_Command command = ut_Command::RUN;
    const char *input = nullptr;   // what standard input is read for
    const char *text = nullptr;    // null: standard input, or all settings
    const char *library = nullptr; // null: the installed one
    int port = UT_DEFAULT_PORT;
    timeval timeout = {0, 0}; // zero: no limit
    ut_SettingsLayout layout = ut_SettingsLayout::COLUMNS;
    bool asJson = false;
    bool check = false;
};

static void
utComplain(const std::string &message)
{
    // One write, so that messages of several programs do not mix.
    const std::string line = "valdrin: " + message + "\n";
    if (write(STDERR_FILENO, line.data(), line.size()) < 0)
        return; // there is nowhere left to report it
}

// ---- The streams

// Whether a read or write that failed with `error` is worth repeating; reports
// the error otherwise.
static bool
utRetry(const char *name, int error, int fd, short events)
{
    if (utIsWorthRepeating(error, fd, events))
        return true;
    utComplain(std::string(name) + ": " + strerror(error));
    return false;
}

static bool
utWriteAll(int fd, const std::string &text)
{
    const char *data = text.data();
    size_t length = text.size();
    while (length > 0)
    {
        const ssize_t written = write(fd, data, length);
        const int error = errno;
        if (written >= 0)
        {
            data += written;
            length -= size_t(written);
        }
        else if (!utRetry("standard output", error, fd, POLLOUT))
            return false;
    }
    return true;
}

// What to write for a text of the application: a terminal must not act on it.
static std::string
utShown(int fd, const std::string &text)
{
    return isatty(fd) ? utVisible(text) : text;
}

static bool
utReadInput(const char *what, std::string &text)
{
    if (isatty(STDIN_FILENO))
        utComplain(
            std::string("reading the ") + what +
            " from the terminal; Ctrl-D on a line of its own ends it");
    char chunk[65536];
    for (;;)
    {
        const ssize_t got = read(STDIN_FILENO, chunk, sizeof(chunk));
        const int error = errno;
        if (got == 0)
            return true;
        if (got < 0)
        {
            if (utRetry("standard input", error, STDIN_FILENO, POLLIN))
                continue;
            return false;
        }
        if (memchr(chunk, '\0', size_t(got)))
        {
            utComplain("standard input: holds a NUL byte, which no command "
                       "can carry");
            return false;
        }
        text.append(chunk, size_t(got));
        if (text.size() > theMaxTextBytes)
        {
            utComplain("standard input: longer than 64 MiB");
            return false;
        }
    }
}

// ---- The command line

static bool
utParsePort(const char *text, int &port)
{
    const char *end = text + strlen(text);
    const std::from_chars_result parsed = std::from_chars(text, end, port);
    return parsed.ec == std::errc() && parsed.ptr == end;
}

// Decimal seconds, whatever the locale. What is not zero stays so.
static bool
utParseTimeout(const char *text, timeval &timeout)
{
    static const char theDigits[] = "0123456789";
    const size_t whole = strspn(text, theDigits);
    const char *fraction = text + whole;
    size_t decimals = 0;
    if (*fraction == '.')
        decimals = strspn(++fraction, theDigits);
    if (fraction[decimals] || whole + decimals == 0 || whole > 9)
        return false;

    long seconds = 0;
    for (size_t i = 0; i < whole; i++)
        seconds = seconds * 10 + (text[i] - '0');
    long microseconds = 0;
    for (size_t i = 0; i < 6; i++)
    {
        const int digit = i < decimals ? fraction[i] - '0' : 0;
        microseconds = microseconds * 10 + digit;
    }
    if (decimals > 6 && strspn(fraction + 6, "0") < decimals - 6)
        microseconds++;
    timeout.tv_sec = seconds + microseconds / 1000000;
    timeout.tv_usec = microseconds % 1000000;
    return true;
}

[[noreturn]] static void
utExitUsage(const std::string &message)
{
    if (!message.empty())
        utComplain(message);
    utComplain("try \"valdrin --help\"");
    exit(EXIT_USAGE);
}

[[noreturn]] static void
utExitPrinting(const std::string &text)
{
    exit(utWriteAll(STDOUT_FILENO, text) ? EXIT_SUCCESS : EXIT_INPUT_OUTPUT);
}

// Whether an option is among those of these letters.
static bool
utHas(const char *letters, int letter)
{
    return strchr(letters, letter) != nullptr;
}

// "--port is for run, exec and eval only"
static std::string
utWhoTakes(int letter)
{
    std::vector<std::string> names;
    for (const auto &row : theCommands)
        if (utHas(row.options, letter))
            names.push_back(row.name);
    std::string text = "--";
    for (const option &each : theOptions)
        if (each.val == letter)
            text += each.name;
    text += " is for ";
    for (size_t i = 0; i < names.size(); i++)
    {
        if (i > 0)
            text += i + 1 == names.size() ? " and " : ", ";
        text += names[i];
    }
    return text + " only";
}

// The words of the command line, and the letters of the options in it.
static void
utParseArguments(
    const std::vector<const char *> &words, const std::string &given,
    ut_Options &options)
{
    static const char theNames[] = "run, exec, eval, env or info";
    if (words.empty())
        utExitUsage(std::string("a command is missing: ") + theNames);
    const auto *known = std::find_if(
        std::begin(theCommands), std::end(theCommands),
        [&](const auto &row) { return strcmp(row.name, words[0]) == 0; });
    if (known == std::end(theCommands))
        utExitUsage(
            std::string("unknown command \"") + words[0] + "\": use " +
            theNames);
    options.command = known->command;
    options.input = known->input;
    const size_t most = options.command == ut_Command::INFO ? 1 : 2;
    if (words.size() > most)
        utExitUsage(known->takes);
    if (words.size() == 2 && strcmp(words[1], "-") != 0)
        options.text = words[1];
    for (const char letter : given)
        if (!utHas(known->options, letter))
            utExitUsage(utWhoTakes(letter));
    if (utHas(given.c_str(), 'P') && utHas(given.c_str(), 'J'))
        utExitUsage("--page and --json exclude each other");
}

// The port of the commands that connect, unless an option has set it.
static void
utReadPortVariable(ut_Options &options)
{
    const char *const text = getenv("VALDRIN_PORT");
    if (text && *text && !utParsePort(text, options.port))
        utExitUsage(std::string("VALDRIN_PORT: not a port: \"") + text + "\"");
}

static ut_Options
utParseCommandLine(int argc, char **argv)
{
    ut_Options options;
    std::string given;
    std::vector<const char *> words;
    int letter;
    // The leading dash returns other words in their place, so that options
    // after them count even with POSIXLY_CORRECT.
    while ((letter = getopt_long(
                argc, argv, "-p:l:t:chV", theOptions, nullptr)) != -1)
    {
        switch (letter)
        {
        case 1:
            words.push_back(optarg);
            break;
        case 'p':
            if (!utParsePort(optarg, options.port))
                utExitUsage(std::string("not a port: \"") + optarg + "\"");
            break;
        case 'l':
            if (!*optarg)
                utExitUsage("--library needs a path");
            options.library = optarg;
            break;
        case 't':
            if (!utParseTimeout(optarg, options.timeout))
                utExitUsage(std::string("not a time: \"") + optarg + "\"");
            break;
        case 'P':
            options.layout = ut_SettingsLayout::PAGE;
            break;
        case 'J':
            options.asJson = true;
            break;
        case 'c':
            options.check = true;
            break;
        case 'h':
            utExitPrinting(theHelp);
        case 'V':
            utExitPrinting("valdrin " VALDRIN_VERSION "\n");
        default:
            utExitUsage(""); // getopt_long has reported the fault
        }
        if (letter != 1)
            given += char(letter);
    }
    words.insert(words.end(), argv + optind, argv + argc);
    utParseArguments(words, given, options);
    if (options.input && given.find('p') == std::string::npos)
        utReadPortVariable(options);
    return options;
}

// ---- The library

// The library that belongs to this program, or else what the system's loader
// knows by that name.
static std::vector<std::string>
utLibraryCandidates(const ut_Options &options)
{
    if (options.library)
    {
        const std::string path = options.library;
        const bool isBareName = path.find('/') == std::string::npos;
        return {isBareName ? "./" + path : path};
    }
    std::vector<std::string> paths = utLibrariesOfProgram(utProgramPath());
    paths.push_back(theLibraryName);
    return paths;
}

// ---- The exchange

// Reports that there was no reply. The component does not say why; trying the
// port again does.
static int
utFailUnreached(const ut_Options &options)
{
    const int port = utMappedPort(options.port);
    std::string at = "port " + std::to_string(port);
    if (port != options.port)
        at += " (for " + std::to_string(options.port) + ")";
    const int error = utProbePort(port);
    if (!error)
        utComplain(
            at + ": the connection was lost before the reply was complete");
    else
        utComplain(
            "Could not connect to Valdrin at " + at + ": " + strerror(error) +
            "\nIs the application running? \"valdrin -p PORT\" selects "
            "another port;\n\"valdrin-standin\" plays the application.");
    return EXIT_NOT_CONNECTED;
}

// Written before the signal can come.
static char theTimeoutMessage[80];

extern "C"
{
    static void utOnTimeout(int)
    {
        // The component waits without a limit and cannot be interrupted, so the
        // program exits at once.
        const ssize_t written =
            write(STDERR_FILENO, theTimeoutMessage, strlen(theTimeoutMessage));
        static_cast<void>(written);
        _exit(EXIT_TIMED_OUT);
    }
}

// While it exists there is a time limit, and a lost connection ends the
// exchange rather than the program.
class ut_ExchangeGuard
{
public:
    ut_ExchangeGuard(const timeval &timeout, int port)
    {
        snprintf(
            theTimeoutMessage, sizeof(theTimeoutMessage),
            "valdrin: timed out waiting for Valdrin at port %d\n", port);
        struct sigaction action = {};
        action.sa_handler = SIG_IGN;
        sigaction(SIGPIPE, &action, &myPipeAction);
        if (timeout.tv_sec == 0 && timeout.tv_usec == 0)
            return;

        // The caller may have left the signal blocked.
        action.sa_handler = utOnTimeout;
        sigaction(SIGALRM, &action, nullptr);
        sigset_t alarm;
        sigemptyset(&alarm);
        sigaddset(&alarm, SIGALRM);
        sigprocmask(SIG_UNBLOCK, &alarm, nullptr);
        const itimerval timer = {
            {0, 0},
            timeout
        };
        setitimer(ITIMER_REAL, &timer, nullptr);
    }

    ~ut_ExchangeGuard()
    {
        const itimerval off = {};
        setitimer(ITIMER_REAL, &off, nullptr);
        sigaction(SIGPIPE, &myPipeAction, nullptr);
    }

    ut_ExchangeGuard(const ut_ExchangeGuard &) = delete;
    ut_ExchangeGuard &operator=(const ut_ExchangeGuard &) = delete;

private:
    struct sigaction myPipeAction = {};
};

static int
utFailedCall(nsresult result)
{
    if (result == NS_ERROR_OUT_OF_MEMORY)
    {
        utComplain("out of memory");
        return EXIT_INPUT_OUTPUT;
    }
    char code[16];
    snprintf(code, sizeof(code), "0x%08x", result);
    utComplain(std::string("the component failed with ") + code);
    return EXIT_LIBRARY;
}

// Takes the result of a call. The strings come from the platform's
// allocator, which is malloc in a program that brings none of its own.
static int
utTakeReply(
    const ut_Options &options, nsresult result, char *text, std::string &reply)
{
    if (NS_FAILED(result))
        return utFailedCall(result);
    if (!text)
    {
        utComplain("no memory for the reply");
        return EXIT_INPUT_OUTPUT;
    }
    reply = text;
    free(text);
    // A reply of this very text is taken for a failure, too.
    return reply == theFailureReply ? utFailUnreached(options) : EXIT_SUCCESS;
}

// The component discards the reply to statements, and with it the news that
// Valdrin was not reached. So an expression without effect is evaluated first,
// and the statements are sent only after a reply to it.
static int
utExecute(
    const ut_Options &options, IValdrinConnection &connection,
    const char *statements)
{
    char *text = nullptr;
    nsresult result = connection.RunPythonExpression("0", &text);
    std::string ignored;
    const int status = utTakeReply(options, result, text, ignored);
    if (status != EXIT_SUCCESS)
        return status;
    result = connection.RunPythonStatements(statements);
    return NS_FAILED(result) ? utFailedCall(result) : EXIT_SUCCESS;
}

// An exchange through the component, as a browser makes it.
static int
utExchangeAsBrowser(
    const ut_Options &options, const char *command, std::string &reply)
{
    ut_ComponentHost host;
    std::string error;
    if (!host.load(utLibraryCandidates(options), error))
    {
        utComplain("cannot use the connection library:\n" + error);
        return EXIT_LIBRARY;
    }
    IValdrinConnection &connection = *host.connection();
    const ut_ExchangeGuard guard(options.timeout, utMappedPort(options.port));
    connection.SetSocketPortNum(options.port);

    char *text = nullptr;
    nsresult result = NS_OK;
    switch (options.command)
    {
    case ut_Command::EXEC:
        return utExecute(options, connection, command);
    case ut_Command::RUN:
        result = connection.Run(command, &text);
        break;
    case ut_Command::EVAL:
        result = connection.RunPythonExpression(command, &text);
        break;
    case ut_Command::ENV: // these need no connection
    case ut_Command::INFO:
        break;
    }
    return utTakeReply(options, result, text, reply);
}

// The same by the library's own client, which gets the reply to statements too
// and knows a traceback.
static int
utExchangeChecked(
    const ut_Options &options, const char *command, std::string &reply)
{
    std::string error;
    void *const symbol =
        utFindFunction(utLibraryCandidates(options), "UTsendRequest", error);
    if (!symbol)
    {
        utComplain("cannot use the connection library:\n" + error);
        return EXIT_LIBRARY;
    }
    decltype(UTsendRequest) *sendRequest;
    static_assert(sizeof(sendRequest) == sizeof(symbol));
    memcpy(&sendRequest, &symbol, sizeof(symbol));

    const ut_ExchangeGuard guard(options.timeout, utMappedPort(options.port));
    char *text = nullptr;
    char *message = nullptr;
    const UT_ConnectionResult result = sendRequest(
        options.command == ut_Command::EXEC ? UT_REQUEST_EXECUTE
                                            : UT_REQUEST_EVALUATE,
        command, options.port, /*host=*/nullptr, /*timeoutMs=*/0, &text,
        &message);
    reply = text ? text : "";
    const std::string reason = message ? message : "no memory for the reply";
    free(text);
    free(message);
    switch (result)
    {
    case UT_CONNECTION_OK:
        return EXIT_SUCCESS;
    case UT_CONNECTION_REMOTE_ERROR:
        utWriteAll(STDERR_FILENO, utShown(STDERR_FILENO, reply));
        return EXIT_REMOTE;
    case UT_CONNECTION_REQUEST_REFUSED:
        utComplain(utShown(STDERR_FILENO, reason));
        return EXIT_REMOTE;
    case UT_CONNECTION_REFUSED:
        return utFailUnreached(options);
    case UT_CONNECTION_TOO_LONG:
        utComplain(reason);
        return EXIT_INPUT_OUTPUT;
    default:
        utComplain(reason);
        return EXIT_NOT_CONNECTED;
    }
}

// ---- The settings, and the machine

static int
utPrintSettings(const ut_Options &options)
{
    const ut_SettingsLayout layout =
        options.asJson ? ut_SettingsLayout::JSON : options.layout;
    ut_SettingsList list;
    std::string error;
    if (!utListSettings(
            utLibraryCandidates(options), options.text, layout, list, error))
    {
        utComplain("cannot list the settings of the library:\n" + error);
        return EXIT_LIBRARY;
    }
    bool isWritten = utWriteAll(STDOUT_FILENO, list.output);
    if (layout == ut_SettingsLayout::COLUMNS || list.output.empty())
        for (const std::string &note : list.notes)
            utComplain(note);
    if (list.output.empty())
    {
        utComplain(std::string("no setting matches \"") + options.text + "\"");
        isWritten = false;
    }
    return isWritten ? EXIT_SUCCESS : EXIT_INPUT_OUTPUT;
}

static int
utPrintMachine(const ut_Options &options)
{
    std::string output;
    std::string error;
    if (!utDescribeMachine(
            utLibraryCandidates(options), options.asJson, output, error))
    {
        utComplain("cannot get the facts from the library:\n" + error);
        return EXIT_LIBRARY;
    }
    return utWriteAll(STDOUT_FILENO, output) ? EXIT_SUCCESS : EXIT_INPUT_OUTPUT;
}

static int
utMain(int argc, char **argv)
{
    utFillStandardDescriptors();
    const ut_Options options = utParseCommandLine(argc, argv);

    if (options.command == ut_Command::ENV)
        return utPrintSettings(options);
    if (options.command == ut_Command::INFO)
        return utPrintMachine(options);

    std::string input;
    if (!options.text && !utReadInput(options.input, input))
        return EXIT_INPUT_OUTPUT;
    const char *const command = options.text ? options.text : input.c_str();

    std::string reply;
    const int status = options.check
                           ? utExchangeChecked(options, command, reply)
                           : utExchangeAsBrowser(options, command, reply);
    if (status != EXIT_SUCCESS)
        return status;
    if (!reply.empty() && reply.back() != '\n' && isatty(STDOUT_FILENO))
        reply += '\n';
    return utWriteAll(STDOUT_FILENO, utShown(STDOUT_FILENO, reply))
               ? EXIT_SUCCESS
               : EXIT_INPUT_OUTPUT;
}

int
main(int argc, char **argv)
{
    try
    {
        return utMain(argc, argv);
    }
    catch (const std::bad_alloc &)
    {
        fputs("valdrin: out of memory\n", stderr);
        return EXIT_INPUT_OUTPUT;
    }
}
