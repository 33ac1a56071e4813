// The toolkit's few macros: what leaves the library, and what the compiler
// may check at a call. And what the whole toolkit does without memory.
//
// Memory that cannot be had is reported by std::bad_alloc, as `new` does it;
// the toolkit reports nothing else by an exception, and no null result means
// it. The texts, arrays and tables concerned then hold what they held before,
// though their storage may have grown. Only an operation that reads a stream,
// or works through many objects, leaves what it has done so far. All of them
// can be used further.
//
// Exceptions cannot pass the C library's functions: what it calls back
// (comparators, jobs of workers, exit callbacks) has to catch its own.

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
