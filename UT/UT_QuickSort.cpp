// Sorting by keys of 32 bits.

#include "UT_QuickSort.h"

#include "UT_DigitSortImpl.h"
#include "UT_QuickSortImpl.h"
#include "UT_SortItemsImpl.h"
#include "UT_VectorSortImpl.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <numeric>
#include <type_traits>

// Ranges below this size are sorted by utSortSmall where vectors could, too.
static constexpr size_t theFewSize = 13;

// Fewer items are sorted sooner without long vectors.
static constexpr size_t theLeastVectorSize = 4;
static constexpr size_t theLeastLingeringSize = 128; // where these linger

// From this number on, items are sorted by digits: of eight bits, or of eleven
// when there are so many that clearing the longer tables no longer matters.
// Fewer keys than the latter are divided where vectors do that.
static constexpr size_t theDigitsSize = 96;
static constexpr size_t theLongDigitsSize = 300;

// Up to this number, counts of items are of 16 bits.
static constexpr size_t theMostShortCount = 65535;

// Keys that would need more scratch than this are divided first, which keeps
// each piece and its scratch within the cache. Each page of the scratch costs
// as much as dividing some hundred keys, or a thousand by vectors.
static constexpr size_t theScratchBytes = 8 << 20;
static constexpr size_t theVectorScratchBytes = 1 << 20;

// Records are sorted by digits in groups of up to this number, for which the
// scratch fits the stack.
static constexpr size_t theGroupSize = 320;

// From this number on, items of this kind are sorted by digits.
template <class Items>
static constexpr size_t utDigitsSize =
    utHasOwnPartition<Items> ? theLongDigitsSize : theDigitsSize;

// What the scratch of a sort of such items takes at most.
template <class Items>
static constexpr size_t utScratchBytes =
    utHasOwnPartition<Items> ? theVectorScratchBytes : theScratchBytes;

// A number that orders like its key.
static unsigned
utRank(unsigned key)
{
    return key;
}

// The bits of floats order them like integers, except for the order among
// negative ones and the two zeros, which are equal. NaN keys get a place too.
static unsigned
utRank(float key)
{
    key += 0.0f; // -0 becomes +0
    int32 bits;
    memcpy(&bits, &key, sizeof(bits));
    return unsigned(bits) ^ (bits < 0 ? 0xffffffffu : 0x80000000u);
}

// The place of each of fewer than theSmallSize items from `begin` on: how many
// of them belong before it. Compares all pairs, which takes no branch.
template <class Items>
static void
utFindPlaces(Items items, size_t begin, size_t size, size_t *places)
{
    unsigned ranks[theSmallSize];
    for (size_t i = 0; i < size; i++)
    {
        const unsigned rank = utRank(items.keyAt(begin + i));
        size_t place = i;
        for (size_t j = 0; j < i; j++)
        {
            const bool isLess = rank < ranks[j];
            places[j] += isLess;
            place -= isLess;
        }
        ranks[i] = rank;
        places[i] = place;
    }
}

#ifdef SYS_HAS_VECTORS
template <class Items>
static void
utFindPlacesByLongVectors(
    Items items, size_t begin, size_t size, size_t *places)
{
    unsigned ranks[theSmallSize];
    for (size_t i = 0; i < size; i++)
        ranks[i] = utRank(items.keyAt(begin + i));
    utPlacesByLongVectors(ranks, size, places);
}
#endif

// Sorts a range of fewer than theSmallSize items; stable. It does not look for
// each item's place, which the processor cannot foresee.
template <class Items>
static void
utSortSmall(Items items, size_t begin, size_t end)
{
    size_t places[theSmallSize];
    const size_t size = end - begin;
#ifdef SYS_HAS_VECTORS
    // So few are not worth what follows where they linger.
    if (size >= theLeastVectorSize && !sysVectorsLinger() &&
        sysHasLongVectors())
    {
        utFindPlacesByLongVectors(items, begin, size, places);
        items.arrange(begin, size, places);
        return;
    }
#endif
    utFindPlaces(items, begin, size, places);
    items.arrange(begin, size, places);
}

