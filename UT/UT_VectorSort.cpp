// The vectors of the sorts: each step looks at eight keys.

#include "UT_VectorSortImpl.h"

#ifdef SYS_HAS_VECTORS

#include <immintrin.h>

#define UT_VECTORS [[gnu::target("avx2,popcnt")]]
// In 32 bits the compiler inlines nothing here on its own.
#define UT_VECTORS_INLINE [[gnu::target("avx2,popcnt"), gnu::always_inline]]

#include "UT_VectorPartitionImpl.h"

static constexpr size_t theLanes = 8;

namespace
{

// Eight keys, as they are stored.
using ut_Lanes = __m256i;

UT_VECTORS_INLINE inline ut_Lanes
utLoadLanes(const void *from)
{
    ut_Lanes lanes;
    memcpy(&lanes, from, sizeof(lanes));
    return lanes;
}

UT_VECTORS_INLINE inline void
utStoreLanes(void *to, ut_Lanes lanes)
{
    memcpy(to, &lanes, sizeof(lanes));
}

UT_VECTORS_INLINE inline ut_Lanes
utAllLanes(unsigned key)
{
    return _mm256_set1_epi32(int32(key));
}

UT_VECTORS_INLINE inline ut_Lanes
utAllLanes(float key)
{
    return _mm256_castps_si256(_mm256_set1_ps(key));
}

// How vectors compare keys.
template <class Key>
class ut_LaneOrder;

template <>
class ut_LaneOrder<unsigned>
{
public:
    // The instructions compare signed numbers.
    UT_VECTORS_INLINE explicit ut_LaneOrder(ut_KeyForm<unsigned> form)
        : myFlip(_mm256_set1_epi32(int32(form.flip ^ 0x80000000u)))
    {
    }
    // Signed numbers that order like the keys.
    UT_VECTORS_INLINE [[nodiscard]] __m256i ranked(ut_Lanes keys) const
    {
        return _mm256_xor_si256(keys, myFlip);
    }
    UT_VECTORS_INLINE static __m256i allLanes(unsigned flipped)
    {
        return _mm256_set1_epi32(int32(flipped ^ 0x80000000u));
    }
    UT_VECTORS_INLINE [[nodiscard]] __m256
    isBefore(ut_Lanes keys, __m256i pivot) const
    {
        return _mm256_castsi256_ps(_mm256_cmpgt_epi32(pivot, ranked(keys)));
    }
    UT_VECTORS_INLINE [[nodiscard]] __m256
    isAfter(ut_Lanes keys, __m256i pivot) const
    {
        return _mm256_castsi256_ps(_mm256_cmpgt_epi32(ranked(keys), pivot));
    }

private:
    __m256i myFlip;
};

template <>
class ut_LaneOrder<float>
{
public:
    UT_VECTORS_INLINE explicit ut_LaneOrder(ut_KeyForm<float> /*form*/) {}
    // The zeros, which are equal, have one number. NaN keys get one too.
    UT_VECTORS_INLINE static __m256i ranked(ut_Lanes keys)
    {
        const __m256i bits = _mm256_castps_si256(
            _mm256_add_ps(_mm256_castsi256_ps(keys), _mm256_setzero_ps()));
        return _mm256_xor_si256(
            bits, _mm256_srli_epi32(_mm256_srai_epi32(bits, 31), 1));
    }
    UT_VECTORS_INLINE static __m256 allLanes(float key)
    {
        return _mm256_set1_ps(key);
    }
    UT_VECTORS_INLINE static __m256 isBefore(ut_Lanes keys, __m256 pivot)
    {
        return _mm256_cmp_ps(_mm256_castsi256_ps(keys), pivot, _CMP_LT_OQ);
    }
    UT_VECTORS_INLINE static __m256 isAfter(ut_Lanes keys, __m256 pivot)
    {
        return _mm256_cmp_ps(_mm256_castsi256_ps(keys), pivot, _CMP_GT_OQ);
    }
};

// For each set of lanes the order, a byte for each lane, in which those outside
// the set come first.
struct ut_LaneTable
{
    constexpr ut_LaneTable() : orders()
    {
        for (unsigned set = 0; set < 256; set++)
        {
            unsigned place = 0;
            for (const unsigned inSet : {0u, 1u})
                for (unsigned lane = 0; lane < theLanes; lane++)
                    if ((set >> lane & 1) == inSet)
                        orders[set] |= uint64(lane) << 8 * place++;
        }
    }
    uint64 orders[256];
};

constexpr ut_LaneTable theLaneTable;

// A partition in place, as utPartitionAll() uses it.
template <bool equalsStay, class Key>
class ut_Partition
{
public:
    static constexpr size_t lanes = theLanes;
    static constexpr size_t leastRoom = 2 * theLanes;
    using Lanes = ut_Lanes;

    UT_VECTORS_INLINE
    ut_Partition(Key *keys, size_t n, Key pivot, ut_KeyForm<Key> form)
        : myOrder(form), myPivot(myOrder.allLanes(pivot)), myLeft(keys),
          myRight(keys + n)
    {
    }

    [[nodiscard]] Key *left() const { return myLeft; }
    [[nodiscard]] Key *right() const { return myRight; }

    UT_VECTORS_INLINE static ut_Lanes load(const Key *from)
    {
        return utLoadLanes(from);
    }

    UT_VECTORS_INLINE void put(ut_Lanes keys)
    {
        const unsigned after = lanesAfter(keys);
        const __m128i order =
            _mm_set1_epi64x(int64(theLaneTable.orders[after]));
        const ut_Lanes sorted =
            _mm256_permutevar8x32_epi32(keys, _mm256_cvtepu8_epi32(order));
        utStoreLanes(myLeft, sorted);
        utStoreLanes(myRight - theLanes, sorted);
        const size_t count = size_t(__builtin_popcount(after));
        myLeft += theLanes - count;
        myRight -= count;
    }

