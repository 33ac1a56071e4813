// The algorithms of sorting and selection. They work on "items", which stand
// for the arrays being rearranged.
//
// Items are numbered from 0. Besides the array one item can be held aside: an
// item that moves more than one place costs one copy per place, not three.
// Items are small handles, passed by value so that their pointers stay in
// registers; nothing is held across a call. Their members:
//
//     keyAt(i)              the key by which item i is ordered
//     isLess(a, b)          whether key a comes strictly before key b
//     hold(i), heldKey()    sets item i aside; the key of the item set aside
//     move(to, from)        copies another item over item `to`
//     release(to)           puts the item set aside in place `to`
//
// Inconsistent orders (NaN, a wrong comparator) leave the items in some order:
// every loop is bounded by positions, none by a key.

#pragma once

#include "SYS/SYS_Types.h"

#include <cstddef>
#include <cstring>
#include <memory>

using std::size_t;

// A range of equal items. Every item before them is less or equal, and every
// item after them greater or equal.
struct ut_EqualRange
{
    size_t begin;
    size_t end; // exclusive
};

// Copies an element of `size` bytes over another. A call to memcpy for a size
// known only at run time costs more than moving most elements does.
inline void
utCopyElement(char *to, const char *from, size_t size)
{
    // The last word may overlap the one before it.
    constexpr size_t theWord = 16;
    constexpr size_t theHalf = 8;
    constexpr size_t theQuarter = 4;
    if (size > 256 || size < theQuarter)
        memcpy(to, from, size);
    else if (size >= theWord)
    {
        for (size_t i = 0; i < size - theWord; i += theWord)
            memcpy(to + i, from + i, theWord);
        memcpy(to + size - theWord, from + size - theWord, theWord);
    }
    else if (size >= theHalf)
    {
        memcpy(to, from, theHalf);
        memcpy(to + size - theHalf, from + size - theHalf, theHalf);
    }
    else
    {
        memcpy(to, from, theQuarter);
        memcpy(to + size - theQuarter, from + size - theQuarter, theQuarter);
    }
}

// Room for one element. Most are small enough even for threads with small
// stacks.
class ut_ElementScratch
{
public:
    explicit ut_ElementScratch(size_t size)
    {
        if (size > sizeof(mySmall))
            myLarge.reset(new char[size]);
    }
    char *data() { return myLarge ? myLarge.get() : mySmall; }

private:
    std::unique_ptr<char[]> myLarge;
    alignas(std::max_align_t) char mySmall[1024];
};

template <class Items>
inline void
utSwapItems(Items items, size_t i, size_t j)
{
    if (i == j)
        return;
    items.hold(i);
    items.move(i, j);
    items.release(j);
}

// Stable.
template <class Items>
void
utInsertionSort(Items items, size_t begin, size_t end)
{
    for (size_t i = begin + 1; i < end; i++)
    {
        if (!items.isLess(items.keyAt(i), items.keyAt(i - 1)))
            continue;
        items.hold(i);
        size_t place = i;
        do
        {
            items.move(place, place - 1);
            place--;
        } while (place > begin &&
                 items.isLess(items.heldKey(), items.keyAt(place - 1)));
        items.release(place);
    }
}

// Sinks the item at `root` to its place in a heap of `size` items from `begin`
// on.
template <class Items>
void
utSinkIntoHeap(Items items, size_t begin, size_t root, size_t size)
{
    items.hold(begin + root);
    size_t child = 2 * root + 1;
    while (child < size)
    {
        if (child + 1 < size &&
            items.isLess(
                items.keyAt(begin + child), items.keyAt(begin + child + 1)))
            child++;
        if (!items.isLess(items.heldKey(), items.keyAt(begin + child)))
            break;
        items.move(begin + root, begin + child);
        root = child;
        child = 2 * root + 1;
    }
    items.release(begin + root);
}

// The fallback when pivots keep failing: slower, but O(n log n) on every input.
template <class Items>
void
utHeapSort(Items items, size_t begin, size_t end)
{
    const size_t size = end - begin;
    for (size_t root = size / 2; root > 0; root--)
        utSinkIntoHeap(items, begin, root - 1, size);
    for (size_t last = size - 1; last > 0; last--)
    {
        utSwapItems(items, begin, begin + last);
        utSinkIntoHeap(items, begin, 0, last);
    }
}

// The position, of three, of the item with the middle key.
template <class Items>
size_t
utMedianOf3(Items items, size_t a, size_t b, size_t c)
{
    if (items.isLess(items.keyAt(b), items.keyAt(a)))
    {
        const size_t lower = b;
        b = a;
        a = lower;
    }
    if (!items.isLess(items.keyAt(c), items.keyAt(b)))
        return b;
    return items.isLess(items.keyAt(c), items.keyAt(a)) ? a : c;
}

// The position of the item by which to divide a range of 12 or more: the median
// of three, or in a long range of three such medians. The ends are not
// considered: they hold items that an input or an earlier division left out of
// order.
template <class Items>
size_t
utChoosePivot(Items items, size_t begin, size_t end)
{
    const size_t step = (end - begin) / 12;
    const auto medianAt = [=](size_t steps, size_t distance)
    {
        const size_t middle = begin + steps * step;
        return utMedianOf3(items, middle - distance, middle, middle + distance);
    };
    if (end - begin < 50)
        return medianAt(6, 3 * step);
    return utMedianOf3(
        items, medianAt(3, step), medianAt(6, step), medianAt(9, step));
}

