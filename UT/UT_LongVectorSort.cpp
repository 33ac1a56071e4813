// The long vectors of the sorts: each step looks at sixteen keys.
//
// A network changes its keys, as it loads them, into their ranks, and back as
// it stores them: unsigned numbers that order like them, as utOrderBits() gives
// them. So one set of instructions sorts all.

#include "UT_VectorSortImpl.h"

#ifdef UT_HAS_SORT_VECTORS

#include <immintrin.h>

#define UT_VECTORS [[gnu::target("avx512f,bmi2,popcnt")]]
// In 32 bits the compiler inlines nothing here on its own.
#define UT_VECTORS_INLINE \
    [[gnu::target("avx512f,bmi2,popcnt"), gnu::always_inline]]

#include "UT_VectorPartitionImpl.h"

bool
utHasLongSortVectors()
{
    // Some older processors have the vectors, but run slower for a while after
    // each use of them, which harms whatever follows a short sort. Those with
    // this part of the set do not.
    static const bool theAnswer =
        utHasSortVectors() && __builtin_cpu_supports("avx512f") &&
        __builtin_cpu_supports("avx512vbmi2") && __builtin_cpu_supports("bmi2");
    return theAnswer;
}

namespace
{

constexpr size_t theLanes = 16;

// For operations with a mask, where the compiler's own header makes it warn
// about those without one.
constexpr __mmask16 theAllLanes = 0xFFFF;

// Sixteen keys, or their ranks.
using ut_Lanes = __m512i;

UT_VECTORS_INLINE inline ut_Lanes
utAllLanes(unsigned value)
{
    return _mm512_set1_epi32(int32(value));
}

// The ranks of keys and the keys of ranks. Besides the bits that keys change in
// to compare with a pivot, changed so too, as signed numbers: less than ranks
// take.
template <class Key>
class ut_LaneRanks;

template <>
class ut_LaneRanks<unsigned>
{
public:
    UT_VECTORS_INLINE explicit ut_LaneRanks(ut_KeyForm<unsigned> form)
        : myFlip(utAllLanes(form.flip))
    {
    }
    UT_VECTORS_INLINE [[nodiscard]] ut_Lanes ranks(ut_Lanes keys) const
    {
        return _mm512_xor_si512(keys, myFlip);
    }
    UT_VECTORS_INLINE [[nodiscard]] ut_Lanes keys(ut_Lanes ranks) const
    {
        return _mm512_xor_si512(ranks, myFlip);
    }
    // The instructions compare signed numbers.
    UT_VECTORS_INLINE [[nodiscard]] ut_Lanes flip(ut_Lanes /*pivot*/) const
    {
        return _mm512_xor_si512(myFlip, utAllLanes(0x80000000));
    }

private:
    ut_Lanes myFlip;
};

template <>
class ut_LaneRanks<float>
{
public:
    UT_VECTORS_INLINE explicit ut_LaneRanks(ut_KeyForm<float> /*form*/) {}

    // Of a negative key all bits change, of others only the highest.
    UT_VECTORS_INLINE static ut_Lanes ranks(ut_Lanes keys)
    {
        const ut_Lanes isNegative =
            _mm512_maskz_srai_epi32(theAllLanes, keys, 31);
        return _mm512_xor_si512(
            keys, _mm512_or_si512(isNegative, utAllLanes(0x80000000)));
    }
    UT_VECTORS_INLINE static ut_Lanes keys(ut_Lanes ranks)
    {
        const ut_Lanes isPositive =
            _mm512_maskz_srai_epi32(theAllLanes, ranks, 31);
        return _mm512_xor_si512(
            ranks, _mm512_or_si512(
                       _mm512_xor_si512(isPositive, utAllLanes(0xFFFFFFFF)),
                       utAllLanes(0x80000000)));
    }
    // Beside a positive pivot the bits of keys compare as signed numbers,
    // beside a negative one in reverse as unsigned ones.
    UT_VECTORS_INLINE static ut_Lanes flip(ut_Lanes pivot)
    {
        return _mm512_maskz_srli_epi32(
            theAllLanes, _mm512_maskz_srai_epi32(theAllLanes, pivot, 31), 1);
    }
};

// The first `count` lanes of up to sixteen.
UT_VECTORS_INLINE inline __mmask16
utFirstLanes(unsigned count)
{
    return __mmask16(_bzhi_u32(0xFFFF, count));
}

// A partition in place, as utPartitionAll() uses it.
template <bool equalsStay, class Key>
class ut_Partition
{
public:
    static constexpr size_t lanes = theLanes;
    static constexpr size_t leastRoom = theLanes;
    using Lanes = ut_Lanes;

