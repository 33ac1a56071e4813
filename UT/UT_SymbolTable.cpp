// The table: look-ups, insertions, deletions, and the number of buckets.

#include "UT_SymbolTable.h"

#include "UT_AllocImpl.h"
#include "UT_SymbolTableImpl.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>

#include <sys/mman.h>

unsigned int
UT_SymbolTable::hash(const char *name)
{
    return name ? ut_Key(name).hash : 0;
}

// Large arrays have pages of their own, which are larger than usual if the
// system has such for those who ask: the processor has room for the addresses
// of few others. Heap that was in use would keep its pages.
static const size_t theLargePage = 0x200000;
static const size_t theMappedSize = theLargePage / 2; // from there on

static size_t
utMappedSize(size_t bytes)
{
    return (bytes + theLargePage - 1) / theLargePage * theLargePage;
}

static void *
utMap(size_t bytes)
{
    const size_t mapped = utMappedSize(bytes) + theLargePage;
    void *const memory = mmap(
        nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS,
        -1, 0);
    if (memory == MAP_FAILED)
        throw std::bad_alloc();
    // What is before and after the large pages goes back.
    char *const start = static_cast<char *>(memory);
    const size_t before = (0 - uintptr_t(start)) % theLargePage;
    char *const pages = start + before;
    char *const end = pages + utMappedSize(bytes);
    if (before > 0)
        munmap(start, before);
    munmap(end, theLargePage - before);
    (void)madvise(pages, utMappedSize(bytes), MADV_HUGEPAGE);
    return pages;
}

static UT_SymList *
utMakeBuckets(unsigned count)
{
    size_t bytes;
    if (__builtin_mul_overflow(count, sizeof(UT_SymList), &bytes) ||
        bytes > size_t(PTRDIFF_MAX))
        throw std::bad_alloc();
    void *const memory =
        bytes < theMappedSize ? utAllocate(bytes) : utMap(bytes);
    auto *const buckets = static_cast<UT_SymList *>(memory);
    std::uninitialized_default_construct_n(buckets, count);
    return buckets;
}

// Does not destroy the lists.
static void
utFreeBuckets(UT_SymList *buckets, unsigned count)
{
    const size_t bytes = count * sizeof(UT_SymList);
    if (bytes < theMappedSize)
        free(buckets);
    else
        munmap(buckets, utMappedSize(bytes));
}

UT_SymbolTable::~UT_SymbolTable()
{
    std::destroy_n(myBuckets, bucketCount());
    utFreeBuckets(myBuckets, bucketCount());
}

inline UT_SymList &
UT_SymbolTable::bucketOf(const ut_Key &key) const
{
    return myBuckets[utBucketOf(key.hash, mySizeIndex)];
}

// Every attempt to insert comes through here, so the check for growth does too.
UT_SymList::UT_Sym *
UT_SymbolTable::findOrCreate(const char *name, int &created)
{
    assert(name);
    adjust(UT_ADJUST_GROW);
    const ut_Key key(name);
    UT_SymList &bucket = bucketOf(key);
    UT_Sym *sym = bucket.find(key);
    created = !sym;
    if (created)
    {
        sym = new (key) UT_Sym(key);
        if (myIsInOrder)
        {
            bucket.link(sym);
            if (myTraversing != UT_TRAVERSING_NOT)
                myTraversing = UT_TRAVERSING_INSERTS;
        }
        else
            bucket.push(sym);
        ++myEntries;
    }
    return sym;
}

int
UT_SymbolTable::addSymbol(const char *name, UT_Thing value)
{
    int created;
    findOrCreate(name, created)->value = value;
    return created;
}

const char *
UT_SymbolTable::addSymbolAndGetReference(const char *name, UT_Thing value)
{
    int created;
    UT_Sym *sym = findOrCreate(name, created);
    sym->value = value;
    return sym->name;
}

const char *
UT_SymbolTable::getStringReference(const char *name)
{
    int created;
    return findOrCreate(name, created)->name;
}

UT_Thing &
UT_SymbolTable::operator[](const char *name)
{
    int created;
    return findOrCreate(name, created)->value;
}

int
UT_SymbolTable::findSymbol(const char *name, UT_Thing *value) const
{
    if (!myBuckets || !name)
        return 0;
    const ut_Key key(name);
    const UT_Sym *sym = bucketOf(key).find(key);
    if (sym && value)
        *value = sym->value;
    return sym != nullptr;
}

