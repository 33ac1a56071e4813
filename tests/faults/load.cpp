// Loads the library, uses the component in it, and unloads it.

#include "ut_Faults.h"
#include "ut_UseComponent.h"

#include <dlfcn.h>

static bool
utLoad()
{
    void *const library = dlopen(VALDRIN_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    if (!library)
        return false;
    union
    {
        void *symbol;
        ut_EntryPoint *function;
    } found;
    found.symbol = dlsym(library, "NSGetModule");
    utExpect(found.symbol, "no entry point");
    const bool isRight = utUseComponent(found.function);
    utExpect(dlclose(library) == 0, "cannot be unloaded");
    return isRight;
}

const ut_Scenario theScenarios[] = {
    {"load",  utLoad,  /*isProgram=*/false, /*mayGiveUp=*/true,
     /*leavesMemory=*/true                                           },
    {nullptr, nullptr, false,               false,              false},
};
