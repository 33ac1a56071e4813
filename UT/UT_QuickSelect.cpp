// Selection: the element that sorting would put at a place.

#include "UT_QuickSort.h"
#include "UT_QuickSortImpl.h"

#include <cmath>
#include <type_traits>

namespace
{

// Elements under a comparator that sees their addresses. The key of an element
// is its address. `Size` is a number of bytes, known to the compiler or not.
template <class Size>
class ut_ElementItems
{
public:
    using Compare = int (*)(const void *, const void *);

    ut_ElementItems(void *base, Size size, char *scratch, Compare compare)
        : myBase(static_cast<char *>(base)), mySize(size), myScratch(scratch),
          myCompare(compare)
    {
    }

    [[nodiscard]] const void *keyAt(size_t i) const
    {
        return myBase + i * mySize;
    }
    bool isLess(const void *a, const void *b) const
    {
        return myCompare(a, b) < 0;
    }
    [[nodiscard]] const void *heldKey() const { return myScratch; }

    void hold(size_t i)
    {
        utCopyElement(myScratch, myBase + i * mySize, mySize);
    }
    void move(size_t to, size_t from)
    {
        utCopyElement(myBase + to * mySize, myBase + from * mySize, mySize);
    }
    void release(size_t to)
    {
        utCopyElement(myBase + to * mySize, myScratch, mySize);
    }

private:
    char *myBase;
    Size mySize;
    char *myScratch;
    Compare myCompare;
};

// Integers under a comparator that sees their values.
class ut_IntItems
{
public:
    using Compare = int (*)(int, int);

    ut_IntItems(int *data, Compare compare, int *lastResult)
        : myData(data), myHeld(0), myCompare(compare), myLastResult(lastResult)
    {
    }

    [[nodiscard]] int keyAt(size_t i) const { return myData[i]; }
    [[nodiscard]] bool isLess(int a, int b) const
    {
        *myLastResult = myCompare(a, b);
        return *myLastResult < 0;
    }
    [[nodiscard]] int heldKey() const { return myHeld; }

    void hold(size_t i) { myHeld = myData[i]; }
    void move(size_t to, size_t from) { myData[to] = myData[from]; }
    void release(size_t to) { myData[to] = myHeld; }

private:
    int *myData;
    int myHeld;
    Compare myCompare;
    int *myLastResult;
};

} // namespace

// Ranges below this size are sorted outright.
static constexpr size_t theSortedSize = 12;

// Ranges from this size on are worth a sample.
static constexpr size_t theSampledSize = 600;

template <class Items>
static void utSelect(Items items, size_t begin, size_t end, size_t k);

// The position of an item of a long range that lies close to the one to
// select, and as a rule on its far side as seen from the nearer end: dividing
// by it leaves little more than that end, and dividing again leaves little.
//
// The sample is spread over the whole range, so sorted stretches of it do not
// mislead, and sits at its front afterwards.
template <class Items>
static size_t
utSamplePivot(Items items, size_t begin, size_t end, size_t k)
{
    const double size = double(end - begin);
    const double logSize = std::log(size);
    const double sampleSize = 0.5 * std::exp(2.0 * logSize / 3.0);
    const double margin =
        0.5 * std::sqrt(logSize * sampleSize * (size - sampleSize) / size);
    const double fraction = double(k - begin) / size;

    const size_t sampled = size_t(sampleSize);
    const size_t stride = (end - begin) / sampled;
    for (size_t i = 1; i < sampled; i++)
        utSwapItems(items, begin + i, begin + i * stride);

    // The sample has 35 items or more, and the margin is a fifth of it or
    // less: the rank stays inside.
    const double rank =
        fraction * sampleSize + (fraction < 0.5 ? margin : -margin);
    const size_t pivot = begin + size_t(rank);
    utSelect(items, begin, begin + sampled, pivot);
    return pivot;
}

// Each item before `begin` must be less than or equal to all of the range.
template <class Items>
static void
utSelect(Items items, size_t begin, size_t end, size_t k)
{
    unsigned badPivots = utLog2(end - begin);
    while (end - begin >= theSortedSize)
    {
        const size_t size = end - begin;
        const size_t pivot = size < theSampledSize
                                 ? utChoosePivot(items, begin, end)
                                 : utSamplePivot(items, begin, end, k);
        const ut_EqualRange equal = utDivide(items, begin, end, pivot);
        if (k < equal.begin)
            end = equal.begin;
        else if (k >= equal.end)
            begin = equal.end;
        else
            return;
        if (end - begin > size / 8 * 7 && badPivots-- == 0)
        {
            utHeapSort(items, begin, end);
            return;
        }
    }
    utInsertionSort(items, begin, end);
}

template <class Items>
static void
utSelectFromAll(Items items, size_t n, size_t k)
{
    if (!utSettleRun(items, n))
        utSelect(items, 0, n, k);
}

void
UTquickSelect(
    void *base, unsigned n, unsigned k, unsigned size,
    int (*compare)(const void *, const void *))
{
    if (k >= n || size == 0)
        return;
    ut_ElementScratch scratch(size);
    const auto select = [&](auto knownSize)
    {
        utSelectFromAll(
            ut_ElementItems<decltype(knownSize)>(
                base, knownSize, scratch.data(), compare),
            n, k);
    };
    // The usual sizes are known to the compiler: moves are then single words.
    if (size == 4)
        select(std::integral_constant<size_t, 4>());
    else if (size == 8)
        select(std::integral_constant<size_t, 8>());
    else
        select(size_t(size));
}

int
UTquickSelect(int *data, unsigned n, unsigned k, int (*compare)(int, int))
{
    int lastResult = 0;
    if (k < n)
        utSelectFromAll(ut_IntItems(data, compare, &lastResult), n, k);
    return lastResult;
}
