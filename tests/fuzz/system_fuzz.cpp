// The system's figures, from files of any bytes in place of /proc/stat,
// /proc/meminfo, /proc/cpuinfo and the process's status: amounts of memory and
// processors are those that a plain reader finds. The input is what each has.

#include "ut_FuzzCheck.h"

#include "SYS/SYS_Memory.h"
#include "SYS/SYS_Processor.h"
#include "SYS/SYS_Types.h"
#include "UT/UT_SysResource.h"

#include <cstdio>
#include <cstdlib>
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

void
utTry(const std::string &input)
{
    const std::string text = input.substr(0, 4096).c_str();
    theFile = memfd_create("system", MFD_CLOEXEC);
    utRequire(
        write(theFile, input.data(), input.size()) == ssize_t(input.size()));
    UT_SysResource resource;
    resource.update(/*memoryOnly=*/false);
    getProcMemUsage();
    const int processors = parse_cpuinfo_for_nprocs("any");
    close(theFile);
    theFile = -1;

    utRequire(resource.idleFraction() >= 0);
    utRequire(resource.idleFraction() <= 1);
    utRequire(resource.memoryTotal() == utFigure(text, "MemTotal:"));
    utRequire(resource.memoryFree() == utFigure(text, "MemFree:"));
    utRequire(resource.swapTotal() == utFigure(text, "SwapTotal:"));
    utRequire(resource.swapFree() == utFigure(text, "SwapFree:"));
    int listed = 0;
    std::istringstream in(input);
    for (std::string line; std::getline(in, line);)
        listed += line.rfind("processor", 0) == 0;
    if (input.find("CPUs probed") == input.npos) // another way to say it
        utRequire(processors == listed);
}
