// The process environment, kept sorted, so that a variable is found by binary
// search. The functions have plain names, for programs that load the library.

#pragma once

#include "UT_API.h"

#include <sys/types.h>

// The table is the environment: the C library's `environ` points at it, so
// getenv() and child processes see each change at once. It comes into being at
// the first call. What other code does to the environment meanwhile, with
// setenv(), unsetenv(), putenv(), clearenv() or in the array itself, the next
// call notices and takes over. One thing it cannot see at once: a putenv() text
// whose owner writes another name into it is found by the old place until
// something else changes.
//
// One thread only. Other threads may call getenv() as far as the C library lets
// them while the environment changes: an array that they may be reading is
// never freed and never without its variables, but the text of a variable that
// is replaced or removed is freed at once.

extern "C"
{
    /// Sets or replaces a variable. A null value counts as ""; a null name is
    /// ignored. Both texts are copied, and may point into the environment.
    /// O(log n) comparisons; a variable that is new moves the pointers behind
    /// it.
    UT_API void ValdrinSetenv(const char *name, const char *value);

    /// Sets what "NAME=value" says, split at the first "=". A text without one
    /// is ignored, as null is.
    UT_API void ValdrinPutenv(const char *assignment);

    /// The value of a variable, null when there is none. Borrowed until the
    /// next change of the environment. O(log n) comparisons of names, and a
    /// memcmp() of the pointers before the variable's.
    ///
    /// Deliberate: the search compares bytes as signed numbers, while the
    /// table is sorted as strcmp() sorts. Where names have bytes of 128 and
    /// above, they and others may not be found, and setting one that is not
    /// found adds a second entry.
    UT_API char *ValdrinGetenv(const char *name);

    /// Removes a variable if it is there.
    UT_API void ValdrinUnsetenv(const char *name);

    /// The whole environment, "NAME=value" texts in the order of strcmp() and
    /// a null. Borrowed until the next change of the environment.
    UT_API char **ValdrinGetenvlist();

    /// Creates the directory `path` and all missing ones above it, with the
    /// permission bits `mode`, which the process's mask restricts. Returns 1
    /// when it is there in the end, 0 otherwise and for null. The path is
    /// written to during the call, and is as before afterwards.
    ///
    /// Deliberate: the ones above get the same bits, so without the owner's
    /// write and search bits only one level can be made.
    UT_API int ValdrinMakeDirectory(char *path, mode_t mode);
}
