// The table: the order of its names, and whatever visits all of them.

#include "UT_SymbolTable.h"

#include "UT_AllocImpl.h"
#include "UT_CharImpl.h"
#include "UT_SymbolTableImpl.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <numeric>
#include <vector>

// Keeps the size of a table as long as it lives. An inner traversal must not
// end the protection of the outer one.
class UT_SymbolTable::ut_TraversalGuard
{
public:
    explicit ut_TraversalGuard(ut_Traversing &traversing)
        : myTraversing(traversing), myIsOuter(traversing == UT_TRAVERSING_NOT)
    {
        if (myIsOuter)
            myTraversing = UT_TRAVERSING;
    }
    ~ut_TraversalGuard()
    {
        if (myIsOuter)
            myTraversing = UT_TRAVERSING_NOT;
    }
    ut_TraversalGuard(const ut_TraversalGuard &) = delete;
    ut_TraversalGuard &operator=(const ut_TraversalGuard &) = delete;

private:
    ut_Traversing &myTraversing;
    const bool myIsOuter;
};

// The nodes of a table in the order that it shows.
class UT_SymbolTable::ut_Order
{
public:
    explicit ut_Order(const UT_SymbolTable &table)
        : myIsLarge(table.isLarge()),
          mySyms(new UT_Sym *[unsigned(table.myEntries)]),
          myEnds(unsigned(table.myTableSize) + 1)
    {
        distribute(table);
    }

    // Number of nodes.
    [[nodiscard]] unsigned entries() const { return myEnds.back(); }

    // Nodes are read one after the other: one that comes later is prefetched,
    // where the table is large.
    UT_Sym &operator()(unsigned index) const
    {
        if (myIsLarge)
            __builtin_prefetch(mySyms[std::min(index + 16, entries() - 1)]);
        return *mySyms[index];
    }

private:
    // Counts the nodes of each bucket, puts them there, and sorts those that
    // are not alone. Which buckets have several cannot be predicted, so they
    // are listed without a jump.
    void distribute(const UT_SymbolTable &table)
    {
        const unsigned sizeIndex = utSizeIndex(table.myTableSize);
        const unsigned count = unsigned(table.myEntries);
        const std::unique_ptr<UT_Sym *[]> syms(new UT_Sym *[count]);
        const std::unique_ptr<unsigned[]> buckets(new unsigned[count]);
        const std::unique_ptr<unsigned[]> several(new unsigned[count / 2 + 1]);
        unsigned *severalEnd = several.get();
        table.forRuns(
            [&severalEnd, nextSym = syms.get(), nextBucket = buckets.get(),
             counts = myEnds.data() + 1,
             sizeIndex](UT_Sym **run, int length) mutable
            {
                unsigned *const countsHere = counts; // in registers
                unsigned *severalHere = severalEnd;
                for (int i = 0; i < length; ++i)
                {
                    const unsigned bucket =
                        utBucketOf(run[i]->hash(), sizeIndex);
                    nextSym[i] = run[i];
                    nextBucket[i] = bucket;
                    *severalHere = bucket;
                    severalHere += ++countsHere[bucket] == 2;
                }
                severalEnd = severalHere;
                nextSym += length;
                nextBucket += length;
            });
        std::partial_sum(myEnds.begin(), myEnds.end(), myEnds.begin());
        // What is a start before becomes the end.
        for (unsigned i = 0; i < count; ++i)
            mySyms[myEnds[buckets[i]]++] = syms[i];
        sort(several.get(), severalEnd);
    }

    // Sorts the nodes of some buckets, in runs that are prefetched where the
    // table is large.
    void sort(const unsigned *bucket, const unsigned *end)
    {
        while (bucket < end)
        {
            const unsigned *const runEnd =
                bucket + std::min<ptrdiff_t>(end - bucket, theRunLength);
            for (const unsigned *i = bucket; i < runEnd && myIsLarge; ++i)
            {
                UT_Sym **const last = mySyms.get() + myEnds[*i];
                __builtin_prefetch(last[-1]);
                __builtin_prefetch(last[-2]);
            }
            for (; bucket < runEnd; ++bucket)
                sort(*bucket > 0 ? myEnds[*bucket - 1] : 0, myEnds[*bucket]);
        }
    }

