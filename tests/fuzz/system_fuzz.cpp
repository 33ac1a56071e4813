// The system's figures, from files of any bytes in place of /proc/stat,
// /proc/meminfo and the process's status: they are those that a plain reader
// finds. The input is what each file has.

#include "ut_FuzzCheck.h"

#include "SYS/SYS_Memory.h"
#include "UT/UT_SysResource.h"

#include <algorithm>
#include <cmath>
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

static void
utCheckTimes(const char *stat, float idleFraction)
{
    static uint64 theOldTimes[4];
    double differences[4];
    double total = 0;
    char *next = const_cast<char *>(stat);
    while (*next && !isspace(uint8(*next)))
        ++next;
    for (int i = 0; i < 4; ++i)
    {
        const uint64 time = strtoull(next, &next, 0);
        differences[i] = double(time - std::min(time, theOldTimes[i]));
        total += differences[i];
        theOldTimes[i] = time;
    }
    const double expected = differences[3] / std::max(total, 1.);
    utRequire(std::abs(double(idleFraction) - expected) < 0.0011);
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
    close(theFile);
    theFile = -1;

    utCheckTimes(text.c_str(), resource.idleFraction());
    utRequire(resource.memoryTotal() == utFigure(text, "MemTotal:"));
    utRequire(resource.memoryFree() == utFigure(text, "MemFree:"));
    utRequire(resource.swapTotal() == utFigure(text, "SwapTotal:"));
    utRequire(resource.swapFree() == utFigure(text, "SwapFree:"));
    if (bytes.find('\0') == bytes.npos) // a reader of lines stops there
        utCheckUsage(bytes, usage);
    return 0;
}
