// Whether there are instructions for several numbers at once, and what is to be
// done after their use.

#pragma once

#include <cstddef>

#if defined(__x86_64__) || defined(__i386__)
#define SYS_HAS_VECTORS 1

// Whether this processor has vectors of eight 32-bit numbers (AVX2, and with it
// the conversions of halves), and the user allows them.
bool sysHasVectors();

// Whether it has vectors of sixteen, too (AVX-512), and they cost nothing else.
bool sysHasLongVectors();
#endif

// In 32 bits, AMD's processors take several times as long for arithmetic with
// floats once they have used such vectors, until the system runs another
// thread: the instruction that is meant to end that (vzeroupper) does not reach
// half of the registers there. Another one does, but takes as long as the
// arithmetic for a hundred floats or more. Vectors of sixteen bytes are fine,
// whatever instructions use them.
#ifdef __i386__
bool sysVectorsLinger();
void sysForgetVectors();
#else
constexpr bool
sysVectorsLinger()
{
    return false;
}
inline void
sysForgetVectors()
{
}
#endif

// Whether vectors pay for `count` elements: from `least` on, where they linger
// from `leastWhereTheyLinger` on.
inline bool
sysVectorsPay(size_t count, size_t least, size_t leastWhereTheyLinger)
{
    return count >= least &&
           (count >= leastWhereTheyLinger || !sysVectorsLinger());
}

// Among the attributes of a function that names a kind of processor and keeps
// vectors of sixteen bytes: in 32 bits callers may have aligned the stack for
// less, and the option for that does not reach such functions.
#ifdef __i386__
#define SYS_ALIGNS_STACK gnu::force_align_arg_pointer
#else
#define SYS_ALIGNS_STACK
#endif

// Lives as long as vectors are used, and then ends what lingers of them.
class sys_VectorUse
{
public:
    sys_VectorUse() = default;
    ~sys_VectorUse()
    {
        if (sysVectorsLinger())
            sysForgetVectors();
    }
    sys_VectorUse(const sys_VectorUse &) = delete;
    sys_VectorUse &operator=(const sys_VectorUse &) = delete;
};
