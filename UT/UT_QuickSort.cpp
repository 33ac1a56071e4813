#include "UT_QuickSort.h"

#include "UT_QuickSortImpl.h"

#include <cstring>
#include <memory>
#include <numeric>

// Ranges below this size are sorted by utSortSmall.
static constexpr size_t theSmallSize = 20;

namespace
{

// Besides what all items do, these arrange(begin, size, places): each of `size`
// items, fewer than theSmallSize, moves to its place from `begin`.

// Keys alone.
template <class Key>
class ut_KeyItems
{
public:
    explicit ut_KeyItems(Key *keys) : myKeys(keys), myHeld() {}

    Key keyAt(size_t i) const { return myKeys[i]; }
    Key heldKey() const { return myHeld; }
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

private:
    Key *myKeys;
    Key myHeld;
};

// Keys with an index that follows them.
template <class Key>
class ut_IndexedItems
{
public:
    ut_IndexedItems(Key *keys, int *index)
        : myKeys(keys), myIndex(index), myHeldKey(), myHeldIndex()
    {
    }

    Key keyAt(size_t i) const { return myKeys[i]; }
    Key heldKey() const { return myHeldKey; }
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

private:
    Key *myKeys;
    int *myIndex;
    Key myHeldKey;
    int myHeldIndex;
};

// Records with a key in their first four bytes, aligned or not.
template <class Key>
class ut_RecordItems
{
public:
    ut_RecordItems(void *records, size_t size, void *scratch)
        : myRecords(static_cast<char *>(records)), mySize(size),
          myScratch(static_cast<char *>(scratch))
    {
    }

    Key keyAt(size_t i) const { return keyOf(myRecords + i * mySize); }
    Key heldKey() const { return keyOf(myScratch); }
    static bool isLess(Key a, Key b) { return a < b; }

    void hold(size_t i)
    {
        utCopyElement(myScratch, myRecords + i * mySize, mySize);
    }
    void move(size_t to, size_t from)
    {
        utCopyElement(
            myRecords + to * mySize, myRecords + from * mySize, mySize);
    }
    void release(size_t to)
    {
        utCopyElement(myRecords + to * mySize, myScratch, mySize);
    }

    // Each record is moved once, along the cycles of the permutation.
    void arrange(size_t begin, size_t size, const size_t *places)
    {
        size_t sources[theSmallSize];
        for (size_t i = 0; i < size; i++)
            sources[places[i]] = i;
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
                sources[place] = place;
                place = source;
            }
            release(begin + place);
            sources[place] = place;
        }
    }

private:
    static Key keyOf(const char *record)
    {
        Key key;
        memcpy(&key, record, sizeof(key));
        return key;
    }

    char *myRecords;
    size_t mySize;
    char *myScratch;
};

} // namespace

// What stands for a key where the order must be total.
template <class Key>
static Key
utTotalOrder(Key key)
{
    return key;
}

// The bits of floats order them like integers, except for the order among
// negative ones and the two zeros, which are equal. NaN keys get a place too.
static int32
utTotalOrder(float key)
{
    key += 0.0f; // -0 becomes +0
    int32 bits;
    memcpy(&bits, &key, sizeof(bits));
    return bits < 0 ? bits ^ 0x7fffffff : bits;
}

// Sorts a range of fewer than theSmallSize items; stable. Instead of looking
// for each item's place, which the processor cannot foresee, it compares all
// pairs, which takes no branch: an item's place is the number of items that
// belong before it.
template <class Items>
static void
utSortSmall(Items items, size_t begin, size_t end)
{
    decltype(utTotalOrder(items.keyAt(0))) keys[theSmallSize];
    size_t places[theSmallSize];
    const size_t size = end - begin;
    for (size_t i = 0; i < size; i++)
    {
        const auto key = utTotalOrder(items.keyAt(begin + i));
        size_t place = i;
        for (size_t j = 0; j < i; j++)
        {
            const bool isLess = key < keys[j];
            places[j] += isLess;
            place -= isLess;
        }
        keys[i] = key;
        places[i] = place;
    }

    items.arrange(begin, size, places);
}

// Sorts a range whose items are all at least as great as those before it. The
// sort gives up on pivots after `badPivots` of them left nearly everything on
// one side.
template <class Items>
static void
utSortRange(Items items, size_t begin, size_t end, unsigned badPivots)
{
    while (end - begin >= theSmallSize)
    {
        const ut_EqualRange equal =
            utDivide(items, begin, end, utChoosePivot(items, begin, end));

        // The smaller side takes the call, which bounds their depth.
        const size_t before = equal.begin - begin;
        const size_t behind = end - equal.end;
        const size_t larger = before > behind ? before : behind;
        if (larger > (end - begin) / 8 * 7 && badPivots-- == 0)
        {
            utHeapSort(items, begin, end);
            return;
        }
        if (before < behind)
        {
            utSortRange(items, begin, equal.begin, badPivots);
            begin = equal.end;
        }
        else
        {
            utSortRange(items, equal.end, end, badPivots);
            end = equal.begin;
        }
    }
    utSortSmall(items, begin, end);
}

