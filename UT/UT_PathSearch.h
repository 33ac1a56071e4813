// Search paths: the lists of directories in which files are looked for that
// are named without one.

#pragma once

#include "UT_API.h"
#include "UT_StringArray.h"
#include "UT_SymbolTable.h"

class UT_String;

/// The known search paths.
enum UT_PathSearchType
{
    UT_PATH_MAIN,    ///< VALDRIN_PATH: all data files
    UT_PATH_SCRIPT,  ///< VALDRIN_SCRIPT_PATH; "scripts" by default
    UT_PATH_PYTHON,  ///< VALDRIN_SCRIPT_PYTHON_PATH; "python"
    UT_PATH_IMAGE,   ///< VALDRIN_IMAGE_PATH; "images"
    UT_PATH_TEXTURE, ///< VALDRIN_RENDER_TEXTURE_PATH; "textures"
    UT_PATH_SHADER,  ///< VALDRIN_RENDER_SHADER_PATH; "shaders"
    UT_PATH_ICON,    ///< VALDRIN_UI_ICON_PATH; "icons"
    UT_PATH_HELP,    ///< VALDRIN_UI_HELP_PATH; "help"
    UT_PATH_COUNT
};

/// A list of directories and the look-up along it.
///
/// The directories come from the path's environment variable, with a colon
/// between two. Each is expanded by itself, as UTVariableScan() does with `~`:
/// the colon ends it before it could begin a modifier, and a value with colons
/// stands for several. What is empty then, also the whole variable, stands for
/// the default directories, and so does a variable that is not set. A
/// directory counts where it comes first; slashes at its end do not matter.
///
/// The default of UT_PATH_MAIN is the home directory, the installation
/// directory (the settings HOME and VRS) and the toolkit's own data: the
/// folder share/valdrin nearest above the file that this library was loaded
/// from. The others have a folder of their own in each directory of
/// UT_PATH_MAIN.
///
/// Directories are found out at the first question and need not exist; files
/// are looked for at each. One thread only.
class UT_API UT_PathSearch
{
public:
    /// The object that everybody shares for a known path, which is made at the
    /// first call; null for any other id. Lives as long as the process.
    static UT_PathSearch *getInstance(UT_PathSearchType id);

    /// Says that the environment variable `name` has changed: each path finds
    /// its directories out again, whatever the variables that it names; does
    /// nothing for null. Tell the settings first, with
    /// UT_EnvControl::varChanged().
    static void varChanged(const char *name);

    UT_PathSearch(const UT_PathSearch &) = delete;
    UT_PathSearch &operator=(const UT_PathSearch &) = delete;

    /// The name of the path's environment variable. Lives as long as the
    /// process.
    [[nodiscard]] const char *getVariable() const { return myVariable; }

    /// The directories, in the order in which they are searched. Borrowed
    /// until the next varChanged().
    const UT_StringArray &getDirectories();

    /// Looks for a file with the relative name `name`, which may have folders
    /// in it, along the path. Returns true and sets `result`, which owns it,
    /// to the first that exists and is no directory; otherwise false, and
    /// leaves `result` alone. A name that is a full path (see
    /// UTfullPathSpecified()) is only checked. Null and "" are not found. One
    /// system call for each directory. `result` may hold the name.
    bool valdrinFindFile(const char *name, UT_String &result);

    /// The same for a directory.
    bool findDirectory(const char *name, UT_String &result);

    /// Sets `result`, which owns it, to the shortest name by which
    /// valdrinFindFile() finds the file `path`. Returns false, and leaves
    /// `result` alone, when there is none: the file does not exist, lies in no
    /// directory of the path as that is written, or is hidden by another one.
    /// `result` may hold the path. O(directories²) system calls.
    bool condense(const char *path, UT_String &result);

private:
    UT_LOCAL UT_PathSearch(const char *variable, const char *folder);
    UT_LOCAL ~UT_PathSearch();

    UT_LOCAL void listDirectories();
    UT_LOCAL void addAll(const char *list);
    UT_LOCAL void addDefault();
    UT_LOCAL void add(const char *directory, const char *folder);
    UT_LOCAL bool find(const char *name, bool directories, UT_String &result);

    const char *const myVariable;
    const char *const myFolder; // in the main path's directories, or null
    UT_StringArray myDirectories;
    UT_SymbolTable myNames; // the same, to find one that is there
    bool myIsCurrent;       // whether myDirectories holds them
};
