// A file of any bytes lists the processors that a plain reader of lines finds.

#include "ut_FuzzCheck.h"
#include "ut_TempDir.h"

#include "SYS/SYS_Processor.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <sstream>

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
    static const ut_TempDir theDir;
    const std::string bytes(data, data + size);
    const std::string file = theDir.write("cpuinfo", bytes);
    utRequire(parse_cpuinfo_for_nprocs(file.c_str()) == utCount(bytes));
    return 0;
}
