#include "UT_NumericCast.h"

#include "SYS/SYS_FPReal16Impl.h"
#include "SYS/SYS_Processor.h"

#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#include <immintrin.h>
#endif

static void
utToFloat(float *to, const fpreal16 *from, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        to[i] = theHalfToFloat.values[from[i].bits()];
}

static void
utToHalf(fpreal16 *to, const float *from, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        to[i] = fpreal16(from[i]);
}

#if defined(__x86_64__) || defined(__i386__)
#define UT_HAS_VECTORS 1
#define UT_F16C __attribute__((target("avx2,f16c")))

// Eight halves as floats, of any kind and without a jump. The processor's own
// instruction would change signalling NaNs, so it gets zeros for infinities and
// NaNs.
UT_F16C static inline __m256i
utToFloat8(__m128i halves)
{
    const __m128i exponent = _mm_set1_epi16(0x7C00);
    const __m128i isSpecial =
        _mm_cmpeq_epi16(_mm_and_si128(halves, exponent), exponent);
    const __m256 ordinary =
        _mm256_cvtph_ps(_mm_andnot_si128(isSpecial, halves));
    // A negative one's upper bits come from the extension of its sign.
    const __m256i special = _mm256_slli_epi32(
        _mm256_cvtepi16_epi32(_mm_and_si128(halves, isSpecial)), 13);
    const __m256i upperBits = _mm256_and_si256(
        _mm256_cvtepi16_epi32(isSpecial), _mm256_set1_epi32(0x70000000));
    return _mm256_or_si256(
        _mm256_castps_si256(ordinary), _mm256_or_si256(special, upperBits));
}

// The least float patterns that become an infinity, a normal half, and any
// other half except zero.
static const int32 theLargeBits = 0x477FF000;
static const int32 theNormalBits = 113 << 23;
static const int32 theDenormalBits = 102 << 23;

// Eight halves for the patterns of floats. The processor's own instruction cuts
// off what does not fit, after half of the last unit is added. `large` gets the
// lanes of infinities and NaNs, and of what becomes one: they are not right.
UT_F16C static inline __m128i
utToHalf8(__m256i bits, __m256i &large)
{
    const __m256i sign =
        _mm256_and_si256(bits, _mm256_set1_epi32(int32(0x80000000)));
    const __m256i magnitude = _mm256_andnot_si256(sign, bits);
    const __m256i isDenormal =
        _mm256_cmpgt_epi32(_mm256_set1_epi32(theNormalBits), magnitude);
    const __m256i isZero =
        _mm256_cmpgt_epi32(_mm256_set1_epi32(theDenormalBits), magnitude);
    large = _mm256_or_si256(
        large,
        _mm256_cmpgt_epi32(magnitude, _mm256_set1_epi32(theLargeBits - 1)));

    // The sum of floats is exact wherever its bits are not cut off.
    const __m256 small =
        _mm256_castsi256_ps(_mm256_and_si256(magnitude, isDenormal));
    const __m256i denormal =
        _mm256_castps_si256(_mm256_add_ps(small, _mm256_set1_ps(0x1p-25f)));
    const __m256i normal =
        _mm256_add_epi32(magnitude, _mm256_set1_epi32(0x1000));
    const __m256i rounded = _mm256_or_si256(
        _mm256_and_si256(isDenormal, denormal),
        _mm256_andnot_si256(isDenormal, normal));
    return _mm256_cvtps_ph(
        _mm256_castsi256_ps(
            _mm256_andnot_si256(isZero, _mm256_or_si256(rounded, sign))),
        _MM_FROUND_TO_ZERO);
}

