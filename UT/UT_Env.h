// The process environment, kept sorted, so that a variable is found by binary
// search. The functions have plain names, for programs that load the library.

#pragma once

#include "UT_API.h"

#include <sys/types.h>

// The table is the environment: the C library's `environ` points at it, so
// getenv() and child processes see each change at once. It is created at the
// first call. Each call notices what other code has done to the environment
// meanwhile, with setenv(), unsetenv(), putenv(), clearenv() or in the array
// itself, and takes it over. One change goes unnoticed at first: a putenv()
// text whose owner writes another name into it keeps its old place until
// something else changes.
//
// One thread only. Other threads may call getenv() as far as the C library
// allows it while the environment changes: an array that they may be reading is
// never freed and never incomplete, but the text of a variable that is replaced
// or removed is freed at once.

extern "C"
{
    /// Sets or replaces a variable. A null value counts as ""; a null name is
    /// ignored. Both texts are copied, and may point into the environment.
    /// O(log n) comparisons; a new variable moves the pointers after it.
    UT_API void ValdrinSetenv(const char *name, const char *value);

    /// Sets the variable that "NAME=value" describes, split at the first "=". A
    /// text without one is ignored, as is null.
    UT_API void ValdrinPutenv(const char *assignment);

    /// The value of a variable, null when there is none. Borrowed until the
    /// next change of the environment. O(log n) comparisons of names, and a
    /// memcmp() of the pointers before the variable's.
    ///
    /// Deliberate: the search compares bytes as signed numbers, while the table
    /// is sorted as strcmp() sorts. Where names have bytes from 128 on, they
    /// and other names may not be found, and setting one that is not found adds
    /// a second entry.
    UT_API char *ValdrinGetenv(const char *name);

    /// Removes a variable if it is set.
    UT_API void ValdrinUnsetenv(const char *name);

    /// The whole environment, "NAME=value" texts in the order of strcmp() and
    /// a null. Borrowed until the next change of the environment.
    UT_API char **ValdrinGetenvlist();

    /// Creates the directory `path` and all missing ones above it, with the
    /// permission bits `mode`, restricted by the process's mask. Returns 1 when
    /// the directory exists afterwards, 0 otherwise and for null. The path is
    /// modified during the call and restored before it returns.
    ///
    /// Deliberate: the directories above get the same bits, so without the
    /// owner's write and search bits only one level can be created.
    UT_API int ValdrinMakeDirectory(char *path, mode_t mode);
}
