// The long vectors of the sorts: each step looks at sixteen keys.
//
// A network changes keys into their ranks as it loads them, and back as it
// stores them. The ranks are unsigned numbers that order like the keys, those
// of utOrderBits(), so that one set of instructions sorts all.

#include "UT_VectorSortImpl.h"

#ifdef SYS_HAS_VECTORS

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <numeric>

#include <immintrin.h>

#define UT_VECTORS [[gnu::target("avx512f,bmi2,popcnt")]]
// In 32 bits the compiler inlines nothing here on its own.
#define UT_VECTORS_INLINE \
    [[gnu::target("avx512f,bmi2,popcnt"), gnu::always_inline]]

#include "UT_VectorPartitionImpl.h"

namespace
{

constexpr size_t theLanes = 16;

// For operations with a mask: the compiler warns about its own header where
// they have none.
constexpr __mmask16 theAllLanes = 0xFFFF;

// Sixteen keys, or their ranks.
using ut_Lanes = __m512i;

UT_VECTORS_INLINE inline ut_Lanes
utAllLanes(unsigned value)
{
    return _mm512_set1_epi32(int32(value));
}

// The ranks of keys, and the keys of ranks. A partition, which looks at each
// key only once, takes less than ranks: it flips some bits of the keys and of
// the pivot, after which they compare as signed numbers.
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
    // The highest bit, too.
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
    // The bits compare with those of a positive pivot as signed numbers, with
    // those of a negative one as unsigned ones in reverse.
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

// The sorting network. Its keys are ranks, in rows of sixteen. Each lane is
// sorted by itself; then neighbouring lanes are merged, as if all rows of the
// one came before those of the other, two lanes at first and in the end all.

UT_VECTORS_INLINE inline void
utExchange(ut_Lanes &a, ut_Lanes &b)
{
    const ut_Lanes less = _mm512_maskz_min_epu32(theAllLanes, a, b);
    b = _mm512_maskz_max_epu32(theAllLanes, a, b);
    a = less;
}

// Batcher's merge of the two sorted halves of every step-th of `count` rows
// from `start` on. Rows from `used` on are not there: keys that come last.
template <size_t used, size_t start, size_t count, size_t step>
UT_VECTORS_INLINE inline void
utMergeRows(ut_Lanes *rows)
{
    if constexpr (2 * step < count)
    {
        utMergeRows<used, start, count, 2 * step>(rows);
        utMergeRows<used, start + step, count, 2 * step>(rows);
#pragma GCC unroll 16
        for (size_t i = start + step; i + step < start + count; i += 2 * step)
            if (i + step < used)
                utExchange(rows[i], rows[i + step]);
    }
    else if constexpr (start + step < used)
        utExchange(rows[start], rows[start + step]);
}

// Sorts `count` rows from `start` on, a power of 2.
template <size_t used, size_t start, size_t count>
UT_VECTORS_INLINE inline void
utSortRows(ut_Lanes *rows)
{
    if constexpr (count > 1)
    {
        utSortRows<used, start, count / 2>(rows);
        utSortRows<used, start + count / 2, count / 2>(rows);
        utMergeRows<used, start, count, 1>(rows);
    }
}

// Sorts rows that first ascend and then descend, or may be rotated so.
template <size_t count>
UT_VECTORS_INLINE inline void
utSortBitonicRows(ut_Lanes *rows)
{
    if constexpr (count == 3)
    {
        utExchange(rows[0], rows[2]);
        utExchange(rows[0], rows[1]);
        utExchange(rows[1], rows[2]);
    }
    else if constexpr (count > 1)
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

// Turns the lanes of `count` rows, one after the other, into rows: of 16 rows
// each lane becomes one. Each step halves the number of rows that lie between
// neighbours.
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

// Sorts `count` rows, a power of 2 or 12, into vectors of `width` keys each.
template <size_t count>
struct ut_Network
{
    static constexpr bool isWhole = (count & (count - 1)) == 0;
    static constexpr size_t room = isWhole ? count : theLanes;
    static constexpr size_t width = isWhole ? theLanes : count;

    // Rows from `count` on are scratch.
    UT_VECTORS_INLINE static void sort(ut_Lanes *rows)
    {
        utSortRows<count, 0, room>(rows);
        utMergeLanes<count, 1>(rows);
        utLanesToRows<room, room / 2>(rows);
    }
};

// The lanes of vector `i`, of `width` keys, that have one of `n` keys.
UT_VECTORS_INLINE inline __mmask16
utUsedLanes(size_t n, size_t i, size_t width)
{
    const size_t first = i * width;
    const size_t left = n > first ? n - first : 0;
    return utFirstLanes(unsigned(left < width ? left : width));
}

// Sorts up to `count` vectors of keys. Lanes without a key take part as keys
// that come last.
template <size_t count, class Key>
UT_VECTORS void
utSortRowsOf(Key *keys, size_t n, ut_KeyForm<Key> form)
{
    using Network = ut_Network<count>;
    const ut_LaneRanks<Key> order(form);
    ut_Lanes rows[Network::room];
#pragma GCC unroll 16
    for (size_t i = 0; i < Network::room; i++)
    {
        const __mmask16 used = utUsedLanes(n, i, theLanes);
        rows[i] = _mm512_mask_mov_epi32(
            utAllLanes(0xFFFFFFFF), used,
            order.ranks(_mm512_maskz_loadu_epi32(used, keys + i * theLanes)));
    }
    Network::sort(rows);
#pragma GCC unroll 16
    for (size_t i = 0; i < Network::room; i++)
        _mm512_mask_storeu_epi32(
            keys + i * Network::width, utUsedLanes(n, i, Network::width),
            order.keys(rows[i]));
}

template <class Key>
UT_VECTORS void
utSortFew(Key *keys, size_t n, ut_KeyForm<Key> form)
{
    if (n <= theLanes)
        utSortRowsOf<1>(keys, n, form);
    else if (n <= 2 * theLanes)
        utSortRowsOf<2>(keys, n, form);
    else if (n <= 4 * theLanes)
        utSortRowsOf<4>(keys, n, form);
    else if (n <= 8 * theLanes)
        utSortRowsOf<8>(keys, n, form);
    else if (n <= 12 * theLanes)
        utSortRowsOf<12>(keys, n, form);
    else
        utSortRowsOf<16>(keys, n, form);
}

// The places of up to two vectors of keys.
UT_VECTORS void
utPlacesOf(const unsigned *keys, size_t n, size_t *places)
{
    const __mmask16 lowUsed = utUsedLanes(n, 0, theLanes);
    const __mmask16 highUsed = utUsedLanes(n, 1, theLanes);
    const ut_Lanes low = _mm512_maskz_loadu_epi32(lowUsed, keys);
    const ut_Lanes high = _mm512_maskz_loadu_epi32(highUsed, keys + theLanes);
    for (size_t i = 0; i < n; i++)
    {
        const ut_Lanes key = utAllLanes(keys[i]);
        const unsigned less =
            _mm512_mask_cmplt_epu32_mask(lowUsed, low, key) |
            unsigned(_mm512_mask_cmplt_epu32_mask(highUsed, high, key))
                << theLanes;
        const unsigned equal = _mm512_cmpeq_epi32_mask(low, key) |
                               unsigned(_mm512_cmpeq_epi32_mask(high, key))
                                   << theLanes;
        places[i] =
            size_t(__builtin_popcount(less | _bzhi_u32(equal, unsigned(i))));
    }
}

// Whether none of up to two vectors of keys belongs before its neighbour.
template <class Key>
UT_VECTORS bool
utAreInOrder(const Key *keys, size_t n, ut_KeyForm<Key> form)
{
    const ut_LaneRanks<Key> order(form);
    unsigned greater = 0;
    for (size_t i = 0; i < 2; i++)
    {
        const __mmask16 used = utUsedLanes(n - 1, i, theLanes);
        const Key *const from = keys + i * theLanes;
        greater |= _mm512_mask_cmpgt_epu32_mask(
            used, order.ranks(_mm512_maskz_loadu_epi32(used, from)),
            order.ranks(_mm512_maskz_loadu_epi32(used, from + 1)));
    }
    return greater == 0;
}

// Whether among up to two vectors of keys is a -0.
UT_VECTORS bool
utHasMinusZero(const float *keys, size_t n)
{
    const ut_Lanes minusZero = utAllLanes(0x80000000);
    unsigned found = 0;
    for (size_t i = 0; i < 2; i++)
    {
        const __mmask16 used = utUsedLanes(n, i, theLanes);
        found |= _mm512_mask_cmpeq_epi32_mask(
            used, _mm512_maskz_loadu_epi32(used, keys + i * theLanes),
            minusZero);
    }
    return found != 0;
}

// The ranks of some keys from all over the range, each the middle one of three,
// in order. In a short range they are neighbours, which takes half the time.
template <class Key>
UT_VECTORS_INLINE inline ut_Lanes
utSampleRanks(const Key *keys, size_t n, const ut_LaneRanks<Key> &order)
{
    constexpr size_t theShortSize = 1024;
    constexpr size_t theCount = 3 * theLanes;
    Key sample[theCount];
    const Key *from = keys + n / 4;
    size_t step = n / 4;
    if (n > theShortSize)
    {
        for (size_t i = 0; i < theCount; i++)
            sample[i] = keys[i * (n / theCount)];
        from = sample;
        step = theLanes;
    }
    ut_Lanes a = order.ranks(_mm512_loadu_si512(from));
    ut_Lanes b = order.ranks(_mm512_loadu_si512(from + step));
    const ut_Lanes c = order.ranks(_mm512_loadu_si512(from + 2 * step));
    utExchange(a, b);
    ut_Lanes middle[1] = {_mm512_maskz_max_epu32(
        theAllLanes, a, _mm512_maskz_min_epu32(theAllLanes, b, c))};
    ut_Network<1>::sort(middle);
    return middle[0];
}

template <bool equalsStay, class Key>
UT_VECTORS size_t
utPartitionOf(
    Key *keys, size_t n, const ut_Lanes &pivot, const ut_LaneRanks<Key> &order)
{
    return utPartitionAll(
        ut_Partition<equalsStay, Key>(keys, n, pivot, order.flip(pivot)), keys,
        n);
}

template <class Key>
UT_VECTORS_INLINE inline void
utFill(Key *keys, size_t n, ut_Lanes key)
{
    if (n >= theLanes)
    {
        // Whole lines of the cache from the next one on.
        _mm512_storeu_si512(keys, key);
        const size_t count =
            theLanes - uintptr_t(keys) / sizeof(Key) % theLanes;
        keys += count;
        n -= count;
    }
    for (; n >= theLanes; n -= theLanes, keys += theLanes)
        _mm512_storeu_si512(keys, key);
    _mm512_mask_storeu_epi32(keys, utFirstLanes(unsigned(n)), key);
}

UT_VECTORS_INLINE inline ut_Lanes
utCopyLane(ut_Lanes lanes, unsigned lane)
{
    return _mm512_maskz_permutexvar_epi32(theAllLanes, utAllLanes(lane), lanes);
}

// The most different keys that are counted, as many as have registers. The loop
// for very few is faster.
constexpr unsigned theFewValues = sizeof(void *) == 8 ? 8 : 4;
constexpr unsigned theVeryFewValues = theFewValues / 2;

UT_VECTORS_INLINE inline unsigned
utSumOfLanes(ut_Lanes lanes)
{
    unsigned numbers[theLanes];
    _mm512_storeu_si512(numbers, lanes);
    return std::accumulate(numbers, std::end(numbers), 0u);
}

// Counts keys from `start` on that are among `values`, each a vector of equal
// keys. Returns where the first vector with another key starts, and sets
// `other` to that key; a number from `n` on if there is none.
template <unsigned most, class Key>
UT_VECTORS size_t
utCountValues(
    const Key *keys, size_t n, size_t start, const ut_Lanes (&values)[most],
    size_t (&found)[most], ut_Lanes &other)
{
    ut_Lanes counts[most];
#pragma GCC unroll 8
    for (unsigned k = 0; k < most; k++)
        counts[k] = utAllLanes(0);

    size_t i = start;
    for (; i < n; i += theLanes)
    {
        const __mmask16 used =
            n - i < theLanes ? utFirstLanes(unsigned(n - i)) : theAllLanes;
        const ut_Lanes lanes = _mm512_maskz_loadu_epi32(used, keys + i);
        ut_Lanes newCounts[most];
        unsigned known = 0;
#pragma GCC unroll 8
        for (unsigned k = 0; k < most; k++)
        {
            const __mmask16 are =
                _mm512_mask_cmpeq_epi32_mask(used, lanes, values[k]);
            newCounts[k] =
                _mm512_mask_add_epi32(counts[k], are, counts[k], utAllLanes(1));
            known |= are;
        }
        if (known != used)
        {
            other = utCopyLane(lanes, unsigned(__builtin_ctz(used & ~known)));
            break;
        }
#pragma GCC unroll 8
        for (unsigned k = 0; k < most; k++)
            counts[k] = newCounts[k];
    }
    for (unsigned k = 0; k < most; k++)
        found[k] += utSumOfLanes(counts[k]);
    return i;
}

// Sorts keys by counting if no more than `most` are different: the first
// `count` lanes of `sample`, and others that it meets. It fails for more,
// usually early.
template <unsigned most, class Key>
UT_VECTORS bool
utSortFewValues(
    Key *keys, size_t n, const ut_Lanes &sample, unsigned count,
    const ut_LaneRanks<Key> &order)
{
    ut_Lanes values[most];
    size_t found[most] = {};
#pragma GCC unroll 8
    for (unsigned k = 0; k < most; k++)
        values[k] = utCopyLane(sample, k < count ? k : 0);

    size_t done = 0;
    ut_Lanes other = values[0];
    while ((done = utCountValues(keys, n, done, values, found, other)) < n)
    {
        if (count == most)
            return false;
        found[count] = 0; // was counted for the first one
        values[count++] = other;
    }

    unsigned ranks[most];
    for (unsigned k = 0; k < count; k++)
        ranks[k] = unsigned(_mm_cvtsi128_si32(
            _mm512_maskz_extracti32x4_epi32(0xF, order.ranks(values[k]), 0)));
    for (; count > 0; count--)
    {
        const size_t least =
            size_t(std::min_element(ranks, ranks + count) - ranks);
        utFill(keys, found[least], values[least]);
        keys += found[least];
        ranks[least] = ranks[count - 1];
        found[least] = found[count - 1];
        values[least] = values[count - 1];
    }
    return true;
}

// The same for the lanes of a sample of ranks that differ from those before. A
// call, which other divisions do not pay for.
template <class Key>
UT_VECTORS __attribute__((noinline)) bool
utSortIfFewValues(
    Key *keys, size_t n, const ut_Lanes &sample, __mmask16 isFirst,
    unsigned count, const ut_LaneRanks<Key> &order)
{
    const ut_Lanes values =
        order.keys(_mm512_maskz_compress_epi32(isFirst, sample));
    if (count <= theVeryFewValues)
        return utSortFewValues<theVeryFewValues>(keys, n, values, count, order);
    return utSortFewValues<theFewValues>(keys, n, values, count, order);
}

// Divides by the middle one of a sample. Keys equal to it go to the side with
// less of the sample; if the other side is then empty they are divided off.
template <class Key>
UT_VECTORS ut_EqualRange
utDivideOf(Key *keys, size_t n, ut_KeyForm<Key> form)
{
    const ut_LaneRanks<Key> order(form);
    const ut_Lanes sample = utSampleRanks(keys, n, order);
    const ut_Lanes before =
        _mm512_setr_epi32(0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14);
    const unsigned isFirstOfEquals =
        1 | _mm512_cmpneq_epi32_mask(
                sample,
                _mm512_maskz_permutexvar_epi32(theAllLanes, before, sample));
    const unsigned values = unsigned(__builtin_popcount(isFirstOfEquals));
    if (values <= theFewValues &&
        utSortIfFewValues(
            keys, n, sample, __mmask16(isFirstOfEquals), values, order))
        return {0, n};

    const ut_Lanes middle = utCopyLane(sample, theLanes / 2);
    const ut_Lanes pivot = order.keys(middle);
    const int lessCount =
        __builtin_popcount(_mm512_cmplt_epu32_mask(sample, middle));
    const int greaterCount =
        __builtin_popcount(_mm512_cmpgt_epu32_mask(sample, middle));
    if (lessCount > greaterCount)
    {
        const size_t less = utPartitionOf<false>(keys, n, pivot, order);
        if (less > 0)
            return {less, less};
        return {0, utPartitionOf<true>(keys, n, pivot, order)};
    }
    const size_t greater = utPartitionOf<true>(keys, n, pivot, order);
    if (greater < n)
        return {greater, greater};
    return {utPartitionOf<false>(keys, n, pivot, order), n};
}

// Whether of each two neighbours the first key is greater, or in none. There
// are more keys than lanes.
template <bool isGreater, class Key>
UT_VECTORS_INLINE inline bool
utAreAllPairs(const Key *keys, size_t n, const ut_LaneRanks<Key> &order)
{
    const size_t last = n - 1 - theLanes;
    for (size_t i = 0;; i += theLanes)
    {
        // The last ones may have been looked at before.
        const Key *const from = keys + (i < last ? i : last);
        const unsigned greater = _mm512_cmpgt_epu32_mask(
            order.ranks(_mm512_loadu_si512(from)),
            order.ranks(_mm512_loadu_si512(from + 1)));
        if (greater != (isGreater ? theAllLanes : 0u))
            return false;
        if (i >= last)
            return true;
    }
}

template <class Key>
UT_VECTORS_INLINE inline void
utReverse(Key *keys, size_t n)
{
    Key *low = keys;
    Key *high = keys + n;
    for (; size_t(high - low) >= 2 * theLanes; low += theLanes)
    {
        high -= theLanes;
        const ut_Lanes lanes = _mm512_loadu_si512(low);
        _mm512_storeu_si512(
            low, utSwapLanes<theLanes - 1>(_mm512_loadu_si512(high)));
        _mm512_storeu_si512(high, utSwapLanes<theLanes - 1>(lanes));
    }
    std::reverse(low, high);
}

template <class Key>
UT_VECTORS bool
utSettleRunOf(Key *keys, size_t n, ut_KeyForm<Key> form)
{
    const ut_LaneRanks<Key> order(form);
    if (utAreAllPairs<false>(keys, n, order))
        return true;
    if (!utAreAllPairs<true>(keys, n, order))
        return false;
    utReverse(keys, n);
    return true;
}

} // namespace

bool
utSettleRunByLongVectors(unsigned *keys, size_t n, ut_KeyForm<unsigned> form)
{
    return utSettleRunOf(keys, n, form);
}

bool
utSettleRunByLongVectors(float *keys, size_t n, ut_KeyForm<float> form)
{
    return utSettleRunOf(keys, n, form);
}

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

bool
utSortInOrderByNetwork(unsigned *keys, size_t n, ut_KeyForm<unsigned> form)
{
    if (!utAreInOrder(keys, n, form))
        utSortFew(keys, n, form);
    return true;
}

bool
utSortInOrderByNetwork(float *keys, size_t n, ut_KeyForm<float> form)
{
    if (utAreInOrder(keys, n, form))
        return true;
    if (utHasMinusZero(keys, n))
        return false;
    utSortFew(keys, n, form);
    return true;
}

void
utPlacesByLongVectors(const unsigned *keys, size_t n, size_t *places)
{
    utPlacesOf(keys, n, places);
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
