#include "SYS/SYS_Processor.h"

#include <gtest/gtest.h>

#include <string>

#include <sys/mman.h>
#include <unistd.h>

static int
utCount(const std::string &text)
{
    const int file = memfd_create("cpuinfo", 0);
    EXPECT_EQ(ssize_t(text.size()), write(file, text.data(), text.size()));
    const std::string path = "/proc/self/fd/" + std::to_string(file);
    const int count = parse_cpuinfo_for_nprocs(path.c_str());
    close(file);
    return count;
}

TEST(SYS_Processor, CountsTheProcessorsOfCpuinfo)
{
    const std::string processor = "processor\t: 0\nmodel name\t: processor\n";
    EXPECT_EQ(0, utCount(" processor\n"));
    EXPECT_EQ(4, utCount(processor + processor + processor + "processor"));
    EXPECT_EQ(12, utCount(processor + "CPUs probed  12\n" + processor));
    // A long line is one line, wherever a reader's buffer ends.
    std::string flags = "flags";
    while (flags.size() < 70000)
        flags += "processor";
    EXPECT_EQ(1, utCount(flags + '\n' + processor));
    EXPECT_EQ(0, parse_cpuinfo_for_nprocs("/nowhere/cpuinfo"));
    EXPECT_GT(parse_cpuinfo_for_nprocs(), 0);
}
