#include "SYS_Processor.h"

#include "UT/UT_CancelImpl.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#else
// No leaf is there.
static int
__get_cpuid(unsigned, unsigned *, unsigned *, unsigned *, unsigned *)
{
    return 0;
}
#endif

namespace
{

struct ut_Leaf
{
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
};

} // namespace

// All zeros when the processor has no such leaf.
static ut_Leaf
utLeaf(unsigned number)
{
    ut_Leaf leaf;
    if (!__get_cpuid(number, &leaf.eax, &leaf.ebx, &leaf.ecx, &leaf.edx))
        return ut_Leaf();
    return leaf;
}

static bool
utHas(unsigned leaf, int bit)
{
    return utLeaf(leaf).edx >> bit & 1;
}

bool
SYS_Processor::hasMMX()
{
    return utHas(1, 23);
}

bool
SYS_Processor::hasIntSSE()
{
    return hasSSE() || utHas(0x80000001, 22);
}

bool
SYS_Processor::hasSSE()
{
    return utHas(1, 25);
}

bool
SYS_Processor::hasSSE2()
{
    return utHas(1, 26);
}

bool
SYS_Processor::has3DNow()
{
    return utHas(0x80000001, 31);
}

bool
SYS_Processor::hasCondMov()
{
    return utHas(1, 15);
}

bool
SYS_Processor::hasFPCondMov()
{
    return hasCondMov() && utHas(1, 0);
}

bool
SYS_Processor::hasHyperThreading()
{
    const ut_Leaf leaf = utLeaf(1);
    return (leaf.edx >> 28 & 1) && (leaf.ebx >> 16 & 0xFF) > 1;
}

bool
SYS_Processor::checkEnv(const char *name)
{
    const char *value = getenv(name);
    return !value || strtol(value, nullptr, 10) == 0;
}

bool
SYS_Processor::checkMMX()
{
    static const bool theAnswer = checkEnv("VALDRIN_DISABLE_MMX");
    return theAnswer;
}

bool
SYS_Processor::checkXMMX()
{
    static const bool theAnswer =
        checkMMX() && checkEnv("VALDRIN_DISABLE_XMMX");
    return theAnswer;
}

bool
SYS_Processor::checkSSE()
{
    static const bool theAnswer =
        checkXMMX() && checkEnv("VALDRIN_DISABLE_SSE");
    return theAnswer;
}

bool
SYS_Processor::check3DNow()
{
    static const bool theAnswer =
        checkXMMX() && checkEnv("VALDRIN_DISABLE_3DNOW");
    return theAnswer;
}

void
SYS_Processor::obsoleteWarning()
{
    static std::atomic<bool> theWarned(false);
    if (theWarned.exchange(true))
        return;
    fprintf(
        stderr, "%s",
        "A Pentium III or better processor is required to run this "
        "application.\n"
        "If you believe this machine meets the above criteria, please contact\n"
        "Norvex immediately. Otherwise, set the environment variable\n"
        "VALDRIN_DISABLE_SSE to avoid seeing this message in the future.\n");
}

static int
utProcessorFlags()
{
    int flags = 0;
    if (SYS_Processor::hasMMX())
    {
        // Deliberate: MMX is reported whether it is allowed or not.
        flags |= SYS_PROCESSOR_MMX;
        if (SYS_Processor::checkXMMX() && SYS_Processor::hasIntSSE())
            flags |= SYS_PROCESSOR_INT_SSE;
        if (SYS_Processor::checkSSE() && SYS_Processor::hasSSE())
            flags |= SYS_PROCESSOR_SSE;
        if (SYS_Processor::checkSSE() && SYS_Processor::hasSSE2())
            flags |= SYS_PROCESSOR_SSE2;
        if (SYS_Processor::check3DNow() && SYS_Processor::has3DNow())
            flags |= SYS_PROCESSOR_3DNOW;
    }
    if (SYS_Processor::hasCondMov())
        flags |= SYS_PROCESSOR_COND_MOVE;
    if (SYS_Processor::hasFPCondMov())
        flags |= SYS_PROCESSOR_FP_COND_MOVE;
    if (SYS_Processor::hasHyperThreading())
        flags |= SYS_PROCESSOR_HYPER_THREADING;
    return flags;
}

void
SYSgetProcessor(int &type, int &flags)
{
    static const int theFlags = utProcessorFlags();
    static std::atomic<int> theType(-1);
    flags = theFlags;
    // Deliberate: only the first call returns -1.
    type = theType.exchange(3);
}

const char *
SYSgetOsProc()
{
    return "linux_intel";
}

static bool
utStartsWith(const char *line, const char *prefix)
{
    return strncmp(line, prefix, strlen(prefix)) == 0;
}

int
parse_cpuinfo_for_nprocs()
{
    return parse_cpuinfo_for_nprocs("/proc/cpuinfo");
}

int
parse_cpuinfo_for_nprocs(const char *path)
{
    const ut_CancelGuard guard;
    FILE *file = path ? fopen(path, "re") : nullptr;
    if (!file)
        return 0;
    int count = 0;
    char *line = nullptr;
    size_t capacity = 0;
    while (getline(&line, &capacity, file) >= 0)
    {
        if (utStartsWith(line, "CPUs probed"))
        {
            const long number = strtol(strchr(line, 'd') + 1, nullptr, 10);
            count = int(std::clamp<long>(number, INT_MIN, INT_MAX));
            break;
        }
        if (utStartsWith(line, "processor"))
            ++count;
    }
    free(line);
    fclose(file);
    return count;
}
