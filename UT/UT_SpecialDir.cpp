#include "UT_SpecialDir.h"

#include "UT_AllocImpl.h"
#include "UT_Env.h"
#include "UT_EnvControl.h"
#include "UT_String.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// A copy of `path` without one slash at its end: "" for "/".
static char *
utCopyDirectory(const char *path)
{
    char *const copy = utDuplicate(path);
    const size_t length = strlen(copy);
    if (length > 0 && copy[length - 1] == '/')
        copy[length - 1] = '\0';
    return copy;
}

char *
UTgetDesktopDir()
{
    UT_String path("$HOME/Desktop");
    path.expandVariables();
    return utCopyDirectory(path);
}

char *
UTgetDefaultTmpDir()
{
    return utDuplicate("/tmp");
}

char *
UTgetTmpDir()
{
    static std::atomic<char *> tmpdir; // never freed
    char *directory = tmpdir.load(std::memory_order_acquire);
    if (directory)
        return directory;
    // The settings are computed with the help of this function: it may read
    // the name of one, but not a value.
    const char *const value =
        ValdrinGetenv(UT_EnvControl::getStringVar(UT_VALDRIN_TEMP_DIR));
    char *const first = utCopyDirectory(value && *value ? value : "/tmp");
    if (tmpdir.compare_exchange_strong(directory, first))
        return first;
    free(first);
    return directory;
}

void
UTgetTmpName(UT_String &result, const char *prefix)
{
    const ut_BlockOwner<char> name(tempnam(UTgetTmpDir(), prefix));
    result.harden(name.get());
}
