// The library as a program has it that loads it and lets it go again.

#include <gtest/gtest.h>

#include <cstring>

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

// What the library has asked to be called at each fork goes with it.
TEST(UT_Fork, AProgramForksWhenTheLibraryIsUnloaded)
{
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "these checkers keep a library's handlers to the end, or "
                    "miss what it never destroys";
#endif
    void *library = dlopen(VALDRIN_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    void *symbol = dlsym(library, "_ZN9UT_Thread17findMyThreadIndexEv");
    int (*findMyThreadIndex)();
    memcpy(&findMyThreadIndex, &symbol, sizeof(symbol));
    EXPECT_EQ(0, findMyThreadIndex()); // its table takes part in forks
    dlclose(library);
    EXPECT_EQ(nullptr, dlopen(VALDRIN_LIBRARY, RTLD_NOW | RTLD_NOLOAD));
    const pid_t child = fork();
    if (child == 0)
        _exit(0);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(0, status);
}

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