    // Sorts several nodes, by their indices.
    void sort(unsigned first, unsigned last)
    {
        // Most buckets have no more.
        if (last - first == 2)
        {
            UT_Sym **const pair = mySyms.get() + first;
            if (pair[1]->isBefore(*pair[0]))
                std::swap(pair[0], pair[1]);
        }
        else
            std::sort(
                mySyms.get() + first, mySyms.get() + last,
                [](const UT_Sym *a, const UT_Sym *b)
                { return a->isBefore(*b); });
    }

    const bool myIsLarge;
    const std::unique_ptr<UT_Sym *[]> mySyms;
    std::vector<unsigned> myEnds; // by bucket, and the number of nodes
};

// Puts the nodes into the buckets that the table shows.
void
UT_SymbolTable::settle()
{
    if (myIsInOrder || !myBuckets)
        return;
    rehash(utSizeIndex(myTableSize), /*sorts=*/true);
    myIsInOrder = true;
}

int
UT_SymbolTable::traverse(UT_SymFunction function, void *data)
{
    int completed;
    settle();
    {
        const ut_TraversalGuard guard(myTraversing);
        completed = traverseConst(function, data);
    }
    adjust(UT_ADJUST_SHRINK);
    return completed;
}

int
UT_SymbolTable::traverseConst(UT_SymFunction function, void *data) const
{
    if (myIsInOrder || !function)
        return walkBuckets(function, data);
    const ut_Order order(*this);
    for (unsigned i = 0; i < order.entries(); ++i)
    {
        UT_Sym &sym = order(i);
        if (!function(sym.value, sym.name, data))
            return 0;
    }
    return 1;
}

// A block of buckets, one for each bit of a word.
static const unsigned theBlockLength = 8 * sizeof(uintptr_t);

// The number of the lowest bit that is set.
static inline unsigned
utLowest(uintptr_t bits)
{
    return unsigned(__builtin_ctzl(bits));
}

// Which buckets of the block that begins with `start` are not empty, by bits:
// that cannot be predicted, so no jump depends on it.
inline uintptr_t
UT_SymbolTable::usedBuckets(unsigned start) const
{
    uintptr_t used = 0;
    for (unsigned i = std::min(start + theBlockLength, bucketCount());
         i > start; --i)
        used = used + used + !myBuckets[i - 1].empty();
    return used;
}

// The first nodes of a block's buckets are prefetched a block ahead of the
// calls for them, the second ones just before. The calls may delete names and
// buckets, so no pointer outlives one.
int
UT_SymbolTable::walkBuckets(UT_SymFunction function, void *data) const
{
    if (!function)
        return 1;
    const bool prefetches = isLarge();
    for (unsigned start = 0; start < bucketCount(); start += theBlockLength)
    {
        uintptr_t used = usedBuckets(start);
        if (prefetches)
        {
            for (uintptr_t bits = used; bits != 0; bits &= bits - 1)
                __builtin_prefetch(
                    myBuckets[start + utLowest(bits)].secondOrFirst());
            const unsigned next = start + theBlockLength;
            for (uintptr_t bits = usedBuckets(next); bits; bits &= bits - 1)
                __builtin_prefetch(
                    myBuckets[next + utLowest(bits)].myFirst.get());
        }
        while (used != 0)
        {
            const unsigned bit = utLowest(used);
            const unsigned i = start + bit;
            if (i < bucketCount() && !myBuckets[i].visit(function, data))
                return 0;
            // Names may have come to buckets that were empty.
            if (myTraversing == UT_TRAVERSING_INSERTS)
                used = usedBuckets(start);
            used &= ~uintptr_t(1) << bit;
        }
    }
    return 1;
}

