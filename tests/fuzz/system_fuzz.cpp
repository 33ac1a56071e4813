// The system's figures, from files of any bytes in place of /proc/stat,
// /proc/meminfo, /proc/cpuinfo and the process's status: amounts of memory and
// processors are those that a plain reader finds. The input is what each file
// has.

#include "ut_FuzzCheck.h"

#include "SYS/SYS_Memory.h"
#include "SYS/SYS_Processor.h"
#include "UT/UT_SysResource.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

static int theFile = -1; // while the library reads

// The C library's open() and fopen() for the library.
extern "C" __attribute__((visibility("default"))) int
utOpen(const char *path, int flags, unsigned mode) asm("open");
extern "C" __attribute__((visibility("default"))) FILE *
utOpenStream(const char *path, const char *mode) asm("fopen");

int
utOpen(const char *path, int flags, unsigned mode)
{
    if (theFile < 0)
        return openat(AT_FDCWD, path, flags, mode);
    lseek(theFile, 0, SEEK_SET);
    return dup(theFile);
}

FILE *
utOpenStream(const char *path, const char *mode)
{
    return theFile < 0 ? fopen64(path, mode) : fdopen(utOpen("", 0, 0), "r");
}

// The number at the start of the last line that has the label.
static uint32
utFigure(const std::string &meminfo, const std::string &label)
{
    const size_t at = ("\n" + meminfo).rfind("\n" + label);
    return at == meminfo.npos
               ? 0
               : uint32(strtoul(&meminfo[at + label.size()], nullptr, 0));
}

// The processors that are listed, or those that were probed.
static int
utProcessors(const std::string &cpuinfo)
{
    static const std::string theListed = "processor";
    static const std::string theProbed = "CPUs probed";
    int count = 0;
    std::istringstream in(cpuinfo);
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

static void
utCheckUsage(const std::string &status, unsigned usage)
{
    std::istringstream in(status);
    for (std::string line; std::getline(in, line);)
    {
        if (line.rfind("VmData:", 0) != 0)
            continue;
        const char *const number = &line[strlen("VmData:")];
        char *end;
        const unsigned long kilobytes = strtoul(number, &end, 0);
        if (end == number || strncmp(end, " kB", 3) != 0)
            continue;
        utRequire(usage == unsigned(kilobytes * 1024));
        return;
    }
}

extern "C" int
LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string bytes(data, data + size);
    const std::string text = bytes.substr(0, 4096).c_str();
    theFile = memfd_create("system", MFD_CLOEXEC);
    utRequire(write(theFile, data, size) == ssize_t(size));
    UT_SysResource resource;
    resource.update(/*memoryOnly=*/false);
    const unsigned usage = getProcMemUsage();
    utRequire(parse_cpuinfo_for_nprocs("any") == utProcessors(bytes));
    close(theFile);
    theFile = -1;

    utRequire(resource.idleFraction() >= 0);
    utRequire(resource.idleFraction() <= 1);
    utRequire(resource.memoryTotal() == utFigure(text, "MemTotal:"));
    utRequire(resource.memoryFree() == utFigure(text, "MemFree:"));
    utRequire(resource.swapTotal() == utFigure(text, "SwapTotal:"));
    utRequire(resource.swapFree() == utFigure(text, "SwapFree:"));
    if (bytes.find('\0') == bytes.npos) // a reader of lines stops there
        utCheckUsage(bytes, usage);
    return 0;
}
