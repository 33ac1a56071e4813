// What a browser starts for the extension: it hands the requests of pages to
// the connection component, and the answers back.

#include "ut_BridgeHost.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

enum
{
    EXIT_USAGE = 2
};

// Firefox passes the path of its manifest and the extension's id, Chromium the
// extension's origin. The browser has compared it with its manifest; that it
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

int
main(int argc, char **argv)
{
    if (utIsOurExtension(argc, argv))
        return utServeBrowser();
    if (argc == 2 && strcmp(argv[1], "--version") == 0)
    {
        puts("valdrin-bridge " VALDRIN_VERSION);
        return EXIT_SUCCESS;
    }
    fputs(
        "valdrin-bridge: a browser starts this program, for the extension "
        "Valdrin Connection only\n",
        stderr);
    return EXIT_USAGE;
}
