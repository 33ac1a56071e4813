// The question for vectors, asked once.

#include "UT_VectorsImpl.h"

#ifdef UT_HAS_VECTORS

#include "SYS/SYS_Processor.h"

#include <cpuid.h>

// Not all compilers know the name of this part.
static bool
utHasF16C()
{
    unsigned a, b, c, d;
    return __get_cpuid(1, &a, &b, &c, &d) && (c & bit_F16C);
}

bool
utHasVectors()
{
    static const bool theAnswer = []
    {
        int type;
        int flags;
        SYSgetProcessor(type, flags);
        return flags & SYS_PROCESSOR_SSE2 && __builtin_cpu_supports("avx2") &&
               __builtin_cpu_supports("popcnt") && utHasF16C();
    }();
    return theAnswer;
}

bool
utHasLongVectors()
{
    // Some older processors have the vectors, but run slower for a while after
    // each use of them, which harms whatever follows a short sort. Those with
    // VBMI2 do not.
    static const bool theAnswer =
        utHasVectors() && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512dq") &&
        __builtin_cpu_supports("avx512f") &&
        __builtin_cpu_supports("avx512vbmi2") &&
        __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("bmi2");
    return theAnswer;
}

#endif
