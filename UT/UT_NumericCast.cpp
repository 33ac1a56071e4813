#include "UT_NumericCast.h"

#include "SYS/SYS_FPReal16Impl.h"
#include "SYS/SYS_VectorsImpl.h"

#include <cstring>

#ifdef SYS_HAS_VECTORS
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

#ifdef SYS_HAS_VECTORS
#define UT_F16C __attribute__((target("avx2,f16c")))
// In 32 bits the compiler inlines nothing here on its own.
#define UT_F16C_INLINE __attribute__((target("avx2,f16c"), always_inline))

// Eight halves with a signalling NaN among them as floats. The instruction
// would change those, so it gets zeros for infinities and NaNs.
UT_F16C_INLINE static inline __m256i
utToFloatOfAnyKind8(__m128i halves)
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

// Eight halves as floats.
UT_F16C_INLINE static inline __m256i
utToFloat8(__m128i halves)
{
    const __m128i magnitudes = _mm_and_si128(halves, _mm_set1_epi16(0x7FFF));
    const __m128i isNaN = _mm_cmpgt_epi16(magnitudes, _mm_set1_epi16(0x7C00));
    const __m128i isNotQuiet =
        _mm_cmpgt_epi16(_mm_set1_epi16(0x7E00), magnitudes);
    if (__builtin_expect(!_mm_testz_si128(isNaN, isNotQuiet), 0))
        return utToFloatOfAnyKind8(halves);
    return _mm256_castps_si256(_mm256_cvtph_ps(halves));
}

// Mends what the instruction made of eight floats that are NaNs or, with the
// bit that makes ties more than that, infinities: it set the upper mantissa
// bit.
UT_F16C_INLINE static inline __m128i
utMendNaNs(__m128i halves, __m256i bits)
{
    // What exceeds infinity: the mantissas of NaNs, and 0 of all others.
    const __m128i excess = _mm_subs_epu16(
        _mm_and_si128(halves, _mm_set1_epi16(0x7FFF)), _mm_set1_epi16(0x7C00));
    // The upper mantissa bits of the floats, each in its place in a half.
    const __m256i upperWords = _mm256_srli_epi32(bits, 16);
    const __m128i upperBits = _mm_slli_epi16(
        _mm_packus_epi32(
            _mm256_castsi256_si128(upperWords),
            _mm256_extracti128_si256(upperWords, 1)),
        3);
    const __m128i isAdded = _mm_and_si128(
        _mm_andnot_si128(upperBits, excess), _mm_set1_epi16(0x200));
    return _mm_andnot_si128(isAdded, halves);
}

