// The items that UT_QuickSort sorts: keys alone, keys with an index, and
// records.

#pragma once

#include "UT_DigitSortImpl.h"
#include "UT_QuickSortImpl.h"
#include "UT_VectorSortImpl.h"

#include <cstring>

// Ranges below this size are sorted at once, by comparing all pairs.
constexpr size_t theSmallSize = 20;

// Besides what all items do, those below arrange(begin, size, places): each of
// `size` items, fewer than theSmallSize, moves to its place from `begin`. Keys
// have a view(begin), for sorting by digits, of items of type Item.

// Keys alone.
template <class Key>
class ut_KeyItems
{
public:
    using Item = Key;

    ut_KeyItems(Key *keys, ut_KeyForm<Key> form)
        : myKeys(keys), myForm(form), myHeld()
    {
    }

    [[nodiscard]] Key keyAt(size_t i) const
    {
        return myForm.flipped(myKeys[i]);
    }
    [[nodiscard]] Key heldKey() const { return myForm.flipped(myHeld); }
    static bool isLess(Key a, Key b) { return a < b; }

    void hold(size_t i) { myHeld = myKeys[i]; }
    void move(size_t to, size_t from) { myKeys[to] = myKeys[from]; }
    void release(size_t to) { myKeys[to] = myHeld; }

    void arrange(size_t begin, size_t size, const size_t *places)
    {
        Key keys[theSmallSize];
        for (size_t i = 0; i < size; i++)
            keys[i] = myKeys[begin + i];
        for (size_t i = 0; i < size; i++)
            myKeys[begin + places[i]] = keys[i];
    }

    [[nodiscard]] ut_KeyArray<Key> view(size_t begin) const
    {
        return {myKeys + begin, myForm};
    }

private:
    Key *myKeys;
    ut_KeyForm<Key> myForm;
    Key myHeld;
};

#ifdef SYS_HAS_VECTORS
// Keys alone, divided by vectors, and in small numbers sorted by them.
template <class Key>
class ut_VectorKeyItems : public ut_KeyItems<Key>
{
public:
    ut_VectorKeyItems(Key *keys, ut_KeyForm<Key> form)
        : ut_KeyItems<Key>(keys, form), myKeys(keys), myForm(form)
    {
    }

    [[nodiscard]] size_t
    partition(size_t pivot, size_t first, size_t last, bool equalsStay) const
    {
        return first + utPartitionByVectors(
                           myKeys + first, last - first, this->keyAt(pivot),
                           equalsStay, myForm);
    }
    void sortByRanks(size_t begin, size_t end) const
    {
        utSortByRanks(myKeys + begin, end - begin, myForm);
    }

private:
    Key *myKeys;
    ut_KeyForm<Key> myForm;
};

// Keys alone, divided by long vectors, and in small numbers sorted by them.
template <class Key>
class ut_LongVectorKeyItems : public ut_KeyItems<Key>
{
public:
    ut_LongVectorKeyItems(Key *keys, ut_KeyForm<Key> form)
        : ut_KeyItems<Key>(keys, form), myKeys(keys), myForm(form)
    {
    }

    [[nodiscard]] bool settleRun(size_t n) const
    {
        return utSettleRunByLongVectors(myKeys, n, myForm);
    }
    [[nodiscard]] ut_EqualRange divide(size_t begin, size_t end) const
    {
        const ut_EqualRange equal =
            utDivideByLongVectors(myKeys + begin, end - begin, myForm);
        return {begin + equal.begin, begin + equal.end};
    }
    void sortByNetwork(size_t begin, size_t end) const
    {
        utSortByNetwork(myKeys + begin, end - begin, myForm);
    }

private:
    Key *myKeys;
    ut_KeyForm<Key> myForm;
};
#endif

// Keys with an index that follows them.
template <class Key>
class ut_IndexedItems
{
public:
    using Item = ut_NumberedKey<Key>;

    ut_IndexedItems(Key *keys, int *index, ut_KeyForm<Key> form)
        : myKeys(keys), myIndex(index), myForm(form), myHeldKey(), myHeldIndex()
    {
    }

    [[nodiscard]] Key keyAt(size_t i) const
    {
        return myForm.flipped(myKeys[i]);
    }
    [[nodiscard]] Key heldKey() const { return myForm.flipped(myHeldKey); }
    static bool isLess(Key a, Key b) { return a < b; }

    void hold(size_t i)
    {
        myHeldKey = myKeys[i];
        myHeldIndex = myIndex[i];
    }
    void move(size_t to, size_t from)
    {
        myKeys[to] = myKeys[from];
        myIndex[to] = myIndex[from];
    }
    void release(size_t to)
    {
        myKeys[to] = myHeldKey;
        myIndex[to] = myHeldIndex;
    }

