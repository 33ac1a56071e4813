// The words of a line, as main() gets them: a count and a vector of pointers
// into the line's text.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <cstddef>

/// A growable argument vector over text that it does not own.
///
/// The first 256 slots are part of the object; beyond them the capacity doubles
/// as needed. A null always follows the last argument, so the vector can be
/// used as a null-terminated argv. The texts are kept, must outlive their
/// entries; copying a vector copies the pointers only.
///
/// Thread-compatible.
class UT_API UT_WorkArgs
{
public:
    /// An empty vector.
    UT_WorkArgs();

    /// A copy of `source`, with at least as many slots.
    UT_WorkArgs(const UT_WorkArgs &source);
    ~UT_WorkArgs();

    /// Copies the arguments of `source`. The capacity never shrinks.
    UT_WorkArgs &operator=(const UT_WorkArgs &source);

    /// Vectors on the heap come from malloc(). Use the global placement new to
    /// construct one in place.
    static void *operator new(size_t size);
    static void operator delete(void *block);

    /// Number of arguments.
    [[nodiscard]] int getArgc() const { return myArgc; }

    /// The arguments and a null after them. Borrowed until the vector's next
    /// change.
    char **getArgv() { return myArgv; }
    [[nodiscard]] char *const *getArgv() const { return myArgv; }

    /// The argument at `index`, which counts from 0 and must be below
    /// capacity(); null at getArgc(), and where setArg() left a gap.
    [[nodiscard]] char *getArg(int index) const { return myArgv[index]; }
    char *operator()(int index) const { return myArgv[index]; }
    char *operator[](int index) const { return myArgv[index]; }

    /// Slots allocated.
    [[nodiscard]] int capacity() const { return myMaxArgs; }

    /// Stores `value` at `index`. At or past the end the count becomes `index`
    /// + 1, and the slots between the old end and `index` become null. A null
    /// `value` sets the count to `index`, whether it was more or less, so
    /// setArg(0, nullptr) empties the vector. Does nothing for a negative
    /// index. Amortised O(1), plus the gap.
    void setArg(int index, char *value);

    /// Doubles the capacity until it is at least `slots`.
    void reserve(int slots);

private:
    enum
    {
        theInlineArgs = 256
    };

    // Not UT_LOCAL: the inline setArg() calls it.
    void setArgSlowly(int index, char *value);

    // Programs hold argument vectors by value: order and size stay.
    char **myArgv;                     // myInlineArgv, or a malloc'ed block
    int32 myArgc;                      // arguments, without the null
    int32 myMaxArgs;                   // slots in myArgv, above myArgc
    char *myInlineArgv[theInlineArgs]; // set up to myArgc only
};

static_assert(sizeof(UT_WorkArgs) == 257 * sizeof(char *) + 8);

// Inline, because splitting a line consists mostly of appending words.
inline void
UT_WorkArgs::setArg(int index, char *value)
{
    if (index != myArgc || index >= myMaxArgs - 1 || !value)
    {
        setArgSlowly(index, value);
        return;
    }
    myArgv[index] = value;
    myArgv[index + 1] = nullptr;
    myArgc = index + 1;
}
