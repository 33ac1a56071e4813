#include "UT/UT_MachineInfo.h"

// A machine that reports nothing.
void
UTdescribeMachine(UT_MachineInfo &info)
{
    info = UT_MachineInfo();
    info.system = "Linux";
    info.operatingSystem = "linux";
}

#ifdef WITH_ENTRY_POINT
#include "component/nsXPCOM.h"

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
    return utPlatformFunction();
}
#endif
