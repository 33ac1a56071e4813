// The implementation that the array classes share: storage, changes and heaps.
// UT_ArraySearchImpl.h has searches, UT_ArraySetImpl.h sorted sets. The
// functions work on an array through its public members, or on its elements
// alone; deliberate differences between the arrays are arguments.

#pragma once

#include "UT_AllocImpl.h"
#include "UT_ArrayGrowth.h"

#include "SYS/SYS_Types.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <type_traits>
#include <utility>

template <class Array>
using utElement =
    std::remove_reference_t<decltype(*std::declval<Array &>().data())>;

// ---- Storage

// Bytes up to which a block is small: the C library keeps some ready, in 32
// bits only below that, and not for calloc() and realloc().
static constexpr unsigned theSmallBlock = 1024;

// Bytes up to which blocks double. The C library always maps larger ones, which
// then grow by moving pages instead of copying them. In 32 bits it maps from
// 512 kB on, where blocks that double up to 8 MB, too, made a million appends
// take twice as long beside other work; up to 2 MB they take less than by
// smaller steps.
static constexpr unsigned theDoublingBlock =
    sizeof(void *) == 8 ? 32u << 20 : 2u << 20;

// Bytes of the least block, a cache line, and of the next two: what allocations
// cost is felt where few elements are added one by one. The third is the
// largest that the C library keeps ready.
static constexpr unsigned theLeastBlock = 64;
static constexpr unsigned theSecondBlock = 256;
static constexpr unsigned theThirdBlock = sizeof(void *) == 8 ? 1024 : 512;

// Slots in the block of an array, so that steps of a few slots seldom cost an
// allocation: a power of two for most arrays, a multiple of an eighth of one
// for the longest. Memory that was never used stays so beyond the capacity. The
// address checker has to see accesses there.
template <class T>
[[gnu::always_inline]] inline unsigned
utBlockSlots(unsigned capacity)
{
#if !defined(__SANITIZE_ADDRESS__)
    constexpr unsigned least = theLeastBlock / sizeof(T);
    constexpr unsigned second = theSecondBlock / sizeof(T);
    constexpr unsigned third = theThirdBlock / sizeof(T);
    if (capacity > third)
    {
        const unsigned last = capacity - 1;
        const unsigned power = 1u << (31 - __builtin_clz(last));
        const bool doubles = last < theDoublingBlock / sizeof(T);
        const unsigned slots = (last | ((doubles ? power : power / 8) - 1)) + 1;
        return slots > 0 ? slots : capacity;
    }
    if (capacity > 0)
        return capacity > second ? third : capacity > least ? second : least;
#endif
    return capacity;
}

// Whether an array has a block that surely has the slots of a greater capacity,
// for steps in which computing its size would be noticed: it has them where the
// last slots' indices have their highest bit in common, or are both in the
// least block.
template <class T>
bool
utIsInBlock(unsigned capacity, unsigned newCapacity)
{
#if defined(__SANITIZE_ADDRESS__)
    return capacity > 0 && newCapacity <= capacity;
#else
    const unsigned last = capacity - 1; // without a block, it has all bits
    return last < theDoublingBlock / sizeof(T) &&
           (last ^ (newCapacity - 1)) <=
               (last | (theLeastBlock / sizeof(T) - 1));
#endif
}

// Few elements, as a rule, for which a call to memset() or memcpy() costs more
// than the rest of an append or a short concat().
static constexpr size_t theFewBytes = 256;

// 16 bytes as one value. Through memcpy() gcc keeps a place on the stack for
// them, which functions of 32 bits then have to align.
using ut_Bytes16 [[gnu::vector_size(16), gnu::aligned(1), gnu::may_alias]] =
    int32;

inline void
utCopy16(void *to, const void *from)
{
    *static_cast<ut_Bytes16 *>(to) = *static_cast<const ut_Bytes16 *>(from);
}

template <class T>
void
utClearSlots(T *slots, unsigned count)
{
    constexpr unsigned step = 16 / sizeof(T);
    if (count > theFewBytes / sizeof(T))
    {
        memset(slots, 0, count * sizeof(T));
        return;
    }
    for (; count >= step; count -= step, slots += step)
        memset(slots, 0, 16);
    for (; count > 0; --count)
        *slots++ = T();
}

