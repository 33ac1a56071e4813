#ifdef WITH_ENTRY_POINT
#include "component/nsXPCOM.h"

#include <cstdio>
#include <cstdlib>

#ifdef WITHOUT_PLATFORM
// What a browser has and a plain program has not.
extern "C" nsresult utPlatformFunction();
#else
static nsresult
utPlatformFunction()
{
    return NS_ERROR_OUT_OF_MEMORY;
}
#endif

extern "C" __attribute__((visibility("default"))) nsresult
NSGetModule(nsIComponentManager *, nsIFile *, nsIModule **)
{
    if (const char *const noise = getenv("VALDRIN_TEST_NOISE"))
    {
        puts(noise);
        fflush(stdout);
    }
    return utPlatformFunction();
}
#endif
