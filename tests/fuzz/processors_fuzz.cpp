// A file of any bytes lists the processors that a plain reader of lines finds.

#include "ut_FuzzCheck.h"

#include "SYS/SYS_Processor.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

static int
utCount(const std::string &bytes)
{
    static const std::string theListed = "processor";
    static const std::string theProbed = "CPUs probed";
    int count = 0;
    std::istringstream in(bytes);
    for (std::string line; std::getline(in, line);)
    {
        if (line.compare(0, theListed.size(), theListed) == 0)
            ++count;
        if (line.compare(0, theProbed.size(), theProbed) != 0)
            continue;
        const char *const number = line.c_str() + theProbed.size();
        return int(std::clamp<long long>(
            std::strtoll(number, nullptr, 10), INT_MIN, INT_MAX));
    }
    return count;
}

extern "C" int
LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    // A file in memory: one on a disk would take most of the time.
    static const int theFile = memfd_create("cpuinfo", MFD_CLOEXEC);
    static const std::string thePath =
        "/proc/self/fd/" + std::to_string(theFile);
    utRequire(ftruncate(theFile, 0) == 0);
    utRequire(pwrite(theFile, data, size, 0) == ssize_t(size));
    const std::string bytes(data, data + size);
    utRequire(parse_cpuinfo_for_nprocs(thePath.c_str()) == utCount(bytes));
    return 0;
}
