// The component, as a browser uses it: the library is loaded, and may be
// unloaded again.

#include "ut_ComponentSlots.h"
#include "ut_Faults.h"
#include "ut_Scenario.h"

#include <cstdlib>
#include <cstring>
#include <iterator>

#include <dlfcn.h>

// The platform's allocator, which always has memory for a text.
extern "C" __attribute__((visibility("default"))) void *
NS_Alloc(size_t size)
{
    const ut_FaultPause pause;
    return malloc(size);
}

// A component manager that is its own registrar; no more of it is asked for.
struct ut_Manager final
{
    virtual uint32_t query(const char *, void **result)
    {
        *result = this;
        return UT_OK;
    }
    virtual uint32_t addRef() { return 2; }
    virtual uint32_t release() { return 1; }
};

// Whether a call did not lack memory; it must not fail otherwise.
static bool
utSucceeds(uint32_t code)
{
    utExpect(code == UT_OK || code == UT_OUT_OF_MEMORY, "another code");
    return code == UT_OK;
}

// Makes a request, stashes a text and reads it again.
static bool
utUseConnection(void *connection)
{
    utCall(connection, UT_SET_PORT, theServerPort);
    char *text = nullptr;
    const bool isDone =
        utSucceeds(utCall(connection, UT_RUN_EXPRESSION, "]]>", &text));
    utExpect(isDone == (text != nullptr), "a code that the text denies");
    const bool isReply = text && text == theReply;
    utExpect(isReply || !text || !strncmp(text, "ERROR: ", 7), "another reply");
    free(text);
    if (!utSucceeds(utCall(connection, UT_STASH, "kept")))
        return false;
    const bool isStashed = utSucceeds(utCall(connection, UT_STASH, "stashed"));
    utCall(connection, UT_GET_STASHED, &text);
    utExpect(
        text && strcmp(text, isStashed ? "stashed" : "kept") == 0,
        "another stashed text");
    free(text);
    return isReply && isStashed;
}

// Creates the component's objects, uses them and gives them back. The browser
// cannot catch what is thrown.
static bool
utUseLibrary(void *library) noexcept
{
    using ut_EntryPoint = uint32_t(void *, void *, void **);
    union
    {
        void *symbol;
        ut_EntryPoint *function;
    } found;
    found.symbol = dlsym(library, "NSGetModule");
    utExpect(found.symbol, "no entry point");
    ut_Manager manager;
    void *module = nullptr;
    void *factory = nullptr;
    void *connection = nullptr;
    const bool isRight =
        utSucceeds(found.function(nullptr, nullptr, &module)) &&
        utSucceeds(utCall(
            module, /*GetClassObject*/ 3, &manager, theClassID, theFactoryID,
            &factory)) &&
        utSucceeds(utCall(
            factory, /*CreateInstance*/ 3, nullptr, theConnectionID,
            &connection)) &&
        utUseConnection(connection);
    for (void *const each : {connection, factory, module})
        if (each)
            utCall(each, UT_RELEASE);
    return isRight;
}

static bool
utComponent()
{
    static void *theLibrary = nullptr;
    if (!theLibrary)
        theLibrary = dlopen(VALDRIN_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    return theLibrary && utUseLibrary(theLibrary);
}

static bool
utLoad()
{
    void *const library = dlopen(VALDRIN_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    if (!library)
        return false;
    const bool isRight = utUseLibrary(library);
    utExpect(dlclose(library) == 0, "cannot be unloaded");
    return isRight;
}

const ut_Scenario theScenarios[] = {
    {"component", utComponent, true, false},
    {"load",      utLoad,      true, true },
};
const unsigned theScenarioCount = std::size(theScenarios);
