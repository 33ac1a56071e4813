// The component object behind IValdrinConnection.

#pragma once

#include "IValdrinConnection.h"

class UT_String;

/// The one implementation of the interface. Instances hold nothing but their
/// reference count; what they share is the process's.
class ValdrinConnectionImpl : public IValdrinConnection
{
public:
    // The slots of the interface come first, the destructor's follow.

    nsresult QueryInterface(const nsID &iid, void **result) override;
    nsrefcnt AddRef() override;
    nsrefcnt Release() override;

    nsresult SetSocketPortNum(PRInt32 port) override;
    nsresult Run(const char *command, char **result) override;
    nsresult RunPythonStatements(const char *statements) override;
    nsresult
    RunPythonExpression(const char *expression, char **result) override;
    nsresult StashString(const char *text) override;
    nsresult GetStashedString(char **result) override;

    virtual ~ValdrinConnectionImpl();

    /// Sends `xml` to the application at `port`, which is mapped first, and
    /// takes the reply, up to its first NUL, into `result`. Returns false with
    /// the text for script in `result` when the exchange failed.
    static bool
    runCommandUsingSocket(const char *xml, UT_String &result, int port);

private:
    uint32 myReferenceCount = 0;
};

static_assert(sizeof(ValdrinConnectionImpl) == 2 * sizeof(void *));

/// The class-info object, without a reference; null until the generic module
/// has made it and after it is gone. The module writes it.
extern nsIClassInfo *ValdrinConnectionImpl_classInfoGlobal;