    UT_VECTORS_INLINE
    ut_Partition(Key *keys, size_t n, ut_Lanes pivot, ut_Lanes flip)
        : myFlip(flip), myPivot(_mm512_xor_si512(pivot, flip)), myLeft(keys),
          myRight(keys + n)
    {
    }

    [[nodiscard]] Key *left() const { return myLeft; }
    [[nodiscard]] Key *right() const { return myRight; }

    UT_VECTORS_INLINE static ut_Lanes load(const Key *from)
    {
        return _mm512_loadu_si512(from);
    }

    UT_VECTORS_INLINE void put(ut_Lanes keys)
    {
        const __mmask16 after = lanesAfter(keys);
        const unsigned count = unsigned(__builtin_popcount(after));
        _mm512_storeu_si512(
            myLeft, _mm512_maskz_compress_epi32(_mm512_knot(after), keys));
        myLeft += theLanes - count;
        myRight -= count;
        _mm512_mask_storeu_epi32(
            myRight, utFirstLanes(count),
            _mm512_maskz_compress_epi32(after, keys));
    }

    // Fewer than there are lanes.
    UT_VECTORS_INLINE void putRest(const Key *from, size_t count)
    {
        const __mmask16 all = utFirstLanes(unsigned(count));
        const ut_Lanes keys = _mm512_maskz_loadu_epi32(all, from);
        const __mmask16 after = lanesAfter(keys) & all;
        const unsigned afterCount = unsigned(__builtin_popcount(after));
        _mm512_mask_storeu_epi32(
            myLeft, utFirstLanes(unsigned(count) - afterCount),
            _mm512_maskz_compress_epi32(_mm512_knot(after) & all, keys));
        myLeft += count - afterCount;
        myRight -= afterCount;
        _mm512_mask_storeu_epi32(
            myRight, utFirstLanes(afterCount),
            _mm512_maskz_compress_epi32(after, keys));
    }

private:
    // A bit for each key that belongs after the pivot.
    UT_VECTORS_INLINE [[nodiscard]] __mmask16 lanesAfter(ut_Lanes keys) const
    {
        const ut_Lanes flipped = _mm512_xor_si512(keys, myFlip);
        return equalsStay ? _mm512_cmpgt_epi32_mask(flipped, myPivot)
                          : _mm512_cmpge_epi32_mask(flipped, myPivot);
    }

