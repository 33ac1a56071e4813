#ifdef WITH_ENTRY_POINT
#include "component/nsXPCOM.h"

extern "C" __attribute__((visibility("default"))) nsresult
NSGetModule(nsIComponentManager *, nsIFile *, nsIModule **)
{
    return NS_ERROR_OUT_OF_MEMORY;
}
#endif
