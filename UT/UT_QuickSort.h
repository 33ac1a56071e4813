// Sorting of 32-bit keys, alone, with an index or at the head of records, and
// selection of the element at one position.

#pragma once

#include "UT_API.h"
#include "UT_IntArray.h"

/// Sorts 32-bit keys ascending, in place.
///
/// Every input of n keys costs O(n log n), the sorted, reversed and repetitive
/// ones less, and 16 kilobytes of stack at most. Longer sorts of keys, alone or
/// with an index, use scratch of their own, up to 8 megabytes; where there is
/// no memory for it they take up to four times as long. Keys alone are sorted
/// with AVX2 instructions, or with those of AVX-512 and then without scratch,
/// where the processor has them and VALDRIN_DISABLE_SSE and related settings
/// allow them. Sorts of fewer than 20 keys or records keep the order of equal
/// ones; longer sorts do not promise it. NaN keys have no order: if there are
/// any, all keys are kept, but in no particular order.
///
/// The static members after the three sorts work on the caller's arrays without
/// an object. The `isort` members are plain insertion sorts, stable for every
/// n, O(n^2) at worst and O(n) on sorted input; the `recurse` members are the
/// whole sort. The first letter says how keys compare: u for unsigned, s for
/// signed, f for float. Scratch, records and an index must not overlap.
///
/// Thread-compatible; calls on different objects and arrays share nothing.
class UT_API UT_QuickSort
{
public:
    /// How the keys of records compare.
    enum compareType
    {
        UT_SORT_SIGNED = 0,
        UT_SORT_UNSIGNED = 1,
        UT_SORT_FLOAT = 2
    };

    /// A sort without an index, or with a copy of another one's.
    UT_QuickSort() = default;
    UT_QuickSort(const UT_QuickSort &) = default;
    UT_QuickSort &operator=(const UT_QuickSort &) = default;
    virtual ~UT_QuickSort();

    /// The index of the last sort that made one: the entry at each sorted
    /// position is the position (from 0) that the key had before. After sorting
    /// 30 10 20 it is 1 2 0. Empty at first. Borrowed until the next sort that
    /// makes an index.
    [[nodiscard]] const UT_IntArray &index() const { return myIndex; }

    /// Sorts `n` keys, compared as `int` when `isSigned` is set and as
    /// `unsigned` otherwise. A nonzero `makeIndex` resizes the index to exactly
    /// `n` entries, which frees it for `n` = 0, and fills it; 0 leaves the
    /// index of an earlier sort alone. Returns this object.
    UT_QuickSort &
    sort(unsigned *data, unsigned n, int makeIndex, bool isSigned);

    /// Sorts `n` floats, with an index as for whole numbers. Returns this
    /// object.
    UT_QuickSort &sort(float *data, unsigned n, int makeIndex);

    /// Sorts `count` records of `recordSize` bytes, at least 4, by the key in
    /// the first four bytes of each. Records are moved whole and need no
    /// alignment. Allocates memory for one record of more than 1024 bytes
    /// during the call. Leaves the index alone. Returns this object.
    UT_QuickSort &
    sort(void *records, unsigned recordSize, unsigned count, compareType type);

    /// Insertion sort of keys.
    static void uisort(unsigned *data, unsigned n);
    static void sisort(int *data, unsigned n);
    static void fisort(float *data, unsigned n);

    /// Insertion sort of keys that moves the `n` entries of `index` along.
    static void uisort(unsigned *data, unsigned n, int *index);
    static void sisort(int *data, unsigned n, int *index);
    static void fisort(float *data, unsigned n, int *index);

    /// Insertion sort of records; `scratch` has room for one of them.
    static void
    uisort(void *records, unsigned recordSize, unsigned count, void *scratch);
    static void
    sisort(void *records, unsigned recordSize, unsigned count, void *scratch);
    static void
    fisort(void *records, unsigned recordSize, unsigned count, void *scratch);

    /// Sort of keys.
    static void urecurse(unsigned *data, unsigned n);
    static void srecurse(int *data, unsigned n);
    static void frecurse(float *data, unsigned n);

    /// Sort of keys that moves the `n` entries of `index` along.
    static void urecurse(unsigned *data, unsigned n, int *index);
    static void srecurse(int *data, unsigned n, int *index);
    static void frecurse(float *data, unsigned n, int *index);

    /// Sort of records; `scratch` has room for one of them.
    static void
    urecurse(void *records, unsigned recordSize, unsigned count, void *scratch);
    static void
    srecurse(void *records, unsigned recordSize, unsigned count, void *scratch);
    static void
    frecurse(void *records, unsigned recordSize, unsigned count, void *scratch);

private:
    UT_LOCAL int *makeIndexFor(unsigned n);

    UT_IntArray myIndex; // from sorted to unsorted positions
};

// Programs hold sort objects by value: the virtual table, then the array.
static_assert(sizeof(void *) != 4 || sizeof(UT_QuickSort) == 16);

/// Rearranges `n` elements of `size` bytes so that the one at position `k`
/// (from 0) is the one that a full sort would put there, no element before it
/// is greater and none after it is less. Does nothing unless `k` is below `n`.
/// With n = 101 and k = 50 it finds the median.
///
/// `compare` has the sense of `strcmp` and gets pointers to elements, which
/// are aligned as well as `base` and `size` are, or to a copy aligned for
/// every type. O(n) expected; O(n log n) for the worst input. Allocates one
/// element when `size` exceeds 1024; 16 kilobytes of stack at most.
UT_API void UTquickSelect(
    void *base, unsigned n, unsigned k, unsigned size,
    int (*compare)(const void *, const void *));

/// Rearranges `n` integers, compared by value, as the form for elements does.
/// Returns the result of the last comparison, or 0 if there was none; it means
/// nothing.
UT_API int
UTquickSelect(int *data, unsigned n, unsigned k, int (*compare)(int, int));
