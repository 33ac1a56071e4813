// Sorting, comparing and searching arrays.

#pragma once

#include "UT_AllocImpl.h"
#include "UT_ArrayImpl.h"
#include "UT_MergeSortImpl.h"

#include "SYS/SYS_VectorsImpl.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <type_traits>

#ifdef __SSE2__
#include <immintrin.h>
#endif

// ---- By a comparator: qsort() and bsearch() take one of untyped pointers, so
// the caller's typed one is passed as their context.

template <class T>
void
utSortWithoutScratch(
    T *data, unsigned entries, int (*compare)(const T *, const T *))
{
    using Compare = decltype(compare);
    const auto typed = [](const void *a, const void *b, void *context)
    {
        return (*static_cast<Compare *>(context))(
            static_cast<const T *>(a), static_cast<const T *>(b));
    };
    qsort_r(data, entries, sizeof(T), typed, &compare);
}

// Stable, where there is memory for as many elements again.
template <class T>
void
utSort(T *data, unsigned entries, int (*compare)(const T *, const T *))
{
    if (entries < 2)
        return;
    T few[64];
    ut_BlockOwner<T> many;
    T *scratch = few;
    if (entries > std::size(few))
    {
        many.reset(static_cast<T *>(malloc(size_t(entries) * sizeof(T))));
        scratch = many.get();
    }
    if (!scratch)
    {
        utSortWithoutScratch(data, entries, compare);
        return;
    }
    std::copy(data, data + entries, scratch);
    utSortInto(scratch, entries, data, compare);
}

template <class T>
struct ut_SearchKey
{
    T value;
    int (*compare)(const T *, const T *);
};

template <class T>
int
utBinaryFind(
    const T *data, unsigned entries, T value,
    int (*compare)(const T *, const T *))
{
    if (entries == 0)
        return -1;
    using Key = ut_SearchKey<T>;
    const Key key = {value, compare};
    const void *found = bsearch(
        &key, data, entries, sizeof(T),
        [](const void *wanted, const void *element)
        {
            const Key *k = static_cast<const Key *>(wanted);
            return k->compare(&k->value, static_cast<const T *>(element));
        });
    return found ? int(static_cast<const T *>(found) - data) : -1;
}

template <class Array, class Compare>
bool
utIsEqual(const Array &a, const Array &b, Compare compare)
{
    return a.entries() == b.entries() &&
           std::equal(
               a.data(), a.data() + a.entries(), b.data(),
               [compare](const auto &x, const auto &y)
               { return compare(&x, &y) == 0; });
}

template <class Array>
bool
utIsSame(const Array &a, const Array &b)
{
    return &a == &b || (a.entries() == b.entries() &&
                        std::equal(a.data(), a.data() + a.entries(), b.data()));
}

// ---- By value

#ifdef __SSE2__
// For each of four numbers all bits where it equals `value`.
inline __m128i
utEqualLanes(const int32 *numbers, int32 value)
{
    __m128i lanes;
    memcpy(&lanes, numbers, sizeof(lanes));
    return _mm_cmpeq_epi32(lanes, _mm_set1_epi32(value));
}

inline __m128i
utEqualLanes(const float *numbers, float value)
{
    return _mm_castps_si128(
        _mm_cmpeq_ps(_mm_loadu_ps(numbers), _mm_set1_ps(value)));
}

// A bit for each of eight numbers at `a` and eight at `b` that equals `value`.
template <class T>
unsigned
utEqualBits(const T *a, const T *b, T value)
{
    const __m128i ofA =
        _mm_packs_epi32(utEqualLanes(a, value), utEqualLanes(a + 4, value));
    const __m128i ofB =
        _mm_packs_epi32(utEqualLanes(b, value), utEqualLanes(b + 4, value));
    return unsigned(_mm_movemask_epi8(_mm_packs_epi16(ofA, ofB)));
}

