// Without an entry point it is no component, with one it is a component that
// fails.

#ifdef WITH_ENTRY_POINT
#include "component/nsXPCOM.h"

#include <cstdio>
#include <cstdlib>

extern "C" __attribute__((visibility("default"))) nsresult
NSGetModule(nsIComponentManager *, nsIFile *, nsIModule **)
{
    if (const char *const noise = getenv("VALDRIN_TEST_NOISE"))
    {
        puts(noise);
        fflush(stdout);
    }
    return NS_ERROR_OUT_OF_MEMORY;
}
#endif