template <class Items>
static ut_EqualRange
utDivideSomewhere(Items items, size_t begin, size_t end)
{
    if constexpr (utHasOwnDivision<Items>)
        return items.divide(begin, end);
    else
        return utDivide(items, begin, end, utChoosePivot(items, begin, end));
}

// Sorts a range whose items are all at least as great as those before it. What
// its division leaves in `pieces.limit` items or fewer goes to
// pieces.sort(items, begin, end). The sort gives up on pivots after `badPivots`
// of them left nearly everything on one side.
template <class Items, class Pieces>
static void
utSortRange(
    Items items, size_t begin, size_t end, unsigned badPivots,
    const Pieces &pieces)
{
    while (end - begin > Pieces::limit)
    {
        const ut_EqualRange equal = utDivideSomewhere(items, begin, end);

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
            utSortRange(items, begin, equal.begin, badPivots, pieces);
            begin = equal.end;
        }
        else
        {
            utSortRange(items, equal.end, end, badPivots, pieces);
            end = equal.begin;
        }
    }
    pieces.sort(items, begin, end);
}

namespace
{

// The plain way to end.
struct ut_SmallPieces
{
    static constexpr size_t limit = theSmallSize - 1;

    template <class Items>
    void sort(Items items, size_t begin, size_t end) const
    {
        utSortSmall(items, begin, end);
    }
};

// The way to end for keys that have vectors.
struct ut_RankPieces
{
    static constexpr size_t limit = theRanksSize;

    template <class Items>
    void sort(Items items, size_t begin, size_t end) const
    {
        if (end - begin < theFewSize)
            utSortSmall(items, begin, end);
        else
            items.sortByRanks(begin, end);
    }
};

// The way to end for keys that have long vectors.
struct ut_NetworkPieces
{
    static constexpr size_t limit = theNetworkSize;

    template <class Items>
    void sort(Items items, size_t begin, size_t end) const
    {
        items.sortByNetwork(begin, end);
    }
};

} // namespace

// The plain sort, which compares keys and needs no memory.
template <class Items>
static void
utSortInPlace(Items items, size_t begin, size_t end)
{
    using Pieces = std::conditional_t<
        utHasOwnPartition<Items>, ut_RankPieces, ut_SmallPieces>;
    utSortRange(items, begin, end, utLog2(end - begin), Pieces());
}

namespace
{

// For keys, alone or with an index: sorts by their digits, in a quarter of the
// time, with scratch for twice the items of the longest piece.
template <class Items>
class ut_DigitPieces
{
    using Item = typename Items::Item;

public:
    static constexpr size_t limit = utScratchBytes<Items> / (2 * sizeof(Item));

    // For a sort of `n` items.
    explicit ut_DigitPieces(size_t n)
        : myRoom(n < limit ? n : limit),
          myScratch(static_cast<ut_Scratch *>(
              malloc(sizeof(ut_Scratch) + 2 * myRoom * sizeof(Item))))
    {
    }

    // Whether there was memory for the scratch.
    [[nodiscard]] bool areReady() const { return bool(myScratch); }

    void sort(Items items, size_t begin, size_t end) const
    {
        const size_t n = end - begin;
        if (n < utDigitsSize<Items>)
        {
            utSortInPlace(items, begin, end);
            return;
        }
        void *const room = myScratch.get() + 1;
        const auto keys = items.view(begin);
        const ut_ItemArray<Item> a(static_cast<Item *>(room));
        const ut_ItemArray<Item> b(static_cast<Item *>(room) + myRoom);
        if (n < theLongDigitsSize)
            utSortByDigits(keys, a, b, n, myScratch->shortCounts);
        else if (n <= theMostShortCount)
            utSortByDigits(keys, a, b, n, myScratch->mediumCounts);
        else
            utSortByDigits(keys, a, b, n, myScratch->longCounts);
    }

private:
    // The items follow it.
    union ut_Scratch
    {
        ut_DigitCounts<8, uint16> shortCounts;
        ut_DigitCounts<11, uint16> mediumCounts;
        ut_DigitCounts<11, unsigned> longCounts;
    };

