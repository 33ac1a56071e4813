// The growable array of whole objects, constructed in place.

#pragma once

#include "UT_ArrayGrowth.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

/// A growable array of objects of type `T`, which it owns.
///
/// New elements are default-constructed in place and never copied. Growing,
/// inserting and removing move the elements by their bytes: a `T` must not hold
/// a pointer into itself (std::string and UT_WorkBuffer do), and its address is
/// borrowed until the next change of the array.
///
/// Indices count from 0 and are not checked. Slots from entries() to
/// capacity() are raw storage.
///
/// Thread-compatible.
template <class T>
class UT_RefArray
{
    static_assert(alignof(T) <= alignof(std::max_align_t));

public:
    /// An empty array without storage.
    UT_RefArray() = default;

    /// Destroys the elements.
    virtual ~UT_RefArray() { resize(0); }

    UT_RefArray(const UT_RefArray &) = delete;
    UT_RefArray &operator=(const UT_RefArray &) = delete;

    /// Number of elements.
    [[nodiscard]] unsigned entries() const { return myEntries; }

    /// Number of slots allocated.
    [[nodiscard]] unsigned capacity() const { return myCapacity; }

    /// The element at `index`, which must be below entries(). Borrowed until
    /// the next change of the array.
    const T &operator()(unsigned index) const { return myData[index]; }
    T &operator()(unsigned index) { return myData[index]; }
    const T &operator[](unsigned index) const { return myData[index]; }
    T &operator[](unsigned index) { return myData[index]; }

    /// The slots, null when there are none. Borrowed until the capacity
    /// changes.
    [[nodiscard]] const T *data() const { return myData; }
    T *data() { return myData; }

    /// Sets the capacity to exactly `newCapacity`. Destroys the elements
    /// beyond it; 0 frees the storage. The second argument has no effect.
    void resize(unsigned newCapacity, unsigned short = 1)
    {
        if (newCapacity == myCapacity)
            return;
        if (newCapacity < myEntries)
        {
            std::destroy(myData + newCapacity, myData + myEntries);
            myEntries = newCapacity;
        }
        void *block = nullptr;
        if (newCapacity == 0)
            free(static_cast<void *>(myData));
        else
        {
            block = myData ? reallocarray(
                                 static_cast<void *>(myData), newCapacity,
                                 sizeof(T))
                           : calloc(newCapacity, sizeof(T));
            if (!block && newCapacity > myCapacity)
                throw std::bad_alloc();
            // If a block cannot shrink, the old one is kept.
            if (!block)
                block = myData;
        }
        myData = static_cast<T *>(block);
        myCapacity = newCapacity;
    }

    /// Constructs an element at `index` and returns `index`. Below entries()
    /// the rest moves up, and a full array grows to UTgrownCapacity(entries()).
    /// At or beyond entries() all slots up to `index` get an element, and the
    /// array grows to UTgrownCapacity(index) when `index` is at or beyond the
    /// capacity. If a constructor throws, the elements are unchanged.
    unsigned insert(unsigned index)
    {
        if (index < myEntries)
        {
            if (myEntries == myCapacity)
                resize(UTgrownCapacity(myEntries));
            moveTail(index + 1, index, myEntries - index);
            try
            {
                new (static_cast<void *>(myData + index)) T();
            }
            catch (...)
            {
                moveTail(index, index + 1, myEntries - index);
                throw;
            }
            ++myEntries;
            return index;
        }
        if (index >= myCapacity)
            resize(UTgrownCapacity(index));
        std::uninitialized_value_construct(
            myData + myEntries, myData + index + 1);
        myEntries = index + 1;
        return index;
    }

    /// Destroys the element at `index`, which must be below entries(), moves
    /// the rest down and returns `index`.
    unsigned removeAt(unsigned index)
    {
        myData[index].~T();
        --myEntries;
        moveTail(index, index + 1, myEntries - index);
        return index;
    }

private:
    void moveTail(unsigned to, unsigned from, size_t count)
    {
        memmove(
            static_cast<void *>(myData + to),
            static_cast<const void *>(myData + from), count * sizeof(T));
    }

    // Programs hold arrays by value: the virtual table and these members, in
    // this order, are all their contents.
    T *myData = nullptr;     // calloc'ed, null when the capacity is 0
    unsigned myCapacity = 0; // slots allocated
    unsigned myEntries = 0;  // elements, which are all constructed
};

static_assert(sizeof(void *) != 4 || sizeof(UT_RefArray<int>) == 16);
