// Loads the connection component as a browser does, for other programs.

#pragma once

#include "component/nsXPCOM.h"
#include "component/ut_Reference.h"

#include <string>
#include <vector>

class IValdrinConnection;
class ut_ComponentManager;

/// The file name of the component's library.
constexpr char theLibraryName[] = "libValdrinConnection.so";

/// The component's reply when an exchange fails.
constexpr char theFailureReply[] =
    "ERROR: Could not connect to Valdrin to run command";

/// The absolute path of this program, without symbolic links; "" when the
/// system does not report it.
std::string utProgramPath();

/// Possible paths of the library that belongs to `program`, an absolute path:
/// the places relative to it where a build or an installation puts the library,
/// under its plain name or, if only that is there, the one with its version.
/// Empty for an empty path.
std::vector<std::string> utLibrariesOfProgram(const std::string &program);

/// Loads the first of `libraries` that can be loaded; a name without a slash is
/// looked up by the system's loader. Returns null when there is none, and
/// appends a line for each to `error`; otherwise appends the name of the one
/// loaded.
void *
utOpenLibrary(const std::vector<std::string> &libraries, std::string &error);

/// The function with the plain name `name` in the library that utOpenLibrary()
/// loads; null when there is none, with the reason in `error`.
void *utFindFunction(
    const std::vector<std::string> &libraries, const char *name,
    std::string &error);

/// Loads the library of the connection component and creates one instance,
/// using only the entry point and the interfaces: the library is not linked,
/// and no other symbol of it is used.
///
/// The library stays loaded, as in a browser. One thread only.
class ut_ComponentHost
{
public:
    ut_ComponentHost();
    ~ut_ComponentHost();
    ut_ComponentHost(const ut_ComponentHost &) = delete;
    ut_ComponentHost &operator=(const ut_ComponentHost &) = delete;

    /// Creates the instance from the first of `libraries` that can be loaded; a
    /// name without a slash is looked up by the system's loader. Returns false
    /// when there is none or it cannot be used; `error`, empty at first, then
    /// has a line with the reason for each library that was tried. Call once.
    bool load(const std::vector<std::string> &libraries, std::string &error);

    /// The instance, null before load() has succeeded. Borrowed.
    [[nodiscard]] IValdrinConnection *connection() const
    {
        return myConnection.get();
    }

    /// The file of the library, an absolute path without symbolic links; ""
    /// before load() has succeeded.
    [[nodiscard]] const std::string &library() const { return myLibrary; }

private:
    bool makeConnection(void *library, std::string &error);

    // Declared in the order of their creation, so that they are destroyed in
    // reverse.
    ut_Reference<ut_ComponentManager> myManager;
    ut_Reference<nsIModule> myModule;
    ut_Reference<nsIFactory> myFactory;
    ut_Reference<IValdrinConnection> myConnection;

    std::string myLibrary;
};
