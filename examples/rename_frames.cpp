// Renames files by patterns: what a wildcard stands for is kept.

#include <UT/UT_String.h>

#include <cstdio>

#include <unistd.h>

int
main(int argc, char **argv)
{
    if (argc < 4)
    {
        std::fprintf(stderr, "usage: rename_frames FROM TO FILE...\n");
        return 2;
    }

    int failures = 0;
    for (int i = 3; i < argc; ++i)
    {
        UT_String name(argv[i]); // borrows; renaming makes it own a text
        if (!name.patternRename(argv[1], argv[2]))
        {
            std::printf("%s stays\n", argv[i]);
            continue;
        }
        // A link, unlike rename(), never replaces a file.
        if (link(argv[i], name) != 0 || unlink(argv[i]) != 0)
        {
            std::perror(name);
            ++failures;
            continue;
        }
        std::printf("%s is %s\n", argv[i], name.buffer());
    }
    return failures == 0 ? 0 : 1;
}
