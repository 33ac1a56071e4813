// The parts of command lines.

#include "UT/UT_ShellLine.h"
#include "UT/UT_String.h"
#include "UT/UT_WorkArgs.h"

#include <cstdio>

// What would be run, and where would it go?
static void
explain(const char *command)
{
    UT_String text(command);
    UT_WorkArgs words;
    UT_ShellLine line;
    if (text.parseCsh(words, line) < 0)
    {
        std::printf("at %d: %s\n", line.errorOffset, line.message());
        return;
    }
    for (int i = 0; i < words.getArgc(); i++)
        std::printf("%d is %s\n", i, words[i]);
    if (line.output)
        std::printf("output goes to %s\n", line.output);
    if (line.pipe)
        explain(line.pipe);
}

int
main()
{
    explain("render 'final shot' > out.log");
    explain("sort | more");
    explain("echo 'date");
}
