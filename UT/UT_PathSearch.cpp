#include "UT_PathSearch.h"

#include "UT_AllocImpl.h"
#include "UT_CancelImpl.h"
#include "UT_Env.h"
#include "UT_EnvControl.h"
#include "UT_FileImpl.h"
#include "UT_Path.h"
#include "UT_VariableScan.h"
#include "UT_WorkBuffer.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include <dlfcn.h>
#include <sys/stat.h>

static UT_PathSearch *theInstances[UT_PATH_COUNT]; // made on first use

static const struct
{
    const char *variable;
    const char *folder; // null for the main path
} thePaths[] = {
    {"VALDRIN_PATH",                nullptr   },
    {"VALDRIN_SCRIPT_PATH",         "scripts" },
    {"VALDRIN_SCRIPT_PYTHON_PATH",  "python"  },
    {"VALDRIN_IMAGE_PATH",          "images"  },
    {"VALDRIN_RENDER_TEXTURE_PATH", "textures"},
    {"VALDRIN_RENDER_SHADER_PATH",  "shaders" },
    {"VALDRIN_UI_ICON_PATH",        "icons"   },
    {"VALDRIN_UI_HELP_PATH",        "help"    },
};
static_assert(std::size(thePaths) == UT_PATH_COUNT);

// Whether an error of a call for a path means that there is nothing for us.
// Others, such as a lack of memory or descriptors, may be over the next time.
static bool
utIsLasting(int error)
{
    switch (error)
    {
    case ENOENT:
    case ENOTDIR:
    case EACCES:
    case EPERM:
    case ELOOP:
    case ENAMETOOLONG:
        return true;
    default:
        return false;
    }
}

// As realpath(). Clears `isSure` after an error that may pass.
static char *
utRealPath(const char *path, bool &isSure)
{
    char *const real = realpath(path, nullptr);
    if (!real && !utIsLasting(errno))
        isSure = false;
    return real;
}

// The file that this library was loaded from, malloc'ed; null when it is
// unknown. The system has its full path; what the loader was given may be
// relative to a directory that the program has left. Clears `isSure` after an
// error that may pass.
static char *
utFindLibraryFile(bool &isSure)
{
    const uintptr_t here = uintptr_t(&thePaths);
    const ut_CancelGuard guard;
    char *path = nullptr;
    const ut_FileOwner maps(fopen("/proc/self/maps", "re"));
    if (!maps && !utIsLasting(errno))
        isSure = false;
    if (maps)
    {
        UT_WorkBuffer line;
        while (!path && line.getline(maps.get()))
        {
            unsigned long begin = 0;
            unsigned long end = 0;
            if (sscanf(line.buffer(), "%lx-%lx", &begin, &end) != 2 ||
                here < begin || here >= end)
                continue;
            // A mapping without a file, or of a deleted one, has no path.
            if (const char *const file = strchr(line.buffer(), '/'))
                path = utRealPath(file, isSure);
            break;
        }
        if (ferror(maps.get()))
            isSure = false;
    }
    Dl_info library;
    if (!path && dladdr(static_cast<const void *>(&thePaths), &library))
        path = utRealPath(library.dli_fname, isSure);
    return path;
}

// Sets `directory` to the folder of the toolkit's own data, or to "" if none
// is found. A build tree and an installation have it at the same place: some
// folders above the library (how many depends on what the system calls its
// library folder). Returns false when errors that may pass leave that open.
static bool
utFindDataDirectory(UT_String &directory)
{
    bool isSure = true;
    directory.harden("");
    const ut_BlockOwner<char> owner(utFindLibraryFile(isSure));
    char *const path = owner.get();
    for (int level = 0; path && level < 4; ++level)
    {
        char *const slash = strrchr(path, '/');
        if (!slash)
            break;
        *slash = '\0';
        UT_WorkBuffer candidate;
        candidate.sprintf("%s/" VALDRIN_DATA_FOLDER, path);
        errno = 0; // as it stays for what is there and is no directory
        if (UTisValidDirectory(candidate.buffer()))
        {
            candidate.copyIntoString(directory);
            break;
        }
        if (errno && !utIsLasting(errno))
            isSure = false;
    }
    return isSure;
}

// As utFindDataDirectory(), which is asked until it is sure.
static bool
utGetDataDirectory(UT_String &directory)
{
    static const UT_String *theDirectory; // never destroyed
    if (!theDirectory)
    {
        if (!utFindDataDirectory(directory))
            return false;
        theDirectory = new UT_String(directory, /*deep=*/1);
    }
    directory = theDirectory->buffer();
    return true;
}

UT_PathSearch *
UT_PathSearch::getInstance(UT_PathSearchType id)
{
    if (unsigned(id) >= UT_PATH_COUNT)
        return nullptr;
    UT_PathSearch *&instance = theInstances[id]; // never destroyed
    if (!instance)
        instance =
            new UT_PathSearch(thePaths[id].variable, thePaths[id].folder);
    return instance;
}

void
UT_PathSearch::varChanged(const char *name)
{
    if (!name)
        return;
    for (UT_PathSearch *instance : theInstances)
        if (instance)
            instance->myIsCurrent = false;
}

UT_PathSearch::UT_PathSearch(const char *variable, const char *folder)
    : myVariable(variable), myFolder(folder), myIsCurrent(false)
{
}