// Sets `count` slots to `value`, 16 bytes at a time.
template <class T>
void
utFillSlots(T *slots, unsigned count, T value)
{
    constexpr unsigned step = 16 / sizeof(T);
    T values[step];
    std::fill(values, values + step, value);
    if (count < step)
    {
        for (unsigned i = 0; i < count; ++i)
            slots[i] = value;
        return;
    }
    // The last step may set some slots again.
    for (unsigned i = 0; i < count - step; i += step)
        memcpy(slots + i, values, 16);
    memcpy(slots + count - step, values, 16);
}

// In 32 bits a function of its own, with its arguments in registers: it needs
// no stack, which those that inline it would have to align for the vectors.
#ifdef __i386__
template <class T>
[[gnu::noinline]] static void
#else
template <class T>
inline void
#endif
utCopyFew(T *to, const T *from, unsigned count)
{
    constexpr unsigned step = 16 / sizeof(T);
    // One or two steps, the last of which may copy some elements again.
    if (count >= step && count <= 2 * step)
    {
        utCopy16(to, from);
        utCopy16(to + count - step, from + count - step);
    }
    else if (count > step)
    {
        for (unsigned i = 0; i < count - step; i += step)
            utCopy16(to + i, from + i);
        utCopy16(to + count - step, from + count - step);
    }
    else
    {
        // No loop, of which the compiler would make a slow instruction.
        if (count & 2)
            memcpy(to, from, 2 * sizeof(T));
        if (count & 1)
            to[count - 1] = from[count - 1];
    }
}

template <class T>
void
utCopyElements(T *to, const T *from, unsigned count)
{
    if (count > theFewBytes / sizeof(T))
        memcpy(to, from, count * sizeof(T));
    else
        utCopyFew(to, from, count);
}

// A block of another size with as much of the old one as fits.
template <class T>
__attribute__((noinline)) T *
utReallocate(T *data, unsigned capacity, unsigned slots)
{
    if (capacity > theSmallBlock / sizeof(T) ||
        slots > theSmallBlock / sizeof(T))
        return static_cast<T *>(
            utChecked(reallocarray(data, slots, sizeof(T))));
    T *const block = static_cast<T *>(utAllocate(slots * sizeof(T)));
    if (!data)
        return block;
    memcpy(block, data, std::min(capacity, slots) * sizeof(T));
    free(data);
    return block;
}

// Sets the capacity exactly; 0 frees the block.
template <class T>
__attribute__((noinline)) void
utResize(
    T *&data, unsigned &capacity, unsigned &entries, unsigned newCapacity,
    bool clearsNewSlots)
{
    const unsigned slots = utBlockSlots<T>(newCapacity);
    if (newCapacity == 0)
    {
        free(data);
        data = nullptr;
    }
    else if (!data && clearsNewSlots && newCapacity > theSmallBlock / sizeof(T))
        data = static_cast<T *>(utAllocateZeros(slots, sizeof(T)));
    else
    {
        if (!data || slots != utBlockSlots<T>(capacity))
            data = utReallocate(data, capacity, slots);
        if (clearsNewSlots && newCapacity > capacity)
            utClearSlots(data + capacity, newCapacity - capacity);
    }
    capacity = newCapacity;
    entries = std::min(entries, newCapacity);
}

// A step of a growing array for which its block has the room, as it usually
// has. Few elements are the usual step. Otherwise changes nothing and returns
// false: the caller then makes its last call, which keeps this road short.
template <class T>
[[gnu::always_inline]] inline bool
utGrowInBlock(T *data, unsigned &capacity, bool clearsNewSlots)
{
    constexpr unsigned usual = UTgrownCapacity(0);
    const unsigned old = capacity;
    if (UTgrownCapacity(old) - old != usual ||
        !utIsInBlock<T>(old, old + usual))
        return false;
    if (clearsNewSlots)
        memset(data + old, 0, usual * sizeof(T));
    capacity = old + usual;
    return true;
}

// Copies exactly the elements in use, for the copy constructors.
template <class T>
void
utCopyNew(
    T *&data, unsigned &capacity, unsigned &entries, const T *source,
    unsigned count)
{
    utResize(data, capacity, entries, count, /*clearsNewSlots=*/false);
    std::copy(source, source + count, data);
    entries = count;
}

