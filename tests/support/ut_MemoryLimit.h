// An allocator that has no memory when a test asks for that. It replaces the
// one of the whole program, C library and all: only one source of a program
// may include it, and no sanitizer can watch that program.
//
//     const ut_MemoryLimit limit(/*allocations=*/2);
//     EXPECT_THROW(makeThree(), std::bad_alloc);

#pragma once

#include <cstddef>
#include <cstdint>

// The C library's own allocator.
extern "C" void *__libc_malloc(size_t size);
extern "C" void *__libc_calloc(size_t count, size_t size);
extern "C" void *__libc_realloc(void *block, size_t size);

// While one lives, its thread gets a number of blocks and then no more, and
// none that is too large. Other threads have no limit. One at a time.
class ut_MemoryLimit
{
public:
    explicit ut_MemoryLimit(size_t allocations, size_t largestBytes = SIZE_MAX)
    {
        theLeft = allocations;
        theLargest = largestBytes;
        theHasRefused = false;
        theIsOn = true;
    }
    ut_MemoryLimit(const ut_MemoryLimit &) = delete;
    ut_MemoryLimit &operator=(const ut_MemoryLimit &) = delete;
    ~ut_MemoryLimit() { theIsOn = false; }

    // Whether a block was asked for in vain.
    bool hasRefused() const { return theHasRefused; }

    // For the functions below.
    static bool refuses(size_t bytes)
    {
        if (!theIsOn)
            return false;
        if (theLeft == 0 || bytes > theLargest)
        {
            theHasRefused = true;
            return true;
        }
        --theLeft;
        return false;
    }

private:
    static inline thread_local bool theIsOn = false;
    static inline thread_local bool theHasRefused = false;
    static inline thread_local size_t theLeft = 0;
    static inline thread_local size_t theLargest = 0;
};

extern "C" __attribute__((visibility("default"))) void *
malloc(size_t size) noexcept
{
    return ut_MemoryLimit::refuses(size) ? nullptr : __libc_malloc(size);
}

extern "C" __attribute__((visibility("default"))) void *
calloc(size_t count, size_t size) noexcept
{
    return ut_MemoryLimit::refuses(count * size) ? nullptr
                                                 : __libc_calloc(count, size);
}

extern "C" __attribute__((visibility("default"))) void *
realloc(void *block, size_t size) noexcept
{
    return ut_MemoryLimit::refuses(size) ? nullptr
                                         : __libc_realloc(block, size);
}