    ut_Lanes myFlip;
    ut_Lanes myPivot;
    Key *myLeft;
    Key *myRight;
};

// Sorts the ranks in each lane by themselves, or merges and sorts those of
// neighbouring lanes: the rows of a sorting network.

UT_VECTORS_INLINE inline void
utExchange(ut_Lanes &a, ut_Lanes &b)
{
    const ut_Lanes less = _mm512_maskz_min_epu32(theAllLanes, a, b);
    b = _mm512_maskz_max_epu32(theAllLanes, a, b);
    a = less;
}

// Batcher's merge of two sorted halves of every step-th row.
template <size_t count, size_t step>
UT_VECTORS_INLINE inline void
utMergeRows(ut_Lanes *rows)
{
    if constexpr (2 * step < count)
    {
        utMergeRows<count, 2 * step>(rows);
        utMergeRows<count, 2 * step>(rows + step);
#pragma GCC unroll 16
        for (size_t i = step; i + step < count; i += 2 * step)
            utExchange(rows[i], rows[i + step]);
    }
    else
        utExchange(rows[0], rows[step]);
}

template <size_t count>
UT_VECTORS_INLINE inline void
utSortRows(ut_Lanes *rows)
{
    if constexpr (count > 1)
    {
        utSortRows<count / 2>(rows);
        utSortRows<count / 2>(rows + count / 2);
        utMergeRows<count, 1>(rows);
    }
}

// Sorts rows that first ascend and then descend, or may be rotated so.
template <size_t count>
UT_VECTORS_INLINE inline void
utSortBitonicRows(ut_Lanes *rows)
{
    if constexpr (count > 1)
    {
#pragma GCC unroll 16
        for (size_t i = 0; i < count / 2; i++)
            utExchange(rows[i], rows[i + count / 2]);
        utSortBitonicRows<count / 2>(rows);
        utSortBitonicRows<count / 2>(rows + count / 2);
    }
}

// The lanes, each with its number changed in the bits of `bits`.
template <unsigned bits>
UT_VECTORS_INLINE inline ut_Lanes
utSwapLanes(ut_Lanes row)
{
    if constexpr (bits < 4)
        return _mm512_maskz_shuffle_epi32(
            theAllLanes, row,
            _MM_PERM_ENUM(
                (3 ^ bits) << 6 | (2 ^ bits) << 4 | (1 ^ bits) << 2 | bits));
    const ut_Lanes order = _mm512_setr_epi32(
        0 ^ bits, 1 ^ bits, 2 ^ bits, 3 ^ bits, 4 ^ bits, 5 ^ bits, 6 ^ bits,
        7 ^ bits, 8 ^ bits, 9 ^ bits, 10 ^ bits, 11 ^ bits, 12 ^ bits,
        13 ^ bits, 14 ^ bits, 15 ^ bits);
    return _mm512_maskz_permutexvar_epi32(theAllLanes, order, row);
}

// The lanes whose number has this bit.
constexpr __mmask16
utLanesWith(unsigned bit)
{
    unsigned lanes = 0;
    for (unsigned lane = 0; lane < theLanes; lane++)
        lanes |= unsigned((lane & bit) != 0) << lane;
    return __mmask16(lanes);
}

// The lesser of each pair in the lanes without the bit, the greater in others.
template <unsigned bit>
UT_VECTORS_INLINE inline ut_Lanes
utLesserAndGreater(ut_Lanes row, ut_Lanes swapped)
{
    return _mm512_mask_max_epu32(
        _mm512_maskz_min_epu32(theAllLanes, row, swapped), utLanesWith(bit),
        row, swapped);
}

template <size_t count, unsigned bit>
UT_VECTORS_INLINE inline void
utSortBitonicLanes(ut_Lanes *rows)
{
    if constexpr (bit > 0)
    {
#pragma GCC unroll 16
        for (size_t i = 0; i < count; i++)
            rows[i] =
                utLesserAndGreater<bit>(rows[i], utSwapLanes<bit>(rows[i]));
        utSortBitonicLanes<count, bit / 2>(rows);
    }
    else
        utSortBitonicRows<count>(rows);
}

// Merges sorted groups of `width` lanes into those of twice as many.
template <size_t count, unsigned width>
UT_VECTORS_INLINE inline void
utMergeLanes(ut_Lanes *rows)
{
    if constexpr (count == 1)
        rows[0] = utLesserAndGreater<width>(
            rows[0], utSwapLanes<2 * width - 1>(rows[0]));
#pragma GCC unroll 16
    for (size_t i = 0; i < count / 2; i++)
    {
        ut_Lanes &a = rows[i];
        ut_Lanes &b = rows[count - 1 - i];
        const ut_Lanes swappedA = utSwapLanes<2 * width - 1>(a);
        a = utLesserAndGreater<width>(a, utSwapLanes<2 * width - 1>(b));
        b = utLesserAndGreater<width>(b, swappedA);
    }
    utSortBitonicLanes<count, width / 2>(rows);
    if constexpr (2 * width < theLanes)
        utMergeLanes<count, 2 * width>(rows);
}

// Turns lanes of `count` rows after one another into rows, for 16 of which this
// exchanges rows and columns. Each step halves the number of rows that lie
// between neighbours.
template <size_t count, size_t distance>
UT_VECTORS_INLINE inline void
utLanesToRows(ut_Lanes *rows)
{
    if constexpr (distance > 0)
    {
        const ut_Lanes low = _mm512_setr_epi32(
            0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
        const ut_Lanes high = _mm512_add_epi32(low, utAllLanes(8));
        ut_Lanes mixed[count];
#pragma GCC unroll 16
        for (size_t i = 0; i < count / 2; i++)
        {
            mixed[2 * i] =
                _mm512_permutex2var_epi32(rows[i], low, rows[i + count / 2]);
            mixed[2 * i + 1] =
                _mm512_permutex2var_epi32(rows[i], high, rows[i + count / 2]);
        }
#pragma GCC unroll 16
        for (size_t i = 0; i < count; i++)
            rows[i] = mixed[i];
        utLanesToRows<count, distance / 2>(rows);
    }
}

template <size_t count>
UT_VECTORS_INLINE inline void
utSortNetwork(ut_Lanes *rows)
{
    utSortRows<count>(rows);
    utMergeLanes<count, 1>(rows);
    utLanesToRows<count, count / 2>(rows);
}

// Sorts up to `count` vectors of keys. Lanes without a key take part as keys
// that come last.
template <size_t count, class Key>
UT_VECTORS void
utSortRowsOf(Key *keys, size_t n, ut_KeyForm<Key> form)
{
    const ut_LaneRanks<Key> order(form);
    ut_Lanes rows[count];
    __mmask16 used[count];
#pragma GCC unroll 16
    for (size_t i = 0; i < count; i++)
    {
        const size_t first = i * theLanes;
        const size_t left = n > first ? n - first : 0;
        used[i] = utFirstLanes(left < theLanes ? unsigned(left) : theLanes);
        rows[i] = _mm512_mask_mov_epi32(
            utAllLanes(0xFFFFFFFF), used[i],
            order.ranks(_mm512_maskz_loadu_epi32(used[i], keys + first)));
    }
    utSortNetwork<count>(rows);
#pragma GCC unroll 16
    for (size_t i = 0; i < count; i++)
        _mm512_mask_storeu_epi32(
            keys + i * theLanes, used[i], order.keys(rows[i]));
}

template <class Key>
UT_VECTORS void
utSortFew(Key *keys, size_t n, ut_KeyForm<Key> form)
{
    if (n <= 2 * theLanes)
        utSortRowsOf<2>(keys, n, form);
    else if (n <= 4 * theLanes)
        utSortRowsOf<4>(keys, n, form);
    else if (n <= 8 * theLanes)
        utSortRowsOf<8>(keys, n, form);
    else
        utSortRowsOf<16>(keys, n, form);
}

// The key by which to divide, in all lanes: of some keys from all over the
// range the middle one of middle ones.
template <class Key>
UT_VECTORS_INLINE inline ut_Lanes
utChoosePivot(const Key *keys, size_t n, const ut_LaneRanks<Key> &order)
{
    constexpr size_t theCount = 3 * theLanes;
    Key sample[theCount];
    const size_t step = n / theCount;
    for (size_t i = 0; i < theCount; i++)
        sample[i] = keys[i * step];
    ut_Lanes a = order.ranks(_mm512_loadu_si512(sample));
    ut_Lanes b = order.ranks(_mm512_loadu_si512(sample + theLanes));
    const ut_Lanes c = order.ranks(_mm512_loadu_si512(sample + 2 * theLanes));
    utExchange(a, b);
    ut_Lanes middle[1] = {_mm512_maskz_max_epu32(
        theAllLanes, a, _mm512_maskz_min_epu32(theAllLanes, b, c))};
    utSortNetwork<1>(middle);
    return order.keys(_mm512_maskz_permutexvar_epi32(
        theAllLanes, utAllLanes(theLanes / 2), middle[0]));
}

template <class Key>
UT_VECTORS ut_EqualRange
utDivideOf(Key *keys, size_t n, ut_KeyForm<Key> form)
{
    const ut_LaneRanks<Key> order(form);
    const ut_Lanes pivot = utChoosePivot(keys, n, order);
    const ut_Lanes flip = order.flip(pivot);
    const size_t greater =
        utPartitionAll(ut_Partition<true, Key>(keys, n, pivot, flip), keys, n);
    if (greater < n)
        return {greater, greater};
    const size_t equal =
        utPartitionAll(ut_Partition<false, Key>(keys, n, pivot, flip), keys, n);
    return {equal, n};
}

} // namespace

void
utSortByNetwork(unsigned *keys, size_t n, ut_KeyForm<unsigned> form)
{
    utSortFew(keys, n, form);
}

void
utSortByNetwork(float *keys, size_t n, ut_KeyForm<float> form)
{
    utSortFew(keys, n, form);
}

ut_EqualRange
utDivideByLongVectors(unsigned *keys, size_t n, ut_KeyForm<unsigned> form)
{
    return utDivideOf(keys, n, form);
}

ut_EqualRange
utDivideByLongVectors(float *keys, size_t n, ut_KeyForm<float> form)
{
    return utDivideOf(keys, n, form);
}

#endif
