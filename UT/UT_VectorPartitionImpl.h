// The partition by vectors, for short and long ones. A source that includes it
// defines UT_VECTORS_INLINE, the attributes of functions with its vectors.

#pragma once

#include <cstddef>
#include <cstring>
#include <iterator>

#ifndef UT_VECTORS_INLINE
#define UT_VECTORS_INLINE
#endif

using std::size_t;

namespace
{

template <size_t vectors, class Partition, class Key>
UT_VECTORS_INLINE inline void
utPutStep(Partition &partition, const Key *from)
{
    typename Partition::Lanes lanes[vectors];
#pragma GCC unroll 4
    for (size_t i = 0; i < vectors; i++)
        lanes[i] = partition.load(from + i * Partition::lanes);
#pragma GCC unroll 4
    for (size_t i = 0; i < vectors; i++)
        partition.put(lanes[i]);
}

// Asks for the keys at either end that some later step takes. Without that ten
// million keys take half as much time again.
template <size_t step, class Key>
UT_VECTORS_INLINE inline void
utFetchAhead(const Key *first, const Key *last)
{
    constexpr size_t theLine = 64 / sizeof(Key);
    const size_t most = size_t(last - first) - step;
    const size_t ahead = most < 8 * step ? most : 8 * step;
#pragma GCC unroll 4
    for (size_t i = 0; i < step; i += theLine)
    {
        __builtin_prefetch(first + ahead + i);
        __builtin_prefetch(last - ahead - step + i);
    }
}

// Divides `n` keys in place, and returns how many come before the others.
//
// The partition has a room, from left() to right(), where keys have been taken
// from and none are yet. put() moves the `lanes` keys that load() has loaded to
// the ends of the room. It has `lanes` places at least at either end, or after
// the last of them `leastRoom` in all; putRest() moves fewer.
template <class Partition, class Key>
UT_VECTORS_INLINE inline size_t
utPartitionAll(Partition partition, Key *keys, size_t n)
{
    // Vectors that are taken at a time.
    constexpr size_t theVectors = 4;
    constexpr size_t theStep = theVectors * Partition::lanes;

    // Some keys are taken out at either end to make room; the next steps come
    // from the end with less room, so that both always have enough. Which end
    // that is is determined a step ahead, so that the processor knows what to
    // load before it has put what it loaded. What is less than a step comes
    // last.
    constexpr size_t theReserve = 2 * theStep;
    Key rest[theStep + 2 * theReserve];
    size_t restCount = n;
    if (n >= 2 * theReserve)
    {
        const Key *first = keys + theReserve;
        const Key *last = keys + n - theReserve;
        memcpy(rest + theStep, keys, theReserve * sizeof(Key));
        memcpy(rest + theStep + theReserve, last, theReserve * sizeof(Key));
        if (size_t(last - first) >= theStep)
        {
            const Key *next = first;
            first += theStep;
            while (size_t(last - first) >= theStep)
            {
                utFetchAhead<theStep>(first, last);
                const Key *const from = next;
                // No branch, which the processor could not foresee.
                const size_t isLeft = 0 - size_t(
                                              first - partition.left() <=
                                              partition.right() - last);
                next =
                    last - theStep - (size_t(last - theStep - first) & isLeft);
                first += theStep & isLeft;
                last -= theStep & ~isLeft;
                utPutStep<theVectors>(partition, from);
            }
            utPutStep<theVectors>(partition, next);
        }
        // A step of them, of which the last ones are used: a size that the
        // compiler knows takes no call.
        memcpy(rest, last - theStep, theStep * sizeof(Key));
        restCount = 2 * theReserve + size_t(last - first);
    }
    else
        memcpy(std::end(rest) - n, keys, n * sizeof(Key));

    const Key *from = std::end(rest) - restCount;
    for (; restCount >= Partition::leastRoom; restCount -= Partition::lanes)
    {
        partition.put(partition.load(from));
        from += Partition::lanes;
    }
    partition.putRest(from, restCount);
    return size_t(partition.left() - keys);
}

} // namespace
