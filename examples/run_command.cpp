// Runs one command in the application that listens on a port of this machine,
// and prints the reply, or why there is none.

#include <UT/UT_Connection.h>
#include <UT/UT_WorkBuffer.h>

#include <cstdio>
#include <cstdlib>

int
main(int argc, char **argv)
{
    if (argc != 3)
    {
        std::fprintf(stderr, "usage: run_command PORT COMMAND\n");
        return 2;
    }

    UT_Connection connection(
        std::atoi(argv[1]), /*host=*/nullptr, /*timeoutMs=*/10000);
    UT_WorkBuffer reply;
    if (!connection.run(argv[2], reply))
    {
        std::fprintf(stderr, "run_command: %s\n", connection.message());
        return 1;
    }
    std::fputs(reply.buffer(), stdout);
    return 0;
}
