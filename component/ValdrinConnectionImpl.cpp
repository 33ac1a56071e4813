#include "ValdrinConnectionImpl.h"

#include "nsGenericModule.h"

#include "UT/UT_NetSocket.h"
#include "UT/UT_RequestImpl.h"
#include "UT/UT_String.h"
#include "UT/UT_WorkBuffer.h"

#include <cstring>
#include <new>

nsIClassInfo *ValdrinConnectionImpl_classInfoGlobal = nullptr;

// What all instances share. Unguarded: there is one script thread.
static int32 theSocketPortNumber = 32153;
static UT_String theStash;

ValdrinConnectionImpl::~ValdrinConnectionImpl() = default;

nsresult
ValdrinConnectionImpl::QueryInterface(const nsID &iid, void **result)
{
    nsISupports *answer = nullptr;
    if (iid == IValdrinConnection::IID || iid == nsISupports::IID)
        answer = this;
    else if (iid == nsIClassInfo::IID)
        answer = ValdrinConnectionImpl_classInfoGlobal;
    *result = answer;
    if (!answer)
        return NS_ERROR_NO_INTERFACE;
    answer->AddRef();
    return NS_OK;
}

nsrefcnt
ValdrinConnectionImpl::AddRef()
{
    return ++myReferenceCount;
}

nsrefcnt
ValdrinConnectionImpl::Release()
{
    if (--myReferenceCount)
        return myReferenceCount;
    // A reference taken and released during destruction must not destroy
    // the object again.
    myReferenceCount = 1;
    delete this;
    return 0;
}

bool
ValdrinConnectionImpl::runCommandUsingSocket(
    const char *xml, UT_String &result, int port)
{
    UT_WorkBuffer reply;
    if (!UT_NetSocket::sendCommandAndGetResult(
            port, xml, reply, /*host=*/nullptr, /*mapToUnprivileged=*/true))
    {
        result = "ERROR: Could not connect to Valdrin to run command";
        return false;
    }
    reply.copyIntoString(result);
    return true;
}

// A copy that the caller owns, in the platform's allocator. Script gets "" for
// a null string. Deliberate: null where there was no room, and no report.
static void
utStringToCharPtr(const UT_String &text, char **out)
{
    const char *const source = text.isNull() ? "" : text.buffer();
    *out = static_cast<char *>(nsMemory::Clone(source, strlen(source) + 1));
}

// One exchange. Without `result` the reply is discarded.
static nsresult
utSend(const char *text, const char *tag, char **result)
{
    // Script passes null for `null` and `undefined`.
    if (!text)
        text = "";
    if (result)
        *result = nullptr;
    if (strlen(text) > theLongestRequestText)
        return NS_ERROR_OUT_OF_MEMORY;
    try
    {
        UT_WorkBuffer xml;
        buildXML(text, tag, xml);
        UT_String reply;
        // Deliberate: an application that cannot be reached is not a failure
        // of the call; script sees it in the text.
        ValdrinConnectionImpl::runCommandUsingSocket(
            xml.buffer(), reply, theSocketPortNumber);
        if (result)
            utStringToCharPtr(reply, result);
        return NS_OK;
    }
    catch (const std::bad_alloc &)
    {
        // The browser cannot catch it.
        return NS_ERROR_OUT_OF_MEMORY;
    }
}

nsresult
ValdrinConnectionImpl::SetSocketPortNum(PRInt32 port)
{
    theSocketPortNumber = port;
    return NS_OK;
}

// An exchange during which a method's busy mark is set. Deliberate: the marks
// are written and never read. They are for a debugger that inspects the
// process, and so each is a byte of its method.
static nsresult
utSendMarked(
    volatile uint8 &isRunning, const char *text, const char *tag, char **result)
{
    isRunning = 1;
    const nsresult code = utSend(text, tag, result);
    isRunning = 0;
    return code;
}

nsresult
ValdrinConnectionImpl::Run(const char *command, char **result)
{
    if (!result)
        return NS_ERROR_NULL_POINTER;
    static volatile uint8 is_running = 0;
    return utSendMarked(is_running, command, theCommandTag, result);
}

nsresult
ValdrinConnectionImpl::RunPythonStatements(const char *statements)
{
    static volatile uint8 is_running = 0;
    return utSendMarked(is_running, statements, theStatementsTag, nullptr);
}

nsresult
ValdrinConnectionImpl::RunPythonExpression(
    const char *expression, char **result)
{
    if (!result)
        return NS_ERROR_NULL_POINTER;
    static volatile uint8 is_running = 0;
    return utSendMarked(is_running, expression, theExpressionTag, result);
}

nsresult
ValdrinConnectionImpl::StashString(const char *text)
{
    try
    {
        theStash.harden(text);
        return NS_OK;
    }
    catch (const std::bad_alloc &)
    {
        return NS_ERROR_OUT_OF_MEMORY;
    }
}

nsresult
ValdrinConnectionImpl::GetStashedString(char **result)
{
    // Deliberate: a null `result` is not refused here. A copy that cannot
    // be allocated is null, and not reported.
    utStringToCharPtr(theStash, result);
    return NS_OK;
}
