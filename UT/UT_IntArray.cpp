#include "UT_IntArray.h"

#include "UT_ArrayImpl.h"
#include "UT_ArraySearchImpl.h"
#include "UT_ArraySetImpl.h"
#include "UT_QuickSort.h"

#include <cstdio>

int
UTcompareInts(const int32 *a, const int32 *b)
{
    return int32(uint32(*a) - uint32(*b));
}

// Not UTcompareInts(), which is wrong for values far apart.
static constexpr auto theAscendingSense = [](int32 a, int32 b)
{ return int(a > b) - int(a < b); };

static constexpr auto theAscending = [](int32 a, int32 b) {
    return ut_Advance{size_t(a <= b), size_t(b <= a)};
};

static constexpr auto theDescending = [](int32 a, int32 b) {
    return ut_Advance{size_t(a >= b), size_t(b >= a)};
};

UT_IntArray::UT_IntArray(const UT_IntArray &source)
{
    utCopyNew(myData, myCapacity, myEntries, source.myData, source.myEntries);
}

UT_IntArray::~UT_IntArray()
{
    free(myData);
}

UT_IntArray &
UT_IntArray::operator=(const UT_IntArray &source)
{
    utAssign(*this, source);
    return *this;
}

bool
UT_IntArray::operator==(const UT_IntArray &other) const
{
    return utIsSame(*this, other);
}

bool
UT_IntArray::isEqual(const UT_IntArray &other, Compare compare) const
{
    return utIsEqual(*this, other, compare);
}

int
UT_IntArray::find(int32 value, unsigned start) const
{
    return utFind(*this, value, start);
}

int
UT_IntArray::find(int32 value, Compare compare) const
{
    return utBinaryFind(myData, myEntries, value, compare);
}

unsigned
UT_IntArray::apply(int (*function)(int32 &element, void *data), void *data)
{
    return utApply(*this, function, data);
}

void
UT_IntArray::display() const
{
    for (unsigned i = 0; i < myEntries; ++i)
        printf("%d ", myData[i]);
    printf("\n");
}

void
UT_IntArray::toStdVectorOfInts(std::vector<int> &out) const
{
    out.assign(myData, myData + myEntries);
}

// ---- Size

void
UT_IntArray::resize(unsigned newCapacity, unsigned short)
{
    utResize(
        myData, myCapacity, myEntries, newCapacity, /*clearsNewSlots=*/true);
}

void
UT_IntArray::growFull()
{
    if (!utGrowInBlock(myData, myCapacity, /*clearsNewSlots=*/true))
        growSlowly();
}

__attribute__((noinline)) void
UT_IntArray::growSlowly()
{
    utResize(
        myData, myCapacity, myEntries, UTgrownCapacity(myCapacity),
        /*clearsNewSlots=*/true);
}

void
UT_IntArray::swap(UT_IntArray &other)
{
    std::swap(myData, other.myData);
    std::swap(myCapacity, other.myCapacity);
    std::swap(myEntries, other.myEntries);
}

// ---- Adding

unsigned
UT_IntArray::insert(unsigned index)
{
    return utOpenSlot(*this, index, /*extraInside=*/0, /*extraBeyond=*/1);
}

unsigned
UT_IntArray::insertAt(int32 value, unsigned index)
{
    return utInsertAt(*this, value, index);
}

unsigned
UT_IntArray::insert(int32 value, unsigned index)
{
    return utInsertAt(*this, value, index);
}

unsigned
UT_IntArray::multipleInsert(unsigned index, unsigned count)
{
    return utMultipleInsert(*this, index, count);
}

void
UT_IntArray::concat(const UT_IntArray &other)
{
    if (!utConcatFew(myData, myCapacity, myEntries, other))
        concatSlowly(other);
}

__attribute__((noinline)) void
UT_IntArray::concatSlowly(const UT_IntArray &other)
{
    utConcat(myData, myCapacity, myEntries, other, /*clearsNewSlots=*/true);
}

void
UT_IntArray::fromStdVectorOfInts(const std::vector<int> &values)
{
    utReserveAppends(*this, values.size());
    clear();
    utAppendRun(*this, values.data(), values.size());
}

unsigned
UT_IntArray::uniqueSortedInsertAscending(int32 value)
{
    return utSortedInsert(*this, value, theAscendingSense, /*isUnique=*/true);
}

// ---- Removing

unsigned
UT_IntArray::removeAt(unsigned index)
{
    return utRemoveAt(*this, index);
}

int
UT_IntArray::findAndRemove(int32 value)
{
    return utFindAndRemove(*this, value);
}

// ---- Rearranging

void
UT_IntArray::constant(int32 value)
{
    // Values of four equal bytes are the usual ones, and memset() the fastest.
    if (value == 0 || value == -1)
    {
        if (myEntries)
            memset(myData, value, myEntries * sizeof(int32));
        return;
    }
    utFillSlots(myData, myEntries, value);
}

