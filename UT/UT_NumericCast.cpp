#include "UT_NumericCast.h"

#include "SYS/SYS_FPReal16Impl.h"
#include "SYS/SYS_Processor.h"

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

namespace
{

// Eight lanes.
using ut_Half8 = uint16 __attribute__((vector_size(16)));
using ut_Int8 = int32 __attribute__((vector_size(32)));
using ut_Float8 = float __attribute__((vector_size(32)));

} // namespace

#define UT_INLINE __attribute__((always_inline)) inline

static UT_INLINE bool
utAny(const ut_Int8 &mask)
{
    int32 any = 0;
    for (int lane = 0; lane < 8; ++lane)
        any |= mask[lane];
    return any != 0;
}

// The masks are all ones where a comparison holds. Zeros and normal numbers
// come out right; `rare` gets the lanes that hold something else.
static UT_INLINE void
utToFloat8(float *to, const fpreal16 *from, ut_Int8 &rare)
{
    ut_Half8 halves;
    memcpy(&halves, from, sizeof(halves));
    const ut_Int8 bits = __builtin_convertvector(halves, ut_Int8);
    const ut_Int8 magnitude = bits & 0x7FFF;
    const ut_Int8 isSmall = magnitude < 1 << 10;
    rare |= (isSmall & magnitude) | (magnitude >= 31 << 10);
    const ut_Int8 result =
        (((magnitude << 13) + (112 << 23)) & ~isSmall) | (bits & 0x8000) << 16;
    memcpy(to, &result, sizeof(result));
}

// Halves to floats, also for denormals, infinities and NaNs.
static UT_INLINE void
utAnyToFloat8(float *to, const fpreal16 *from)
{
    const int32 bias = 112 << 23;
    ut_Half8 halves;
    memcpy(&halves, from, sizeof(halves));
    const ut_Int8 bits = __builtin_convertvector(halves, ut_Int8);
    const ut_Int8 magnitude = (bits & 0x7FFF) << 13;
    const ut_Int8 isSpecial = magnitude >= 31 << 23;
    const ut_Int8 isDenormal = magnitude < 1 << 23;
    // A denormal's mantissa is put after a one, which is then subtracted.
    const ut_Int8 one = ut_Int8{} + (113 << 23);
    const ut_Int8 oneAndMantissa = (magnitude & isDenormal) + one;
    const ut_Float8 rest = reinterpret_cast<ut_Float8>(oneAndMantissa) -
                           reinterpret_cast<ut_Float8>(one);
    const ut_Int8 denormal = reinterpret_cast<ut_Int8>(rest) & 0x7FFFFFFF;
    const ut_Int8 normal = magnitude + bias + (isSpecial & bias);
    const ut_Int8 result = (isDenormal & denormal) | (~isDenormal & normal) |
                           (bits & 0x8000) << 16;
    memcpy(to, &result, sizeof(result));
}

static UT_INLINE void
utStoreHalves(fpreal16 *to, const ut_Int8 &bits)
{
    const ut_Half8 halves = __builtin_convertvector(bits, ut_Half8);
    memcpy(static_cast<void *>(to), &halves, sizeof(halves));
}

// The least float patterns that become an infinity, and a normal half; below
// the last there is only zero.
static const int32 theLargeBits = 0x477FF000;
static const int32 theNormalBits = 113 << 23;
static const int32 theDenormalBits = 102 << 23;

// Zeros and what becomes a normal number come out right; `rare` gets the lanes
// that hold something else.
static UT_INLINE void
utToHalf8(fpreal16 *to, const float *from, ut_Int8 &rare)
{
    ut_Int8 bits;
    memcpy(&bits, from, sizeof(bits));
    const ut_Int8 magnitude = bits & 0x7FFFFFFF;
    const ut_Int8 isTiny = magnitude < theDenormalBits;
    rare |=
        ((magnitude < theNormalBits) & ~isTiny) | (magnitude >= theLargeBits);
    const ut_Int8 normal = (magnitude - ((112 << 23) - 0x1000)) >> 13;
    utStoreHalves(to, (normal | (bits >> 16 & 0x8000)) & ~isTiny);
}

// Floats to halves, also for denormals and others; `overflowed` gets the lanes
// where a finite value becomes an infinity.
static UT_INLINE void
utAnyToHalf8(fpreal16 *to, const float *from, ut_Int8 &overflowed)
{
    ut_Int8 bits;
    memcpy(&bits, from, sizeof(bits));
    const ut_Int8 magnitude = bits & 0x7FFFFFFF;
    const ut_Int8 isSpecial = magnitude >= 255 << 23;
    const ut_Int8 isLarge = (magnitude >= theLargeBits) & ~isSpecial;
    const ut_Int8 isTiny = magnitude < theDenormalBits;
    const ut_Int8 isDenormal = magnitude < theNormalBits;
    const ut_Int8 normal = (magnitude - ((112 << 23) - 0x1000)) >> 13;
    const ut_Int8 special = (magnitude >> 13) & 0x7FFF;
    // In units of 2^-24. The sum is exact wherever its whole part matters.
    const ut_Int8 small = magnitude & isDenormal & ~isTiny;
    const ut_Int8 denormal = __builtin_convertvector(
        reinterpret_cast<ut_Float8>(small) * 16777216.0f + 0.5f, ut_Int8);
    overflowed |= isLarge;
    utStoreHalves(
        to, (isDenormal & denormal) | (isSpecial & special) |
                (isLarge & 0x7C00) |
                (~(isDenormal | isSpecial | isLarge) & normal) |
                (bits >> 16 & 0x8000 & ~isTiny));
}

// Converted in one go before the rare kinds are looked for.
static const size_t theBlock = 64;

static UT_INLINE void
utToFloatVectors(float *to, const fpreal16 *from, size_t count)
{
    for (; count >= theBlock; count -= theBlock)
    {
        ut_Int8 rare = {};
        for (size_t i = 0; i < theBlock; i += 8)
            utToFloat8(to + i, from + i, rare);
        if (utAny(rare))
            for (size_t i = 0; i < theBlock; i += 8)
                utAnyToFloat8(to + i, from + i);
        to += theBlock;
        from += theBlock;
    }
    utToFloat(to, from, count);
}

static UT_INLINE void
utToHalfVectors(fpreal16 *to, const float *from, size_t count)
{
    ut_Int8 overflowed = {};
    for (; count >= theBlock; count -= theBlock)
    {
        ut_Int8 rare = {};
        for (size_t i = 0; i < theBlock; i += 8)
            utToHalf8(to + i, from + i, rare);
        if (utAny(rare))
            for (size_t i = 0; i < theBlock; i += 8)
                utAnyToHalf8(to + i, from + i, overflowed);
        to += theBlock;
        from += theBlock;
    }
    if (utAny(overflowed))
        fpreal16::overflow();
    utToHalf(to, from, count);
}

__attribute__((target("avx2"))) static void
utToFloatAVX2(float *to, const fpreal16 *from, size_t count)
{
    utToFloatVectors(to, from, count);
}

__attribute__((target("avx2"))) static void
utToHalfAVX2(fpreal16 *to, const float *from, size_t count)
{
    utToHalfVectors(to, from, count);
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
        if (flags & SYS_PROCESSOR_SSE2 && __builtin_cpu_supports("avx2"))
            return ut_HalfCasts{utToFloatAVX2, utToHalfAVX2};
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
