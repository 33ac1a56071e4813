// Sorting by a comparator that may be anything, also one that contradicts
// itself: the elements are kept then, too.

#pragma once

#include <algorithm>
#include <cstddef>

// Merges the sorted halves of `n` elements into `out`; of an odd number the
// second half is the longer one. Works from both ends, with an element for each
// in turn, which the processor does at the same time, and without a branch on
// an answer, which it could not foresee. Returns whether that was all of them:
// a comparator that contradicts itself may have some twice.
template <class T, class Compare>
bool
utMergeFromBothEnds(const T *elements, size_t n, T *out, Compare compare)
{
    const ptrdiff_t half = ptrdiff_t(n / 2);
    ptrdiff_t left = 0;
    ptrdiff_t right = half;
    ptrdiff_t leftLast = half - 1;
    ptrdiff_t rightLast = ptrdiff_t(n) - 1;
    for (ptrdiff_t i = 0; i < half; ++i)
    {
        const bool takesRight = compare(&elements[right], &elements[left]) < 0;
        out[i] = elements[takesRight ? right : left];
        right += takesRight;
        left += !takesRight;
        const bool takesLeft =
            compare(&elements[rightLast], &elements[leftLast]) < 0;
        out[ptrdiff_t(n) - 1 - i] = elements[takesLeft ? leftLast : rightLast];
        leftLast -= takesLeft;
        rightLast -= !takesLeft;
    }
    if (n % 2)
    {
        const bool takesLeft = left <= leftLast;
        out[half] = elements[takesLeft ? left : right];
        left += takesLeft;
        right += !takesLeft;
    }
    return left == leftLast + 1 && right == rightLast + 1;
}

// The plain merge of the halves, which keeps all elements in any case.
template <class T, class Compare>
void
utMerge(const T *elements, size_t n, T *out, Compare compare)
{
    const T *left = elements;
    const T *const leftEnd = elements + n / 2;
    const T *right = leftEnd;
    const T *const rightEnd = elements + n;
    while (left < leftEnd && right < rightEnd)
        *out++ = compare(right, left) < 0 ? *right++ : *left++;
    out = std::copy(left, leftEnd, out);
    std::copy(right, rightEnd, out);
}

// For few elements, in place.
template <class T, class Compare>
void
utSortByInsertion(T *elements, size_t n, Compare compare)
{
    for (size_t i = 1; i < n; ++i)
    {
        if (compare(&elements[i], &elements[i - 1]) >= 0)
            continue;
        const T held = elements[i];
        size_t place = i;
        do
        {
            elements[place] = elements[place - 1];
            --place;
        } while (place > 0 && compare(&held, &elements[place - 1]) < 0);
        elements[place] = held;
    }
}

// Sorts `n` elements, which are in both arrays at the start, and leaves them in
// `out`. Stable. Takes O(n log n) comparisons, n where they are in order.
template <class T, class Compare>
void
utSortInto(T *elements, size_t n, T *out, Compare compare)
{
    if (n <= 5)
    {
        utSortByInsertion(out, n, compare);
        return;
    }
    const size_t half = n / 2;
    utSortInto(out, half, elements, compare);
    utSortInto(out + half, n - half, elements + half, compare);
    if (compare(&elements[half], &elements[half - 1]) >= 0)
        std::copy(elements, elements + n, out);
    else if (!utMergeFromBothEnds(elements, n, out, compare))
        utMerge(elements, n, out, compare);
}