// The same for floats of any kind, without a jump. `overflowed` gets the lanes
// where a finite value becomes an infinity.
UT_F16C static inline __m128i
utAnyToHalf8(__m256i bits, __m256i &large, __m256i &overflowed)
{
    const __m256i infinity = _mm256_set1_epi32(0x7F800000);
    const __m256i magnitude =
        _mm256_and_si256(bits, _mm256_set1_epi32(0x7FFFFFFF));
    const __m256i isLarge =
        _mm256_cmpgt_epi32(magnitude, _mm256_set1_epi32(theLargeBits - 1));
    overflowed = _mm256_or_si256(
        overflowed,
        _mm256_and_si256(isLarge, _mm256_cmpgt_epi32(infinity, magnitude)));

    // Infinity, or what a NaN keeps of its bits.
    const __m256i rest = _mm256_and_si256(
        _mm256_srli_epi32(_mm256_max_epi32(magnitude, infinity), 13),
        _mm256_set1_epi32(0x7FFF));
    const __m256i sign = _mm256_and_si256(
        _mm256_srli_epi32(bits, 16), _mm256_set1_epi32(0x8000));
    const __m256i special =
        _mm256_and_si256(isLarge, _mm256_or_si256(rest, sign));
    const __m128i halves = utToHalf8(_mm256_andnot_si256(isLarge, bits), large);
    large = _mm256_or_si256(large, isLarge);
    return _mm_or_si128(
        halves, _mm_packus_epi32(
                    _mm256_castsi256_si128(special),
                    _mm256_extracti128_si256(special, 1)));
}

UT_F16C static void
utToFloatF16C(float *to, const fpreal16 *from, size_t count)
{
    for (; count >= 8; count -= 8, to += 8, from += 8)
    {
        __m128i halves;
        memcpy(&halves, from, sizeof(halves));
        const __m256i floats = utToFloat8(halves);
        memcpy(to, &floats, sizeof(floats));
    }
    utToFloat(to, from, count);
}

UT_F16C static inline __m256i
utLoad(const float *from)
{
    __m256i floats;
    memcpy(&floats, from, sizeof(floats));
    return floats;
}

UT_F16C static inline void
utStore(fpreal16 *to, __m128i halves)
{
    memcpy(static_cast<void *>(to), &halves, sizeof(halves));
}

// Floats that are converted before the large ones are looked for.
static const size_t theBlock = 64;

// Values that are not large are the usual ones. After a block with others, the
// next one is taken to have them too.
UT_F16C static void
utToHalfF16C(fpreal16 *to, const float *from, size_t count)
{
    __m256i overflowed = _mm256_setzero_si256();
    bool expectsLarge = false;
    for (; count >= theBlock; count -= theBlock)
    {
        __m256i large = _mm256_setzero_si256();
        if (!expectsLarge)
            for (size_t i = 0; i < theBlock; i += 8)
                utStore(to + i, utToHalf8(utLoad(from + i), large));
        if (expectsLarge || !_mm256_testz_si256(large, large))
        {
            large = _mm256_setzero_si256();
            for (size_t i = 0; i < theBlock; i += 8)
                utStore(
                    to + i, utAnyToHalf8(utLoad(from + i), large, overflowed));
        }
        expectsLarge = !_mm256_testz_si256(large, large);
        to += theBlock;
        from += theBlock;
    }
    if (!_mm256_testz_si256(overflowed, overflowed))
        fpreal16::overflow();
    utToHalf(to, from, count);
}

static bool
utHasF16C()
{
    unsigned a, b, c, d;
    return __builtin_cpu_supports("avx2") && __get_cpuid(1, &a, &b, &c, &d) &&
           (c & bit_F16C);
}
#endif

namespace
{

struct ut_HalfCasts
{
    void (*toFloat)(float *, const fpreal16 *, size_t);
    void (*toHalf)(fpreal16 *, const float *, size_t);
};

} // namespace

// The fastest version that this processor has and the user allows.
static const ut_HalfCasts &
utHalfCasts()
{
    static const ut_HalfCasts theCasts = []
    {
#ifdef UT_HAS_VECTORS
        int type;
        int flags;
        SYSgetProcessor(type, flags);
        if (flags & SYS_PROCESSOR_SSE2 && utHasF16C())
            return ut_HalfCasts{utToFloatF16C, utToHalfF16C};
#endif
        return ut_HalfCasts{utToFloat, utToHalf};
    }();
    return theCasts;
}

void
UTnumericCast(float *to, const fpreal16 *from, size_t count)
{
    utHalfCasts().toFloat(to, from, count);
}

void
UTnumericCast(fpreal16 *to, const float *from, size_t count)
{
    utHalfCasts().toHalf(to, from, count);
}