    struct ut_Free
    {
        void operator()(void *block) const { free(block); }
    };

    size_t myRoom; // items in either half of the scratch
    std::unique_ptr<ut_Scratch, ut_Free> myScratch;
};

// For records: sorts the numbers of a group by the digits of the keys, and then
// moves each record once. The scratch is on the stack.
template <class Key>
struct ut_GroupPieces
{
    static constexpr size_t limit = theGroupSize;

    template <class Items>
    void sort(Items items, size_t begin, size_t end) const
    {
        if (end - begin < theDigitsSize)
            utSortInPlace(items, begin, end);
        else
            sortGroup(items, begin, end - begin);
    }

private:
    // A call of its own, which the stack of the divisions does not pay for.
    template <class Items>
    __attribute__((noinline)) static void
    sortGroup(Items items, size_t begin, size_t size)
    {
        uint16 sources[limit];
        ut_NumberedKey<Key> a[limit], b[limit];
        ut_DigitCounts<8, uint16> counts;
        if (utSortByDigits(
                ut_GroupView<Key, Items>(items, begin, sources),
                ut_ItemArray(a), ut_ItemArray(b), size, counts))
            items.gather(begin, size, sources);
    }
};

} // namespace

template <class Items>
static void
utSortKeys(Items items, size_t n)
{
    if (utSettleRun(items, n))
        return;
    if (n >= utDigitsSize<Items>)
    {
        const ut_DigitPieces<Items> pieces(n);
        if (pieces.areReady())
        {
            utSortRange(items, 0, n, utLog2(n), pieces);
            return;
        }
    }
    utSortInPlace(items, 0, n);
}

template <class Key>
static void
utSortPlainKeys(Key *keys, ut_KeyForm<Key> form, size_t n)
{
#ifdef SYS_HAS_VECTORS
    if (sysVectorsPay(n, theLeastVectorSize, theLeastLingeringSize) &&
        sysHasLongVectors())
    {
        const sys_VectorUse use;
        const ut_LongVectorKeyItems items(keys, form);
        if (n >= theSmallSize)
        {
            if (!items.settleRun(n))
                utSortRange(items, 0, n, utLog2(n), ut_NetworkPieces());
            return;
        }
        if (utSortInOrderByNetwork(keys, n, form))
            return;
    }
    if (sysVectorsPay(n, 0, theLeastLingeringSize) && sysHasVectors())
    {
        const sys_VectorUse use;
        utSortKeys(ut_VectorKeyItems(keys, form), n);
        return;
    }
#endif
    utSortKeys(ut_KeyItems(keys, form), n);
}

template <class Key, size_t knownSize>
static void
utSortRecordsOf(
    void *records, size_t size, size_t count, void *scratch,
    ut_KeyForm<Key> form)
{
    const ut_RecordItems<Key, knownSize> items(records, size, scratch, form);
    if (!utSettleRun(items, count))
        utSortRange(items, 0, count, utLog2(count), ut_GroupPieces<Key>());
}

template <class Key>
static void
utSortRecords(
    void *records, size_t size, size_t count, void *scratch,
    ut_KeyForm<Key> form)
{
    switch (size)
    {
    case 16:
        utSortRecordsOf<Key, 16>(records, size, count, scratch, form);
        break;
    case 32:
        utSortRecordsOf<Key, 32>(records, size, count, scratch, form);
        break;
    case 64:
        utSortRecordsOf<Key, 64>(records, size, count, scratch, form);
        break;
    default:
        utSortRecordsOf<Key, 0>(records, size, count, scratch, form);
    }
}

static constexpr ut_KeyForm<unsigned> theUnsignedForm = {0};
static constexpr ut_KeyForm<unsigned> theSignedForm = {0x80000000};
static constexpr ut_KeyForm<float> theFloatForm = {};

