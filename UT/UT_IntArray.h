// The growable array of integers: storage, searching, sorted sets and a heap.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <vector>

/// The first value minus the second.
///
/// Deliberate: a plain subtraction, which wraps for values more than 2147483647
/// apart and then has the wrong sign.
UT_API int UTcompareInts(const int32 *a, const int32 *b);

/// A growable array of 32-bit integers.
///
/// Indices count from 0 and are not checked. Slots from entries() to capacity()
/// keep whatever they last held, and a new one holds 0. A growing operation
/// allocates UTgrownCapacity(m) slots, where m is the number that its comment
/// names; only resize() and swap() free slots. An element passed to a member
/// may be one of the array's own.
///
/// "Sorted" means ascending, or in the comparator's order. Comparators have the
/// sense of strcmp().
///
/// Thread-compatible.
class UT_API UT_IntArray
{
public:
    /// Orders two elements.
    using Compare = int (*)(const int32 *a, const int32 *b);

    /// An empty array without storage.
    UT_IntArray() = default;

    /// An empty array of exactly `capacity` slots.
    explicit UT_IntArray(unsigned capacity) { resize(capacity); }

    /// A copy with as many slots as `source` has entries.
    UT_IntArray(const UT_IntArray &source);
    ~UT_IntArray();

    /// Copies the elements of `source`. Grows to exactly as many slots as they
    /// need, and never shrinks.
    UT_IntArray &operator=(const UT_IntArray &source);

    /// Number of elements in use.
    [[nodiscard]] unsigned entries() const { return myEntries; }

    /// Number of slots allocated.
    [[nodiscard]] unsigned capacity() const { return myCapacity; }

    /// The slot at `index`, which must be below capacity().
    int32 operator()(unsigned index) const { return myData[index]; }
    int32 &operator()(unsigned index) { return myData[index]; }
    int32 operator[](unsigned index) const { return myData[index]; }
    int32 &operator[](unsigned index) { return myData[index]; }

    /// The slots, null when there are none. Borrowed until the capacity
    /// changes.
    [[nodiscard]] const int32 *data() const { return myData; }
    int32 *data() { return myData; }

    /// Same elements in the same order.
    bool operator==(const UT_IntArray &other) const;
    bool operator!=(const UT_IntArray &other) const
    {
        return !(*this == other);
    }

    /// Same number of elements, and each pair compares equal.
    [[nodiscard]] bool isEqual(const UT_IntArray &other, Compare compare) const;

    /// Index of the first element from `start` on that equals `value`, or -1.
    [[nodiscard]] int find(int32 value, unsigned start = 0) const;

    /// Index of an element of the sorted array that compares equal, or -1.
    /// O(log n).
    [[nodiscard]] int find(int32 value, Compare compare) const;

    /// Calls `function` on each element in order until one call returns
    /// non-zero. Returns the index of that element, or entries().
    unsigned apply(int (*function)(int32 &element, void *data), void *data);

    /// Prints each element and a blank, then a newline, on standard output.
    void display() const;

    /// Replaces the contents of `out` by the elements in use.
    void toStdVectorOfInts(std::vector<int> &out) const;

    // ---- Size

    /// Sets the capacity to exactly `newCapacity`: removes elements beyond it,
    /// sets new slots to 0, and frees the storage for 0. The second argument
    /// has no effect.
    void resize(unsigned newCapacity, unsigned short = 1);

    /// Sets the number of elements in use. Grows to exactly that many slots
    /// when there are fewer; added elements have the values that their slots
    /// hold.
    void setEntries(unsigned entries)
    {
        if (entries > myCapacity)
            resize(entries);
        myEntries = entries;
    }

    /// Removes all elements and keeps the storage.
    void clear() { myEntries = 0; }

    /// Exchanges the storage of two arrays. O(1).
    void swap(UT_IntArray &other);

    // ---- Adding

    /// Adds `value` at the end and returns its index. A full array grows, with
    /// m = entries. Amortised O(1).
    unsigned append(int32 value)
    {
        const unsigned index = myEntries;
        if (index == myCapacity)
            growFull();
        myData[index] = value;
        myEntries = index + 1;
        return index;
    }

    /// Opens a slot at `index`, which keeps the value that it held, and returns
    /// `index`. Below entries() the rest moves up and a full array grows with m
    /// = entries; at or beyond entries() the slot becomes the last element, and
    /// an array whose capacity is not above `index` grows with m = `index` + 1.
    unsigned insert(unsigned index);

