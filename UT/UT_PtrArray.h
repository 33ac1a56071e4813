// The growable array of pointers: the untyped class, and a typed wrapper for
// it.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <type_traits>

/// The difference of two pointer values as unsigned numbers; only its sign, 1
/// or -1, when an int cannot hold it.
UT_API int UTcomparePointers(void *const *a, void *const *b);

/// A growable array of untyped pointers, which it does not own.
///
/// Indices count from 0 and are not checked. Slots from entries() to capacity()
/// keep whatever they last held, and a new one holds null. A growing operation
/// allocates UTgrownCapacity(m) slots, where m is the number that its comment
/// names; only resize(), collapse() and swap() free slots.
///
/// "Sorted" means in the comparator's order, unless said otherwise. Comparators
/// have the sense of strcmp() and get the addresses of two pointers.
///
/// A literal 0 could be an index or a null pointer: write `0u` or `nullptr`.
///
/// Thread-compatible.
class UT_API UT_PtrArrayRaw
{
public:
    /// Orders two elements.
    using Compare = int (*)(void *const *a, void *const *b);

    /// An empty array without storage.
    UT_PtrArrayRaw() = default;

    /// An empty array of exactly `capacity` slots.
    explicit UT_PtrArrayRaw(unsigned capacity) { resize(capacity); }

    /// A copy with as many slots as `source` has entries.
    UT_PtrArrayRaw(const UT_PtrArrayRaw &source);
    ~UT_PtrArrayRaw();

    /// Copies the elements of `source`. Grows to exactly as many slots as they
    /// need, and never shrinks.
    UT_PtrArrayRaw &operator=(const UT_PtrArrayRaw &source);

    /// Number of elements in use.
    [[nodiscard]] unsigned entries() const { return myEntries; }

    /// Number of slots allocated.
    [[nodiscard]] unsigned capacity() const { return myCapacity; }

    /// The slot at `index`, which must be below capacity().
    void *operator()(unsigned index) const { return myData[index]; }
    void *&operator()(unsigned index) { return myData[index]; }
    void *operator[](unsigned index) const { return myData[index]; }
    void *&operator[](unsigned index) { return myData[index]; }

    /// The slots, null when there are none. Borrowed until the capacity
    /// changes.
    [[nodiscard]] void *const *data() const { return myData; }
    void **data() { return myData; }

    /// Same pointers in the same order.
    bool operator==(const UT_PtrArrayRaw &other) const;

    /// Same number of elements, and each pair compares equal.
    [[nodiscard]] bool
    isEqual(const UT_PtrArrayRaw &other, Compare compare) const;

    /// Index of the first element from `start` on that equals `pointer`, or -1.
    [[nodiscard]] int find(const void *pointer, unsigned start = 0) const;

    /// Index of an element of the sorted array that compares equal, or -1.
    /// O(log n).
    [[nodiscard]] int find(const void *pointer, Compare compare) const;

    /// Index of `text` in an array of texts sorted by strcmp(), or -1. In an
    /// unsorted array it may miss the text. O(log n).
    [[nodiscard]] int findString(const char *text) const;

    /// Whether each element of `other` is in this array; both are sorted. An
    /// element that `other` repeats must be here as often. O(n).
    [[nodiscard]] bool
    hasSortedSubset(const UT_PtrArrayRaw &other, Compare compare) const;

    /// Calls `function` on each element in order until one call returns
    /// non-zero. Returns the index of that element, or entries().
    unsigned apply(int (*function)(void *&element, void *data), void *data);

    // ---- Size

    /// Sets the capacity to exactly `newCapacity`: removes elements beyond it,
    /// sets new slots to null, and frees the storage for 0. The second argument
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
    void swap(UT_PtrArrayRaw &other);

    // ---- Adding

    /// Adds `pointer` at the end and returns its index. A full array grows,
    /// with m = entries. Amortised O(1).
    unsigned append(void *pointer)
    {
        const unsigned index = myEntries;
        if (index == myCapacity)
            growFull();
        myData[index] = pointer;
        myEntries = index + 1;
        return index;
    }

