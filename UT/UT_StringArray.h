// The toolkit's list of strings, in the order of insertion or sorted, by bytes
// or with numbers by their value.

#pragma once

#include "UT_API.h"
#include "UT_PtrArray.h"
#include "UT_String.h"

#include <string>
#include <vector>

/// A growable array of strings that it owns.
///
/// Each element owns its text, which is a copy, and copies whatever is assigned
/// to it later. Elements do not move when the array grows; a reference to one
/// is borrowed until that element is removed.
///
/// Indices count from 0 and are not checked, unless said otherwise. Sorting and
/// looking up have four orders: ascending with `forward`, otherwise descending;
/// by UT_String::compareNumberedString() with `numbered` (a2, a10), otherwise
/// by strcmp() (a10, a2). Both order null before all texts.
///
/// The operations of the base class work on the pointers and ignore the
/// ownership. Slots from entries() on hold null.
///
/// Thread-compatible.
class UT_API UT_StringArray : public UT_PtrArray<UT_String *>
{
public:
    /// An empty array without storage.
    UT_StringArray() = default;

    /// An array of the texts of `list`, which ends with a null; empty for a
    /// null list.
    explicit UT_StringArray(const char *const *list);

    /// A copy with as many slots as `source` has entries, each element a new
    /// string.
    UT_StringArray(const UT_StringArray &source);
    ~UT_StringArray() override;

    /// Replaces the elements by copies of those of `source`, with as many slots
    /// as it has entries: the capacity may shrink.
    UT_StringArray &operator=(const UT_StringArray &source);

    /// Number of elements in use.
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
    /// differs from "". An array with a null pointer as an element does not
    /// equal any, not even itself.
    bool operator==(const UT_StringArray &other) const;
    bool operator!=(const UT_StringArray &other) const
    {
        return !(*this == other);
    }

    /// Number of leading bytes that all elements share: 3 for "img1" and
    /// "img2". 0 for an empty array and when an element is null. O(total
    /// length).
    [[nodiscard]] int getLongestPrefixLength() const;

    /// Appends the text of every element to `out`, which is not emptied first,
    /// and returns the number of elements. Null is appended as "".
    int toStdVectorOfStrings(std::vector<std::string> &out) const;

    /// Replaces the elements by the texts of `texts`, each up to its first
    /// NUL.
    void fromStdVectorOfStrings(const std::vector<std::string> &texts);

    /// Adds a copy of `text`, or a null string, at the end and returns its
    /// index.
    int append(const char *text);

    /// Inserts a copy of `text` before the element at `index` and returns
    /// `index`, or -1 when that is negative. Beyond the end it becomes the last
    /// element, and the elements before it that are missing become null
    /// pointers: of the members here, only those that find, compare for
    /// equality, remove and clear accept such an array.
    int insert(const char *text, int index);

    /// Inserts a copy of `text` at its place in an array that is sorted in
    /// this order, before an equal element, and returns its index. O(n).
    int sortedInsert(const char *text, bool forward, bool numbered);

    /// Moves all elements of `other` to the end of this array, without copying,
    /// and returns their number. Merging an array into itself does nothing and
    /// returns 0.
    int merge(UT_StringArray &other);

    /// Deletes the element at `index` and returns `index`; -1 when there is
    /// none.
    int remove(int index);

    /// Deletes the last element and returns the index that it had; 0 for an
    /// empty array, as for an array of one.
    int removeLast();

    /// Deletes all elements and keeps the storage.
    void clear();

    /// Sets the number of elements and the capacity to `count`: deletes
    /// elements at the end, or adds strings that are "". Does nothing when
    /// there are already `count` elements, or for a negative `count`.
    void resize(int count);

    /// Sorts in one of the four orders. The order of equal elements is
    /// unspecified. O(n log n). Allocates up to 16 bytes for each element
    /// during the call.
    void sort(bool forward, bool numbered);

    /// Sorts by a comparator, which gets the addresses of two pointers.
    void sort(Compare compare);
};

// Programs derive from it and hold it by value: it adds nothing to its base.
static_assert(sizeof(UT_StringArray) == sizeof(UT_PtrArray<UT_String *>));
