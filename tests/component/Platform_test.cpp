// The library as browsers load it. This source is built several times, each
// time as a browser that exports another part of its functions (PLATFORM_HAS_
// MODULE, ALLOC, CLONE, NS_ALLOC): those must be called, ours must serve for
// the others.

#include "ut_ComponentSlots.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include <dirent.h>
#include <dlfcn.h>
#include <unistd.h>

#define PLATFORM_SYMBOL(name) asm(name) __attribute__((visibility("default")))
#if __SIZEOF_SIZE_T__ == 8
#define PLATFORM_SIZE "m"
#else
#define PLATFORM_SIZE "j"
#endif

static const char theLibrary[] = PLATFORM_LIBRARY;

static int theAllocCalls;
static int theCloneCalls;
static int theNsAllocCalls;

extern "C"
{
#ifdef PLATFORM_HAS_MODULE
    static const void *theRecord;
    static ut_Object<ut_ModuleSlots> theModule;

    uint32_t utPlatformModule(const void *record, void **result)
        PLATFORM_SYMBOL("_Z20NS_NewGenericModule2PK12nsModuleInfoPP9nsIModule");
    uint32_t utPlatformModule(const void *record, void **result)
    {
        theRecord = record;
        *result = &theModule;
        return 0x00001234;
    }
#endif
#ifdef PLATFORM_HAS_ALLOC
    void *utPlatformAlloc(size_t size)
        PLATFORM_SYMBOL("_ZN8nsMemory5AllocE" PLATFORM_SIZE);
    void *utPlatformAlloc(size_t size)
    {
        ++theAllocCalls;
        return malloc(size);
    }
#endif
#ifdef PLATFORM_HAS_CLONE
    void *utPlatformClone(const void *bytes, size_t size)
        PLATFORM_SYMBOL("_ZN8nsMemory5CloneEPKv" PLATFORM_SIZE);
    void *utPlatformClone(const void *bytes, size_t size)
    {
        ++theCloneCalls;
        return memcpy(malloc(size), bytes, size);
    }
#endif
#ifdef PLATFORM_HAS_NS_ALLOC
    void *utPlatformNsAlloc(size_t size) PLATFORM_SYMBOL("NS_Alloc");
    void *utPlatformNsAlloc(size_t size)
    {
        ++theNsAllocCalls;
        return malloc(size);
    }
#endif
}

namespace
{
// The two records word by word, as the platform reads them.
struct ut_ComponentWords
{
    const char *description;
    ut_ID cid;
    const char *contract;
    uint32_t (*constructor)(void *, const uint8_t *, void **);
    void *none[3];
    uint32_t (*getInterfaces)(uint32_t *, void ***);
    void *noHelper;
    void **classInfo;
    uint32_t flags;
};

struct ut_ModuleWords
{
    uint32_t version;
    const char *name;
    const ut_ComponentWords *components;
    uint32_t count;
    void *none[2];
    void *noLibraries; // where the oldest platforms look for a list
};

using ut_EntryPoint = uint32_t (*)(void *, void *, void **);

// The library, loaded as a component manager does.
class ut_LoadedLibrary
{
public:
    ut_LoadedLibrary() : myHandle(dlopen(theLibrary, RTLD_LAZY | RTLD_LOCAL))
    {
        if (!myHandle)
            throw std::runtime_error(dlerror());
        void *const symbol = dlsym(myHandle, "NSGetModule");
        memcpy(&myEntryPoint, &symbol, sizeof symbol);
    }
    ~ut_LoadedLibrary() { dlclose(myHandle); }
    ut_LoadedLibrary(const ut_LoadedLibrary &) = delete;
    ut_LoadedLibrary &operator=(const ut_LoadedLibrary &) = delete;

    uint32_t getModule(void **result) const
    {
        return myEntryPoint(nullptr, nullptr, result);
    }

private:
    void *myHandle;
    ut_EntryPoint myEntryPoint = nullptr;
};
} // namespace

// Stashes a text and takes it back.
static void
utUse(void *object)
{
    const ut_ConnectionSlots &slots = utSlots<ut_ConnectionSlots>(object);
    EXPECT_EQ(UT_OK, slots.stashString(object, "kept"));
    char *text = nullptr;
    EXPECT_EQ(UT_OK, slots.getStashedString(object, &text));
    EXPECT_STREQ("kept", text);
    free(text);
    EXPECT_EQ(0U, slots.release(object));
}

static void
utFreeInterfaces(uint32_t count, void **array)
{
    ASSERT_EQ(1U, count);
    EXPECT_EQ(0, memcmp(array[0], theConnectionID, sizeof(ut_ID)));
    free(array[0]);
    free(array);
}

#ifdef PLATFORM_HAS_MODULE

