// The library as a browser loads it that exports its own functions: those are
// called, and not ours.

#include "ut_ComponentSlots.h"

#include "component/nsGenericModule.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include <dlfcn.h>

static const nsModuleInfo *theRecord;
static int theAllocCalls;
static int theCloneCalls;

nsresult
NS_NewGenericModule2(const nsModuleInfo *info, nsIModule **)
{
    theRecord = info;
    return 0x00001234;
}

void *
nsMemory::Alloc(size_t size)
{
    ++theAllocCalls;
    return malloc(size);
}

void *
nsMemory::Clone(const void *bytes, size_t size)
{
    ++theCloneCalls;
    return memcpy(malloc(size), bytes, size);
}

TEST(Platform, ItsFunctionsServeAfterEachLoad)
{
    for (int i = 1; i < 4; ++i)
    {
        SCOPED_TRACE(testing::Message() << "load " << i);
        void *const library = dlopen(PLATFORM_LIBRARY, RTLD_LAZY | RTLD_LOCAL);
        ASSERT_NE(nullptr, library) << dlerror();
        const auto getModule =
            reinterpret_cast<nsGetModuleProc>(dlsym(library, "NSGetModule"));
        EXPECT_EQ(0x00001234U, getModule(nullptr, nullptr, nullptr));
        EXPECT_EQ(0x00015000U, theRecord->version);
        EXPECT_EQ(1U, theRecord->count);
        // Where the oldest platforms look for a list of libraries.
        const void *const next = theRecord + 1;
        EXPECT_EQ(nullptr, *static_cast<const void *const *>(next));

        const nsModuleComponentInfo &info = *theRecord->components;
        EXPECT_EQ(nullptr, *info.classInfoGlobal);
        void *object = nullptr;
        EXPECT_EQ(UT_OK, info.constructor(nullptr, nsISupports::IID, &object));
        uint32_t count = 0;
        nsID **array = nullptr;
        EXPECT_EQ(UT_OK, info.getInterfaces(&count, &array));
        free(array[0]);
        free(array);
        char *text = nullptr;
        EXPECT_EQ(UT_OK, utCall(object, UT_GET_STASHED, &text));
        free(text);
        EXPECT_EQ(i, theAllocCalls);
        EXPECT_EQ(2 * i, theCloneCalls);
        EXPECT_EQ(0U, utCall(object, UT_RELEASE));
        dlclose(library);
        EXPECT_EQ(nullptr, dlopen(PLATFORM_LIBRARY, RTLD_LAZY | RTLD_NOLOAD));
    }
}