UT_PathSearch::~UT_PathSearch() = default;

const UT_StringArray &
UT_PathSearch::getDirectories()
{
    if (myIsCurrent)
        return myDirectories;
    // Before the list is made: settings that it reads may change a variable.
    myIsCurrent = true;
    try
    {
        listDirectories();
    }
    catch (...)
    {
        myIsCurrent = false;
        throw;
    }
    return myDirectories;
}

void
UT_PathSearch::listDirectories()
{
    myDirectories.clear();
    myNames.clear();
    const char *const value = ValdrinGetenv(myVariable);
    // The expansion reads the environment, too.
    const UT_String list(value ? value : "", /*deep=*/1);
    UT_WorkBuffer element;
    UT_WorkBuffer expanded;
    for (const char *next = list;; ++next)
    {
        const size_t length = strcspn(next, ":");
        element.clear();
        element.append(next, int(length));
        UTVariableScan(
            expanded, element.buffer(), nullptr, nullptr, /*expandTilde=*/true,
            /*ignoreComments=*/true);
        addAll(expanded.buffer());
        next += length;
        if (!*next)
            return;
    }
}

// What one element of the list has become.
void
UT_PathSearch::addAll(const char *list)
{
    UT_WorkBuffer directory;
    for (;; ++list)
    {
        const size_t length = strcspn(list, ":");
        directory.clear();
        directory.append(list, int(length));
        if (length == 0)
            addDefault();
        else
            add(directory.buffer(), nullptr);
        list += length;
        if (!*list)
            return;
    }
}

void
UT_PathSearch::addDefault()
{
    if (!myFolder)
    {
        add(UT_EnvControl::getString(UT_HOME), nullptr);
        add(UT_EnvControl::getString(UT_VRS), nullptr);
        UT_String data;
        const bool isSure = utGetDataDirectory(data);
        add(data, nullptr);
        // Otherwise the next look-up tries again.
        myIsCurrent = myIsCurrent && isSure;
        return;
    }
    UT_PathSearch &main = *getInstance(UT_PATH_MAIN);
    const UT_StringArray &directories = main.getDirectories();
    for (int i = 0; i < directories.entries(); ++i)
        add(directories(i), myFolder);
    myIsCurrent = myIsCurrent && main.myIsCurrent;
}

static void
utAppendComponent(UT_WorkBuffer &path, const char *name)
{
    if (path[path.length() - 1] != '/')
        path.append('/');
    path.append(name);
}

// Adds a directory, or a folder in it, unless it is there. Null and "" are
// nothing.
void
UT_PathSearch::add(const char *directory, const char *folder)
{
    if (!directory || !*directory)
        return;
    UT_WorkBuffer path;
    path.append(directory);
    if (folder)
        utAppendComponent(path, folder);
    while (path.length() > 1 && path[path.length() - 1] == '/')
        path.write(path.length() - 1, '\0');
    if (myNames.addSymbol(path.buffer(), UT_Thing()))
        myDirectories.append(path.buffer());
}

static bool
utExists(const char *path, bool directory)
{
    struct stat status;
    return stat(path, &status) == 0 &&
           bool(S_ISDIR(status.st_mode)) == directory;
}

bool
UT_PathSearch::find(const char *name, bool directories, UT_String &result)
{
    if (!name || !*name)
        return false;
    UT_WorkBuffer path;
    if (UTfullPathSpecified(name))
    {
        if (!utExists(name, directories))
            return false;
        path.append(name);
        path.copyIntoString(result);
        return true;
    }
    const UT_StringArray &candidates = getDirectories();
    for (int i = 0; i < candidates.entries(); ++i)
    {
        path.clear();
        path.append(candidates(i).buffer());
        utAppendComponent(path, name);
        if (utExists(path.buffer(), directories))
        {
            path.copyIntoString(result);
            return true;
        }
    }
    return false;
}

bool
UT_PathSearch::valdrinFindFile(const char *name, UT_String &result)
{
    return find(name, /*directories=*/false, result);
}

bool
UT_PathSearch::findDirectory(const char *name, UT_String &result)
{
    return find(name, /*directories=*/true, result);
}

// Whether `name` is what is left of `path` in `directory`, and is found there.
bool
UT_PathSearch::condense(const char *path, UT_String &result)
{
    struct stat wanted;
    if (!path || stat(path, &wanted) != 0)
        return false;
    const char *shortest = nullptr;
    const UT_StringArray &directories = getDirectories();
    for (int i = 0; i < directories.entries(); ++i)
    {
        const size_t length = strlen(directories(i));
        if (strncmp(path, directories(i), length) != 0)
            continue;
        const char *const rest = path + length + strspn(path + length, "/");
        // A directory's name may go on where this one ends; the root ends with
        // its slash.
        if (rest == path + length && rest[-1] != '/')
            continue;
        if (shortest && strlen(rest) >= strlen(shortest))
            continue;
        if (UTfullPathSpecified(rest))
            continue;
        UT_String found;
        struct stat status;
        if (valdrinFindFile(rest, found) && stat(found, &status) == 0 &&
            status.st_dev == wanted.st_dev && status.st_ino == wanted.st_ino)
            shortest = rest;
    }
    if (!shortest)
        return false;
    UT_WorkBuffer name;
    name.append(shortest);
    name.copyIntoString(result);
    return true;
}
