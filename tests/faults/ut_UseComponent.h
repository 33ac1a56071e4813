// The component from its entry point on, as a browser uses it.

#pragma once

#include "ut_ComponentSlots.h"
#include "ut_Faults.h"
#include "ut_Scenario.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

using ut_EntryPoint = uint32_t(void *, void *, void **);

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

// Objects of the component, released in reverse order.
class ut_ComponentObjects
{
public:
    // Creates them; false when there is no memory.
    bool create(ut_EntryPoint *entryPoint)
    {
        return succeeds(entryPoint(nullptr, nullptr, &myObjects[0])) &&
               succeeds(utCall(
                   myObjects[0], /*GetClassObject*/ 3, &myManager, theClassID,
                   theFactoryID, &myObjects[1])) &&
               succeeds(utCall(
                   myObjects[1], /*CreateInstance*/ 3, nullptr, theConnectionID,
                   &myObjects[2]));
    }
    ut_ComponentObjects() = default;
    ut_ComponentObjects(const ut_ComponentObjects &) = delete;
    ut_ComponentObjects &operator=(const ut_ComponentObjects &) = delete;
    ~ut_ComponentObjects()
    {
        for (int i = 3; i-- > 0;)
            if (myObjects[i])
                utCall(myObjects[i], UT_RELEASE);
    }

    // Whether a call did not lack memory; it must not fail otherwise.
    static bool succeeds(uint32_t code)
    {
        if (code == UT_OUT_OF_MEMORY)
            return false;
        utExpect(code == UT_OK, "another code than that for no memory");
        return true;
    }

    void *connection() const { return myObjects[2]; }

private:
    ut_Manager myManager;
    void *myObjects[3] = {};
};

// Makes a request of each kind, stashes a text and reads it again. The browser
// cannot catch what is thrown.
inline bool
utUseComponent(ut_EntryPoint *entryPoint) noexcept
{
    ut_ComponentObjects objects;
    if (!objects.create(entryPoint))
        return false;
    void *const connection = objects.connection();
    utCall(connection, UT_SET_PORT, utPort());
    static char theCommand[20001];
    memset(theCommand, ']', 20000);
    bool isRight = true;
    for (const size_t slot : {UT_RUN, UT_RUN_EXPRESSION})
    {
        char *text = nullptr;
        const bool isDone = ut_ComponentObjects::succeeds(
            utCall(connection, slot, theCommand, &text));
        utExpect(isDone == (text != nullptr), "a code that the text denies");
        const bool isReply = text && strcmp(text, utReply()) == 0;
        utExpect(
            isReply || !text || !strncmp(text, "ERROR: ", 7), "another reply");
        free(text);
        isRight = isRight && isReply;
    }
    isRight = ut_ComponentObjects::succeeds(
                  utCall(connection, UT_RUN_STATEMENTS, theCommand)) &&
              isRight;
    if (!ut_ComponentObjects::succeeds(utCall(connection, UT_STASH, "kept")))
        return false;
    const bool isStashed =
        ut_ComponentObjects::succeeds(utCall(connection, UT_STASH, "stashed"));
    char *text = nullptr;
    utCall(connection, UT_GET_STASHED, &text);
    utExpect(text, "no stashed text");
    utExpect(
        strcmp(text, isStashed ? "stashed" : "kept") == 0,
        "another stashed text");
    free(text);
    return isRight && isStashed;
}
