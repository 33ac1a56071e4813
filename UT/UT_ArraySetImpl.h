// Union, intersection, difference and merge of sorted arrays.

#pragma once

#include "UT_ArrayImpl.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

// One walk along both arrays serves all of them. An order returns which of the
// two current elements to advance from: the lesser one, or both when they are
// equal. Each of them is 0 or 1, and of the width that it is added in.

struct ut_Advance
{
    size_t first;
    size_t second;
};

enum ut_SetOperation
{
    UT_SET_UNION,
    UT_SET_INTERSECTION,
    UT_SET_DIFFERENCE,
    UT_SET_MERGE // a union that drops nothing
};

// Appends `count` elements, with the growth of as many append() calls.
template <class Array, class T>
void
utAppendRun(Array &result, const T *elements, size_t count)
{
    if (count == 0)
        return;
    const size_t entries = result.entries() + count;
    utReserveAppends(result, entries);
    std::copy(elements, elements + count, result.data() + result.entries());
    result.setEntries(unsigned(entries));
}

// The result of an operation, with room for at least as many elements. Clears
// those of its new slots that have none at the end, and removes what was
// appended unless dismiss() is called.
template <class Array>
class ut_ResultGuard
{
public:
    ut_ResultGuard(Array &array, size_t least)
        : myArray(array), myEntries(array.entries()), myIsComplete(false),
          myFirstNew(array.capacity()),
          myEndNew(utAppendCapacity(array, array.entries() + least))
    {
        ut_ArrayGrowth::resize(array, myEndNew);
    }
    ut_ResultGuard(const ut_ResultGuard &) = delete;
    ut_ResultGuard &operator=(const ut_ResultGuard &) = delete;
    ~ut_ResultGuard()
    {
        if (!myIsComplete)
            myArray.setEntries(myEntries);
        const unsigned first = std::max(myArray.entries(), myFirstNew);
        if (first < myEndNew)
            utClearSlots(myArray.data() + first, myEndNew - first);
    }
    void dismiss() { myIsComplete = true; }

private:
    Array &myArray;
    unsigned myEntries;
    bool myIsComplete;
    unsigned myFirstNew; // slot
    unsigned myEndNew;
};

// The walk writes an element before it knows whether it is wanted, which saves
// a branch that no processor can predict. It writes to a scratch block, so that
// the result's slots beyond its entries are unchanged.
template <ut_SetOperation operation, class Array, class Order>
void
utSetWalk(const Array &a, const Array &b, Array &result, Order order)
{
    constexpr bool takesAll =
        operation == UT_SET_UNION || operation == UT_SET_MERGE;
    utElement<Array> scratch[256];
    const auto *first = a.data();
    const auto *second = b.data();
    const auto *const firstEnd = first + a.entries();
    const auto *const secondEnd = second + b.entries();
    while (first != firstEnd && second != secondEnd)
    {
        // This number of steps cannot run past an end.
        ptrdiff_t steps = std::min(
            {firstEnd - first, secondEnd - second,
             ptrdiff_t(std::size(scratch))});
        auto *out = scratch;
        for (; steps > 0; --steps)
        {
            const auto left = *first;
            const auto right = *second;
            const ut_Advance advance = order(left, right);
            *out = !takesAll || advance.first ? left : right;
            if (takesAll)
                ++out;
            else if (operation == UT_SET_INTERSECTION)
                out += advance.first & advance.second;
            else
                out += advance.first & ~advance.second;
            first += advance.first;
            second +=
                operation == UT_SET_MERGE ? !advance.first : advance.second;
        }
        utAppendRun(result, scratch, size_t(out - scratch));
    }
    if (operation != UT_SET_INTERSECTION)
        utAppendRun(result, first, size_t(firstEnd - first));
    if (takesAll)
        utAppendRun(result, second, size_t(secondEnd - second));
}

// The end of the elements for which `isBefore` holds, all of them in front: in
// steps that double, then by halves, which takes O(log n) for n such elements.
template <class T, class IsBefore>
const T *
utEndOfRun(const T *element, const T *end, IsBefore isBefore)
{
    ptrdiff_t step = 1;
    while (step <= end - element && isBefore(element[step - 1]))
    {
        element += step;
        step *= 2;
    }
    const T *const limit = element + std::min(step - 1, end - element);
    return std::partition_point(element, limit, isBefore);
}

// The walk for arrays of which one is much shorter: all elements of the longer
// one between two of the shorter one are found and taken together.
template <ut_SetOperation operation, class Array, class Order>
void
utSetLeap(const Array &a, const Array &b, Array &result, Order order)
{
    constexpr bool takesSecond =
        operation == UT_SET_UNION || operation == UT_SET_MERGE;
    constexpr bool takesFirst = takesSecond || operation == UT_SET_DIFFERENCE;
    const auto *first = a.data();
    const auto *second = b.data();
    const auto *const firstEnd = first + a.entries();
    const auto *const secondEnd = second + b.entries();
    while (first != firstEnd && second != secondEnd)
    {
        const auto *const firstRun = utEndOfRun(
            first, firstEnd,
            [&](const auto &element)
            { return !order(element, *second).second; });
        if (takesFirst)
            utAppendRun(result, first, size_t(firstRun - first));
        first = firstRun;
        if (first == firstEnd)
            break;
        const auto *const secondRun = utEndOfRun(
            second, secondEnd,
            [&](const auto &element) { return !order(*first, element).first; });
        if (takesSecond)
            utAppendRun(result, second, size_t(secondRun - second));
        second = secondRun;
        if (second == secondEnd || !order(*first, *second).second)
            continue;
        // The two are equal.
        if (operation != UT_SET_DIFFERENCE)
            utAppendRun(result, first, 1);
        first++;
        if (operation != UT_SET_MERGE)
            second++;
    }
    if (takesFirst)
        utAppendRun(result, first, size_t(firstEnd - first));
    if (takesSecond)
        utAppendRun(result, second, size_t(secondEnd - second));
}

// Appends the result of an operation on sorted arrays.
template <ut_SetOperation operation, class Array, class Order>
void
utSetOperation(const Array &a, const Array &b, Array &result, Order order)
{
    const size_t total = size_t(a.entries()) + b.entries();
    const size_t longer = std::max(a.entries(), b.entries());
    const size_t least = operation == UT_SET_MERGE   ? total
                         : operation == UT_SET_UNION ? longer
                                                     : 0;
    ut_ResultGuard<Array> guard(result, least);

    // A leap over fewer elements costs more than walking past them.
    if (longer / 16 > total - longer)
        utSetLeap<operation>(a, b, result, order);
    else
        utSetWalk<operation>(a, b, result, order);
    guard.dismiss();
}

// Replaces the first array by the result.
template <ut_SetOperation operation, class Array, class Order>
void
utSetReplace(Array &array, const Array &other, Order order)
{
    Array result;
    utSetOperation<operation>(array, other, result, order);
    array.swap(result);
}
