// The interface that page script sees: the same as IValdrinConnection.idl.

#pragma once

#include "nsXPCOM.h"

/// Runs commands in a Valdrin application on this machine, and keeps one text
/// for script.
///
/// A method that runs out of memory returns NS_ERROR_OUT_OF_MEMORY and a null
/// text; the kept text is unchanged, and the application may have run the
/// command. If only the platform has no memory for the returned text, that is
/// null and the result is NS_OK.
///
/// All instances share the port and the text. Texts are NUL-terminated bytes;
/// returned ones come from the platform's allocator, and the caller frees them
/// there. A call waits until the application has answered or hung up.
///
/// One thread only, the browser's script thread.
class IValdrinConnection : public nsISupports
{
public:
    static constexpr nsID IID = {
        0x7eae8306,
        0x9d9f,
        0x43aa,
        {0xae, 0xff, 0x51, 0x7e, 0x86, 0xa3, 0xd0, 0x6f}
    };

    // Script reaches the methods through the type library by their slots:
    // their order stays, and additions go to the end.

    /// Sets the port that later calls of every instance use; 32153 at first.
    /// When a command is sent the port is taken modulo 65535, and 10000 is
    /// added to a result below 10000: 80 means 10080.
    virtual nsresult SetSocketPortNum(PRInt32 port) = 0;

    /// Runs a vscript command, null counting as "", and returns the
    /// application's reply, which may be "". If the application cannot be
    /// reached, the call still succeeds (NS_OK), and the reply is "ERROR: Could
    /// not connect to Valdrin to run command". Returns NS_ERROR_NULL_POINTER,
    /// and sends nothing, for a null `result`; NS_ERROR_OUT_OF_MEMORY for a
    /// command of more than 400 MB or a reply that does not fit in memory.
    virtual nsresult Run(const char *command, char **result) = 0;

    /// Runs Python statements; the reply is dropped.
    virtual nsresult RunPythonStatements(const char *statements) = 0;

    /// Evaluates a Python expression and returns its value as the application
    /// replies it. Otherwise as Run().
    virtual nsresult
    RunPythonExpression(const char *expression, char **result) = 0;

    /// Keeps a copy of `text`, null counting as "", until the next call.
    virtual nsresult StashString(const char *text) = 0;

    /// Returns a copy of the kept text, "" when there is none. `result` must
    /// not be null.
    virtual nsresult GetStashedString(char **result) = 0;

protected:
    ~IValdrinConnection() = default;
};
