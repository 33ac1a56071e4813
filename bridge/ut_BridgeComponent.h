// The component as the bridge has it, and the application that it talks to.

#pragma once

#include "SYS/SYS_Types.h"
#include "host/ut_ComponentHost.h"

#include <string>

/// The component of the library beside this program, or in its library folder.
///
/// The library is found by its absolute path, whatever the environment says.
/// One thread only.
class ut_BridgeComponent
{
public:
    /// Loads the library.
    ut_BridgeComponent();

    /// The component, null when the library cannot be used. Borrowed.
    [[nodiscard]] IValdrinConnection *get() const
    {
        return myHost.connection();
    }

    /// The file of the library, an absolute path; "" when it cannot be used.
    [[nodiscard]] const std::string &library() const { return myLibrary; }

    /// Why the library cannot be used, a line for each file that was tried;
    /// "" when it can.
    [[nodiscard]] const std::string &problem() const { return myProblem; }

    /// Evaluates the expression "0" at `port`, in a process of its own: that
    /// leaves the port of the component alone, and is given up after three
    /// seconds. True when there was an answer, and otherwise `problem` is set
    /// to an English sentence. The component must be there.
    bool probeApplication(int32 port, std::string &problem) const;

private:
    ut_ComponentHost myHost;
    std::string myLibrary;
    std::string myProblem;
};