int
UT_SymbolTable::deleteSymbol(const char *name)
{
    if (!myBuckets || !name)
        return 0;
    const ut_Key key(name);
    UT_Sym *const sym = bucketOf(key).remove(key);
    if (!sym)
        return 0;
    UT_Sym::destroy(sym);
    --myEntries;
    adjust(UT_ADJUST_SHRINK);
    return 1;
}

void
UT_SymbolTable::clear()
{
    std::destroy_n(myBuckets, bucketCount());
    utFreeBuckets(myBuckets, bucketCount());
    myBuckets = nullptr;
    myTableSize = 0;
    myEntries = 0;
}

void
UT_SymbolTable::setMaxLoadFactor(float factor)
{
    myMaxLoadFactor = factor;
    if (!(factor > 0 && factor > myMinLoadFactor))
        myMaxLoadFactor = std::max(0.75f, 2 * myMinLoadFactor);
}

void
UT_SymbolTable::setMinLoadFactor(float factor)
{
    myMinLoadFactor = factor;
    if (!(factor >= 0 && factor < myMaxLoadFactor))
        myMinLoadFactor = myMaxLoadFactor / 2;
}

int64
UT_SymbolTable::getMemUsage(bool tableOnly) const
{
    int64 bytes = sizeof(*this);
    if (tableOnly)
        return bytes;
    for (unsigned i = 0; i < bucketCount(); ++i)
        bytes += myBuckets[i].getMemUsage(/*headOnly=*/false);
    // Deliberate: of the heads, those that tableSize() counts.
    return bytes +
           (myTableSize - int64(bucketCount())) * int64(sizeof(UT_SymList));
}

void
UT_SymbolTable::adjustTableSize(UT_AdjustType type)
{
    adjust(type);
}

void
UT_SymbolTable::adjust(UT_AdjustType type)
{
    if (myTraversing != UT_TRAVERSING_NOT)
        return;
    const float size = float(myTableSize);
    const float used = float(myEntries);
    int newSize = myTableSize;
    if (type == UT_ADJUST_GROW)
    {
        // In this form a table without buckets grows at any load factor.
        if (!(used < size * myMaxLoadFactor))
            newSize = UTbumpAllocToPrime(myTableSize);
    }
    else if (size * myMinLoadFactor > used)
        newSize = UTdecreaseAllocToPrime(myTableSize);
    if (newSize != myTableSize)
        resize(newSize);
}

// How many sizes a table goes further than it shows when its buckets are too
// few, which makes them twice as many.
static const unsigned theLead = 4;

void
UT_SymbolTable::resize(int tableSize)
{
    const unsigned index = utSizeIndex(tableSize);
    if (!myBuckets || index > mySizeIndex || index + 2 * theLead < mySizeIndex)
        rehash(std::min(index + theLead, theSizeCount - 1), /*sorts=*/false);
    myTableSize = tableSize;
    myIsInOrder = false;
}

void
UT_SymbolTable::rehash(unsigned sizeIndex, bool sorts)
{
    auto *const buckets = utMakeBuckets(unsigned(utTableSizes[sizeIndex]));
    forRuns(
        [&](UT_Sym **syms, int count)
        {
            UT_SymList *targets[theRunLength];
            for (int i = 0; i < count; ++i)
            {
                targets[i] = &buckets[utBucketOf(syms[i]->hash(), sizeIndex)];
                __builtin_prefetch(targets[i]);
            }
            for (int i = 0; i < count; ++i)
                if (sorts)
                    targets[i]->link(syms[i]);
                else
                    targets[i]->push(syms[i]);
        });
    // The nodes are in the new lists; the old ones still point at some, so they
    // are not destroyed.
    utFreeBuckets(myBuckets, bucketCount());
    myBuckets = buckets;
    mySizeIndex = uint8(sizeIndex);
}

UT_SnapshotTable::UT_SnapshotTable() = default;

UT_SnapshotTable::~UT_SnapshotTable() = default;

// ---- Sizes

int
UTbumpAllocToPrime(int size)
{
    const int *const end = utTableSizes + theSizeCount;
    const int *const above = std::upper_bound(utTableSizes, end, size);
    return above < end ? *above : size;
}

int
UTdecreaseAllocToPrime(int size)
{
    const int *const end = utTableSizes + theSizeCount;
    const int *const atLeast = std::lower_bound(utTableSizes, end, size);
    if (atLeast == end)
        return size;
    return atLeast > utTableSizes ? atLeast[-1] : utTableSizes[0];
}