    void arrange(size_t begin, size_t size, const size_t *places)
    {
        Key keys[theSmallSize];
        int index[theSmallSize];
        for (size_t i = 0; i < size; i++)
        {
            keys[i] = myKeys[begin + i];
            index[i] = myIndex[begin + i];
        }
        for (size_t i = 0; i < size; i++)
        {
            myKeys[begin + places[i]] = keys[i];
            myIndex[begin + places[i]] = index[i];
        }
    }

    [[nodiscard]] ut_NumberedKeyArrays<Key> view(size_t begin) const
    {
        return {myKeys + begin, myIndex + begin, myForm};
    }

private:
    Key *myKeys;
    int *myIndex;
    ut_KeyForm<Key> myForm;
    Key myHeldKey;
    int myHeldIndex;
};

// Records with a key in their first four bytes, aligned or not, of `knownSize`
// bytes or, where that is 0, of a size that only run time knows. A move of a
// known size is a few instructions without a branch.
template <class Key, size_t knownSize>
class ut_RecordItems
{
public:
    ut_RecordItems(
        void *records, size_t size, void *scratch, ut_KeyForm<Key> form)
        : myRecords(static_cast<char *>(records)), mySize(size),
          myScratch(static_cast<char *>(scratch)), myForm(form)
    {
    }

    [[nodiscard]] Key keyAt(size_t i) const { return keyOf(record(i)); }
    [[nodiscard]] Key heldKey() const { return keyOf(myScratch); }
    static bool isLess(Key a, Key b) { return a < b; }

    void hold(size_t i) { copy(myScratch, record(i)); }
    void move(size_t to, size_t from) { copy(record(to), record(from)); }
    void release(size_t to) { copy(record(to), myScratch); }

    // Twice as many moves as along the cycles, none of which is guessed. A call
    // of its own, which the stack of the divisions does not pay for.
    __attribute__((noinline)) void
    arrange(size_t begin, size_t size, const size_t *places)
    {
        if constexpr (knownSize > 0)
        {
            char records[theSmallSize * knownSize];
            for (size_t i = 0; i < size; i++)
                copy(records + i * knownSize, record(begin + i));
            for (size_t i = 0; i < size; i++)
                copy(record(begin + places[i]), records + i * knownSize);
            return;
        }
        uint16 sources[theSmallSize];
        for (size_t i = 0; i < size; i++)
            sources[places[i]] = uint16(i);
        gather(begin, size, sources);
    }

    // Replaces each of `size` records from `begin` on by the one at its source,
    // counted from `begin`. Moves each once, along the cycles of the sources,
    // which are then used up.
    void gather(size_t begin, size_t size, uint16 *sources)
    {
        for (size_t i = 0; i < size; i++)
        {
            if (sources[i] == i)
                continue;
            hold(begin + i);
            size_t place = i;
            while (sources[place] != i)
            {
                const size_t source = sources[place];
                move(begin + place, begin + source);
                sources[place] = uint16(place);
                place = source;
            }
            release(begin + place);
            sources[place] = uint16(place);
        }
    }

private:
    Key keyOf(const char *record) const
    {
        Key key;
        memcpy(&key, record, sizeof(key));
        return myForm.flipped(key);
    }

    [[nodiscard]] char *record(size_t i) const
    {
        return myRecords + i * (knownSize ? knownSize : mySize);
    }

    void copy(char *to, const char *from) const
    {
        if constexpr (knownSize > 0)
            memcpy(to, from, knownSize);
        else
            utCopyElement(to, from, mySize);
    }

    char *myRecords;
    size_t mySize;
    char *myScratch;
    ut_KeyForm<Key> myForm;
};

// The keys of a group of records, numbered by their position in it. Setting an
// item notes its number as the source of the record there.
template <class Key, class Items>
class ut_GroupView
{
public:
    ut_GroupView(Items items, size_t begin, uint16 *sources)
        : myItems(items), myBegin(begin), mySources(sources)
    {
    }
    [[nodiscard]] ut_NumberedKey<Key> get(size_t i) const
    {
        return {myItems.keyAt(myBegin + i), int(i)};
    }
    void set(size_t i, const ut_NumberedKey<Key> &item)
    {
        mySources[i] = uint16(item.number);
    }

private:
    Items myItems;
    size_t myBegin;
    uint16 *mySources;
};

#ifdef SYS_HAS_VECTORS
template <class Key>
inline constexpr bool utHasOwnPartition<ut_VectorKeyItems<Key>> = true;
#endif

// Whether the items have a divide(begin, end) of their own, which chooses the
// pivot, too.
template <class Items>
inline constexpr bool utHasOwnDivision = false;

#ifdef SYS_HAS_VECTORS
template <class Key>
inline constexpr bool utHasOwnDivision<ut_LongVectorKeyItems<Key>> = true;
#endif
