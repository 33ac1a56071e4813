// A picture's name with variables in it, and the folder where it lies.

#include "UT/UT_Env.h"
#include "UT/UT_Path.h"
#include "UT/UT_PathSearch.h"
#include "UT/UT_SpecialDir.h"
#include "UT/UT_String.h"
#include "UT/UT_VariableScan.h"
#include "UT/UT_WorkBuffer.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

// The variables of one shot. What it does not know, the environment may.
static const char *
shotVariable(const char *name, void *data)
{
    if (strcmp(name, "F") == 0)
        return static_cast<const char *>(data);
    return wrapValdrinGetenv(name, nullptr);
}

int
main()
{
    ValdrinSetenv("SHOT", "/shows/forest/sh0420.scene");

    // From the environment.
    UT_String name("$SHOT:h/textures/bark.$SHOT:t:r.png");
    name.expandVariables();
    std::puts(name);

    // From a function, with the frame number in four digits.
    char frame[] = "42";
    UT_WorkBuffer out;
    const int count = UTVariableScan(
        out, "$SHOT:r.$F4.exr \\$F", shotVariable, frame,
        /*expandTilde=*/false, /*ignoreComments=*/true);
    std::printf("%d replaced: %s\n", count, out.buffer());

    // Relative names begin somewhere.
    UT_String path("../props/./rock.obj");
    UTmakeAbsoluteFilePath(path, "/shows/forest");
    std::puts(path);

    // A scratch file that is found along a path.
    ValdrinUnsetenv("TMPDIR"); // which would win over UTgetTmpDir()
    UT_String scratch;
    UTgetTmpName(scratch, "demo");
    if (FILE *file = std::fopen(scratch, "w"))
        std::fclose(file);
    ValdrinSetenv("SCRATCH", UTgetTmpDir());
    ValdrinSetenv("VALDRIN_IMAGE_PATH", "/shows/none:$SCRATCH:");

    UT_PathSearch &images = *UT_PathSearch::getInstance(UT_PATH_IMAGE);
    UT_String shortName;
    UT_String found;
    if (images.condense(scratch, shortName) &&
        images.valdrinFindFile(shortName, found) && found == scratch)
        std::puts("found");
    std::remove(scratch);
}