    /// Adds `pointer` at the end, unless `unique` is non-zero and the array has
    /// it. Returns the index of the added element, or of the first one that was
    /// there. O(n).
    unsigned append(void *pointer, int unique);

    /// Opens a slot at `index`, which keeps the value that it held, and returns
    /// `index`. Below entries() the rest moves up and a full array grows with m
    /// = entries + 1; at or beyond entries() the slot becomes the last element,
    /// and an array whose capacity is not above `index` grows with m = `index`.
    unsigned insert(unsigned index);

    /// Inserts `pointer` before the element at `index`, or at or beyond the end
    /// as insert(index) does, and returns `index`. Grows with m = entries, or m
    /// = `index` at or beyond the capacity.
    unsigned insertAt(void *pointer, unsigned index);
    unsigned insert(void *pointer, unsigned index);

    /// Opens `count` slots at `index` as insert(index) opens one, and returns
    /// `index`. Grows with m = entries + `count` below entries(), and with m =
    /// `index` + `count` otherwise. Deliberate: in the second case the array
    /// also grows when that is exactly the capacity.
    unsigned multipleInsert(unsigned index, unsigned count);

    /// Appends all elements of `other`, which may be this array.
    ///
    /// Deliberate: when they do not fit, or fit exactly, the capacity grows by
    /// exactly their number.
    void concat(const UT_PtrArrayRaw &other);

    /// Overwrites the first elements by those of `other`; elements beyond them
    /// stay. Grows to exactly as many slots as `other` has entries.
    void assignSubset(const UT_PtrArrayRaw &other);

    /// Inserts `pointer` into the sorted array, before an equal element, and
    /// returns its index. O(n).
    unsigned sortedInsert(void *pointer, Compare compare);

    /// Inserts `pointer` into the sorted array unless an equal element is
    /// there. Returns the index of the element, new or old. O(n).
    unsigned uniqueSortedInsert(void *pointer, Compare compare);

    /// Inserts `pointer` into the array, which is sorted by pointer value,
    /// unless it is there, and returns its index. O(n).
    unsigned uniqueSortedInsert(const void *pointer);

    // ---- Removing

    /// Removes the element at `index`, which must be below entries(), and
    /// returns `index`.
    unsigned removeAt(unsigned index);

    /// Removes the first element equal to `pointer`. Returns its index, or -1
    /// when there is none.
    int remove(const void *pointer);

    /// Removes all null pointers. O(n).
    void removeZeros();

    /// Removes all null pointers, then frees the slots not in use. O(n).
    void collapse();

    // ---- Rearranging

    /// Reverses the order of the elements.
    void reverse();

    /// Rotates the array: element i goes to (i + k) modulo entries, also for
    /// negative `k`.
    void cycle(int k);

    /// Moves `count` slots from `from` to `to`; the two blocks may overlap.
    /// Returns 0; or -1, and does nothing, when a block does not lie within the
    /// capacity or `count` is 0. The result is always 0 when `from` equals
    /// `to`. shift(0, 1, 3) makes a b c d into a a b c.
    ///
    /// A block that ends past the last element extends the array. Deliberate:
    /// when the last elements move towards the front, the array ends after
    /// them.
    int shift(unsigned from, unsigned to, unsigned count);

    /// Moves the `count` elements at `from` so that they begin at `to`; the
    /// elements between fill the gap. Negative positions count as 0; `count`,
    /// then `to`, are reduced to fit within the array. move(0, 2, 1) makes a b
    /// c d into b c a d.
    void move(int from, int to, int count);

    /// Sorts by a comparator. Equal elements keep their order if there is
    /// memory for a copy of the array. O(n log n).
    void sort(Compare compare);

    // ---- Sorted sets: both arrays are sorted. The first forms append to
    // `result`, a third array; the second forms change this array. Of two
    // elements that compare equal, the one in this array is taken.

    /// The elements of either array; one in both occurs once.
    void sortedUnion(
        const UT_PtrArrayRaw &other, UT_PtrArrayRaw &result,
        Compare compare) const;
    void sortedUnion(const UT_PtrArrayRaw &other, Compare compare);

