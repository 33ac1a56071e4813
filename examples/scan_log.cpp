// Prints the lines of a log that match a list of patterns, with their numbers.

#include <UT/UT_IStream.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkBuffer.h>

#include <cstdio>

int
main(int argc, char **argv)
{
    if (argc != 3)
    {
        std::fprintf(stderr, "usage: scan_log PATTERNS FILE\n");
        return 2;
    }

    UT_IFStream log(argv[2], UT_ISTREAM_ASCII);
    UT_WorkBuffer line;
    int number = 0;
    int found = 0;
    while (log.getLine(line))
    {
        ++number;
        // The string only borrows the text of the line.
        const UT_String text(line.buffer());
        if (!text.multiMatch(argv[1], /*caseSensitive=*/0, ','))
            continue;
        std::printf("%4d  %s\n", number, line.buffer());
        ++found;
    }
    if (log.hasError())
    {
        std::fprintf(stderr, "%s: %s\n", argv[2], log.getErrorStr());
        return 1;
    }
    std::printf("%d of %d lines\n", found, number);
    return 0;
}
