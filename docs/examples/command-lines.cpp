#include "UT/UT_IStream.h"
#include "UT/UT_String.h"
#include "UT/UT_TempFile.h"
#include "UT/UT_WorkArgs.h"
#include "UT/UT_WorkBuffer.h"
#include "UT/UT_Write.h"

#include <cstdio>
#include <iostream>

static void
runCommands(std::istream &in)
{
    UT_WorkBuffer line;
    UT_WorkArgs args;
    int number = 0;
    while (line.cmdGetLine(in, args, number, "#", " \t"))
        printf("line %d: %s is %s\n", number, args[1], args[2]);
}

int
main()
{
    const auto script = UTtmpStream();
    *script << "# two lamps\n\nset lamp1 0.5\r\nset lamp2 1 # bright\n";
    script->seekg(0);
    runCommands(*script);

    char command[] = "render 'final shot' -q";
    UT_WorkArgs words;
    UT_String(command).parseInPlace(words);
    printf("%d words, one is %s\n", words.getArgc(), words[1]);

    const char *folders = "/opt/bin:/bin";
    UT_WorkBuffer folder;
    while (folder.getNextToken(folders, ":"))
        printf("%s\n", folder.buffer());

    const float levels[] = {0.5f, 1};
    const auto saved = UTtmpStream();
    UT_String("the lamps").save(*saved, /*binary=*/true);
    UTbwrite(*saved, levels, 2);
    saved->seekg(0);

    UT_IStream in(*saved, UT_ISTREAM_BINARY);
    UT_String name;
    float read[2];
    if (name.load(in) && in.bread(read, 2) == 2)
        printf("%s: %g %g\n", name.buffer(), double(read[0]), double(read[1]));
}
