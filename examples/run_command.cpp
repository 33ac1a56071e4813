// Runs one command in the application that listens on a port of this machine,
// and prints the reply.

#include <UT/UT_NetSocket.h>
#include <UT/UT_WorkBuffer.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

int
main(int argc, char **argv)
{
    if (argc != 3 || std::strstr(argv[2], "]]>"))
    {
        std::fprintf(stderr, "usage: run_command PORT COMMAND\n");
        return 2;
    }

    UT_WorkBuffer request;
    request.append("<?xml version=\"1.0\"?>\n<vscript><![CDATA[");
    request.append(argv[2]);
    request.append("]]></vscript>\n");

    UT_WorkBuffer reply;
    if (!UT_NetSocket::sendCommandAndGetResult(
            std::atoi(argv[1]), request.buffer(), reply, /*host=*/nullptr,
            /*mapToUnprivileged=*/false))
    {
        std::fprintf(stderr, "run_command: no reply from port %s\n", argv[1]);
        return 1;
    }
    std::fputs(reply.buffer(), stdout);
    return 0;
}