template <class Array>
void
utAssign(Array &array, const Array &source)
{
    if (&array == &source)
        return;
    array.setEntries(source.entries());
    std::copy(source.data(), source.data() + source.entries(), array.data());
}

// The capacity that appending one by one up to `entries` elements would give.
template <class Array>
unsigned
utAppendCapacity(const Array &array, size_t entries)
{
    unsigned capacity = array.capacity();
    while (capacity < entries)
        capacity = UTgrownCapacity(capacity);
    return capacity;
}

// Grows in one step to that capacity.
template <class Array>
void
utReserveAppends(Array &array, size_t entries)
{
    array.resize(utAppendCapacity(array, entries));
}

// Growth without clearing the new slots, for those who write to most of them.
struct ut_ArrayGrowth
{
    template <class Array>
    static void resize(Array &array, unsigned capacity)
    {
        utResize(
            array.myData, array.myCapacity, array.myEntries, capacity,
            /*clearsNewSlots=*/false);
    }
};

// ---- Inserting

// `extraInside` and `extraBeyond` are added to the number of slots that a
// growth asks for: for an index below the entries, and for one beyond the
// capacity.
template <class Array>
unsigned
utOpenSlot(
    Array &array, unsigned index, unsigned extraInside, unsigned extraBeyond)
{
    const unsigned entries = array.entries();
    if (index >= entries)
    {
        if (index >= array.capacity())
            array.resize(UTgrownCapacity(index + extraBeyond));
        array.setEntries(index + 1);
        return index;
    }
    if (entries == array.capacity())
        array.resize(UTgrownCapacity(entries + extraInside));
    auto *slot = array.data() + index;
    memmove(slot + 1, slot, (entries - index) * sizeof(*slot));
    array.setEntries(entries + 1);
    return index;
}

template <class Array>
unsigned
utInsertAt(Array &array, utElement<Array> value, unsigned index)
{
    utOpenSlot(array, index, /*extraInside=*/0, /*extraBeyond=*/0);
    array[index] = value;
    return index;
}

template <class Array>
unsigned
utMultipleInsert(Array &array, unsigned index, unsigned count)
{
    const unsigned entries = array.entries();
    if (index >= entries)
    {
        if (index + count >= array.capacity())
            array.resize(UTgrownCapacity(index + count));
        array.setEntries(index + count);
        return index;
    }
    if (entries + count > array.capacity())
        array.resize(UTgrownCapacity(entries + count));
    auto *slot = array.data() + index;
    memmove(slot + count, slot, (entries - index) * sizeof(*slot));
    array.setEntries(entries + count);
    return index;
}

// Makes room for `count` elements at the end, which the caller then copies: the
// slots after these alone are cleared.
template <class T>
__attribute__((noinline)) void
utReserveEnd(
    T *&data, unsigned &capacity, unsigned entries, unsigned count,
    bool clearsNewSlots)
{
    const unsigned slots = utBlockSlots<T>(capacity + count);
    if (slots != utBlockSlots<T>(capacity))
        data = utReallocate(data, capacity, slots);
    if (clearsNewSlots)
        utClearSlots(data + entries + count, capacity - entries);
    capacity += count;
}

// A concat() that needs another block, or copies many elements.
template <class T, class Array>
void
utConcat(
    T *&data, unsigned &capacity, unsigned &entries, const Array &other,
    bool clearsNewSlots)
{
    const unsigned count = other.entries();
    if (capacity - entries <= count && count > 0)
        utReserveEnd(data, capacity, entries, count, clearsNewSlots);
    // Only here are the other's data fetched: it may be the same array.
    utCopyElements(data + entries, other.data(), count);
    entries += count;
}

// The usual concat(): a few elements for a full array whose block has the room,
// or for one with free slots. Otherwise changes nothing and returns false.
template <class T, class Array>
[[gnu::always_inline]] inline bool
utConcatFew(
    T *const &data, unsigned &capacity, unsigned &entries, const Array &other)
{
    const unsigned count = other.entries();
    if (count > theFewBytes / sizeof(T))
        return false;
    // As each one that grows leaves the array.
    if (__builtin_expect(capacity == entries, true))
    {
        if (!utIsInBlock<T>(capacity, capacity + count))
            return false;
        capacity += count;
    }
    else if (capacity - entries <= count)
        return false;
    T *const end = data + entries;
    entries += count;
    utCopyFew(end, other.data(), count);
    return true;
}

