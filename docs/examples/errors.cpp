#include "UT/UT_ErrorManager.h"
#include "UT/UT_String.h"

#include <cstdio>

// Warns of odd names, and reports what fails.
static bool
saveScene(const char *path)
{
    UTaddCommonWarning(UT_CE_BAD_NAME, "box 1");
    UTaddCommonWarning(UT_CE_NAME_IN_USE, "lamp");

    FILE *file = fopen(path, "w");
    if (!file)
    {
        UTaddCommonError(UT_CE_FILE_WRITE, "the scene");
        UTaddSystemError(path); // errno is still that of fopen()
        return false;
    }
    fclose(file);
    return true;
}

int
main()
{
    // A scope has only the errors of the code that runs in it.
    UTpushErrorManager();
    if (!saveScene("/nowhere/scene"))
    {
        UT_ErrorManager &scope = *UTgetErrorManager();
        UT_String messages;
        const int count =
            scope.getErrorMessages(messages, UT_ERROR_NONE, /*prefixes=*/1);
        printf("%d messages:\n%s\n", count, messages.buffer());
    }

    // The warnings were printed and are dropped with the scope. The errors move
    // to the outer scope.
    UT_ErrorManager failures;
    failures.stealErrors(
        *UTgetErrorManager(), 0, -1, UT_ERROR_ERROR, /*copy=*/false);
    UTpopErrorManager();
    UTgetErrorManager()->stealErrors(
        failures, 0, -1, UT_ERROR_NONE, /*copy=*/false);

    printf("%d errors stay\n", UTgetErrorManager()->entries());
    if (UTfindError("Common", UT_CE_FILE_WRITE) >= 0)
        printf("the scene is not saved\n");
    return 0;
}