// Eight halves for the patterns of floats. The processor's own instruction
// rounds ties to the even neighbour, so they get a bit that makes them more
// than ties; and it keeps the sign of zero.
UT_F16C_INLINE static inline __m128i
utToHalf8(__m256i bits)
{
    const __m256i moreThanTies = _mm256_or_si256(bits, _mm256_set1_epi32(1));
    const __m128i halves = _mm256_cvtps_ph(
        _mm256_castsi256_ps(moreThanTies), _MM_FROUND_TO_NEAREST_INT);
    const __m128i isMinusZero =
        _mm_cmpeq_epi16(halves, _mm_set1_epi16(int16(0x8000)));
    const __m128i withoutSign = _mm_andnot_si128(isMinusZero, halves);
    const __m128i isNaN = _mm_cmpgt_epi16(
        _mm_and_si128(halves, _mm_set1_epi16(0x7FFF)), _mm_set1_epi16(0x7C00));
    if (__builtin_expect(!_mm_testz_si128(isNaN, isNaN), 0))
        return utMendNaNs(withoutSign, bits);
    return withoutSign;
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

// `count` is a multiple of eight. A function of its own, so that no conversion
// moves out of the place where the conditions are masked.
UT_F16C __attribute__((noinline)) static void
utToHalfBlocks(fpreal16 *to, const float *from, size_t count)
{
    for (size_t i = 0; i < count; i += 8)
    {
        __m256i bits;
        memcpy(&bits, from + i, sizeof(bits));
        const __m128i halves = utToHalf8(bits);
        memcpy(static_cast<void *>(to + i), &halves, sizeof(halves));
    }
}

// The instruction raises conditions for NaNs, denormals and rounded values,
// too. Only that a finite value becomes an infinity is passed on.
template <class ToHalfBlocks>
static void
utToHalfMasked(
    ToHalfBlocks toHalfBlocks, fpreal16 *to, const float *from, size_t count)
{
    const unsigned callers = _mm_getcsr();
    _mm_setcsr(_MM_MASK_MASK);
    toHalfBlocks(to, from, count);
    const bool isOverflow = _mm_getcsr() & _MM_EXCEPT_OVERFLOW;
    _mm_setcsr(callers);
    if (isOverflow)
        fpreal16::overflow();
}

static void
utToHalfF16C(fpreal16 *to, const float *from, size_t count)
{
    const size_t inBlocks = count & ~size_t(7);
    if (inBlocks)
        utToHalfMasked(utToHalfBlocks, to, from, inBlocks);
    utToHalf(to + inBlocks, from + inBlocks, count - inBlocks);
}

#define UT_AVX512 \
    __attribute__((target("avx512f,avx512bw,avx512dq,avx512vl,bmi2")))
// In 32 bits the compiler inlines nothing here on its own.
#define UT_AVX512_INLINE \
    __attribute__((      \
        target("avx512f,avx512bw,avx512dq,avx512vl,bmi2"), always_inline))

// For operations with a mask: the compiler warns about its own header where
// they have none.
static constexpr __mmask16 theAllLanes = 0xFFFF;

// Sixteen halves as floats. Asked to, the instruction raises no conditions. In
// signalling NaNs it sets a bit, which the mask selects for taking it back.
UT_AVX512_INLINE static inline __m512i
utToFloat16(__m256i halves)
{
    const __m256i magnitudes =
        _mm256_and_si256(halves, _mm256_set1_epi16(0x7FFF));
    const __mmask16 isSignalling = _mm256_cmplt_epu16_mask(
        _mm256_sub_epi16(magnitudes, _mm256_set1_epi16(0x7C01)),
        _mm256_set1_epi16(0x1FF));
    const __m512i floats = _mm512_castps_si512(
        _mm512_maskz_cvt_roundph_ps(theAllLanes, halves, _MM_FROUND_NO_EXC));
    return _mm512_mask_xor_epi32(
        floats, isSignalling, floats, _mm512_set1_epi32(0x400000));
}

// Sixteen halves for the patterns of floats. The bit that makes ties more than
// that makes signalling NaNs of infinities: from both, the bit that the
// instruction sets is taken back.
UT_AVX512_INLINE static inline __m256i
utToHalf16(__m512i bits)
{
    const __m512 moreThanTies =
        _mm512_castsi512_ps(_mm512_or_si512(bits, _mm512_set1_epi32(1)));
    constexpr int theSignallingKind = 0x80;
    const __mmask16 isSignalling =
        _mm512_fpclass_ps_mask(moreThanTies, theSignallingKind);
    const __m256i halves = _mm512_maskz_cvtps_ph(
        theAllLanes, moreThanTies, _MM_FROUND_TO_NEAREST_INT);
    const __mmask16 isOther = _mm256_cmpneq_epi16_mask(
        halves, _mm256_set1_epi16(int16(0x8000))); // than minus zero
    return _mm256_maskz_mov_epi16(
        isOther, _mm256_mask_sub_epi16(
                     halves, isSignalling, halves, _mm256_set1_epi16(0x200)));
}

// A mask for those that are left when there are less than sixteen.
UT_AVX512_INLINE static inline __mmask16
utLastLanes(size_t count)
{
    return __mmask16(_bzhi_u32(theAllLanes, unsigned(count)));
}

UT_AVX512 static void
utToFloatAVX512(float *to, const fpreal16 *from, size_t count)
{
    for (; count >= 16; count -= 16, to += 16, from += 16)
    {
        __m256i halves;
        memcpy(&halves, from, sizeof(halves));
        _mm512_storeu_si512(to, utToFloat16(halves));
    }
    const __mmask16 lanes = utLastLanes(count);
    _mm512_mask_storeu_epi32(
        to, lanes, utToFloat16(_mm256_maskz_loadu_epi16(lanes, from)));
}

UT_AVX512 static void
utToHalfBlocksAVX512(fpreal16 *to, const float *from, size_t count)
{
    for (; count >= 16; count -= 16, to += 16, from += 16)
    {
        const __m256i halves = utToHalf16(_mm512_loadu_si512(from));
        memcpy(static_cast<void *>(to), &halves, sizeof(halves));
    }
    const __mmask16 lanes = utLastLanes(count);
    _mm256_mask_storeu_epi16(
        to, lanes, utToHalf16(_mm512_maskz_loadu_epi32(lanes, from)));
}

UT_AVX512 static void
utToHalfAVX512(fpreal16 *to, const float *from, size_t count)
{
    utToHalfMasked(utToHalfBlocksAVX512, to, from, count);
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

// So many pay for vectors where those linger.
static constexpr size_t theManyHalves = 256;

// The fastest versions that this processor has and the user allows.
static const ut_HalfCasts &
utHalfCasts()
{
    static const ut_HalfCasts theCasts = []
    {
#ifdef SYS_HAS_VECTORS
        if (sysHasLongVectors())
            return ut_HalfCasts{utToFloatAVX512, utToHalfAVX512};
        if (sysHasVectors())
            return ut_HalfCasts{utToFloatF16C, utToHalfF16C};
#endif
        return ut_HalfCasts{utToFloat, utToHalf};
    }();
    return theCasts;
}

void
UTnumericCast(float *to, const fpreal16 *from, size_t count)
{
    if (!sysVectorsPay(count, 0, theManyHalves))
        return utToFloat(to, from, count);
    const sys_VectorUse use;
    utHalfCasts().toFloat(to, from, count);
}

void
UTnumericCast(fpreal16 *to, const float *from, size_t count)
{
    if (!sysVectorsPay(count, 0, theManyHalves))
        return utToHalf(to, from, count);
    const sys_VectorUse use;
    utHalfCasts().toHalf(to, from, count);
}
