#include "UT_PtrArray.h"

#include "UT_ArrayImpl.h"
#include "UT_ArraySearchImpl.h"
#include "UT_ArraySetImpl.h"

#include <climits>

int
UTcomparePointers(void *const *a, void *const *b)
{
    const uintptr_t x = uintptr_t(*a);
    const uintptr_t y = uintptr_t(*b);
    const uintptr_t distance = x < y ? y - x : x - y;
    const int result = distance > INT_MAX ? 1 : int(distance);
    return x < y ? -result : result;
}

// Calls a comparator for two elements that may be anywhere.
static auto
utSense(UT_PtrArrayRaw::Compare compare)
{
    return [compare](void *const &a, void *const &b)
    { return compare(&a, &b); };
}

static auto
utOrder(UT_PtrArrayRaw::Compare compare)
{
    return [compare](void *const &a, void *const &b)
    {
        const int sense = compare(&a, &b);
        return ut_Advance{size_t(sense <= 0), size_t(sense >= 0)};
    };
}

static void *
utNonConst(const void *pointer)
{
    return const_cast<void *>(pointer);
}

UT_PtrArrayRaw::UT_PtrArrayRaw(const UT_PtrArrayRaw &source)
{
    utCopyNew(myData, myCapacity, myEntries, source.myData, source.myEntries);
}

UT_PtrArrayRaw::~UT_PtrArrayRaw()
{
    free(myData);
}

UT_PtrArrayRaw &
UT_PtrArrayRaw::operator=(const UT_PtrArrayRaw &source)
{
    utAssign(*this, source);
    return *this;
}

bool
UT_PtrArrayRaw::operator==(const UT_PtrArrayRaw &other) const
{
    return utIsSame(*this, other);
}

bool
UT_PtrArrayRaw::isEqual(const UT_PtrArrayRaw &other, Compare compare) const
{
    return utIsEqual(*this, other, compare);
}

int
UT_PtrArrayRaw::find(const void *pointer, unsigned start) const
{
    return utFind(*this, utNonConst(pointer), start);
}

int
UT_PtrArrayRaw::find(const void *pointer, Compare compare) const
{
    return utBinaryFind(myData, myEntries, utNonConst(pointer), compare);
}

int
UT_PtrArrayRaw::findString(const char *text) const
{
    unsigned low = 0;
    unsigned length = myEntries;
    while (length > 0)
    {
        const unsigned half = length / 2;
        const unsigned probe = low + half;
        const int sense =
            strcmp(text, static_cast<const char *>(myData[probe]));
        if (sense == 0)
            return int(probe);
        if (sense > 0)
        {
            low = probe + 1;
            length -= half + 1;
        }
        else
            length = half;
    }
    return -1;
}

bool
UT_PtrArrayRaw::hasSortedSubset(
    const UT_PtrArrayRaw &other, Compare compare) const
{
    unsigned wanted = 0;
    for (unsigned i = 0; wanted < other.myEntries; ++i)
    {
        if (i == myEntries)
            return false;
        const int sense = compare(&other.myData[wanted], &myData[i]);
        if (sense < 0)
            return false;
        wanted += sense == 0;
    }
    return true;
}

unsigned
UT_PtrArrayRaw::apply(int (*function)(void *&element, void *data), void *data)
{
    return utApply(*this, function, data);
}

// ---- Size

void
UT_PtrArrayRaw::resize(unsigned newCapacity, unsigned short)
{
    utResize(
        myData, myCapacity, myEntries, newCapacity, /*clearsNewSlots=*/true);
}

void
UT_PtrArrayRaw::growFull()
{
    if (!utGrowInBlock(myData, myCapacity, /*clearsNewSlots=*/true))
        growSlowly();
}

__attribute__((noinline)) void
UT_PtrArrayRaw::growSlowly()
{
    utResize(
        myData, myCapacity, myEntries, UTgrownCapacity(myCapacity),
        /*clearsNewSlots=*/true);
}

