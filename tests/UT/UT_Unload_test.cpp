// The library as a program has it that loads it and lets it go again.

#include <gtest/gtest.h>

#include <cstring>

#include <dlfcn.h>

TEST(UT_Exit, CallbacksRunWhenTheLibraryIsUnloaded)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "this checker keeps a library's handlers to the end";
#endif
    void *library = dlopen(VALDRIN_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    void *symbol = dlsym(library, "_ZN7UT_Exit15addExitCallbackEPFvPvES0_");
    bool (*addExitCallback)(void (*)(void *), void *);
    memcpy(&addExitCallback, &symbol, sizeof(symbol));
    int count = 0;
    addExitCallback([](void *data) { ++*static_cast<int *>(data); }, &count);
    dlclose(library);
    EXPECT_EQ(1, count);
}