// The same keys as unsigned numbers: the two types may look at one object.
static unsigned *
utUnsigned(int *keys)
{
    return static_cast<unsigned *>(static_cast<void *>(keys));
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
    ut_ElementScratch scratch(recordSize);
    switch (type)
    {
    case UT_SORT_SIGNED:
        srecurse(records, recordSize, count, scratch.data());
        break;
    case UT_SORT_UNSIGNED:
        urecurse(records, recordSize, count, scratch.data());
        break;
    case UT_SORT_FLOAT:
        frecurse(records, recordSize, count, scratch.data());
        break;
    }
    return *this;
}

void
UT_QuickSort::uisort(unsigned *data, unsigned n)
{
    utInsertionSort(ut_KeyItems(data, theUnsignedForm), 0, n);
}

void
UT_QuickSort::sisort(int *data, unsigned n)
{
    utInsertionSort(ut_KeyItems(utUnsigned(data), theSignedForm), 0, n);
}

void
UT_QuickSort::fisort(float *data, unsigned n)
{
    utInsertionSort(ut_KeyItems(data, theFloatForm), 0, n);
}

void
UT_QuickSort::uisort(unsigned *data, unsigned n, int *index)
{
    utInsertionSort(ut_IndexedItems(data, index, theUnsignedForm), 0, n);
}

void
UT_QuickSort::sisort(int *data, unsigned n, int *index)
{
    utInsertionSort(
        ut_IndexedItems(utUnsigned(data), index, theSignedForm), 0, n);
}

void
UT_QuickSort::fisort(float *data, unsigned n, int *index)
{
    utInsertionSort(ut_IndexedItems(data, index, theFloatForm), 0, n);
}

void
UT_QuickSort::uisort(
    void *records, unsigned recordSize, unsigned count, void *scratch)
{
    utInsertionSort(
        ut_RecordItems<unsigned, 0>(
            records, recordSize, scratch, theUnsignedForm),
        0, count);
}

void
UT_QuickSort::sisort(
    void *records, unsigned recordSize, unsigned count, void *scratch)
{
    utInsertionSort(
        ut_RecordItems<unsigned, 0>(
            records, recordSize, scratch, theSignedForm),
        0, count);
}

void
UT_QuickSort::fisort(
    void *records, unsigned recordSize, unsigned count, void *scratch)
{
    utInsertionSort(
        ut_RecordItems<float, 0>(records, recordSize, scratch, theFloatForm), 0,
        count);
}

void
UT_QuickSort::urecurse(unsigned *data, unsigned n)
{
    utSortPlainKeys(data, theUnsignedForm, n);
}

void
UT_QuickSort::srecurse(int *data, unsigned n)
{
    utSortPlainKeys(utUnsigned(data), theSignedForm, n);
}

void
UT_QuickSort::frecurse(float *data, unsigned n)
{
    utSortPlainKeys(data, theFloatForm, n);
}

void
UT_QuickSort::urecurse(unsigned *data, unsigned n, int *index)
{
    utSortKeys(ut_IndexedItems(data, index, theUnsignedForm), n);
}

void
UT_QuickSort::srecurse(int *data, unsigned n, int *index)
{
    utSortKeys(ut_IndexedItems(utUnsigned(data), index, theSignedForm), n);
}

void
UT_QuickSort::frecurse(float *data, unsigned n, int *index)
{
    utSortKeys(ut_IndexedItems(data, index, theFloatForm), n);
}

void
UT_QuickSort::urecurse(
    void *records, unsigned recordSize, unsigned count, void *scratch)
{
    utSortRecords(records, recordSize, count, scratch, theUnsignedForm);
}

void
UT_QuickSort::srecurse(
    void *records, unsigned recordSize, unsigned count, void *scratch)
{
    utSortRecords(records, recordSize, count, scratch, theSignedForm);
}

void
UT_QuickSort::frecurse(
    void *records, unsigned recordSize, unsigned count, void *scratch)
{
    utSortRecords(records, recordSize, count, scratch, theFloatForm);
}