// Inserts into an array sorted by `order(element, value)`, before an equal
// element that the search meets. `isUnique` keeps that element alone instead.
template <class Array, class Order>
unsigned
utSortedInsert(Array &array, utElement<Array> value, Order order, bool isUnique)
{
    ptrdiff_t low = 0;
    ptrdiff_t high = ptrdiff_t(array.entries()) - 1;
    while (low <= high)
    {
        const ptrdiff_t probe = (low + high) / 2;
        const int sense = order(value, array.data()[probe]);
        if (sense == 0)
        {
            if (!isUnique)
                utInsertAt(array, value, unsigned(probe));
            return unsigned(probe);
        }
        if (sense < 0)
            high = probe - 1;
        else
            low = probe + 1;
    }
    return utInsertAt(array, value, unsigned(low));
}

// ---- Removing

template <class Array>
unsigned
utRemoveAt(Array &array, unsigned index)
{
    const unsigned entries = array.entries() - 1;
    auto *slot = array.data() + index;
    if (index != entries)
        memmove(slot, slot + 1, (entries - index) * sizeof(*slot));
    array.setEntries(entries);
    return index;
}

template <class Array>
int
utFindAndRemove(Array &array, utElement<Array> value)
{
    const int index = array.find(value, 0u);
    if (index >= 0)
        array.removeAt(unsigned(index));
    return index;
}

// ---- Rearranging

// Moves the last `count` of `entries` elements to the front. The smaller side
// is kept in a scratch block meanwhile.
template <class T>
void
utRotate(T *data, size_t entries, size_t count)
{
    const size_t front = entries - count;
    const size_t saved = std::min(front, count);
    const std::unique_ptr<T[]> scratch(new T[saved]);
    if (count <= front)
    {
        std::copy(data + front, data + entries, scratch.get());
        memmove(data + count, data, front * sizeof(T));
        std::copy(scratch.get(), scratch.get() + saved, data);
        return;
    }
    std::copy(data, data + front, scratch.get());
    memmove(data, data + front, count * sizeof(T));
    std::copy(scratch.get(), scratch.get() + saved, data + count);
}

template <class Array>
void
utCycle(Array &array, int k)
{
    const int64 entries = array.entries();
    if (k == 0 || entries == 0)
        return;
    const int64 count = (k % entries + entries) % entries;
    utRotate(array.data(), size_t(entries), size_t(count));
}

template <class Array>
int
utShift(Array &array, unsigned from, unsigned to, unsigned count)
{
    if (from == to)
        return 0;
    const uint64 fromEnd = uint64(from) + count;
    const uint64 toEnd = uint64(to) + count;
    if (count == 0 || std::max(fromEnd, toEnd) > array.capacity())
        return -1;
    auto *data = array.data();
    memmove(data + to, data + from, count * sizeof(*data));
    if (toEnd > array.entries() || (fromEnd == array.entries() && to < from))
        array.setEntries(unsigned(toEnd));
    return 0;
}

// ---- Heap: the parent of i is i / 2. `compare` orders two elements.

template <class Array, class Compare>
unsigned
utHeapPush(Array &array, utElement<Array> value, Compare compare)
{
    unsigned i = array.append(value);
    auto *data = array.data();
    while (i > 0 && compare(data[i / 2], value) < 0)
    {
        data[i] = data[i / 2];
        i /= 2;
    }
    data[i] = value;
    return i;
}

template <class Array, class Compare>
void
utHeapify(Array &array, unsigned index, Compare compare)
{
    auto *data = array.data();
    const size_t entries = array.entries();
    for (size_t i = index;;)
    {
        size_t best = i;
        for (size_t child = 2 * i; child < 2 * i + 2; ++child)
            if (child < entries && compare(data[child], data[best]) > 0)
                best = child;
        if (best == i)
            return;
        std::swap(data[i], data[best]);
        i = best;
    }
}

// Removes the root and puts the last element in its place, which heapPop() then
// sinks.
template <class Array>
utElement<Array>
utHeapTakeRoot(Array &array)
{
    const utElement<Array> root = array[0];
    const unsigned last = array.entries() - 1;
    array[0] = array[last];
    array.setEntries(last);
    return root;
}