    /// The elements that both arrays hold.
    void sortedIntersection(
        const UT_PtrArrayRaw &other, UT_PtrArrayRaw &result,
        Compare compare) const;
    void sortedIntersection(const UT_PtrArrayRaw &other, Compare compare);

    // ---- Heap: the element that the comparator orders last is at 0.
    //
    // Deliberate: the parent of i is i / 2, and its children are 2i and 2i + 1,
    // so the root has one child, at 1.

    /// Adds `pointer` and returns its index. O(log n).
    unsigned heapPush(void *pointer, Compare compare);

    /// Removes and returns the element at 0, the greatest of a heap; null when
    /// there is none. The last one takes its place and sinks as in heapify(),
    /// also in an array that is not a heap. O(log n), with two comparisons for
    /// each level.
    void *heapPop(Compare compare);

    /// Sinks the element at `index` until no child is greater. It does not
    /// change places with an equal child; of two equal, greater children the
    /// left one rises.
    void heapify(unsigned index, Compare compare);

private:
    friend struct ut_ArrayGrowth;

    void growFull(); // not UT_LOCAL: append() calls it
    UT_LOCAL void growSlowly();
    UT_LOCAL void concatSlowly(const UT_PtrArrayRaw &other);

    // Programs hold arrays by value: order and size stay.
    void **myData = nullptr; // calloc'ed, null when the capacity is 0
    unsigned myCapacity = 0; // slots allocated
    unsigned myEntries = 0;  // slots in use
};

static_assert(sizeof(void *) != 4 || sizeof(UT_PtrArrayRaw) == 12);

/// A UT_PtrArrayRaw whose elements are of the pointer type `T`, such as
/// `UT_String *` or `const char *`. Each member works as the untyped one of its
/// name.
///
/// The array does not own the objects that it points at.
template <class T>
class UT_PtrArray
{
    static_assert(
        std::is_object_v<std::remove_pointer_t<T>> && std::is_pointer_v<T>);

public:
    /// Orders two elements.
    using Compare = int (*)(const T *a, const T *b);

    /// An empty array, without storage or of exactly `capacity` slots.
    UT_PtrArray() = default;
    explicit UT_PtrArray(unsigned capacity) : myArray(capacity) {}

    /// A copy with as many slots as `source` has entries.
    UT_PtrArray(const UT_PtrArray &source) = default;
    virtual ~UT_PtrArray() = default;

    /// Copies the elements of `source`.
    UT_PtrArray &operator=(const UT_PtrArray &source) = default;

    /// Number of elements in use.
    [[nodiscard]] unsigned entries() const { return myArray.entries(); }

    /// Number of slots allocated.
    [[nodiscard]] unsigned capacity() const { return myArray.capacity(); }

    /// The slot at `index`, which must be below capacity().
    T operator()(unsigned index) const { return data()[index]; }
    T &operator()(unsigned index) { return data()[index]; }
    T operator[](unsigned index) const { return data()[index]; }
    T &operator[](unsigned index) { return data()[index]; }

    /// The slots, null when there are none. Borrowed until the capacity
    /// changes.
    [[nodiscard]] const T *data() const
    {
        return static_cast<const T *>(
            static_cast<const void *>(myArray.data()));
    }
    T *data() { return static_cast<T *>(static_cast<void *>(myArray.data())); }

    /// Comparing and searching.
    bool operator==(const UT_PtrArray &other) const
    {
        return myArray == other.myArray;
    }
    [[nodiscard]] bool isEqual(const UT_PtrArray &other, Compare compare) const
    {
        return myArray.isEqual(other.myArray, raw(compare));
    }
    [[nodiscard]] int find(T pointer, unsigned start = 0) const
    {
        return myArray.find(pointer, start);
    }
    [[nodiscard]] int find(T pointer, Compare compare) const
    {
        return myArray.find(pointer, raw(compare));
    }
    [[nodiscard]] int findString(const char *text) const
    {
        static_assert(std::is_convertible_v<T, const char *>);
        return myArray.findString(text);
    }
    [[nodiscard]] bool
    hasSortedSubset(const UT_PtrArray &other, Compare compare) const
    {
        return myArray.hasSortedSubset(other.myArray, raw(compare));
    }
    unsigned apply(int (*function)(T &element, void *data), void *data)
    {
        unsigned index = 0;
        while (index < entries() && !function((*this)(index), data))
            ++index;
        return index;
    }