template <class Items>
static void
utSort(Items items, size_t n)
{
    if (!utSettleRun(items, n))
        utSortRange(items, 0, n, utLog2(n));
}

UT_QuickSort::~UT_QuickSort() = default;

// Null for no entries.
int *
UT_QuickSort::makeIndexFor(unsigned n)
{
    myIndex.resize(n);
    myIndex.setEntries(n);
    std::iota(myIndex.data(), myIndex.data() + n, 0);
    return myIndex.data();
}

UT_QuickSort &
UT_QuickSort::sort(unsigned *data, unsigned n, int makeIndex, bool isSigned)
{
    // Signed and unsigned may look at the same object.
    int *const signedData = static_cast<int *>(static_cast<void *>(data));
    if (makeIndex)
    {
        int *const index = makeIndexFor(n);
        if (isSigned)
            srecurse(signedData, n, index);
        else
            urecurse(data, n, index);
    }
    else if (isSigned)
        srecurse(signedData, n);
    else
        urecurse(data, n);
    return *this;
}

UT_QuickSort &
UT_QuickSort::sort(float *data, unsigned n, int makeIndex)
{
    if (makeIndex)
        frecurse(data, n, makeIndexFor(n));
    else
        frecurse(data, n);
    return *this;
}

UT_QuickSort &
UT_QuickSort::sort(
    void *records, unsigned recordSize, unsigned count, compareType type)
{
    const std::unique_ptr<char[]> scratch(new char[recordSize]);
    switch (type)
    {
    case UT_SORT_SIGNED:
        srecurse(records, recordSize, count, scratch.get());
        break;
    case UT_SORT_UNSIGNED:
        urecurse(records, recordSize, count, scratch.get());
        break;
    case UT_SORT_FLOAT:
        frecurse(records, recordSize, count, scratch.get());
        break;
    }
    return *this;
}

void
UT_QuickSort::uisort(unsigned *data, unsigned n)
{
    utInsertionSort(ut_KeyItems(data), 0, n);
}

void
UT_QuickSort::sisort(int *data, unsigned n)
{
    utInsertionSort(ut_KeyItems(data), 0, n);
}

void
UT_QuickSort::fisort(float *data, unsigned n)
{
    utInsertionSort(ut_KeyItems(data), 0, n);
}

void
UT_QuickSort::uisort(unsigned *data, unsigned n, int *index)
{
    utInsertionSort(ut_IndexedItems(data, index), 0, n);
}

void
UT_QuickSort::sisort(int *data, unsigned n, int *index)
{
    utInsertionSort(ut_IndexedItems(data, index), 0, n);
}

void
UT_QuickSort::fisort(float *data, unsigned n, int *index)
{
    utInsertionSort(ut_IndexedItems(data, index), 0, n);
}

void
UT_QuickSort::uisort(
    void *records, unsigned recordSize, unsigned count, void *scratch)
{
    utInsertionSort(
        ut_RecordItems<unsigned>(records, recordSize, scratch), 0, count);
}

void
UT_QuickSort::sisort(
    void *records, unsigned recordSize, unsigned count, void *scratch)
{
    utInsertionSort(
        ut_RecordItems<int>(records, recordSize, scratch), 0, count);
}

void
UT_QuickSort::fisort(
    void *records, unsigned recordSize, unsigned count, void *scratch)
{
    utInsertionSort(
        ut_RecordItems<float>(records, recordSize, scratch), 0, count);
}

void
UT_QuickSort::urecurse(unsigned *data, unsigned n)
{
    utSort(ut_KeyItems(data), n);
}

void
UT_QuickSort::srecurse(int *data, unsigned n)
{
    utSort(ut_KeyItems(data), n);
}

void
UT_QuickSort::frecurse(float *data, unsigned n)
{
    utSort(ut_KeyItems(data), n);
}

void
UT_QuickSort::urecurse(unsigned *data, unsigned n, int *index)
{
    utSort(ut_IndexedItems(data, index), n);
}

void
UT_QuickSort::srecurse(int *data, unsigned n, int *index)
{
    utSort(ut_IndexedItems(data, index), n);
}

void
UT_QuickSort::frecurse(float *data, unsigned n, int *index)
{
    utSort(ut_IndexedItems(data, index), n);
}

void
UT_QuickSort::urecurse(
    void *records, unsigned recordSize, unsigned count, void *scratch)
{
    utSort(ut_RecordItems<unsigned>(records, recordSize, scratch), count);
}

void
UT_QuickSort::srecurse(
    void *records, unsigned recordSize, unsigned count, void *scratch)
{
    utSort(ut_RecordItems<int>(records, recordSize, scratch), count);
}

void
UT_QuickSort::frecurse(
    void *records, unsigned recordSize, unsigned count, void *scratch)
{
    utSort(ut_RecordItems<float>(records, recordSize, scratch), count);
}
