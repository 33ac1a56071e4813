// Search paths: lists of directories for files that are named without one.

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

/// A list of directories, along which files are looked up.
///
/// The directories come from the path's environment variable, separated by
/// colons. Each is expanded on its own, as UTVariableScan() does with `~`: a
/// colon ends the directory and never begins a modifier, and a value with
/// colons stands for several directories. An empty directory, an empty variable
/// and one that is not set stand for the default directories: in "/mine:" they
/// follow /mine. Of a repeated directory only the first occurrence counts;
/// slashes at its end do not matter.
///
/// The default of UT_PATH_MAIN is the home directory, the installation
/// directory (the settings HOME and VRS) and the toolkit's own data: the
/// nearest folder share/valdrin above the file that this library was loaded
/// from. The default of any other path is its own folder in each directory of
/// UT_PATH_MAIN.
///
/// The directories are determined at the first look-up and need not exist;
/// files are looked for at each one. One thread only.
class UT_API UT_PathSearch
{
public:
    /// The shared object for a known path, created at the first call; null for
    /// an unknown id. Lives as long as the process.
    static UT_PathSearch *getInstance(UT_PathSearchType id);

    /// Makes each path determine its directories again, after the environment
    /// variable `name` has changed; does nothing for null. Every name affects
    /// all paths, because they may use any variable. Call
    /// UT_EnvControl::varChanged() first, which updates the settings.
    static void varChanged(const char *name);

    UT_PathSearch(const UT_PathSearch &) = delete;
    UT_PathSearch &operator=(const UT_PathSearch &) = delete;

    /// The name of the path's environment variable. Lives as long as the
    /// process.
    [[nodiscard]] const char *getVariable() const { return myVariable; }

    /// The directories, in the order in which they are searched. Borrowed
    /// until the next varChanged(), or until the next look-up when the system
    /// could not say where the toolkit's own data are: that is then tried
    /// again.
    const UT_StringArray &getDirectories();

    /// Looks for a file with the relative name `name`, which may contain
    /// folders, along the path. Returns true and sets `result`, which owns its
    /// text, to the first one that exists and is not a directory; returns false
    /// otherwise, and leaves `result` alone. For a name that is a full path
    /// (see UTfullPathSpecified()) only that file is checked. Null and "" are
    /// not found. One system call for each directory. `result` may hold the
    /// name.
    bool valdrinFindFile(const char *name, UT_String &result);

    /// Looks for a directory as valdrinFindFile() does for a file.
    bool findDirectory(const char *name, UT_String &result);

    /// Sets `result`, which owns its text, to the shortest name by which
    /// valdrinFindFile() finds the file `path`. Returns false, and leaves
    /// `result` alone, when there is none: the file does not exist, lies in no
    /// directory of the path as they are spelled, or is hidden by another one.
    /// With "/show" on the path "/show/images/a.tif" becomes "images/a.tif".
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
    UT_SymbolTable myNames; // the directories again, to find repetitions
    bool myIsCurrent;       // whether myDirectories holds them
};
