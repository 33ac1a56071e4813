// The library as a program has it that loads it and lets it go again.

#include <gtest/gtest.h>

#include <cstring>

#include <dlfcn.h>

static void
utCount(void *data)
{
    ++*static_cast<int *>(data);
}

TEST(UT_Exit, CallbacksRunWhenTheLibraryIsUnloaded)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "this checker keeps a library's handlers to the end";
#endif
    void *library = dlopen(VALDRIN_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_TRUE(library) << dlerror();
    void *symbol = dlsym(library, "_ZN7UT_Exit15addExitCallbackEPFvPvES0_");
    ASSERT_TRUE(symbol);
    bool (*addExitCallback)(void (*)(void *), void *);
    memcpy(&addExitCallback, &symbol, sizeof(symbol));

    int count = 0;
    ASSERT_TRUE(addExitCallback(utCount, &count));
    ASSERT_EQ(0, dlclose(library));
    EXPECT_EQ(1, count);
    EXPECT_FALSE(dlopen(VALDRIN_LIBRARY, RTLD_NOW | RTLD_NOLOAD));
}
