// Blocks of the C allocator that are never null: the functions throw when
// memory runs out, as `new` does. For the sources of texts, arrays and tables,
// whose blocks are freed with free().

#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

// The block that an allocation returned; throws when that is null.
template <class T>
T *
utChecked(T *block)
{
    if (!block)
        throw std::bad_alloc();
    return block;
}

inline void *
utAllocate(size_t bytes)
{
    // The analyzer does not follow that arrays without capacity have no block.
    // NOLINTNEXTLINE(clang-analyzer-optin.portability.UnixAPI)
    return utChecked(malloc(bytes));
}

// `count` elements of `size` bytes, all zero.
inline void *
utAllocateZeros(size_t count, size_t size)
{
    // The analyzer does not follow how callers round counts up.
    // NOLINTNEXTLINE(clang-analyzer-optin.portability.UnixAPI)
    return utChecked(calloc(count, size));
}

// A copy of `text`. Null stays null.
inline char *
utDuplicate(const char *text)
{
    return text ? utChecked(strdup(text)) : nullptr;
}

struct ut_Free
{
    void operator()(void *block) const { free(block); }
};

// The owner of a block that may still have to be freed.
template <class T>
using ut_BlockOwner = std::unique_ptr<T, ut_Free>;
