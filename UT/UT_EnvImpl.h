// The environment for scanners, whose names are parts of longer texts.

#pragma once

#include <cstddef>

// What ValdrinGetenv() returns for the first `length` bytes of `name`, none of
// which is NUL.
char *utGetenv(const char *name, size_t length);