void
UT_PtrArrayRaw::swap(UT_PtrArrayRaw &other)
{
    std::swap(myData, other.myData);
    std::swap(myCapacity, other.myCapacity);
    std::swap(myEntries, other.myEntries);
}

// ---- Adding

unsigned
UT_PtrArrayRaw::append(void *pointer, int unique)
{
    const int index = unique ? find(pointer, 0u) : -1;
    return index >= 0 ? unsigned(index) : append(pointer);
}

unsigned
UT_PtrArrayRaw::insert(unsigned index)
{
    return utOpenSlot(*this, index, /*extraInside=*/1, /*extraBeyond=*/0);
}

unsigned
UT_PtrArrayRaw::insertAt(void *pointer, unsigned index)
{
    return utInsertAt(*this, pointer, index);
}

unsigned
UT_PtrArrayRaw::insert(void *pointer, unsigned index)
{
    return utInsertAt(*this, pointer, index);
}

unsigned
UT_PtrArrayRaw::multipleInsert(unsigned index, unsigned count)
{
    return utMultipleInsert(*this, index, count);
}

void
UT_PtrArrayRaw::concat(const UT_PtrArrayRaw &other)
{
    if (!utConcatFew(myData, myCapacity, myEntries, other))
        concatSlowly(other);
}

__attribute__((noinline)) void
UT_PtrArrayRaw::concatSlowly(const UT_PtrArrayRaw &other)
{
    utConcat(myData, myCapacity, myEntries, other, /*clearsNewSlots=*/true);
}

void
UT_PtrArrayRaw::assignSubset(const UT_PtrArrayRaw &other)
{
    if (this == &other)
        return;
    setEntries(std::max(myEntries, other.myEntries));
    std::copy(other.myData, other.myData + other.myEntries, myData);
}

unsigned
UT_PtrArrayRaw::sortedInsert(void *pointer, Compare compare)
{
    return utSortedInsert(*this, pointer, utSense(compare), /*isUnique=*/false);
}

unsigned
UT_PtrArrayRaw::uniqueSortedInsert(void *pointer, Compare compare)
{
    return utSortedInsert(*this, pointer, utSense(compare), /*isUnique=*/true);
}

unsigned
UT_PtrArrayRaw::uniqueSortedInsert(const void *pointer)
{
    const auto byValue = [](const void *a, const void *b) {
        return int(uintptr_t(a) > uintptr_t(b)) -
               int(uintptr_t(a) < uintptr_t(b));
    };
    return utSortedInsert(
        *this, utNonConst(pointer), byValue, /*isUnique=*/true);
}

// ---- Removing

unsigned
UT_PtrArrayRaw::removeAt(unsigned index)
{
    return utRemoveAt(*this, index);
}

int
UT_PtrArrayRaw::remove(const void *pointer)
{
    return utFindAndRemove(*this, utNonConst(pointer));
}

void
UT_PtrArrayRaw::removeZeros()
{
    void **end = std::remove(myData, myData + myEntries, nullptr);
    myEntries = unsigned(end - myData);
}

void
UT_PtrArrayRaw::collapse()
{
    removeZeros();
    resize(myEntries);
}

// ---- Rearranging

void
UT_PtrArrayRaw::reverse()
{
    std::reverse(myData, myData + myEntries);
}

void
UT_PtrArrayRaw::cycle(int k)
{
    utCycle(*this, k);
}

int
UT_PtrArrayRaw::shift(unsigned from, unsigned to, unsigned count)
{
    return utShift(*this, from, to, count);
}

void
UT_PtrArrayRaw::move(int from, int to, int count)
{
    const int64 start = std::max(from, 0);
    const int64 length = std::min<int64>(count, int64(myEntries) - start);
    if (length < 1)
        return;
    const int64 target = std::min<int64>(std::max(to, 0), myEntries - length);
    const int64 distance = target - start;
    if (distance > 0)
        utRotate(myData + start, size_t(length + distance), size_t(distance));
    else if (distance < 0)
        utRotate(myData + target, size_t(length - distance), size_t(length));
}

