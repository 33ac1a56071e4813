// The component object that implements IValdrinConnection.

#pragma once

#include "IValdrinConnection.h"

class UT_String;

/// The implementation of the interface. Instances hold only their reference
/// count; the port and the kept text are process-wide.
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
    /// stores the reply, up to its first NUL, in `result`. If the exchange
    /// fails, returns false and stores the error text for script.
    static bool
    runCommandUsingSocket(const char *xml, UT_String &result, int port);

private:
    uint32 myReferenceCount = 0;
};

static_assert(sizeof(ValdrinConnectionImpl) == 2 * sizeof(void *));

/// The class-info object, without a reference; null until the generic module
/// creates it and after it is destroyed. The module sets it.
extern nsIClassInfo *ValdrinConnectionImpl_classInfoGlobal;
