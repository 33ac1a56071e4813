// Names that are selected, renamed and counted.

#include "UT/UT_String.h"

#include <cstdio>
#include <cstdlib>

int
main()
{
    // Which of the names are meant?
    const char *const names[] = {"arm_left", "arm_right", "leg_left"};
    for (const char *name : names)
        if (UT_String(name).multiMatch("*_left ^leg*"))
            std::printf("%s\n", name);

    // One side becomes the other.
    UT_String name("arm_left", /*deep=*/1);
    if (name.patternRename("*_left", "*_right"))
        std::printf("%s\n", name.buffer());

    // All names that a short text stands for.
    char *words[8];
    UT_String text("geo[1-3] cam");
    const int count = text.expandArrays(words, 8);
    for (int i = 0; i < count; i++)
    {
        std::printf("%s\n", words[i]);
        std::free(words[i]);
    }
    return 0;
}
