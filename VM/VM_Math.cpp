#include "VM_Math.h"

#include "SYS/SYS_VectorsImpl.h"

#include <cstddef>

bool VM_Math::theSIMD = false;

// Each operation is one loop, which is inlined into a function for each kind of
// processor. This file is compiled so that they become vector code there, and
// so that products are rounded before anything is added to them.

// Says of the loop that follows that no element depends on another one.
#ifdef __clang__
#define VM_ELEMENT_BY_ELEMENT _Pragma("clang loop vectorize(assume_safety)")
#else
#define VM_ELEMENT_BY_ELEMENT _Pragma("GCC ivdep")
#endif

// Floats that set() stores at a time.
static constexpr size_t theBlockSize = 8;

#ifdef SYS_HAS_VECTORS

// Floats from which on long vectors pay, and where they linger.
static constexpr size_t theFewFloats = 32;
static constexpr size_t theManyFloats = 4096;

static bool
vmPaysFor(size_t count)
{
    return sysVectorsPay(count, theFewFloats, theManyFloats) && sysHasVectors();
}
#endif

namespace
{

// An operand: an array, or one value in place of it.
struct vm_Array
{
    [[gnu::always_inline]] float operator[](size_t i) const { return data[i]; }

    const float *data;
};

struct vm_Value
{
    [[gnu::always_inline]] float operator[](size_t) const { return value; }

    float value;
};

struct vm_Add
{
    [[gnu::always_inline]] float operator()(float a, float b) const
    {
        return a + b;
    }
};

struct vm_Subtract
{
    [[gnu::always_inline]] float operator()(float a, float b) const
    {
        return a - b;
    }
};

struct vm_Multiply
{
    [[gnu::always_inline]] float operator()(float a, float b) const
    {
        return a * b;
    }
};

struct vm_Divide
{
    [[gnu::always_inline]] float operator()(float a, float b) const
    {
        return a / b;
    }
};

struct vm_MultiplyAdd
{
    [[gnu::always_inline]] float operator()(float a, float b, float c) const
    {
        return a * b + c;
    }
};

struct vm_Min
{
    [[gnu::always_inline]] float operator()(float a, float b) const
    {
        return a < b ? a : b;
    }
};

struct vm_Max
{
    [[gnu::always_inline]] float operator()(float a, float b) const
    {
        return a > b ? a : b;
    }
};

struct vm_Clamp
{
    [[gnu::always_inline]] float
    operator()(float a, float low, float high) const
    {
        return vm_Min()(vm_Max()(a, low), high);
    }
};

struct vm_SquareRoot
{
    [[gnu::always_inline]] float operator()(float a) const
    {
        return __builtin_sqrtf(a);
    }
};

} // namespace

template <class Operation, class... Operands>
[[gnu::always_inline]] static inline void
vmLoop(float *result, size_t count, Operation operation, Operands... operands)
{
    VM_ELEMENT_BY_ELEMENT
    for (size_t i = 0; i < count; ++i)
        result[i] = operation(operands[i]...);
}

#ifdef SYS_HAS_VECTORS
template <class... Arguments>
[[gnu::target("avx2")]] static void
vmLoopAvx2(float *result, size_t count, Arguments... arguments)
{
    vmLoop(result, count, arguments...);
}

// A function of its own, so that the loop for any processor saves no registers
// for the calls here.
template <class... Arguments>
[[gnu::noinline]] static void
vmApplyToMany(float *result, size_t count, Arguments... arguments)
{
    if (vmPaysFor(count))
    {
        const sys_VectorUse use;
        vmLoopAvx2(result, count, arguments...);
    }
    else
        vmLoop(result, count, arguments...);
}
#endif

template <class... Arguments>
static void
vmApply(float *result, size_t count, Arguments... arguments)
{
#ifdef SYS_HAS_VECTORS
    if (VM_Math::theSIMD && count >= theFewFloats)
        return vmApplyToMany(result, count, arguments...);
#endif
    vmLoop(result, count, arguments...);
}

