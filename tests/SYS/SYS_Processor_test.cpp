#include "SYS/SYS_Processor.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include <sys/mman.h>

TEST(SYS_Processor, CountsTheProcessorsOfCpuinfo)
{
    const auto path = "/proc/self/fd/" + std::to_string(memfd_create("", 0));
    std::ofstream(path) << "processor\t: 0\n processor\nprocessor";
    EXPECT_EQ(2, parse_cpuinfo_for_nprocs(path.c_str()));
    std::ofstream(path) << "processor\nCPUs probed  12\nprocessor";
    EXPECT_EQ(12, parse_cpuinfo_for_nprocs(path.c_str()));
    EXPECT_EQ(0, parse_cpuinfo_for_nprocs("/nowhere/cpuinfo"));
}
