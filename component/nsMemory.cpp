// The platform's allocator, or C's where there is none.

#include "nsGenericModule.h"

#include <cstdlib>

// The platform's allocator, where there is a platform that has it.
extern "C" __attribute__((weak, visibility("default"))) void *
NS_Alloc(size_t size);

// Both definitions are weak for the compiler's sake as much as the linker's:
// it must not inline one of them or bind the call between them, or a platform
// that brings its own Alloc would be bypassed.

__attribute__((weak)) void *
nsMemory::Alloc(size_t size)
{
    // Platforms without NS_Alloc free with the process's free().
    return NS_Alloc ? NS_Alloc(size) : malloc(size);
}

__attribute__((weak)) void *
nsMemory::Clone(const void *bytes, size_t size)
{
    void *const copy = Alloc(size);
    if (copy)
        memcpy(copy, bytes, size);
    return copy;
}
