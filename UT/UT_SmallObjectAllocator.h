// Blocks of any small size, from one pool for each size.

#pragma once

#include "UT_API.h"
#include "UT_FixedAllocator.h"
#include "UT_PtrArray.h"

#include "SYS/SYS_Types.h"

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#endif

class UT_Lock;

/// Hands out small blocks from a UT_FixedAllocator for each size asked for,
/// and larger ones from the heap.
///
/// Blocks from the pools are aligned for a pointer and no further.
///
/// Thread-safe when constructed so; thread-compatible otherwise. Requests that
/// the heap serves take no lock, and no request does while the process has only
/// one thread. A fork() waits until no thread is in a
/// thread-safe allocator, so that the child can use it too.
class UT_API UT_SmallObjectAllocator
{
public:
    /// An allocator whose pools serve sizes up to `maxObjectSize` bytes;
    /// `reclaim` and `objectsPerPage` are as for UT_FixedAllocator.
    UT_SmallObjectAllocator(
        bool reclaim, int objectsPerPage, unsigned int maxObjectSize,
        bool threadSafe);

    /// Frees the pools, and with them the blocks still in use, except those
    /// that came from the heap.
    ~UT_SmallObjectAllocator();

    UT_SmallObjectAllocator(const UT_SmallObjectAllocator &) = delete;
    UT_SmallObjectAllocator &
    operator=(const UT_SmallObjectAllocator &) = delete;

    /// A block of at least `size` bytes, to be freed with deallocate(). O(1)
    /// for sizes below 256 and for the size of the last call, O(sizes)
    /// otherwise. Sizes above the maximum come from operator new.
    [[nodiscard]] void *allocate(unsigned int size);

    /// Frees a block; does nothing for null. `size` must be the one that it was
    /// allocated with: any other one damages the pools. As fast as
    /// allocate().
    void deallocate(void *block, unsigned int size);

    /// The largest size that the pools serve, in bytes.
    [[nodiscard]] unsigned int maxObjectSize() const { return myMaxObjectSize; }

    /// Number of pools: one for each size asked for so far.
    [[nodiscard]] unsigned int entries() const
    {
        return myAllocators.entries();
    }

    /// Pool `index` (from 0), in ascending order of sizes. Owned by this
    /// object; not guarded by its lock.
    const UT_FixedAllocator &operator()(unsigned int index) const
    {
        return *myAllocators(index);
    }

private:
    struct ut_Pool;
    static constexpr unsigned theQuickSizes = 256;

    [[nodiscard]] bool needsLock() const;
    [[nodiscard]] UT_FixedAllocator *quickPool(unsigned int size) const;

    // Not UT_LOCAL: the inline functions call them.
    void *allocateSlowly(unsigned int size);
    void deallocateSlowly(void *block, unsigned int size);

    [[nodiscard]] UT_LOCAL unsigned int findAtLeast(unsigned int size) const;
    UT_LOCAL UT_FixedAllocator *poolFor(unsigned int size);
    UT_LOCAL void *take(unsigned int size);
    UT_LOCAL void give(void *block, unsigned int size);

    // Programs hold allocators by value: order and size stay.
    UT_PtrArray<UT_FixedAllocator *> myAllocators; // ut_Pools, ascending
    UT_FixedAllocator *myLastAllocation;           // the one used last, or null
    UT_FixedAllocator *myLastRelease;              // the one used last, or null
    UT_Lock *myLock;                               // null unless thread-safe
    int myObjectsPerPage;
    unsigned int myMaxObjectSize; // bytes
    bool myReclaim;
};

static_assert(sizeof(void *) != 4 || sizeof(UT_SmallObjectAllocator) == 40);

// A pool that knows the others. Programs read it: order and size stay.
struct UT_SmallObjectAllocator::ut_Pool : public UT_FixedAllocator
{
    using UT_FixedAllocator::UT_FixedAllocator;

    // The pool for each size below theQuickSizes, or null; one table for all
    // pools. To look for the size in their list would cost more than the block:
    // where that ends is hard to predict.
    UT_FixedAllocator **bySize = nullptr;
};

// ---- Inline functions

// Whether a thread could come between. Without an answer of the C library it
// could.
inline bool
UT_SmallObjectAllocator::needsLock() const
{
#if __has_include(<sys/single_threaded.h>)
    return myLock && !__libc_single_threaded;
#else
    return myLock;
#endif
}

// The pool for a size; null when there is none, or no place for it in the
// table. Not from the pool used last, which would have to be known first.
inline UT_FixedAllocator *
UT_SmallObjectAllocator::quickPool(unsigned int size) const
{
    if (myAllocators.entries() == 0 || size >= theQuickSizes)
        return nullptr;
    return static_cast<const ut_Pool *>(myAllocators(0))->bySize[size];
}

inline void *
UT_SmallObjectAllocator::allocate(unsigned int size)
{
    UT_FixedAllocator *const pool = needsLock() ? nullptr : quickPool(size);
    if (!pool)
        return allocateSlowly(size);
    myLastAllocation = pool;
    return pool->allocate();
}

inline void
UT_SmallObjectAllocator::deallocate(void *block, unsigned int size)
{
    UT_FixedAllocator *const pool = needsLock() ? nullptr : quickPool(size);
    if (!pool)
    {
        deallocateSlowly(block, size);
        return;
    }
    myLastRelease = pool;
    pool->deallocate(block);
}