static int
ut_mergeTable(UT_Thing &value, const char *name, void *data)
{
    static_cast<UT_SymbolTable *>(data)->addSymbol(name, value);
    return 1;
}

void
UT_SymbolTable::mergeTable(const UT_SymbolTable &other)
{
    // Adding to the table that is being walked could rehash it on the way.
    if (&other != this)
        other.traverseConst(ut_mergeTable, this);
}

namespace
{

struct ut_NumberedBase
{
    const char *base;
    size_t length;
    int count; // more than all numbers so far
};

} // namespace

static int
utCountNumbered(UT_Thing &, const char *name, void *data)
{
    auto *numbered = static_cast<ut_NumberedBase *>(data);
    if (strncmp(name, numbered->base, numbered->length) != 0 ||
        !utIsDigit(name[numbered->length]))
        return 1;
    // Deliberate: text after the number does not matter.
    const long number = strtol(name + numbered->length, nullptr, 10);
    if (number >= numbered->count && number < INT_MAX)
        numbered->count = int(number) + 1;
    return 1;
}

char *
UT_SymbolTable::newName(const char *name) const
{
    if (!name)
        return nullptr;
    ut_NumberedBase numbered = {name, strlen(name), 1};
    while (numbered.length > 0 && utIsDigit(name[numbered.length - 1]))
        --numbered.length;
    walkBuckets(utCountNumbered, &numbered);

    const size_t size = numbered.length + sizeof("2147483647");
    char *result = static_cast<char *>(utAllocate(size));
    memcpy(result, name, numbered.length);
    snprintf(
        result + numbered.length, size - numbered.length, "%d", numbered.count);
    return result;
}

void
UT_SymbolTable::outputStats(FILE *stream) const
{
    int total = 0;
    int used = 0;
    int shortest = INT_MAX;
    int longest = 0;
    std::vector<int> lengths((unsigned(myTableSize)));
    forRuns(
        [&lengths, index = utSizeIndex(myTableSize)](UT_Sym **syms, int count)
        {
            for (int i = 0; i < count; ++i)
                ++lengths[utBucketOf(syms[i]->hash(), index)];
        });
    for (const int count : lengths)
    {
        if (count == 0)
            continue;
        total += count;
        ++used;
        shortest = std::min(shortest, count);
        longest = std::max(longest, count);
    }
    fprintf(stream, "Table size: %d\n", myTableSize);
    fprintf(stream, "   Entries: %d\n", total);
    if (myTableSize != 0)
        fprintf(stream, "  Coverage: %g\n", double(used) / myTableSize);
    fprintf(stream, "Collisions: %d\n", total - used);
    if (used == 0)
        return;
    fprintf(
        stream, "   Lengths: [%d-%d] avg: %g\n", shortest, longest,
        double(total) / used);
    fprintf(stream, " Deviation: %g\n", double(longest - shortest) / shortest);
}

namespace
{

struct ut_Dump
{
    FILE *stream;
    unsigned tableSize;
    unsigned bucket; // of the last name; none has UINT_MAX
};

} // namespace

static int
utDump(UT_Thing &value, const char *name, void *data)
{
    auto *dump = static_cast<ut_Dump *>(data);
    const unsigned bucket = UT_SymbolTable::hash(name) % dump->tableSize;
    if (bucket != dump->bucket)
        fprintf(dump->stream, "[%3u]: ", bucket);
    dump->bucket = bucket;
    fprintf(dump->stream, " \"%s\" = 0x%08X\n", name, unsigned(value.integer));
    return 1;
}

void
UT_SymbolTable::dumpTable(FILE *stream) const
{
    ut_Dump dump = {stream, unsigned(myTableSize), UINT_MAX};
    traverseConst(utDump, &dump);
}
