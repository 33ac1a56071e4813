// The search for a short text by the vectors of AVX-512.

#pragma once

#include <cstddef>

#if defined(__x86_64__) || defined(__i386__)
constexpr size_t theLongestVectorText = sizeof(void *) == 4 ? 16 : 32;

// Whether this processor can search for a text of so many bytes by vectors.
inline bool
utHasTextVectors(size_t length)
{
    return length >= 2 && length <= theLongestVectorText &&
           __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512vl") &&
           __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
}
#else
constexpr bool
utHasTextVectors(size_t)
{
    return false;
}
#endif

// The first `text` in the one from `begin` to its NUL, or null. May read what
// lies before or after that in the same aligned block.
const char *utFindByVectors(const char *begin, const char *text, size_t length);
