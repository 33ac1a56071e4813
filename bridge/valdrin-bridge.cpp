// What a browser starts for the extension: it hands the requests of pages to
// the connection component, and the answers back. By hand it checks whether all
// is in place for that.

#include "ut_BridgeHost.h"
#include "ut_BridgeSetup.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <getopt.h>

enum
{
    EXIT_USAGE = 2
};

static const char theHelp[] = R"(Usage: valdrin-bridge --check [OPTION]...
Say whether pages in a browser can reach the Valdrin application on this
machine, and what to do about each thing that is missing. Without --check a
browser starts this program, for the extension Valdrin Connection.

Options:
  -c, --check     look for the library, the application, browsers, what makes
                  this program known to them, and the extension
  -p, --port N    Valdrin's command port (default 32153)
      --root DIR  look for browsers and files of all users below DIR, where an
                  installation has been staged
  -h, --help      print this text
  -V, --version   print the version

Exit status:
  0  a page gets an answer; or the browser has ended
  1  something is missing; or the browser could not be served
  2  wrong usage, or started for another extension
)";

// Firefox passes the path of its manifest and the extension's id, Chromium the
// extension's origin. The browser has compared that with the manifest; that it
// is ours shows a wrong manifest at once.
static bool
utIsOurExtension(int argc, char **argv)
{
    if (argc == 3 && argv[1][0] == '/')
        return strcmp(argv[2], VALDRIN_FIREFOX_ID) == 0;
    static const char theOrigin[] =
        "chrome-extension://" VALDRIN_CHROMIUM_ID "/";
    return argc == 2 && strcmp(argv[1], theOrigin) == 0;
}

[[noreturn]] static void
utExitUsage(const char *message)
{
    fprintf(
        stderr,
        "valdrin-bridge: %s\n"
        "valdrin-bridge: try \"valdrin-bridge --help\"\n",
        message);
    exit(EXIT_USAGE);
}

static int32
utParsePort(const char *text)
{
    int32 port = 0;
    const char *end = text + strlen(text);
    const std::from_chars_result parsed = std::from_chars(text, end, port);
    if (parsed.ec != std::errc() || parsed.ptr != end)
        utExitUsage("not a port");
    return port;
}

static const char *
utVariable(const char *name)
{
    const char *const value = getenv(name);
    return value ? value : "";
}

// What a user asks for by hand. Returns the exit status.
static int
utServeUser(int argc, char **argv)
{
    static const option theOptions[] = {
        {"check",   no_argument,       nullptr, 'c'},
        {"port",    required_argument, nullptr, 'p'},
        {"root",    required_argument, nullptr, 'r'},
        {"help",    no_argument,       nullptr, 'h'},
        {"version", no_argument,       nullptr, 'V'},
        {nullptr,   0,                 nullptr, 0  },
    };
    bool isCheck = false;
    int32 port = 32153;
    ut_SetupPlaces places = {"", utVariable("HOME"), utVariable("PATH")};
    int letter;
    while ((letter = getopt_long(argc, argv, "cp:hV", theOptions, nullptr)) !=
           -1)
    {
        switch (letter)
        {
        case 'c':
            isCheck = true;
            break;
        case 'p':
            port = utParsePort(optarg);
            break;
        case 'r':
            places.root = optarg;
            break;
        case 'h':
            fputs(theHelp, stdout);
            return EXIT_SUCCESS;
        case 'V':
            puts("valdrin-bridge " VALDRIN_VERSION);
            return EXIT_SUCCESS;
        default:
            utExitUsage("there is no such option");
        }
    }
    if (!isCheck || optind < argc)
        utExitUsage("a browser starts this program, for the extension Valdrin "
                    "Connection; by hand it takes --check");
    return utCheckSetup(port, places) ? EXIT_SUCCESS : EXIT_FAILURE;
}

int
main(int argc, char **argv)
{
    return utIsOurExtension(argc, argv) ? utServeBrowser()
                                        : utServeUser(argc, argv);
}
