// The toolkit's few macros, for exports and for checks of calls by the
// compiler, and what the whole toolkit does when memory runs out.
//
// A failed allocation throws std::bad_alloc, as `new` does; the toolkit throws
// nothing else, and no null result stands for it. The texts, arrays and tables
// concerned then hold what they held before, though their storage may have
// grown. Only an operation that reads a stream, or works through many objects,
// leaves what it has done so far. All of them can still be used.
//
// Exceptions cannot pass through the C library: functions that it calls back
// (comparators, jobs of workers, exit callbacks) must catch their own.

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
