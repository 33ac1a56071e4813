// The toolkit's list of strings, kept in the order of insertion or sorted,
// plainly or with numbers by their value.

#pragma once

#include "UT_API.h"
#include "UT_PtrArray.h"
#include "UT_String.h"

#include <string>
#include <vector>

/// A growable array of strings that it owns.
///
/// Each element owns its text, which is a copy, and goes on to copy what is
/// assigned to it. Elements stay where they are while the array grows; a
/// reference to one lives until that element goes.
///
/// Indices count from 0 and are not checked except where said. Four orders
/// serve sorting and looking up: `forward` is ascending and otherwise
/// descending; `numbered` is UT_String::compareNumberedString() and otherwise
/// strcmp(). Both put null before all texts.
///
/// The operations of the base class work on the pointers and know nothing of
/// the ownership. Slots from entries() on hold null.
///
/// Thread-compatible.
class UT_API UT_StringArray : public UT_PtrArray<UT_String *>
{
public:
    /// An empty array without storage.
    UT_StringArray() = default;

    /// The texts of `list`, which ends with a null; none for a null list.
    explicit UT_StringArray(const char *const *list);

    /// A copy with as many slots as `source` has entries, each element a new
    /// string.
    UT_StringArray(const UT_StringArray &source);
    ~UT_StringArray() override;

    /// The same for an array that exists; what it held is deleted, and the
    /// capacity may shrink.
    UT_StringArray &operator=(const UT_StringArray &source);

    /// Number of elements.
    [[nodiscard]] int entries() const { return int(UT_PtrArray::entries()); }

    /// The element at `index`.
    UT_String &operator()(int index) { return *data()[index]; }
    const UT_String &operator()(int index) const { return *data()[index]; }

    /// The last element of an array that is not empty.
    UT_String &last() { return (*this)(entries() - 1); }
    [[nodiscard]] const UT_String &last() const
    {
        return (*this)(entries() - 1);
    }

    /// Index of the first element whose text is equal to `text`, or -1. Null
    /// finds an element without text. O(n).
    [[nodiscard]] int find(const char *text) const;

    /// Index of an element equal to `text` in an array that is sorted in this
    /// order, or -1. O(log n).
    [[nodiscard]] int
    sortedFind(const char *text, bool forward, bool numbered) const;

    /// Same number of elements, with the same texts in the same order; null
    /// is not "". An array with a null pointer for an element equals none,
    /// not even itself.
    bool operator==(const UT_StringArray &other) const;
    bool operator!=(const UT_StringArray &other) const
    {
        return !(*this == other);
    }

    /// Number of leading bytes that all elements share; 0 for an empty array
    /// and when an element is null. O(total length).
    [[nodiscard]] int getLongestPrefixLength() const;

    /// Appends the text of every element to `out`, which is not emptied, and
    /// returns how many there are. Null is appended as "".
    int toStdVectorOfStrings(std::vector<std::string> &out) const;

    /// Replaces the elements by the texts of `texts`, each up to its first
    /// NUL.
    void fromStdVectorOfStrings(const std::vector<std::string> &texts);

    /// Adds a copy of `text`, or a null string, at the end and returns its
    /// index.
    int append(const char *text);

    /// Inserts a copy of `text` before the element at `index` and returns
    /// `index`, or -1 when that is negative. Beyond the end the array ends
    /// behind the inserted element, and the elements between are null
    /// pointers: of the members here, only those that find, compare for
    /// equality, remove and clear take such an array.
    int insert(const char *text, int index);

    /// Inserts a copy of `text` at its place in an array that is sorted in
    /// this order, before an equal element, and returns its index. O(n).
    int sortedInsert(const char *text, bool forward, bool numbered);

    /// Moves all elements of `other` to the end of this array, without
    /// copying, and returns how many there were. Merging an array into itself
    /// does nothing and returns 0.
    int merge(UT_StringArray &other);

    /// Deletes the element at `index` and returns `index`; -1 when there is
    /// none.
    int remove(int index);

    /// Deletes the last element and returns what its index was; 0 when the
    /// array is empty, as for an array of one.
    int removeLast();

    /// Deletes all elements and keeps the storage.
    void clear();

    /// Makes the array `count` elements long, which is then its capacity too:
    /// deletes elements at the end or adds strings that are "". Does nothing
    /// when there are `count` elements, or for a negative `count`.
    void resize(int count);

    /// Sorts in one of the four orders. The order of equal elements is open.
    /// O(n log n). Allocates up to 16 bytes for each element meanwhile.
    void sort(bool forward, bool numbered);

    /// Sorts by a comparator, which gets the addresses of two pointers.
    void sort(Compare compare);
};

// Programs derive from it and hold it by value: it adds nothing to its base.
static_assert(sizeof(UT_StringArray) == sizeof(UT_PtrArray<UT_String *>));
