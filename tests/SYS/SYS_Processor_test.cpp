#include "SYS/SYS_Processor.h"

#include "ut_TempDir.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

TEST(SYS_Processor, TheFirstCallReportsAnotherType)
{
    int type;
    int flags;
    SYSgetProcessor(type, flags);
    EXPECT_EQ(-1, type);
    int again;
    SYSgetProcessor(type, again);
    EXPECT_EQ(3, type);
    EXPECT_EQ(flags, again);
    EXPECT_EQ(
        SYS_Processor::hasHyperThreading(),
        (flags & SYS_PROCESSOR_HYPER_THREADING) != 0);
#ifdef __SSE2__
    EXPECT_EQ(31, flags & 31);
#endif
}

#if defined(__x86_64__) || defined(__i386__)
TEST(SYS_Processor, FeaturesAreThoseOfCpuinfo)
{
    std::ifstream file("/proc/cpuinfo");
    std::string flags;
    while (flags.compare(0, 5, "flags") != 0)
        ASSERT_TRUE(std::getline(file, flags));
    const auto isListed = [&flags](const std::string &name)
    { return (flags + ' ').find(' ' + name + ' ') != std::string::npos; };
    EXPECT_EQ(isListed("mmx"), SYS_Processor::hasMMX());
    EXPECT_EQ(isListed("sse2"), SYS_Processor::hasSSE2());
    EXPECT_EQ(isListed("3dnow"), SYS_Processor::has3DNow());
    EXPECT_EQ(isListed("cmov"), SYS_Processor::hasCondMov());
    EXPECT_EQ(isListed("fpu"), SYS_Processor::hasFPCondMov());
}
#endif

TEST(SYS_Processor, ProcessorsAreListedOrCounted)
{
    const ut_TempDir dir;
    const auto count = [&](const char *text)
    { return parse_cpuinfo_for_nprocs(dir.write("cpuinfo", text).c_str()); };
    EXPECT_EQ(2, count("processor : 0\nvendor : x\nprocessor : 1\n"));
    EXPECT_EQ(7, count("processor\nCPUs probed 7\nprocessor\n"));
}

TEST(SYS_Processor, SwitchesTakeFeaturesAway)
{
    static const struct
    {
        const char *variable;
        const char *value;
        int left; // of the vector instructions
    } theCases[] = {
        {"VALDRIN_DISABLE_MMX",  "1",  1            },
        {"VALDRIN_DISABLE_XMMX", "-3", 1            },
        {"VALDRIN_DISABLE_SSE",  "1",  1 + 2        },
        {"VALDRIN_DISABLE_XMMX", "",   1 + 2 + 4 + 8},
    };
    // The answers are kept, so each is asked for in a child.
    for (const auto &row : theCases)
        EXPECT_EXIT(
            {
                setenv(row.variable, row.value, 1);
                int type;
                int flags;
                SYSgetProcessor(type, flags);
                exit(flags & 15);
            },
            testing::ExitedWithCode(row.left), "")
            << row.variable << '=' << row.value;
}