    /// Inserts `value` before the element at `index`, or at or beyond the end
    /// as insert(index) does, and returns `index`. Grows with m = entries, or m
    /// = `index` at or beyond the capacity.
    unsigned insertAt(int32 value, unsigned index);
    unsigned insert(int32 value, unsigned index);

    /// Opens `count` slots at `index` as insert(index) opens one, and returns
    /// `index`. Grows with m = entries + `count` below entries(), and with m =
    /// `index` + `count` otherwise. Deliberate: in the second case the array
    /// also grows when that is exactly the capacity.
    unsigned multipleInsert(unsigned index, unsigned count);

    /// Appends all elements of `other`, which may be this array.
    ///
    /// Deliberate: when they do not fit, or fit exactly, the capacity grows by
    /// exactly their number.
    void concat(const UT_IntArray &other);

    /// Replaces the elements by those of `values`, keeping the storage.
    void fromStdVectorOfInts(const std::vector<int> &values);

    /// Inserts `value` into the array, which is sorted ascending, unless it is
    /// there, and returns its index. O(n).
    unsigned uniqueSortedInsertAscending(int32 value);

    // ---- Removing

    /// Removes the element at `index`, which must be below entries(), and
    /// returns `index`.
    unsigned removeAt(unsigned index);

    /// Removes the first element equal to `value`. Returns its index, or -1
    /// when there is none.
    int findAndRemove(int32 value);

    // ---- Rearranging

    /// Sets every element in use to `value`.
    void constant(int32 value);

    /// Reverses the order of the elements.
    void reverse();

    /// Rotates the array: element i goes to (i + k) modulo entries, also for
    /// negative `k`.
    void cycle(int k);

    /// Moves `count` slots from `from` to `to`; the two blocks may overlap.
    /// Returns 0; or -1, and does nothing, when a block does not lie within the
    /// capacity or `count` is 0. The result is always 0 when `from` equals
    /// `to`. shift(0, 1, 3) makes 1 2 3 4 into 1 1 2 3.
    ///
    /// A block that ends past the last element extends the array. Deliberate:
    /// when the last elements move towards the front, the array ends after
    /// them.
    int shift(unsigned from, unsigned to, unsigned count);

    /// Sorts by a comparator. Equal elements keep their order if there is
    /// memory for a copy of the array. O(n log n).
    void sort(Compare compare);

    /// Sorts ascending. O(n log n), without calling a comparator.
    void sortAscending();

    // ---- Sorted sets: both arrays are sorted ascending. The first forms
    // append to `result`, a third array; the second forms change this array.

    /// The elements of either array; a value in both occurs once.
    void sortedUnion(const UT_IntArray &other, UT_IntArray &result) const;
    void sortedUnion(const UT_IntArray &other);

    /// The elements that both arrays hold.
    void
    sortedIntersection(const UT_IntArray &other, UT_IntArray &result) const;
    void sortedIntersection(const UT_IntArray &other);

    /// The elements that `other` does not hold.
    void
    sortedSetDifference(const UT_IntArray &other, UT_IntArray &result) const;
    void sortedSetDifference(const UT_IntArray &other);

    /// Merges `other` into this array. Both are sorted ascending when
    /// `direction` is positive, otherwise descending. Unless `keepDuplicates`
    /// is set, an element of `other` is dropped for each equal one of this
    /// array; repetitions inside one array stay: 1 2 2 and 2 3 give 1 2 2 3.
    void merge(const UT_IntArray &other, int direction, bool keepDuplicates);

    // ---- Heap: the greatest element is at 0.
    //
    // Deliberate: the parent of i is i / 2, and its children are 2i and 2i + 1,
    // so the root has one child, at 1.

    /// Adds `value` and returns its index. O(log n).
    unsigned heapPush(int32 value);

    /// Removes and returns the greatest element; 0 when there is none.
    /// O(log n).
    int32 heapPop();

    /// Sinks the element at `index` until no child is greater. It does not
    /// change places with an equal child; of two equal, greater children the
    /// left one rises.
    void heapify(unsigned index);

private:
    friend struct ut_ArrayGrowth;

    void growFull(); // not UT_LOCAL: append() calls it
    UT_LOCAL void growSlowly();
    UT_LOCAL void concatSlowly(const UT_IntArray &other);

    // Programs hold arrays by value: order and size stay.
    int32 *myData = nullptr; // calloc'ed, null when the capacity is 0
    unsigned myCapacity = 0; // slots allocated
    unsigned myEntries = 0;  // slots in use
};

static_assert(sizeof(void *) != 4 || sizeof(UT_IntArray) == 12);
