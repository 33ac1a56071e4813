// Storage: whose text it is, copies and comparison.

#include "UT_String.h"

#include "UT_AllocImpl.h"

#include "SYS/SYS_Types.h"

#include <cstdlib>
#include <utility>

// A block of `length` + 1 bytes with up to `length` bytes of `text`, which
// need not end in a NUL; what the text does not fill is NULs.
static char *
utDuplicate(const char *text, int length)
{
    const size_t size = size_t(length);
    char *const block = static_cast<char *>(utAllocate(size + 1));
    const size_t used = text ? strnlen(text, size) : 0;
    if (used)
        memcpy(block, text, used);
    if (used < size)
        memset(block + used, 0, size - used);
    block[size] = '\0';
    return block;
}

UT_String::UT_String(const char *text, int deep, int length)
    : myIsReference(0), myIsAlwaysDeep(0)
{
    if (length >= 0)
        myData = utDuplicate(text, length);
    else if (deep)
        myData = utDuplicate(text);
    else
    {
        myData = const_cast<char *>(text);
        myIsReference = 1;
    }
}

UT_String::UT_String(UT_AlwaysDeepType, const char *text)
    : myData(utDuplicate(text)), myIsReference(0), myIsAlwaysDeep(1)
{
}

UT_String::UT_String(const UT_String &source)
    : myData(nullptr), myIsReference(0), myIsAlwaysDeep(source.myIsAlwaysDeep)
{
    *this = source;
}

UT_String::UT_String(UT_String &&source) noexcept
    : myData(std::exchange(source.myData, nullptr)),
      myIsReference(source.myIsReference), myIsAlwaysDeep(source.myIsAlwaysDeep)
{
}

UT_String::~UT_String()
{
    if (!myIsReference)
        free(myData);
}

// Copies before it frees: `text` may lie in the block that is freed.
void
UT_String::ownCopyOf(const char *text)
{
    own(utDuplicate(text));
}

// Takes over a block of malloc().
void
UT_String::own(char *block)
{
    freeData();
    myData = block;
    myIsReference = 0;
}

UT_String &
UT_String::operator=(const UT_String &source)
{
    if (&source == this)
        return *this;
    // The source may be a copy of this string, which borrows the text that
    // would be freed here.
    if (myData && !myIsReference && source.myData == myData)
        return *this;
    if (myIsAlwaysDeep)
    {
        ownCopyOf(source.myData);
        return *this;
    }
    freeData();
    myData = source.myData;
    myIsReference = 1;
    return *this;
}

UT_String &
UT_String::operator=(const char *text)
{
    if (text == myData)
        return *this;
    if (myIsAlwaysDeep)
    {
        ownCopyOf(text);
        return *this;
    }
    freeData();
    myData = const_cast<char *>(text);
    myIsReference = 1;
    return *this;
}

void
UT_String::freeData()
{
    if (!myIsReference)
        free(myData);
    myData = nullptr;
}

void
UT_String::harden()
{
    if (!myIsReference && myData)
        return;
    myData = utDuplicate(myData ? myData : "");
    myIsReference = 0;
}

void
UT_String::harden(const char *text, int length)
{
    if (!text)
        text = "";
    if (length < 0 && !myIsReference && myData &&
        (myData == text || strcmp(myData, text) == 0))
        return;
    own(length < 0 ? utDuplicate(text) : utDuplicate(text, length));
}

void
UT_String::swap(UT_String &other)
{
    if (this == &other)
    {
        if (myIsAlwaysDeep)
            harden();
        return;
    }
    // A side that is always deep copies a text that it cannot take over. Both
    // do so before anything changes.
    UT_String mine(myData);
    UT_String others(other.myData);
    if (other.myIsAlwaysDeep && (myIsReference || !myData))
        mine.harden();
    if (myIsAlwaysDeep && (other.myIsReference || !other.myData))
        others.harden();
    std::swap(myData, other.myData);
    const unsigned isReference = myIsReference;
    myIsReference = other.myIsReference & 1;
    other.myIsReference = isReference & 1;
    if (!mine.myIsReference)
    {
        other.myData = std::exchange(mine.myData, nullptr);
        other.myIsReference = 0;
    }
    if (!others.myIsReference)
    {
        myData = std::exchange(others.myData, nullptr);
        myIsReference = 0;
    }
}

UT_String &
UT_String::getEmptyString()
{
    static UT_String *theEmptyString = new UT_String("", 1); // never destroyed
    return *theEmptyString;
}

int
UT_String::length() const
{
    return myData ? SYSnarrow<int>(strlen(myData)) : 0;
}

int
UT_String::compare(const char *text) const
{
    if (!myData || !text)
        return int(myData != nullptr) - int(text != nullptr);
    return strcmp(myData, text);
}