[[gnu::target("avx2"), gnu::always_inline]] inline __m256i
utEqualLongLanes(const int32 *numbers, int32 value)
{
    __m256i lanes;
    memcpy(&lanes, numbers, sizeof(lanes));
    return _mm256_cmpeq_epi32(lanes, _mm256_set1_epi32(value));
}

[[gnu::target("avx2"), gnu::always_inline]] inline __m256i
utEqualLongLanes(const float *numbers, float value)
{
    return _mm256_castps_si256(_mm256_cmp_ps(
        _mm256_loadu_ps(numbers), _mm256_set1_ps(value), _CMP_EQ_OQ));
}

// Skips blocks of 32 numbers of which none equals `value`, in half the time
// that shorter vectors take. Stops at a block that has one, or is shorter.
template <class T>
[[gnu::target("avx2")]] ptrdiff_t
utSkipUnequal(const T *numbers, ptrdiff_t start, ptrdiff_t count, T value)
{
    for (; count - start >= 32; start += 32)
    {
        const T *const element = numbers + start;
        const __m256i isEqual = _mm256_or_si256(
            _mm256_or_si256(
                utEqualLongLanes(element, value),
                utEqualLongLanes(element + 8, value)),
            _mm256_or_si256(
                utEqualLongLanes(element + 16, value),
                utEqualLongLanes(element + 24, value)));
        if (!_mm256_testz_si256(isEqual, isEqual))
            break;
    }
    return start;
}

// Enough numbers for the longer vectors, and where these linger.
constexpr size_t theLongSearch = 64;
constexpr size_t theLongLingeringSearch = 2048;

// The first element from `start` on that equals `value`, or -1: sixteen numbers
// at a time with one jump, of which there are as many at least. The last eight
// may have been looked at before.
template <class Array>
__attribute__((noinline)) int
utFindFar(const Array &array, utElement<const Array> value, unsigned startIndex)
{
    const auto *const numbers = array.data();
    const ptrdiff_t count = ptrdiff_t(array.entries());
    ptrdiff_t start = ptrdiff_t(startIndex);
    if (sysVectorsPay(
            size_t(count - start), theLongSearch, theLongLingeringSearch) &&
        __builtin_cpu_supports("avx2"))
    {
        const sys_VectorUse use;
        start = utSkipUnequal(numbers, start, count, value);
    }
    const ptrdiff_t lastEight = count - 8;
    for (;; start += 16)
    {
        const ptrdiff_t first = std::min(start, lastEight);
        const ptrdiff_t second = std::min(start + 8, lastEight);
        const unsigned bits =
            utEqualBits(numbers + first, numbers + second, value);
        if (bits & 0xFF)
            return int(first) + __builtin_ctz(bits);
        if (bits)
            return int(second) + __builtin_ctz(bits) - 8;
        if (second == lastEight)
            return -1;
    }
}
#endif

template <class Array>
[[gnu::always_inline]] inline int
utFind(const Array &array, utElement<const Array> value, unsigned start)
{
    const unsigned entries = array.entries();
    if (start >= entries)
        return -1;
#ifdef __SSE2__
    // Pairs of halves cost pointers of 64 bits what vectors save.
    if constexpr (!std::is_pointer_v<utElement<Array>>)
    {
        // Few numbers without a loop, which would need the stack.
        if (entries - start > 16)
            return utFindFar(array, value, start);
        if (entries - start >= 8)
        {
            const auto *const lastEight = array.data() + entries - 8;
            const unsigned bits =
                utEqualBits(array.data() + start, lastEight, value);
            if (bits == 0)
                return -1;
            const unsigned bit = unsigned(__builtin_ctz(bits));
            return int(bit < 8 ? start + bit : entries - 16 + bit);
        }
    }
#endif
    const auto *const data = array.data();
    const auto *const end = data + entries;
    const auto *const found = std::find(data + start, end, value);
    return found == end ? -1 : int(found - data);
}

template <class Array, class Function>
unsigned
utApply(Array &array, Function function, void *context)
{
    unsigned index = 0;
    while (index < array.entries() && !function(array[index], context))
        ++index;
    return index;
}