void
UT_IntArray::reverse()
{
    std::reverse(myData, myData + myEntries);
}

void
UT_IntArray::cycle(int k)
{
    utCycle(*this, k);
}

int
UT_IntArray::shift(unsigned from, unsigned to, unsigned count)
{
    return utShift(*this, from, to, count);
}

void
UT_IntArray::sort(Compare compare)
{
    utSort(myData, myEntries, compare);
}

void
UT_IntArray::sortAscending()
{
    UT_QuickSort().sort(
        static_cast<unsigned *>(static_cast<void *>(myData)), myEntries,
        /*makeIndex=*/0, /*isSigned=*/true);
}

// ---- Sorted sets

void
UT_IntArray::sortedUnion(const UT_IntArray &other, UT_IntArray &result) const
{
    utSetOperation<UT_SET_UNION>(*this, other, result, theAscending);
}

void
UT_IntArray::sortedUnion(const UT_IntArray &other)
{
    utSetReplace<UT_SET_UNION>(*this, other, theAscending);
}

void
UT_IntArray::sortedIntersection(
    const UT_IntArray &other, UT_IntArray &result) const
{
    utSetOperation<UT_SET_INTERSECTION>(*this, other, result, theAscending);
}

void
UT_IntArray::sortedIntersection(const UT_IntArray &other)
{
    utSetReplace<UT_SET_INTERSECTION>(*this, other, theAscending);
}

void
UT_IntArray::sortedSetDifference(
    const UT_IntArray &other, UT_IntArray &result) const
{
    utSetOperation<UT_SET_DIFFERENCE>(*this, other, result, theAscending);
}

void
UT_IntArray::sortedSetDifference(const UT_IntArray &other)
{
    utSetReplace<UT_SET_DIFFERENCE>(*this, other, theAscending);
}

void
UT_IntArray::merge(const UT_IntArray &other, int direction, bool keepDuplicates)
{
    // Dropping the other's equal element at each step is what a union does.
    if (direction > 0 && keepDuplicates)
        utSetReplace<UT_SET_MERGE>(*this, other, theAscending);
    else if (direction > 0)
        utSetReplace<UT_SET_UNION>(*this, other, theAscending);
    else if (keepDuplicates)
        utSetReplace<UT_SET_MERGE>(*this, other, theDescending);
    else
        utSetReplace<UT_SET_UNION>(*this, other, theDescending);
}

// ---- Heap

// Elements of a heap that the processor's nearer caches hold.
static const size_t theNearHeap = 1 << 16;

// Asks for all that can follow four levels below, which is a line or two.
static inline void
utPrefetchBelow(const int32 *heap, size_t entries, size_t index)
{
    const size_t below = 16 * index;
    if (below + 15 < entries)
    {
        __builtin_prefetch(&heap[below]);
        __builtin_prefetch(&heap[below + 15]);
    }
}

// The greater child is chosen without a jump, which would go either way, so
// that where its children are is known only when it has come.
template <bool isNear>
static void
utSinkIn(int32 *heap, size_t entries, size_t index)
{
    const int32 value = heap[index];
    size_t i = index;
    if (i == 0 && entries > 1 && heap[1] > value)
    {
        heap[0] = heap[1];
        i = 1;
    }
    size_t child = 2 * i;
    if (i > 0)
    {
        for (; child + 1 < entries; child = 2 * i)
        {
            if (!isNear)
                utPrefetchBelow(heap, entries, i);
            child += heap[child + 1] > heap[child];
            if (heap[child] <= value)
                break;
            heap[i] = heap[child];
            i = child;
        }
        if (child + 1 == entries && heap[child] > value)
        {
            heap[i] = heap[child];
            i = child;
        }
    }
    heap[i] = value;
}

static void
utSink(int32 *heap, size_t entries, size_t index)
{
    if (entries <= theNearHeap)
        utSinkIn</*isNear=*/true>(heap, entries, index);
    else
        utSinkIn</*isNear=*/false>(heap, entries, index);
}

unsigned
UT_IntArray::heapPush(int32 value)
{
    unsigned i = append(value);
    int32 *const heap = myData;
    while (i > 0 && heap[i / 2] < value)
    {
        heap[i] = heap[i / 2];
        i /= 2;
    }
    heap[i] = value;
    return i;
}

int32
UT_IntArray::heapPop()
{
    if (myEntries == 0)
        return 0;
    const int32 root = utHeapTakeRoot(*this);
    if (myEntries > 1)
        utSink(myData, myEntries, 0);
    return root;
}

void
UT_IntArray::heapify(unsigned index)
{
    if (index < myEntries)
        utSink(myData, myEntries, index);
}
