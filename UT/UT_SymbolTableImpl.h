// What the sources of symbol tables share: the list of sizes, and the buckets
// in memory.

#pragma once

#include "UT_SymListImpl.h"

#include <algorithm>
#include <iterator>

// ---- Sizes

// Primes, each some 1.2 times the one before.
inline constexpr int utTableSizes[] = {
    5,         11,        17,        23,        29,        37,        47,
    59,        71,        89,        107,       131,       163,       197,
    239,       293,       353,       431,       521,       631,       761,
    919,       1103,      1327,      1597,      1931,      2333,      2801,
    3371,      4049,      4861,      5839,      7013,      8419,      10103,
    12143,     14591,     17519,     21023,     25229,     30293,     36353,
    43627,     52361,     62851,     75431,     90523,     108631,    130363,
    156437,    187751,    225307,    270371,    324449,    389357,    467237,
    560689,    672827,    807403,    968897,    1162687,   1395263,   1674319,
    2009191,   2411033,   2893249,   3471899,   4166287,   4999559,   5999471,
    7199369,   8639249,   10367101,  12440537,  14928671,  17914409,  21497293,
    25796759,  30956117,  37147349,  44576837,  53492207,  64190669,  77028803,
    92434613,  110921543, 133105859, 159727031, 191672443, 230006941, 276008387,
    331210079, 397452101, 476942527, 572331049, 686797261, 824156741, 988988087,
    1186785703};

inline constexpr unsigned theSizeCount = std::size(utTableSizes);

inline unsigned
utSizeIndex(int size)
{
    return unsigned(
        std::lower_bound(utTableSizes, utTableSizes + theSizeCount - 1, size) -
        utTableSizes);
}

#ifdef __SIZEOF_INT128__
// What dividing by each size takes: 2^64 divided by it, rounded up.
struct ut_Inverses
{
    constexpr ut_Inverses() : values()
    {
        for (unsigned i = 0; i < theSizeCount; ++i)
            values[i] = UINT64_MAX / unsigned(utTableSizes[i]) + 1;
    }
    uint64 values[theSizeCount];
};

inline constexpr ut_Inverses theInverses;

// The hash modulo a size. The lower half of its product with the inverse is the
// fraction that a division leaves. Two multiplications take less time than a
// division.
inline unsigned
utBucketOf(uint32 hash, unsigned sizeIndex)
{
    __extension__ using ut_Product = unsigned __int128;
    const uint64 fraction = theInverses.values[sizeIndex] * hash;
    const unsigned size = unsigned(utTableSizes[sizeIndex]);
    return unsigned(ut_Product(fraction) * size >> 64);
}
#else
inline unsigned
utBucketOf(uint32 hash, unsigned sizeIndex)
{
    return hash % unsigned(utTableSizes[sizeIndex]);
}
#endif

// ---- Buckets

inline unsigned
UT_SymbolTable::bucketCount() const
{
    return myBuckets ? unsigned(utTableSizes[mySizeIndex]) : 0;
}

// Whether the processor's cache has no room for the nodes, so that one that is
// prefetched comes much sooner. Otherwise that would only be more to do.
inline bool
UT_SymbolTable::isLarge() const
{
    return myEntries >= 20000;
}

// Nodes that are visited together.
inline constexpr int theRunLength = 128;

// Calls `function` with all nodes, in runs, after reading the links of a run.
//
// Nodes are scattered in memory, and which buckets have any, or more than one,
// cannot be predicted: one node after the other, this would wait most of the
// time. So the first nodes of a run of buckets come together, then the second
// ones and so on, in steps of which each prefetches what the next one needs
// where the table is large.
template <class Function>
inline void
UT_SymbolTable::forRuns(Function function) const
{
    UT_Sym *syms[theRunLength];
    UT_Sym *nexts[theRunLength];
    const bool prefetches = isLarge();
    for (unsigned start = 0; start < bucketCount(); start += theRunLength)
    {
        const unsigned end = std::min(start + theRunLength, bucketCount());
        int count = 0;
        for (unsigned i = start; i < end; ++i)
        {
            UT_Sym *const sym = myBuckets[i].myFirst.get();
            syms[count] = sym;
            count += sym != nullptr;
        }
        for (int i = 0; i < count && prefetches; ++i)
            __builtin_prefetch(syms[i]);
        while (count > 0)
        {
            int nextCount = 0;
            for (int i = 0; i < count; ++i)
            {
                UT_Sym *const next = syms[i]->next;
                if (prefetches)
                    __builtin_prefetch(next ? next : syms[i]); // null is slow
                nexts[nextCount] = next;
                nextCount += next != nullptr;
            }
            function(syms, count);
            std::copy(nexts, nexts + nextCount, syms);
            count = nextCount;
        }
    }
}
