// What a match leaves when there is no memory to finish it. This program
// replaces operator new, and the library then uses the replacement too.

#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <new>
#include <string>

static int theAllocationsLeft = INT_MAX;

// Not inlined: the compiler warns of memory from new that free() is given.
__attribute__((noinline)) void *
operator new(size_t size)
{
    if (theAllocationsLeft == 0)
        throw std::bad_alloc();
    --theAllocationsLeft;
    if (void *const block = malloc(size))
        return block;
    throw std::bad_alloc();
}

// For temporary memory of the standard algorithms; the address checker wants
// all that delete is given to come from here.
__attribute__((noinline)) void *
operator new(size_t size, const std::nothrow_t &) noexcept
{
    return malloc(size);
}

__attribute__((noinline)) void
operator delete(void *block) noexcept
{
    free(block);
}

__attribute__((noinline)) void
operator delete(void *block, size_t) noexcept
{
    free(block);
}

// Whether `action` runs out of memory when it may allocate `allocations` times.
template <class Action>
static bool
utRunsOut(int allocations, Action action)
{
    bool runsOut = false;
    theAllocationsLeft = allocations;
    try
    {
        action();
    }
    catch (const std::bad_alloc &)
    {
        runsOut = true;
    }
    theAllocationsLeft = INT_MAX;
    return runsOut;
}

// The search allocates when it comes to its first star, and again when the
// stars get many: by then it has recorded a byte and words.
static const char theText[] = "abcdefgh";
static const char thePattern[] = "?*c*d*e*f*g*x";

TEST(UT_PatternMemory, AMatchThatRunsOutReportsWhatItRecorded)
{
    char singles[8];
    char *words[8];
    int singleCount = -1;
    int wordCount = -1;
    const UT_String text(theText);
    ASSERT_TRUE(utRunsOut(
        /*allocations=*/1,
        [&]
        {
            text.multiMatchRecord(
                thePattern, 8, singles, singleCount, words, wordCount,
                /*caseSensitive=*/1, " ");
        }));
    ASSERT_EQ(1, singleCount);
    EXPECT_EQ('a', singles[0]);
    ASSERT_LT(0, wordCount);
    EXPECT_STREQ("b", words[0]);
    for (int i = 0; i < wordCount; ++i)
        free(words[i]);
}

// What it captured is freed, which the address checker looks at.
TEST(UT_PatternMemory, ARenameThatRunsOutChangesNothing)
{
    UT_String name(theText);
    ASSERT_TRUE(utRunsOut(
        /*allocations=*/1, [&] { name.patternRename(thePattern, "*"); }));
    EXPECT_STREQ(theText, name);
    EXPECT_EQ(1, name.patternRename("*cd*", "*(0)"));
    EXPECT_STREQ("ab", name);
}

// The names that it made are freed, which the address checker looks at.
TEST(UT_PatternMemory, AnExpansionThatRunsOutStoresNoNames)
{
    const std::string longPrefix(100, 'a');
    const std::string words = "one " + longPrefix + "[1-3]";
    UT_String text(words.c_str());
    char *names[4];
    EXPECT_TRUE(utRunsOut(
        /*allocations=*/3, [&] { text.expandArrays(names, 4); }));
}
