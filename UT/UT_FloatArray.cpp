#include "UT_FloatArray.h"

#include "UT_ArrayImpl.h"
#include "UT_ArraySearchImpl.h"
#include "UT_QuickSort.h"

#include "VM/VM_Math.h"

#include <cmath>
#include <cstdio>

float UTcompareFloatsTolerance = 0.0f;

void
UTsetCompareFloatsTolerance(float tolerance)
{
    UTcompareFloatsTolerance = tolerance;
}

int
UTcompareFloats(const float *a, const float *b)
{
    if (*a > *b + UTcompareFloatsTolerance)
        return 1;
    return *b - UTcompareFloatsTolerance > *a ? -1 : 0;
}

// Calls a comparator for two elements that may be anywhere.
static auto
utSense(UT_FloatArray::Compare compare)
{
    return [compare](const float &a, const float &b)
    { return compare(&a, &b); };
}

UT_FloatArray::UT_FloatArray(const UT_FloatArray &source)
{
    utCopyNew(myData, myCapacity, myEntries, source.myData, source.myEntries);
}

UT_FloatArray::~UT_FloatArray()
{
    free(myData);
}

UT_FloatArray &
UT_FloatArray::operator=(const UT_FloatArray &source)
{
    utAssign(*this, source);
    return *this;
}

bool
UT_FloatArray::operator==(const UT_FloatArray &other) const
{
    return utIsSame(*this, other);
}

bool
UT_FloatArray::isEqual(const UT_FloatArray &other, Compare compare) const
{
    return utIsEqual(*this, other, compare);
}

int
UT_FloatArray::find(float value, unsigned start) const
{
    return utFind(*this, value, start);
}

int
UT_FloatArray::find(float value, Compare compare) const
{
    return utBinaryFind(myData, myEntries, value, compare);
}

unsigned
UT_FloatArray::apply(int (*function)(float &element, void *data), void *data)
{
    return utApply(*this, function, data);
}

void
UT_FloatArray::display() const
{
    for (unsigned i = 0; i < myEntries; ++i)
        printf("%f ", double(myData[i]));
    printf("\n");
}

// ---- Size

void
UT_FloatArray::resize(unsigned newCapacity, unsigned short)
{
    utResize(
        myData, myCapacity, myEntries, newCapacity, /*clearsNewSlots=*/false);
}

void
UT_FloatArray::growFull()
{
    if (!utGrowInBlock(myData, myCapacity, /*clearsNewSlots=*/false))
        growSlowly();
}

__attribute__((noinline)) void
UT_FloatArray::growSlowly()
{
    utResize(
        myData, myCapacity, myEntries, UTgrownCapacity(myCapacity),
        /*clearsNewSlots=*/false);
}

void
UT_FloatArray::swap(UT_FloatArray &other)
{
    std::swap(myData, other.myData);
    std::swap(myCapacity, other.myCapacity);
    std::swap(myEntries, other.myEntries);
}

// ---- Adding

unsigned
UT_FloatArray::insert(unsigned index)
{
    return utOpenSlot(*this, index, /*extraInside=*/1, /*extraBeyond=*/0);
}

unsigned
UT_FloatArray::insertAt(float value, unsigned index)
{
    return utInsertAt(*this, value, index);
}

unsigned
UT_FloatArray::insert(float value, unsigned index)
{
    return utInsertAt(*this, value, index);
}

unsigned
UT_FloatArray::multipleInsert(unsigned index, unsigned count)
{
    return utMultipleInsert(*this, index, count);
}

void
UT_FloatArray::concat(const UT_FloatArray &other)
{
    if (!utConcatFew(myData, myCapacity, myEntries, other))
        concatSlowly(other);
}

__attribute__((noinline)) void
UT_FloatArray::concatSlowly(const UT_FloatArray &other)
{
    utConcat(myData, myCapacity, myEntries, other, /*clearsNewSlots=*/false);
}

unsigned
UT_FloatArray::sortedInsert(float value, Compare compare)
{
    return utSortedInsert(*this, value, utSense(compare), /*isUnique=*/false);
}

unsigned
UT_FloatArray::uniqueSortedInsert(float value, Compare compare)
{
    return utSortedInsert(*this, value, utSense(compare), /*isUnique=*/true);
}

// ---- Removing

unsigned
UT_FloatArray::removeAt(unsigned index)
{
    return utRemoveAt(*this, index);
}

int
UT_FloatArray::findAndRemove(float value)
{
    return utFindAndRemove(*this, value);
}

// ---- Rearranging

// So many pay for the call.
static constexpr unsigned theManyFloats = 64;

void
UT_FloatArray::constant(float value)
{
    // -0.0 is equal to 0.0, but has a bit set.
    if (value == 0.0f && !std::signbit(value))
    {
        if (myEntries)
            memset(myData, 0, myEntries * sizeof(float));
    }
    else if (VM_Math::theSIMD && myEntries >= theManyFloats)
        VM_Math::set(myData, value, myEntries);
    else
        utFillSlots(myData, myEntries, value);
}

void
UT_FloatArray::reverse()
{
    std::reverse(myData, myData + myEntries);
}

void
UT_FloatArray::cycle(int k)
{
    utCycle(*this, k);
}

int
UT_FloatArray::shift(unsigned from, unsigned to, unsigned count)
{
    return utShift(*this, from, to, count);
}

void
UT_FloatArray::sort(Compare compare)
{
    utSort(myData, myEntries, compare);
}

void
UT_FloatArray::sortAscending()
{
    UT_QuickSort().sort(myData, myEntries, /*makeIndex=*/0);
}

// ---- Heap

unsigned
UT_FloatArray::heapPush(float value, Compare compare)
{
    return utHeapPush(*this, value, utSense(compare));
}

float
UT_FloatArray::heapPop(Compare compare)
{
    if (myEntries == 0)
        return 0.0f;
    const float root = utHeapTakeRoot(*this);
    heapify(0, compare);
    return root;
}

void
UT_FloatArray::heapify(unsigned index, Compare compare)
{
    utHeapify(*this, index, utSense(compare));
}