[[gnu::always_inline]] static inline void
vmSetBlock(float *data, float value)
{
    for (size_t i = 0; i < theBlockSize; ++i)
        data[i] = value;
}

// A block at a time. The last one may be set in part already.
[[gnu::always_inline]] static inline void
vmSet(float *data, float value, size_t count)
{
    if (count < theBlockSize)
    {
        for (size_t i = 0; i < count; ++i)
            data[i] = value;
        return;
    }
    float *const last = data + count - theBlockSize;
    for (; data < last; data += theBlockSize)
        vmSetBlock(data, value);
    vmSetBlock(last, value);
}

#ifdef SYS_HAS_VECTORS
[[gnu::target("avx2")]] static void
vmSetAvx2(float *data, float value, size_t count)
{
    vmSet(data, value, count);
}

[[gnu::noinline]] static void
vmSetMany(float *data, float value, size_t count)
{
    if (vmPaysFor(count))
    {
        const sys_VectorUse use;
        vmSetAvx2(data, value, count);
    }
    else
        vmSet(data, value, count);
}
#endif

void
VM_Math::set(float *data, float value, unsigned count)
{
#ifdef SYS_HAS_VECTORS
    if (VM_Math::theSIMD && count >= theFewFloats)
        return vmSetMany(data, value, count);
#endif
    vmSet(data, value, count);
}

void
VM_Math::add(float *result, const float *a, const float *b, unsigned count)
{
    vmApply(result, count, vm_Add(), vm_Array{a}, vm_Array{b});
}

void
VM_Math::add(float *result, const float *a, float b, unsigned count)
{
    vmApply(result, count, vm_Add(), vm_Array{a}, vm_Value{b});
}

void
VM_Math::subtract(float *result, const float *a, const float *b, unsigned count)
{
    vmApply(result, count, vm_Subtract(), vm_Array{a}, vm_Array{b});
}

void
VM_Math::multiply(float *result, const float *a, const float *b, unsigned count)
{
    vmApply(result, count, vm_Multiply(), vm_Array{a}, vm_Array{b});
}

void
VM_Math::multiply(float *result, const float *a, float b, unsigned count)
{
    vmApply(result, count, vm_Multiply(), vm_Array{a}, vm_Value{b});
}

void
VM_Math::divide(float *result, const float *a, const float *b, unsigned count)
{
    vmApply(result, count, vm_Divide(), vm_Array{a}, vm_Array{b});
}

void
VM_Math::multiplyAdd(
    float *result, const float *a, const float *b, const float *c,
    unsigned count)
{
    vmApply(
        result, count, vm_MultiplyAdd(), vm_Array{a}, vm_Array{b}, vm_Array{c});
}

void
VM_Math::multiplyAdd(
    float *result, const float *a, float b, const float *c, unsigned count)
{
    vmApply(
        result, count, vm_MultiplyAdd(), vm_Array{a}, vm_Value{b}, vm_Array{c});
}

void
VM_Math::min(float *result, const float *a, const float *b, unsigned count)
{
    vmApply(result, count, vm_Min(), vm_Array{a}, vm_Array{b});
}

void
VM_Math::max(float *result, const float *a, const float *b, unsigned count)
{
    vmApply(result, count, vm_Max(), vm_Array{a}, vm_Array{b});
}

void
VM_Math::clamp(
    float *result, const float *a, float low, float high, unsigned count)
{
    vmApply(
        result, count, vm_Clamp(), vm_Array{a}, vm_Value{low}, vm_Value{high});
}

void
VM_Math::squareRoot(float *result, const float *a, unsigned count)
{
    vmApply(result, count, vm_SquareRoot(), vm_Array{a});
}

double
VM_Math::dot(const float *a, const float *b, unsigned count)
{
    constexpr unsigned theSums = 4;
    double sums[theSums] = {};
    unsigned i = 0;
    for (; count - i >= theSums; i += theSums)
        for (unsigned k = 0; k < theSums; ++k)
            sums[k] += double(a[i + k]) * double(b[i + k]);
    for (unsigned k = 0; i + k < count; ++k)
        sums[k] += double(a[i + k]) * double(b[i + k]);
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}
