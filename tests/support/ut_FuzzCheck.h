// What a fuzz entry claims of its input.

#pragma once

#include <cstdio>
#include <cstdlib>

// Says where it is and ends the program, a failure to any fuzzer, unless the
// claim holds.
inline void
utRequire(
    bool holds, const char *file = __builtin_FILE(),
    int line = __builtin_LINE())
{
    if (holds)
        return;
    std::fprintf(stderr, "%s:%d: the claim does not hold\n", file, line);
    std::abort();
}
