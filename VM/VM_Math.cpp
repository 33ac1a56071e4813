#include "VM_Math.h"

#include "SYS/SYS_Processor.h"

#include <algorithm>
#include <cmath>

bool VM_Math::theSIMD = false;

// Every operation exists for one float and for four.
#ifdef __SSE2__
#include <emmintrin.h>

using vm_Float4 = __m128;

static bool
vmHasVectors()
{
    static const bool theAnswer = []
    {
        int type;
        int flags;
        SYSgetProcessor(type, flags);
        return (flags & SYS_PROCESSOR_SSE2) != 0;
    }();
    return theAnswer;
}

static bool
vmUsesVectors()
{
    return VM_Math::theSIMD && vmHasVectors();
}
#endif

namespace
{

// An operand: one or four of its elements.
struct vm_Array
{
    const float *data;

    [[nodiscard]] float one(unsigned i) const { return data[i]; }
#ifdef __SSE2__
    [[nodiscard]] vm_Float4 four(unsigned i) const
    {
        return _mm_loadu_ps(data + i);
    }
#endif
};

// One value in place of an array.
struct vm_Value
{
    float value;

    [[nodiscard]] float one(unsigned) const { return value; }
#ifdef __SSE2__
    [[nodiscard]] vm_Float4 four(unsigned) const
    {
        return _mm_set1_ps(value);
    }
#endif
};

struct vm_Add
{
    float operator()(float a, float b) const { return a + b; }
#ifdef __SSE2__
    vm_Float4 operator()(vm_Float4 a, vm_Float4 b) const
    {
        return _mm_add_ps(a, b);
    }
#endif
};

struct vm_Subtract
{
    float operator()(float a, float b) const { return a - b; }
#ifdef __SSE2__
    vm_Float4 operator()(vm_Float4 a, vm_Float4 b) const
    {
        return _mm_sub_ps(a, b);
    }
#endif
};

struct vm_Multiply
{
    float operator()(float a, float b) const { return a * b; }
#ifdef __SSE2__
    vm_Float4 operator()(vm_Float4 a, vm_Float4 b) const
    {
        return _mm_mul_ps(a, b);
    }
#endif
};

struct vm_Divide
{
    float operator()(float a, float b) const { return a / b; }
#ifdef __SSE2__
    vm_Float4 operator()(vm_Float4 a, vm_Float4 b) const
    {
        return _mm_div_ps(a, b);
    }
#endif
};

struct vm_Min
{
    float operator()(float a, float b) const { return a < b ? a : b; }
#ifdef __SSE2__
    vm_Float4 operator()(vm_Float4 a, vm_Float4 b) const
    {
        return _mm_min_ps(a, b);
    }
#endif
};

struct vm_Max
{
    float operator()(float a, float b) const { return a > b ? a : b; }
#ifdef __SSE2__
    vm_Float4 operator()(vm_Float4 a, vm_Float4 b) const
    {
        return _mm_max_ps(a, b);
    }
#endif
};

struct vm_SquareRoot
{
    float operator()(float a) const { return std::sqrt(a); }
#ifdef __SSE2__
    vm_Float4 operator()(vm_Float4 a) const
    {
        return _mm_sqrt_ps(a);
    }
#endif
};

struct vm_MultiplyAdd
{
    template <class Floats>
    Floats operator()(Floats a, Floats b, Floats c) const
    {
        return vm_Add()(vm_Multiply()(a, b), c);
    }
};

struct vm_Clamp
{
    template <class Floats>
    Floats operator()(Floats a, Floats low, Floats high) const
    {
        return vm_Min()(vm_Max()(a, low), high);
    }
};

} // namespace

template <class Operation, class... Operands>
static void
vmApply(
    float *result, unsigned count, Operation operation, Operands... operands)
{
    unsigned i = 0;
#ifdef __SSE2__
    if (vmUsesVectors())
        for (; count - i >= 4; i += 4)
            _mm_storeu_ps(result + i, operation(operands.four(i)...));
#endif
    for (; i < count; ++i)
        result[i] = operation(operands.one(i)...);
}

#ifdef __SSE2__
static void
vmSet(float *data, float value, unsigned count)
{
    const vm_Float4 four = _mm_set1_ps(value);
    if (count < 4)
    {
        std::fill(data, data + count, value);
        return;
    }
    float *const last = data + count - 4;
    for (; last - data >= 12; data += 16)
    {
        _mm_storeu_ps(data, four);
        _mm_storeu_ps(data + 4, four);
        _mm_storeu_ps(data + 8, four);
        _mm_storeu_ps(data + 12, four);
    }
    for (; data < last; data += 4)
        _mm_storeu_ps(data, four);
    // What is left ends here; a part of it may be set already.
    _mm_storeu_ps(last, four);
}
#endif

void
VM_Math::set(float *data, float value, unsigned count)
{
#ifdef __SSE2__
    if (vmUsesVectors())
        return vmSet(data, value, count);
#endif
    std::fill(data, data + count, value);
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
    double sums[4] = {};
    unsigned i = 0;
#ifdef __SSE2__
    if (vmUsesVectors())
    {
        __m128d low = _mm_setzero_pd();
        __m128d high = _mm_setzero_pd();
        for (; count - i >= 4; i += 4)
        {
            const __m128 a4 = _mm_loadu_ps(a + i);
            const __m128 b4 = _mm_loadu_ps(b + i);
            low =
                _mm_add_pd(low, _mm_mul_pd(_mm_cvtps_pd(a4), _mm_cvtps_pd(b4)));
            high = _mm_add_pd(
                high, _mm_mul_pd(
                          _mm_cvtps_pd(_mm_movehl_ps(a4, a4)),
                          _mm_cvtps_pd(_mm_movehl_ps(b4, b4))));
        }
        _mm_storeu_pd(sums, low);
        _mm_storeu_pd(sums + 2, high);
    }
#endif
    for (; i < count; ++i)
        sums[i % 4] += double(a[i]) * double(b[i]);
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}
