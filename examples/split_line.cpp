// Splits a line into words, as main() would get them, and makes a line of them
// again.

#include <UT/UT_String.h>
#include <UT/UT_WorkArgs.h>
#include <UT/UT_WorkBuffer.h>

#include <cstdio>

int
main(int argc, char **argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: split_line LINE\n");
        return 2;
    }

    // The words are cut from the line itself, so it must be a copy.
    UT_String line(argv[1], /*deep=*/1);
    UT_WorkArgs words;
    line.parseInPlace(words);

    UT_WorkBuffer again;
    for (int i = 0; i < words.getArgc(); ++i)
    {
        std::printf("%d: %s\n", i, words[i]);
        if (i > 0)
            again.append(' ');
        again.protectedStrcat(words[i]);
    }
    std::printf("%s\n", again.buffer());
    return 0;
}
