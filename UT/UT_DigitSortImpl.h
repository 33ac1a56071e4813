// Sorting by the digits of 32-bit keys, the lowest digit first. Each pass
// spreads the items over as many runs as there are digits, in the order they
// come, so that items with equal digits keep the order of the passes before.
// No key is compared and no pass has a branch that the processor could
// foresee wrongly: the cost is three or four moves of each item, however many
// items there are.

#pragma once

#include "SYS/SYS_Types.h"

#include <cstddef>
#include <cstring>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

using std::size_t;

// The bits of a key, changed such that they order like the keys when compared
// as a number. The two zeros, which are equal as keys, differ; NaN keys come
// first and last.
inline uint32
utOrderBits(unsigned key)
{
    return key;
}

inline uint32
utOrderBits(float key)
{
    uint32 bits;
    memcpy(&bits, &key, sizeof(bits));
    return bits >> 31 ? ~bits : bits ^ 0x80000000u;
}

// A key and the number that travels with it.
template <class Key>
struct ut_NumberedKey
{
    Key key;
    int number;
};

template <class Key>
inline uint32
utOrderBits(const ut_NumberedKey<Key> &item)
{
    return utOrderBits(item.key);
}

// How keys are stored. Signed ones order like unsigned ones when the highest
// bit is flipped, so that one set of instructions sorts both. Flipping twice
// gives the stored key again.
template <class Key>
struct ut_KeyForm
{
    [[nodiscard]] Key flipped(Key key) const { return key; }
};

template <>
struct ut_KeyForm<unsigned>
{
    [[nodiscard]] unsigned flipped(unsigned key) const { return key ^ flip; }
    unsigned flip; // the highest bit for signed keys, otherwise 0
};

// Keys in an array. Small handles, as what follows.
template <class Key>
class ut_KeyArray
{
public:
    ut_KeyArray(Key *keys, ut_KeyForm<Key> form) : myKeys(keys), myForm(form) {}
    [[nodiscard]] Key get(size_t i) const { return myForm.flipped(myKeys[i]); }
    void set(size_t i, const Key &key) { myKeys[i] = myForm.flipped(key); }

private:
    Key *myKeys;
    ut_KeyForm<Key> myForm;
};

// Items in an array.
template <class Item>
class ut_ItemArray
{
public:
    explicit ut_ItemArray(Item *items) : myItems(items) {}
    [[nodiscard]] Item get(size_t i) const { return myItems[i]; }
    void set(size_t i, const Item &item) { myItems[i] = item; }

private:
    Item *myItems;
};

// Keys and their numbers, each in an array.
template <class Key>
class ut_NumberedKeyArrays
{
public:
    ut_NumberedKeyArrays(Key *keys, int *numbers, ut_KeyForm<Key> form)
        : myKeys(keys), myNumbers(numbers), myForm(form)
    {
    }
    [[nodiscard]] ut_NumberedKey<Key> get(size_t i) const
    {
        return {myForm.flipped(myKeys[i]), myNumbers[i]};
    }
    void set(size_t i, const ut_NumberedKey<Key> &item)
    {
        myKeys[i] = myForm.flipped(item.key);
        myNumbers[i] = item.number;
    }

private:
    Key *myKeys;
    int *myNumbers;
    ut_KeyForm<Key> myForm;
};

// Replaces each of `n` counts by the sum of those before it.
inline void
utStartsFromCounts(unsigned *counts, size_t n)
{
    unsigned start = 0;
    for (size_t i = 0; i < n; i++)
    {
        const unsigned count = counts[i];
        counts[i] = start;
        start += count;
    }
}

// As many counts as a vector has lanes at a time: `n` is a multiple of eight.
// For short sorts this takes as long as all the rest.
inline void
utStartsFromCounts(uint16 *counts, size_t n)
{
#ifdef __SSE2__
    __m128i start = _mm_setzero_si128(); // in all lanes
    for (size_t i = 0; i < n; i += 8)
    {
        __m128i *const lanes =
            static_cast<__m128i *>(static_cast<void *>(counts + i));
        const __m128i own = _mm_loadu_si128(lanes);
        // The sums of two lanes, of four, of all up to each.
        __m128i sums = _mm_add_epi16(own, _mm_slli_si128(own, 2));
        sums = _mm_add_epi16(sums, _mm_slli_si128(sums, 4));
        sums = _mm_add_epi16(sums, _mm_slli_si128(sums, 8));
        _mm_storeu_si128(lanes, _mm_add_epi16(start, _mm_sub_epi16(sums, own)));
        const __m128i total = _mm_shufflehi_epi16(sums, 0xFF);
        start = _mm_add_epi16(start, _mm_shuffle_epi32(total, 0xFF));
    }
#else
    uint16 start = 0;
    for (size_t i = 0; i < n; i++)
    {
        const uint16 count = counts[i];
        counts[i] = start;
        start = uint16(start + count);
    }
#endif
}

// How often each digit occurs at each of its places, for digits of a number of
// bits. Counter holds the number of items.
template <unsigned digitBits, class Counter>
class ut_DigitCounts
{
public:
    static constexpr unsigned places = (32 + digitBits - 1) / digitBits;

    // Counts the digits of `n` items.
    template <class Items>
    void count(Items items, size_t n)
    {
        memset(myCounts, 0, sizeof(myCounts));
        for (size_t i = 0; i < n; i++)
        {
            const uint32 bits = utOrderBits(items.get(i));
            for (unsigned place = 0; place < places; place++)
                myCounts[place][digitAt(bits, place)]++;
        }
    }

    // How many items have the digit there that `item` has.
    template <class Item>
    [[nodiscard]] size_t alikeAt(unsigned place, const Item &item) const
    {
        return myCounts[place][digitAt(utOrderBits(item), place)];
    }

    // Moves `n` items, the ones counted, such that those with lower digits at
    // `place` come first. Takes the counts of that place with it.
    template <class From, class To>
    void spread(From from, To to, size_t n, unsigned place)
    {
        Counter *const starts = myCounts[place];
        utStartsFromCounts(starts, theDigits);
        for (size_t i = 0; i < n; i++)
        {
            const auto item = from.get(i);
            to.set(starts[digitAt(utOrderBits(item), place)]++, item);
        }
    }

private:
    static constexpr size_t theDigits = size_t(1) << digitBits;

    static size_t digitAt(uint32 bits, unsigned place)
    {
        return (bits >> (place * digitBits)) & (theDigits - 1);
    }

    Counter myCounts[places][theDigits];
};

// Sorts `n` items, at least one; stable, except that -0 comes before 0. `a` and
// `b` each have room for all of them. Returns false, without setting any item,
// when all are alike.
template <class Items, class Scratch, class Counts>
bool
utSortByDigits(Items items, Scratch a, Scratch b, size_t n, Counts &counts)
{
    counts.count(items, n);

    // Where all items have one digit there is nothing to do.
    unsigned needed[Counts::places];
    unsigned neededCount = 0;
    for (unsigned place = 0; place < Counts::places; place++)
        if (counts.alikeAt(place, items.get(0)) != n)
            needed[neededCount++] = place;
    if (neededCount == 0)
        return false;

    counts.spread(items, a, n, needed[0]);
    for (unsigned i = 1; i + 1 < neededCount; i++)
    {
        counts.spread(a, b, n, needed[i]);
        std::swap(a, b);
    }
    if (neededCount > 1)
        counts.spread(a, items, n, needed[neededCount - 1]);
    else
        for (size_t i = 0; i < n; i++)
            items.set(i, a.get(i));
    return true;
}
