// The toolkit's few macros: what leaves the library, and what the compiler
// may check at a call.

#pragma once

/// Marks a class or function that the library exports. Everything else stays
/// hidden inside it.
#define UT_API __attribute__((visibility("default")))

/// Keeps a private member function of an exported class inside the library.
#define UT_LOCAL __attribute__((visibility("hidden")))

/// Lets the compiler check a printf-like call: the position (from 1) of the
/// format and of the first argument that it converts, 0 for a `va_list`. In
/// member functions the object itself is argument 1.
#define UT_PRINTF(text, first) __attribute__((format(printf, text, first)))
