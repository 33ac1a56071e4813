// Checks that files can be read. Each failure is shown, and goes to the error
// log that VALDRIN_ERRORLOG_FILENAME names, with the time.

#include <UT/UT_ErrorManager.h>
#include <UT/UT_String.h>

#include <cstdio>

int
main(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i)
    {
        std::FILE *const file = std::fopen(argv[i], "r");
        if (file)
            std::fclose(file);
        else
            UTaddSystemError(argv[i]); // errno is still that of fopen()
    }

    UT_String messages;
    const int count = UTgetErrorManager()->getErrorMessages(
        messages, UT_ERROR_NONE, /*prefixes=*/1);
    if (count > 0)
        std::printf("%s\n", messages.buffer());
    std::printf("%d of %d files cannot be read\n", count, argc - 1);
    return count == 0 ? 0 : 1;
}
