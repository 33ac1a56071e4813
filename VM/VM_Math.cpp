#include "VM_Math.h"

#include <algorithm>

#ifdef __SSE2__
#include <emmintrin.h>

static void
vmSet(float *data, float value, unsigned count)
{
    const __m128 four = _mm_set1_ps(value);
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
#else
static void
vmSet(float *data, float value, unsigned count)
{
    std::fill(data, data + count, value);
}
#endif

bool VM_Math::theSIMD = false;

void
VM_Math::set(float *data, float value, unsigned count)
{
    if (theSIMD)
        vmSet(data, value, count);
    else
        std::fill(data, data + count, value);
}
