#include "UT_WorkArgs.h"

#include "UT_AllocImpl.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

// The most slots that a block can have and an int can count.
static const size_t theMaxSlots =
    std::min(size_t(INT_MAX), size_t(PTRDIFF_MAX) / sizeof(char *));

UT_WorkArgs::UT_WorkArgs()
    : myArgv(myInlineArgv), myArgc(0), myMaxArgs(theInlineArgs)
{
    myInlineArgv[0] = nullptr;
}

UT_WorkArgs::UT_WorkArgs(const UT_WorkArgs &source) : UT_WorkArgs()
{
    *this = source;
}

UT_WorkArgs::~UT_WorkArgs()
{
    if (myArgv != myInlineArgv)
        free(myArgv);
}

UT_WorkArgs &
UT_WorkArgs::operator=(const UT_WorkArgs &source)
{
    if (&source == this)
        return *this;
    reserve(source.myMaxArgs);
    // With the null after them.
    std::copy_n(source.myArgv, source.myArgc + 1, myArgv);
    myArgc = source.myArgc;
    return *this;
}

void *
UT_WorkArgs::operator new(size_t size)
{
    return utAllocate(size);
}

void
UT_WorkArgs::operator delete(void *block)
{
    free(block);
}

void
UT_WorkArgs::reserve(int slots)
{
    size_t size = size_t(myMaxArgs);
    while (slots > 0 && size < size_t(slots) && size < theMaxSlots)
        size = std::min(size * 2, theMaxSlots);
    if (size == size_t(myMaxArgs))
        return;
    const bool isInline = myArgv == myInlineArgv;
    void *const block =
        utChecked(realloc(isInline ? nullptr : myArgv, size * sizeof(char *)));
    myArgv = static_cast<char **>(block);
    if (isInline)
        memcpy(myArgv, myInlineArgv, sizeof(myInlineArgv));
    myMaxArgs = int32(size);
}

void
UT_WorkArgs::setArgSlowly(int index, char *value)
{
    if (index < 0 || size_t(index) + 2 > theMaxSlots)
        return;
    if (index >= myArgc)
    {
        reserve(index + 2);
        // Cut arguments may still be there.
        std::fill(myArgv + myArgc, myArgv + index, nullptr);
        myArgv[index + 1] = nullptr;
        myArgc = index + 1;
    }
    myArgv[index] = value;
    // Deliberate: a null past the end leaves a gap before it.
    if (!value)
        myArgc = index;
}
