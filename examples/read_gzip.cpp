// Prints the lines of a gzip file, with their numbers.

#include <UT/UT_IStream.h>
#include <UT/UT_WorkBuffer.h>

#include <cstdio>

int
main(int argc, char **argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: read_gzip FILE\n");
        return 2;
    }

    UT_IFStream file(argv[1], UT_ISTREAM_ASCII);
    if (file.hasError())
    {
        std::fprintf(stderr, "%s: %s\n", argv[1], file.getErrorStr());
        return 1;
    }

    UT_IGZStream lines(file);
    UT_WorkBuffer line;
    for (int number = 1; lines.getLine(line); ++number)
        std::printf("%4d  %s\n", number, line.buffer());

    // The loop also ends at damaged data, after what comes before them.
    if (lines.hasError())
    {
        std::fprintf(stderr, "%s: %s\n", argv[1], lines.getErrorStr());
        return 1;
    }
    return 0;
}