static void
utLoadAndUse()
{
    ut_LoadedLibrary library;
    void *module = nullptr;
    EXPECT_EQ(0x00001234U, library.getModule(&module));
    EXPECT_EQ(&theModule, module);

    const auto &record = *static_cast<const ut_ModuleWords *>(theRecord);
    EXPECT_EQ(0x00015000U, record.version);
    EXPECT_STREQ("ValdrinConnectionModule", record.name);
    ASSERT_EQ(1U, record.count);
    for (const void *none :
         {record.none[0], record.none[1], record.noLibraries})
        EXPECT_EQ(nullptr, none);

    const ut_ComponentWords &component = record.components[0];
    EXPECT_STREQ("Valdrin Connection Component", component.description);
    EXPECT_EQ(0, memcmp(component.cid, theConnectionClassID, sizeof(ut_ID)));
    EXPECT_STREQ("@norvex.com/valdrinconnection;1", component.contract);
    for (const void *none : component.none)
        EXPECT_EQ(nullptr, none);
    EXPECT_EQ(nullptr, component.noHelper);
    EXPECT_EQ(0U, component.flags);

    // Class info is the platform's to make: there is none before.
    EXPECT_EQ(nullptr, *component.classInfo);
    void *object = nullptr;
    ASSERT_EQ(UT_OK, component.constructor(nullptr, theConnectionID, &object));
    void *info = &object;
    EXPECT_EQ(UT_NO_INTERFACE, utQuery(object, theClassInfoID, &info));
    EXPECT_EQ(nullptr, info);
    utUse(object);

    uint32_t count = 0;
    void **array = nullptr;
    EXPECT_EQ(UT_OK, component.getInterfaces(&count, &array));
    utFreeInterfaces(count, array);
}

#else

static void
utLoadAndUse()
{
    ut_LoadedLibrary library;
    ut_StandInManager manager;
    void *module = nullptr;
    void *factory = nullptr;
    void *object = nullptr;
    void *info = nullptr;
    ASSERT_EQ(UT_OK, library.getModule(&module));
    ASSERT_EQ(
        UT_OK, utGetClassObject(module, &manager, theFactoryID, &factory));
    ASSERT_EQ(UT_OK, utCreate(factory, theConnectionID, &object));
    ASSERT_EQ(UT_OK, utQuery(object, theClassInfoID, &info));
    uint32_t count = 0;
    void **array = nullptr;
    EXPECT_EQ(
        UT_OK,
        utSlots<ut_ClassInfoSlots>(info).getInterfaces(info, &count, &array));
    utFreeInterfaces(count, array);
    utRelease(info);
    utUse(object);
    EXPECT_EQ(0U, utRelease(factory));
    EXPECT_EQ(0U, utRelease(module));
}

#endif

// Three allocations: the array of interfaces, and two clones, of its element
// and of the stash. Clones of ours allocate in the platform's allocator too.
TEST(Platform, WhatThePlatformHasIsUsed)
{
    int clones = 0;
    int allocs = 3;
    int nsAllocs = 3;
#ifdef PLATFORM_HAS_CLONE
    clones = 2;
    allocs = nsAllocs = 1;
#endif
#ifdef PLATFORM_HAS_ALLOC
    nsAllocs = 0;
#else
    allocs = 0;
#endif
#ifndef PLATFORM_HAS_NS_ALLOC
    nsAllocs = 0; // malloc() serves
#endif
    utLoadAndUse();
    EXPECT_EQ(clones, theCloneCalls);
    EXPECT_EQ(allocs, theAllocCalls);
    EXPECT_EQ(nsAllocs, theNsAllocCalls);
}

static size_t
utOpenDescriptors()
{
    size_t count = 0;
    DIR *const folder = opendir("/proc/self/fd");
    while (readdir(folder))
        ++count;
    closedir(folder);
    return count;
}

// What loading could leave behind in the process, in one text.
static std::string
utProcessState()
{
    std::string state = std::to_string(utOpenDescriptors()) + " open\n";
    for (char **variable = environ; *variable; ++variable)
        state += std::string(*variable) + "\n";
    for (int number = 1; number < NSIG; ++number)
    {
        struct sigaction action = {};
        sigaction(number, nullptr, &action);
        state += action.sa_handler == SIG_DFL ? "default\n" : "handled\n";
    }
    return state;
}

TEST(Platform, LoadingAndUnloadingLeavesNothing)
{
    const std::string before = utProcessState();
    char **const environment = environ;
    for (int i = 0; i < 20; ++i)
    {
        {
            ut_LoadedLibrary library;
            EXPECT_EQ(before, utProcessState());
            EXPECT_EQ(environment, environ);
        }
        EXPECT_EQ(nullptr, dlopen(theLibrary, RTLD_LAZY | RTLD_NOLOAD));
        utLoadAndUse();
        EXPECT_EQ(nullptr, dlopen(theLibrary, RTLD_LAZY | RTLD_NOLOAD));
    }
    EXPECT_EQ(before, utProcessState());
}
