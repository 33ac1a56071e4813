// The growable array of floats: storage, searching and a heap.

#pragma once

#include "UT_API.h"

/// The largest difference of two floats that UTcompareFloats() treats as equal;
/// 0.0 at the start. Process-wide and unguarded.
extern UT_API float UTcompareFloatsTolerance;

/// Sets UTcompareFloatsTolerance.
UT_API void UTsetCompareFloatsTolerance(float tolerance);

/// Compares with the tolerance: 1 when the first value is greater by more than
/// the tolerance, -1 when it is less by more than that, otherwise 0.
UT_API int UTcompareFloats(const float *a, const float *b);

/// A growable array of 32-bit floats.
///
/// Indices count from 0 and are not checked. Slots from entries() to capacity()
/// keep whatever they last held. Deliberate: a new one is uninitialised and
/// must not be read. A growing operation allocates UTgrownCapacity(m) slots,
/// where m is the number that its comment names; only resize() and swap() free
/// slots.
///
/// "Sorted" means in the comparator's order. Comparators have the sense of
/// strcmp(). Without one, floats are compared exactly: 0.0 equals -0.0, and a
/// NaN does not equal itself.
///
/// Thread-compatible.
class UT_API UT_FloatArray
{
public:
    /// Orders two elements.
    using Compare = int (*)(const float *a, const float *b);

    /// An empty array without storage.
    UT_FloatArray() = default;

    /// An empty array of exactly `capacity` slots.
    explicit UT_FloatArray(unsigned capacity) { resize(capacity); }

    /// A copy with as many slots as `source` has entries.
    UT_FloatArray(const UT_FloatArray &source);
    ~UT_FloatArray();

    /// Copies the elements of `source`. Grows to exactly as many slots as they
    /// need, and never shrinks.
    UT_FloatArray &operator=(const UT_FloatArray &source);

    /// Number of elements in use.
    [[nodiscard]] unsigned entries() const { return myEntries; }

    /// Number of slots allocated.
    [[nodiscard]] unsigned capacity() const { return myCapacity; }

    /// The slot at `index`, which must be below capacity().
    float operator()(unsigned index) const { return myData[index]; }
    float &operator()(unsigned index) { return myData[index]; }
    float operator[](unsigned index) const { return myData[index]; }
    float &operator[](unsigned index) { return myData[index]; }

    /// The slots, null when there are none. Borrowed until the capacity
    /// changes.
    [[nodiscard]] const float *data() const { return myData; }
    float *data() { return myData; }

    /// Same elements in the same order, or the same object.
    bool operator==(const UT_FloatArray &other) const;

    /// Same number of elements, and each pair compares equal.
    [[nodiscard]] bool
    isEqual(const UT_FloatArray &other, Compare compare) const;

    /// Index of the first element from `start` on that equals `value`, or -1.
    [[nodiscard]] int find(float value, unsigned start = 0) const;

    /// Index of an element of the sorted array that compares equal, or -1.
    /// O(log n).
    [[nodiscard]] int find(float value, Compare compare) const;

    /// Calls `function` on each element in order until one call returns
    /// non-zero. Returns the index of that element, or entries().
    unsigned apply(int (*function)(float &element, void *data), void *data);

    /// Prints each element and a blank, then a newline, on standard output.
    void display() const;

    // ---- Size

    /// Sets the capacity to exactly `newCapacity`: removes elements beyond it,
    /// leaves new slots uninitialised, and frees the storage for 0. The second
    /// argument has no effect.
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
    void swap(UT_FloatArray &other);

    // ---- Adding

    /// Adds `value` at the end and returns its index. A full array grows, with
    /// m = entries. Amortised O(1).
    unsigned append(float value)
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
    /// = entries + 1; at or beyond entries() the slot becomes the last element,
    /// and an array whose capacity is not above `index` grows with m = `index`.
    unsigned insert(unsigned index);

    /// Inserts `value` before the element at `index`, or at or beyond the end
    /// as insert(index) does, and returns `index`. Grows with m = entries, or m
    /// = `index` at or beyond the capacity.
    unsigned insertAt(float value, unsigned index);
    unsigned insert(float value, unsigned index);

    /// Opens `count` slots at `index` as insert(index) opens one, and returns
    /// `index`. Grows with m = entries + `count` below entries(), and with m =
    /// `index` + `count` otherwise. Deliberate: in the second case the array
    /// also grows when that is exactly the capacity.
    unsigned multipleInsert(unsigned index, unsigned count);

    /// Appends all elements of `other`, which may be this array.
    ///
    /// Deliberate: when they do not fit, or fit exactly, the capacity grows by
    /// exactly their number.
    void concat(const UT_FloatArray &other);

    /// Inserts `value` into the sorted array, before an equal element, and
    /// returns its index. O(n).
    unsigned sortedInsert(float value, Compare compare);

    /// Inserts `value` into the sorted array unless an equal element is there.
    /// Returns the index of the element, new or old. O(n).
    unsigned uniqueSortedInsert(float value, Compare compare);

    // ---- Removing

    /// Removes the element at `index`, which must be below entries(), and
    /// returns `index`.
    unsigned removeAt(unsigned index);

    /// Removes the first element equal to `value`. Returns its index, or -1
    /// when there is none.
    int findAndRemove(float value);

    // ---- Rearranging

    /// Sets every element in use to `value`, by VM_Math::set() when
    /// VM_Math::theSIMD is on.
    void constant(float value);

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

    /// Sorts ascending; there must be no NaN. O(n log n), without calling a
    /// comparator.
    void sortAscending();

    // ---- Heap: the element that the comparator orders last is at 0.
    //
    // Deliberate: the parent of i is i / 2, and its children are 2i and 2i + 1,
    // so the root has one child, at 1.

    /// Adds `value` and returns its index. O(log n).
    unsigned heapPush(float value, Compare compare);

    /// Removes and returns the greatest element; 0.0 when there is none.
    /// O(log n).
    float heapPop(Compare compare);

    /// Sinks the element at `index` until no child is greater. It does not
    /// change places with an equal child; of two equal, greater children the
    /// left one rises.
    void heapify(unsigned index, Compare compare);

private:
    void growFull(); // not UT_LOCAL: append() calls it
    UT_LOCAL void growSlowly();
    UT_LOCAL void concatSlowly(const UT_FloatArray &other);

    // Programs hold arrays by value: order and size stay.
    float *myData = nullptr; // malloc'ed, null when the capacity is 0
    unsigned myCapacity = 0; // slots allocated
    unsigned myEntries = 0;  // slots in use
};

static_assert(sizeof(void *) != 4 || sizeof(UT_FloatArray) == 12);