    // One by one.
    UT_VECTORS_INLINE void putRest(const Key *from, size_t count)
    {
        for (; count > 0; count--)
        {
            const Key key = *from++;
            const unsigned after = lanesAfter(utAllLanes(key)) & 1;
            *myLeft = key;
            myRight[-1] = key;
            myLeft += 1 - after;
            myRight -= after;
        }
    }

private:
    // A bit for each key that belongs after the pivot.
    UT_VECTORS_INLINE [[nodiscard]] unsigned lanesAfter(ut_Lanes keys) const
    {
        if (equalsStay)
            return unsigned(_mm256_movemask_ps(myOrder.isAfter(keys, myPivot)));
        return 0xFF &
               ~unsigned(_mm256_movemask_ps(myOrder.isBefore(keys, myPivot)));
    }

    ut_LaneOrder<Key> myOrder;
    decltype(ut_LaneOrder<Key>::allLanes(Key())) myPivot;
    Key *myLeft;
    Key *myRight;
};

} // namespace

// Keys whose places are determined together.
static constexpr size_t theBlock = 2 * theLanes;

// Determines the places of the block of keys at `block`, of `n` in all, with
// keys that come last beyond the end of the last block.
UT_VECTORS_INLINE static inline void
utFindPlaces(const int32 *ranked, size_t n, size_t block, uint32 *places)
{
    const __m256i numbers = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    const __m256i a = utLoadLanes(ranked + block);
    const __m256i b = utLoadLanes(ranked + block + theLanes);
    // Of the keys before the block those that are not greater...
    __m256i placeA = _mm256_set1_epi32(int32(block));
    __m256i placeB = placeA;
    for (size_t i = 0; i < block; i++)
    {
        const __m256i key = _mm256_set1_epi32(ranked[i]);
        placeA = _mm256_add_epi32(placeA, _mm256_cmpgt_epi32(key, a));
        placeB = _mm256_add_epi32(placeB, _mm256_cmpgt_epi32(key, b));
    }
    // ... of those in it the less, and equal ones that are before...
    for (int i = 0; i < int(theBlock); i++)
    {
        const __m256i key = _mm256_set1_epi32(ranked[block + size_t(i)]);
        const __m256i isEqualA = _mm256_and_si256(
            _mm256_cmpeq_epi32(key, a),
            _mm256_cmpgt_epi32(numbers, _mm256_set1_epi32(i)));
        const __m256i isEqualB = _mm256_and_si256(
            _mm256_cmpeq_epi32(key, b),
            _mm256_cmpgt_epi32(numbers, _mm256_set1_epi32(i - int(theLanes))));
        placeA = _mm256_sub_epi32(
            placeA, _mm256_or_si256(_mm256_cmpgt_epi32(a, key), isEqualA));
        placeB = _mm256_sub_epi32(
            placeB, _mm256_or_si256(_mm256_cmpgt_epi32(b, key), isEqualB));
    }
    // ... and of those after it the less.
    for (size_t i = block + theBlock; i < n; i++)
    {
        const __m256i key = _mm256_set1_epi32(ranked[i]);
        placeA = _mm256_sub_epi32(placeA, _mm256_cmpgt_epi32(a, key));
        placeB = _mm256_sub_epi32(placeB, _mm256_cmpgt_epi32(b, key));
    }
    utStoreLanes(places + block, placeA);
    utStoreLanes(places + block + theLanes, placeB);
}

template <class Key>
UT_VECTORS static void
utRank(Key *keys, size_t n, ut_KeyForm<Key> form)
{
    constexpr size_t theRoom = theRanksSize + theBlock;
    alignas(32) Key copies[theRoom];
    alignas(32) int32 ranked[theRoom];
    alignas(32) uint32 places[theRoom];
    const ut_LaneOrder<Key> order(form);
    utStoreLanes(copies + n / theLanes * theLanes, _mm256_setzero_si256());
    memcpy(copies, keys, n * sizeof(Key));
    for (size_t i = 0; i < n; i += theLanes)
        utStoreLanes(ranked + i, order.ranked(utLoadLanes(copies + i)));
    const ut_Lanes highest = _mm256_set1_epi32(0x7FFFFFFF);
    utStoreLanes(ranked + n, highest);
    utStoreLanes(ranked + n + theLanes, highest);

    for (size_t block = 0; block < n; block += theBlock)
        utFindPlaces(ranked, n, block, places);
    for (size_t i = 0; i < n; i++)
        keys[places[i]] = copies[i];
}

void
utSortByRanks(unsigned *keys, size_t n, ut_KeyForm<unsigned> form)
{
    utRank(keys, n, form);
}

void
utSortByRanks(float *keys, size_t n, ut_KeyForm<float> form)
{
    utRank(keys, n, form);
}

template <bool equalsStay, class Key>
UT_VECTORS static size_t
utPartitionOf(Key *keys, size_t n, Key pivot, ut_KeyForm<Key> form)
{
    return utPartitionAll(
        ut_Partition<equalsStay, Key>(keys, n, pivot, form), keys, n);
}

size_t
utPartitionByVectors(
    unsigned *keys, size_t n, unsigned pivot, bool equalsStay,
    ut_KeyForm<unsigned> form)
{
    return equalsStay ? utPartitionOf<true>(keys, n, pivot, form)
                      : utPartitionOf<false>(keys, n, pivot, form);
}

size_t
utPartitionByVectors(
    float *keys, size_t n, float pivot, bool equalsStay, ut_KeyForm<float> form)
{
    return equalsStay ? utPartitionOf<true>(keys, n, pivot, form)
                      : utPartitionOf<false>(keys, n, pivot, form);
}

#endif
