// A user's program: builds against the installed headers and library alone.

#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>

#include <cstdio>

int
main()
{
    UT_WorkBuffer text;
    text.sprintf("%s and %d", "text", 1);
    UT_String kept;
    text.copyIntoString(kept);
    std::puts(kept);
    return kept == "text and 1" ? 0 : 1;
}
