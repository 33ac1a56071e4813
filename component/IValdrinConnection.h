// The interface that page script sees: the same as IValdrinConnection.idl.

#pragma once

#include "nsXPCOM.h"

/// Runs commands in a Valdrin application on this machine, and keeps one text
/// aside for script.
///
/// A method without enough memory for its work returns NS_ERROR_OUT_OF_MEMORY
/// and hands out null; the kept text stays, and the application may have run
/// the command. Where only the platform has no memory for the text handed out,
/// that is null and the result is NS_OK.
///
/// All instances share the port and the text. Texts are NUL-terminated bytes;
/// those handed out come from the platform's allocator, and the caller frees
/// them there. A call waits until the application has answered or hung up.
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
    /// The port is taken modulo 65535 when a command is sent, and 10000 is
    /// added to what is then below 10000.
    virtual nsresult SetSocketPortNum(PRInt32 port) = 0;

    /// Runs a vscript command, null counting as "", and hands out what the
    /// application replies, "" for nothing. When the application cannot be
    /// reached the reply is "ERROR: Could not connect to Valdrin to run
    /// command"; the result is NS_OK then too. NS_ERROR_NULL_POINTER, and
    /// nothing sent, for a null `result`. A command of more than 400 MB, or a
    /// reply that there is no room for, is NS_ERROR_OUT_OF_MEMORY.
    virtual nsresult Run(const char *command, char **result) = 0;

    /// Runs Python statements; the reply is dropped.
    virtual nsresult RunPythonStatements(const char *statements) = 0;

    /// Evaluates a Python expression. Otherwise as Run().
    virtual nsresult
    RunPythonExpression(const char *expression, char **result) = 0;

    /// Keeps a copy of `text`, null counting as "", until the next call.
    virtual nsresult StashString(const char *text) = 0;

    /// Hands out a copy of the kept text, "" when there is none. `result` must
    /// not be null.
    virtual nsresult GetStashedString(char **result) = 0;

protected:
    ~IValdrinConnection() = default;
};