void
UT_PtrArrayRaw::sort(Compare compare)
{
    utSort(myData, myEntries, compare);
}

// ---- Sorted sets

void
UT_PtrArrayRaw::sortedUnion(
    const UT_PtrArrayRaw &other, UT_PtrArrayRaw &result, Compare compare) const
{
    utSetOperation<UT_SET_UNION>(*this, other, result, utOrder(compare));
}

void
UT_PtrArrayRaw::sortedUnion(const UT_PtrArrayRaw &other, Compare compare)
{
    utSetReplace<UT_SET_UNION>(*this, other, utOrder(compare));
}

void
UT_PtrArrayRaw::sortedIntersection(
    const UT_PtrArrayRaw &other, UT_PtrArrayRaw &result, Compare compare) const
{
    utSetOperation<UT_SET_INTERSECTION>(*this, other, result, utOrder(compare));
}

void
UT_PtrArrayRaw::sortedIntersection(const UT_PtrArrayRaw &other, Compare compare)
{
    utSetReplace<UT_SET_INTERSECTION>(*this, other, utOrder(compare));
}

// ---- Heap

unsigned
UT_PtrArrayRaw::heapPush(void *pointer, Compare compare)
{
    return utHeapPush(*this, pointer, utSense(compare));
}

// Elements of a heap of which a good part is not in the cache.
static const size_t theLongHeap = 1 << 15;

// Lets `pointer` sink from the root, with the arrangement of heapify(): two
// comparisons for each level, and one more where it stays. Of the children the
// greater one is chosen first, without a jump, which would go either way;
// whether it rises is then a jump that goes the same way down to the last
// levels. In a heap the greater children could rise all the way and the pointer
// climb from there, for one comparison each; but nothing shows that an array is
// a heap without the other one, and the arrangement of one that is not would
// differ.
//
// The comparator usually reads what the pointers point to. In a long array that
// is far away: what both children's children point to is fetched meanwhile,
// which does no harm where they point to nothing.
template <bool isLong>
static void
utSinkFromRoot(
    void **heap, size_t entries, void *pointer, UT_PtrArrayRaw::Compare compare)
{
    size_t i = 0;
    // The root has one child.
    if (entries > 1 && compare(&heap[1], &pointer) > 0)
    {
        heap[0] = heap[1];
        i = 1;
        size_t child = 2;
        for (; child + 1 < entries; child = 2 * i)
        {
            if (isLong && child < (entries - 3) / 2)
                for (size_t next = 0; next < 4; ++next)
                    __builtin_prefetch(heap[2 * child + next]);
            child += compare(&heap[child + 1], &heap[child]) > 0;
            if (compare(&heap[child], &pointer) <= 0)
            {
                // Where a comparator takes similar elements for equal, the
                // other child may be greater than the pointer nevertheless.
                if (compare(&heap[child ^ 1], &pointer) <= 0)
                    break;
                child |= 1;
            }
            heap[i] = heap[child];
            i = child;
        }
        if (child + 1 == entries && compare(&heap[child], &pointer) > 0)
        {
            heap[i] = heap[child];
            i = child;
        }
    }
    heap[i] = pointer;
}

void *
UT_PtrArrayRaw::heapPop(Compare compare)
{
    if (myEntries == 0)
        return nullptr;
    void *const root = myData[0];
    --myEntries;
    void *const last = myData[myEntries];
    if (myEntries < theLongHeap)
        utSinkFromRoot</*isLong=*/false>(myData, myEntries, last, compare);
    else
        utSinkFromRoot</*isLong=*/true>(myData, myEntries, last, compare);
    return root;
}

void
UT_PtrArrayRaw::heapify(unsigned index, Compare compare)
{
    utHeapify(*this, index, utSense(compare));
}