// Whether the items have a partition(pivot, first, last, equalsStay) of their
// own.
template <class Items>
inline constexpr bool utHasOwnPartition = false;

// Moves the items of [first, last) that belong after the one at `pivot`, which
// lies outside the range, after the others, and returns where they begin. Items
// equal to the pivot stay before them if `equalsStay` is set.
//
// The processor cannot predict a branch on a key. So the offsets of misplaced
// items are first gathered from both ends, a block at a time and without a
// branch, and then exchanged along one cycle.
template <bool equalsStay, class Items>
size_t
utPartition(Items items, size_t pivot, size_t first, size_t last)
{
    if constexpr (utHasOwnPartition<Items>)
        return items.partition(pivot, first, last, equalsStay);

    constexpr size_t theBlockSize = 64;
    uint8 leftOffsets[theBlockSize];  // from leftBase upwards
    uint8 rightOffsets[theBlockSize]; // from rightBase downwards
    size_t leftBase = first, leftStart = 0, leftCount = 0;
    size_t rightBase = last, rightStart = 0, rightCount = 0;

    const auto pivotKey = items.keyAt(pivot);
    const auto belongsBehind = [&](size_t i)
    {
        return equalsStay ? items.isLess(pivotKey, items.keyAt(i))
                          : !items.isLess(items.keyAt(i), pivotKey);
    };

    while (first < last)
    {
        // A side that still has offsets is not filled.
        const size_t unknown = last - first;
        size_t leftFill = 0;
        if (leftCount == 0)
            leftFill = rightCount == 0 ? unknown / 2 : unknown;
        size_t rightFill = rightCount == 0 ? unknown - leftFill : 0;
        if (leftFill > theBlockSize)
            leftFill = theBlockSize;
        if (rightFill > theBlockSize)
            rightFill = theBlockSize;
        for (size_t i = 0; i < leftFill; i++)
        {
            leftOffsets[leftCount] = uint8(i);
            leftCount += belongsBehind(first + i);
        }
        for (size_t i = 1; i <= rightFill; i++)
        {
            rightOffsets[rightCount] = uint8(i);
            rightCount += !belongsBehind(last - i);
        }
        first += leftFill;
        last -= rightFill;

        const size_t pairs = leftCount < rightCount ? leftCount : rightCount;
        if (pairs > 0)
        {
            // The analyzer does not follow that the counts are of offsets
            // written.
            // NOLINTBEGIN(clang-analyzer-core.UndefinedBinaryOperatorResult)
            size_t left = leftBase + leftOffsets[leftStart];
            size_t right = rightBase - rightOffsets[rightStart];
            items.hold(left);
            items.move(left, right);
            for (size_t i = 1; i < pairs; i++)
            {
                left = leftBase + leftOffsets[leftStart + i];
                items.move(right, left);
                right = rightBase - rightOffsets[rightStart + i];
                items.move(left, right);
            }
            // NOLINTEND(clang-analyzer-core.UndefinedBinaryOperatorResult)
            items.release(right);
        }
        leftCount -= pairs;
        leftStart += pairs;
        rightCount -= pairs;
        rightStart += pairs;
        if (leftCount == 0)
        {
            leftStart = 0;
            leftBase = first;
        }
        if (rightCount == 0)
        {
            rightStart = 0;
            rightBase = last;
        }
    }

    // One side may have items left over that must cross the boundary, the
    // outermost last.
    for (; leftCount > 0; leftCount--)
        utSwapItems(
            items, leftBase + leftOffsets[leftStart + leftCount - 1], --last);
    if (rightCount == 0)
        return last;
    for (; rightCount > 0; rightCount--)
        utSwapItems(
            items, rightBase - rightOffsets[rightStart + rightCount - 1],
            first++);
    return first;
}

// Divides a range by the item at `pivot`, inside it. Each item before `begin`
// must be less than or equal to all items of the range.
template <class Items>
ut_EqualRange
utDivide(Items items, size_t begin, size_t end, size_t pivot)
{
    utSwapItems(items, begin, pivot);

    // When the item before the range equals the pivot, nothing in the range is
    // less than it, and the items equal to it are done. So few distinct keys
    // make a sort faster.
    if (begin > 0 && !items.isLess(items.keyAt(begin - 1), items.keyAt(begin)))
        return {begin, utPartition<true>(items, begin, begin + 1, end)};

    const size_t behind = utPartition<false>(items, begin, begin + 1, end);
    utSwapItems(items, begin, behind - 1);
    return {behind - 1, behind};
}

// Whether all items are in order. If all are in strictly descending order they
// are reversed first. Stable. For any other order the answer usually comes
// early.
template <class Items>
bool
utSettleRun(Items items, size_t n)
{
    size_t i = 1;
    if (n < 2 || !items.isLess(items.keyAt(1), items.keyAt(0)))
    {
        while (i < n && !items.isLess(items.keyAt(i), items.keyAt(i - 1)))
            i++;
        return i >= n;
    }
    while (i < n && items.isLess(items.keyAt(i), items.keyAt(i - 1)))
        i++;
    if (i < n)
        return false;
    for (size_t low = 0, high = n - 1; low < high; low++, high--)
        utSwapItems(items, low, high);
    return true;
}

// The logarithm to base 2, rounded down, of a size that is not 0.
inline unsigned
utLog2(size_t size)
{
    unsigned log = 0;
    while (size >>= 1)
        log++;
    return log;
}
