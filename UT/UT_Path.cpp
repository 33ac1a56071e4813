#include "UT_Path.h"

#include "UT_String.h"
#include "UT_StringArray.h"
#include "UT_WorkBuffer.h"

#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

static constexpr char theNodePrefix[] = "op:";
static constexpr char theFilePrefix[] = "file:";

static bool
utBeginsWith(const char *text, const char *prefix)
{
    return strncmp(text, prefix, strlen(prefix)) == 0;
}

// Also null for null.
static const char *
utSkipFilePrefix(const char *path)
{
    if (!path || !utBeginsWith(path, theFilePrefix))
        return path;
    return path + strlen(theFilePrefix);
}

UT_StringArray &
UTgetAbsolutePathPrefixes()
{
    static UT_StringArray *thePrefixes = new UT_StringArray; // never destroyed
    return *thePrefixes;
}

int
UTaddAbsolutePathPrefix(const char *prefix)
{
    if (!prefix || !*prefix)
        return -1;
    UT_StringArray &prefixes = UTgetAbsolutePathPrefixes();
    const int index = prefixes.find(prefix);
    return index >= 0 ? index : prefixes.append(prefix);
}

bool
UTisAbsolutePath(const char *path)
{
    if (!path)
        return false;
    const UT_StringArray &prefixes = UTgetAbsolutePathPrefixes();
    // Any number of "file:", one at a time: the rest is checked again.
    for (;;)
    {
        if (!*path)
            return false;
        for (int i = prefixes.entries() - 1; i >= 0; --i)
        {
            // The list is shared: it may hold prefixes that were not added
            // here.
            const char *const prefix = prefixes(i);
            if (prefix && *prefix && utBeginsWith(path, prefix))
                return true;
        }
        if (utBeginsWith(path, theNodePrefix))
            return true;
        if (!utBeginsWith(path, theFilePrefix))
            return *path == '/';
        path = utSkipFilePrefix(path);
    }
}

bool
UTisRootPath(const char *path)
{
    if (!path)
        return false;
    const UT_StringArray &prefixes = UTgetAbsolutePathPrefixes();
    // The slash at the end may be the prefix's own.
    if (prefixes.find(path) >= 0)
        return true;
    UT_String root(path, /*deep=*/1);
    const int length = root.length();
    if (length > 0 && root[length - 1] == '/')
        root.buffer()[length - 1] = '\0';
    if (!*root || root == theNodePrefix || prefixes.find(root) >= 0)
        return true;
    // At most a single slash follows it.
    return root == theFilePrefix;
}

bool
UTfullPathSpecified(const char *path)
{
    return path && (utBeginsWith(path, "/") || utBeginsWith(path, "./") ||
                    utBeginsWith(path, "../"));
}

bool
UTunixFullPathSpecified(const char *path)
{
    return UTfullPathSpecified(path);
}

bool
UTisValidDirectory(const char *path)
{
    if (!path)
        return false;
    UT_WorkBuffer directory;
    directory.append(path);
    const int length = directory.length();
    if (length == 0 || path[length - 1] == ':')
        directory.append('/');
    struct stat status;
    return stat(directory.buffer(), &status) == 0 && S_ISDIR(status.st_mode) &&
           access(directory.buffer(), R_OK | X_OK) == 0;
}

void
UTmakeAbsoluteFilePath(UT_String &path, const char *base)
{
    const char *const given = path;
    if (!given || !*given || UTisAbsolutePath(given))
        return;

    UT_WorkBuffer joined;
    const bool hasBase = base && *base;
    char workingDirectory[1024];
    if (hasBase)
        joined.append(utSkipFilePrefix(base));
    else if (getcwd(workingDirectory, sizeof(workingDirectory)))
        joined.append(workingDirectory);
    if (joined.length() == 0 || joined[joined.length() - 1] != '/')
        joined.append('/');
    joined.append(utSkipFilePrefix(given));

    // What cannot be collapsed would be half rewritten.
    UT_String collapsed(joined.buffer(), /*deep=*/1);
    const bool isCollapsed = collapsed.collapseAbsolutePath();

    UT_WorkBuffer result;
    if (utBeginsWith(given, theFilePrefix) ||
        (hasBase && utBeginsWith(base, theFilePrefix)))
        result.append(theFilePrefix);
    result.append(isCollapsed ? collapsed.buffer() : joined.buffer());
    result.copyIntoString(path);
}
