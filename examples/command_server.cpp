// Answers commands on a port of this machine: "add 1 2 3" gives the sum.

#include <UT/UT_NetSocket.h>
#include <UT/UT_String.h>
#include <UT/UT_WorkArgs.h>
#include <UT/UT_WorkBuffer.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <signal.h>

static void
runCommand(UT_String &command, UT_WorkBuffer &reply)
{
    UT_WorkArgs words;
    const int count = command.parseInPlace(words);
    if (count == 0 || std::strcmp(words[0], "add") != 0)
    {
        reply.sprintf("ERROR: unknown command\n");
        return;
    }
    double sum = 0;
    for (int i = 1; i < count; ++i)
        sum += std::strtod(words[i], nullptr);
    reply.sprintf("%g\n", sum);
}

int
main(int argc, char **argv)
{
    signal(SIGPIPE, SIG_IGN); // a client that hangs up ends only its request
    UT_NetSocket listener(argc > 1 ? std::atoi(argv[1]) : 0, /*blocking=*/true);
    std::printf("%d\n", listener.getPort());
    std::fflush(stdout);
    while (listener.isValid())
    {
        int status;
        const std::unique_ptr<UT_NetSocket> client(
            listener.accept(/*blocking=*/0, status));
        int address[4];
        if (!client || !client->getRemoteIP4(address) || address[0] != 127)
            continue; // gone already, or from another machine

        UT_WorkBuffer request;
        if (client->read(request, /*timeoutMs=*/5000, /*untilNul=*/true) != 0)
            continue;
        const char *const start = std::strstr(request.buffer(), "<![CDATA[");
        const char *const end = std::strstr(request.buffer(), "]]>");
        if (!start || !end || end < start + 9)
            continue;

        UT_String command(start + 9, /*deep=*/1, int(end - start - 9));
        UT_WorkBuffer reply;
        runCommand(command, reply);
        client->write(reply.buffer(), reply.length() + 1, nullptr); // with NUL
    }
    return 1;
}
