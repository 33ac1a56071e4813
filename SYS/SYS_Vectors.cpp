// The question for vectors, asked once.

#include "SYS_VectorsImpl.h"

#ifdef SYS_HAS_VECTORS

#include "SYS_Processor.h"
#include "SYS_Types.h"

#include <cpuid.h>
#include <xmmintrin.h>

// Not all compilers know the name of this part.
static bool
sysHasF16C()
{
    unsigned a, b, c, d;
    return __get_cpuid(1, &a, &b, &c, &d) && (c & bit_F16C);
}

bool
sysHasVectors()
{
    static const bool theAnswer = []
    {
        int type;
        int flags;
        SYSgetProcessor(type, flags);
        return flags & SYS_PROCESSOR_SSE2 && __builtin_cpu_supports("avx2") &&
               __builtin_cpu_supports("popcnt") && sysHasF16C();
    }();
    return theAnswer;
}

bool
sysHasLongVectors()
{
    // Some older processors have the vectors, but run slower for a while after
    // each use of them, which harms whatever follows a short sort. Those with
    // VBMI2 do not.
    static const bool theAnswer =
        sysHasVectors() && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512dq") &&
        __builtin_cpu_supports("avx512f") &&
        __builtin_cpu_supports("avx512vbmi2") &&
        __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("bmi2");
    return theAnswer;
}

#endif

#ifdef __i386__
bool
sysVectorsLinger()
{
    // Others than Intel's may, if they have any.
    static const bool theAnswer =
        __builtin_cpu_supports("avx") && !__builtin_cpu_is("intel");
    return theAnswer;
}

namespace
{

// What the processor stores of its registers: the old part, and what says which
// of the newer parts follow. None does.
struct alignas(64) sys_Registers
{
    uint32 control[6] = {}; // of the old unit for floats
    uint32 floatControl;    // MXCSR, which is loaded in any case
    uint32 registers[121] = {};
    uint32 parts[16] = {};
};
static_assert(sizeof(sys_Registers) == 576);

} // namespace

// Loads the upper halves of the vectors, which are not stored: they become
// zero, and the processor knows that.
void
sysForgetVectors()
{
    const uint32 theUpperHalves = 4;
    sys_Registers stored;
    stored.floatControl = _mm_getcsr();
    __asm__ volatile("xrstor %0" : : "m"(stored), "a"(theUpperHalves), "d"(0));
}
#endif