    /// Size.
    void resize(unsigned newCapacity, unsigned short = 1)
    {
        myArray.resize(newCapacity);
    }
    void setEntries(unsigned entries) { myArray.setEntries(entries); }
    void clear() { myArray.clear(); }
    void swap(UT_PtrArray &other) { myArray.swap(other.myArray); }

    /// Adding.
    unsigned append(T pointer) { return myArray.append(raw(pointer)); }
    unsigned append(T pointer, int unique)
    {
        return myArray.append(raw(pointer), unique);
    }
    unsigned insert(unsigned index) { return myArray.insert(index); }
    unsigned insert(T pointer, unsigned index)
    {
        return myArray.insert(raw(pointer), index);
    }
    unsigned insertAt(T pointer, unsigned index)
    {
        return myArray.insertAt(raw(pointer), index);
    }
    unsigned multipleInsert(unsigned index, unsigned count)
    {
        return myArray.multipleInsert(index, count);
    }
    void concat(const UT_PtrArray &other) { myArray.concat(other.myArray); }
    void assignSubset(const UT_PtrArray &other)
    {
        myArray.assignSubset(other.myArray);
    }
    unsigned sortedInsert(T pointer, Compare compare)
    {
        return myArray.sortedInsert(raw(pointer), raw(compare));
    }
    unsigned uniqueSortedInsert(T pointer, Compare compare)
    {
        return myArray.uniqueSortedInsert(raw(pointer), raw(compare));
    }
    unsigned uniqueSortedInsert(T pointer)
    {
        return myArray.uniqueSortedInsert(pointer);
    }

    /// Removing.
    unsigned removeAt(unsigned index) { return myArray.removeAt(index); }
    int remove(T pointer) { return myArray.remove(pointer); }
    void removeZeros() { myArray.removeZeros(); }
    void collapse() { myArray.collapse(); }

    /// Rearranging.
    void reverse() { myArray.reverse(); }
    void cycle(int k) { myArray.cycle(k); }
    int shift(unsigned from, unsigned to, unsigned count)
    {
        return myArray.shift(from, to, count);
    }
    void move(int from, int to, int count) { myArray.move(from, to, count); }
    void sort(Compare compare) { myArray.sort(raw(compare)); }

    /// Sorted sets.
    void sortedUnion(
        const UT_PtrArray &other, UT_PtrArray &result, Compare compare) const
    {
        myArray.sortedUnion(other.myArray, result.myArray, raw(compare));
    }
    void sortedUnion(const UT_PtrArray &other, Compare compare)
    {
        myArray.sortedUnion(other.myArray, raw(compare));
    }
    void sortedIntersection(
        const UT_PtrArray &other, UT_PtrArray &result, Compare compare) const
    {
        myArray.sortedIntersection(other.myArray, result.myArray, raw(compare));
    }
    void sortedIntersection(const UT_PtrArray &other, Compare compare)
    {
        myArray.sortedIntersection(other.myArray, raw(compare));
    }

    /// Heap.
    unsigned heapPush(T pointer, Compare compare)
    {
        return myArray.heapPush(raw(pointer), raw(compare));
    }
    T heapPop(Compare compare)
    {
        return static_cast<T>(myArray.heapPop(raw(compare)));
    }
    void heapify(unsigned index, Compare compare)
    {
        myArray.heapify(index, raw(compare));
    }

private:
    static void *raw(T pointer)
    {
        return const_cast<void *>(static_cast<const void *>(pointer));
    }

    // All pointers to objects have one representation, and so do functions of
    // their addresses: a thunk for each comparator would change no instruction.
    static UT_PtrArrayRaw::Compare raw(Compare compare)
    {
        return reinterpret_cast<UT_PtrArrayRaw::Compare>(compare);
    }

    UT_PtrArrayRaw myArray;
};

// Programs derive from it and hold it by value: the virtual table and the array
// are its only contents.
static_assert(sizeof(void *) != 4 || sizeof(UT_PtrArray<char *>) == 16);
