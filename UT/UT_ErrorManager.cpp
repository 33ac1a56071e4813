#include "UT_ErrorManager.h"

#include "UT_CancelImpl.h"
#include "UT_EnvControl.h"
#include "UT_ErrorImpl.h"
#include "UT_ErrorLog.h"
#include "UT_Performance.h"
#include "UT_RefArray.h"
#include "UT_SymbolTable.h"
#include "UT_WorkBuffer.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

// Functions of their own: most processes have neither a monitor nor a log, and
// an error costs little more than its memory.
[[gnu::noinline]] static void
utLogMessage(UT_Performance &monitor, const UT_Error &error)
{
    const ut_CancelGuard guard;
    UT_String text;
    error.getErrorMessage(text, UT_ERROR_NONE, /*prefixes=*/1);
    monitor.logMessage(text, 1, -1.0, 0);
}

[[gnu::noinline]] static void
utWriteTo(UT_ErrorLog &log, UT_Error *error)
{
    const ut_CancelGuard guard;
    log.logError(error);
}

static void
utTellMonitor(const UT_Error &error)
{
    UT_Performance *const monitor = UT_Performance::getMonitor();
    if (monitor && monitor->isRecordingErrors())
        utLogMessage(*monitor, error);
}

static void
utLog(UT_Error *error)
{
    static UT_ErrorLog *const theLog = UTgetErrorLog();
    if (theLog->isEnabled())
        utWriteTo(*theLog, error);
}

UT_ErrorManager::UT_ErrorManager()
    : mySeverity(UT_ERROR_NONE), myFlags(theReadFlag)
{
}

UT_ErrorManager::~UT_ErrorManager()
{
    clearAndDestroyErrors();
}

int
UT_ErrorManager::findError(const char *type, int code) const
{
    for (int i = 0; i < entries(); ++i)
    {
        const UT_Error &error = *getError(i);
        if (error.getErrorCode() == code &&
            UT_String(error.getErrorType()) == type)
            return i;
    }
    return -1;
}

int
UT_ErrorManager::getErrorMessages(
    UT_String &out, UT_ErrorSeverity filter, int prefixes)
{
    UT_WorkBuffer messages;
    UT_ErrorSeverity lastSeverity = UT_ERROR_NONE;
    int count = 0;
    for (int i = 0; i < entries(); ++i)
    {
        const UT_Error &error = *getError(i);
        const UT_ErrorSeverity severity = error.getSeverity();
        if (i > 0)
            messages.append('\n');
        if (filter == UT_ERROR_NONE || filter == severity)
        {
            UT_String message;
            error.getErrorMessage(message, lastSeverity, prefixes);
            messages.append(message);
            ++count;
        }
        lastSeverity = severity;
    }
    messages.copyIntoString(out);
    setReadFlag(1);
    return count;
}

// ---- Adding

UT_ErrorSeverity
UT_ErrorManager::add(
    const char *type, int code, const char *string, UT_ErrorSeverity severity)
{
    const ut_ErrnoKeeper keeper;
    std::unique_ptr<UT_Error> error(
        UT_Error::make(type, code, string, severity));
    utLog(error.get());
    return append(error.release());
}

UT_ErrorSeverity
UT_ErrorManager::addMessage(const char *type, int code, const char *string)
{
    return add(type, code, string, UT_ERROR_MESSAGE);
}

UT_ErrorSeverity
UT_ErrorManager::addPrompt(const char *type, int code, const char *string)
{
    return add(type, code, string, UT_ERROR_PROMPT);
}

UT_ErrorSeverity
UT_ErrorManager::addWarning(const char *type, int code, const char *string)
{
    return add(type, code, string, UT_ERROR_WARNING);
}

UT_ErrorSeverity
UT_ErrorManager::addError(const char *type, int code, const char *string)
{
    const ut_ErrnoKeeper keeper;
    std::unique_ptr<UT_Error> error(
        UT_Error::make(type, code, string, UT_ERROR_ERROR));
    utTellMonitor(*error);
    utLog(error.get());
    return append(error.release());
}

UT_ErrorSeverity
UT_ErrorManager::addFatal(const char *type, int code, const char *string)
{
    return add(type, code, string, UT_ERROR_FATAL);
}

UT_ErrorSeverity
UT_ErrorManager::systemError(const char *string)
{
    return add("System", errno, string, UT_ERROR_ERROR);
}

UT_ErrorSeverity
UT_ErrorManager::commonWarning(int code, const char *string)
{
    return addWarning("Common", code, string);
}

UT_ErrorSeverity
UT_ErrorManager::commonError(int code, const char *string)
{
    return addError("Common", code, string);
}

UT_ErrorSeverity
UT_ErrorManager::append(UT_Error *error)
{
    std::unique_ptr<UT_Error> owner(error);
    if (error && error->getSeverity() > mySeverity)
    {
        myErrors.append(error);
        mySeverity = error->getSeverity();
        myFlags = 0;
        (void)owner.release();
    }
    else if (error && entries() < theUsualLimit)
    {
        myErrors.append(error);
        setReadFlag(0);
        (void)owner.release();
    }
    return getSeverity();
}

// ---- Removing

void
UT_ErrorManager::clearAndDestroyErrors()
{
    for (int i = entries(); i-- > 0;)
        delete getError(i);
    myErrors.clear();
    mySeverity = UT_ERROR_NONE;
    setReadFlag(1);
}

int
UT_ErrorManager::removeError(int index)
{
    if (unsigned(index) >= myErrors.entries())
        return -1;
    setNeedScan(1);
    return int(myErrors.removeAt(unsigned(index)));
}

void
UT_ErrorManager::pruneDuplicates()
{
    // From the last to the first: when a text comes again, the one met before
    // is removed.
    UT_SymbolTable lastSeen; // indices by texts
    for (int i = entries(); i-- > 0;)
    {
        UT_String message;
        getError(i)->getErrorMessage(message, UT_ERROR_NONE, /*prefixes=*/0);
        if (message.isNull() || !*message.buffer())
            continue;
        UT_Thing seen;
        if (lastSeen.findSymbol(message, &seen))
            myErrors(unsigned(seen.integer)) = nullptr;
        lastSeen.addSymbol(message, UT_Thing(int32(i)));
    }
    myErrors.removeZeros();
}

int
UT_ErrorManager::stealErrors(
    UT_ErrorManager &src, int first, int last, UT_ErrorSeverity filter,
    bool copy)
{
    const int entries = src.entries();
    if (entries == 0 || first > entries)
        return 0;
    first = std::max(first, 0);
    if (last < 0 || last >= entries || first >= entries)
        last = entries - 1;

    // Room for all, so that no error that has left the source is lost.
    const unsigned most =
        myErrors.entries() + unsigned(std::max(0, last - first + 1));
    if (!copy && myErrors.capacity() < most)
        myErrors.resize(most);
    int count = 0;
    for (int i = first; i <= last; ++i)
    {
        UT_Error *error = src.getError(i);
        if (filter != UT_ERROR_NONE && filter != error->getSeverity())
            continue;
        if (copy)
            // The type is passed on as a pointer, not copied.
            error = UT_Error::make(
                error->getErrorType(), error->getErrorCode(),
                error->getErrorString(), error->getSeverity());
        else
            src.myErrors(unsigned(i)) = nullptr;
        append(error);
        ++count;
    }
    if (count > 0 && !copy)
    {
        src.myErrors.removeZeros();
        src.myFlags = theReadFlag | theNeedScanFlag;
    }
    setReadFlag(0);
    return count;
}

// ---- State

UT_ErrorSeverity
UT_ErrorManager::computeSeverity()
{
    mySeverity = UT_ERROR_NONE;
    for (int i = 0; i < entries(); ++i)
        // Errors that are being stolen from this manager do not count.
        if (const UT_Error *error = getError(i))
            mySeverity = std::max(mySeverity, error->getSeverity());
    setNeedScan(0);
    return mySeverity;
}

// ---- The stack

using ut_ManagerStack = UT_RefArray<UT_ErrorManager>;

static ut_ManagerStack &
utGetStack()
{
    static ut_ManagerStack *theStack = new ut_ManagerStack; // never destroyed
    return *theStack;
}

UT_ErrorManager *
UTgetErrorManager()
{
    ut_ManagerStack &stack = utGetStack();
    if (stack.entries() == 0)
        UTpushErrorManager();
    return &stack(stack.entries() - 1);
}

void
UTpushErrorManager()
{
    ut_ManagerStack &stack = utGetStack();
    stack.insert(stack.entries());
}

void
UTpopErrorManager()
{
    ut_ManagerStack &stack = utGetStack();
    if (stack.entries() > 0)
        stack.removeAt(stack.entries() - 1);
}

UT_ErrorSeverity
UTaddMessage(const char *type, int code, const char *string)
{
    return UTgetErrorManager()->addMessage(type, code, string);
}

UT_ErrorSeverity
UTaddPrompt(const char *type, int code, const char *string)
{
    return UTgetErrorManager()->addPrompt(type, code, string);
}

UT_ErrorSeverity
UTaddWarning(const char *type, int code, const char *string)
{
    return UTgetErrorManager()->addWarning(type, code, string);
}

UT_ErrorSeverity
UTaddError(const char *type, int code, const char *string)
{
    return UTgetErrorManager()->addError(type, code, string);
}

UT_ErrorSeverity
UTaddFatal(const char *type, int code, const char *string)
{
    return UTgetErrorManager()->addFatal(type, code, string);
}

UT_ErrorSeverity
UTaddSystemError(const char *string)
{
    const int code = errno;
    UT_ErrorManager *manager = UTgetErrorManager(); // may allocate it
    errno = code;
    return manager->systemError(string);
}

UT_ErrorSeverity
UTaddCommonWarning(int code, const char *string)
{
    return UTgetErrorManager()->commonWarning(code, string);
}

UT_ErrorSeverity
UTaddCommonError(int code, const char *string)
{
    return UTgetErrorManager()->commonError(code, string);
}

UT_ErrorSeverity
UTaddError(UT_Error *error)
{
    const ut_ErrnoKeeper keeper;
    std::unique_ptr<UT_Error> owner(error);
    utLog(error);
    UT_ErrorManager *const manager = UTgetErrorManager();
    return manager->append(owner.release());
}

UT_ErrorSeverity
UTgetErrorSeverity()
{
    return UTgetErrorManager()->getSeverity();
}

int
UTfindError(const char *type, int code)
{
    return UTgetErrorManager()->findError(type, code);
}

// ---- Output streams

int
UTcheckOutStream(std::ostream &, const char *operation, const char *path)
{
    const int code = errno;
    const ut_ErrnoKeeper keeper;
    if (!operation)
        operation = "";
    if (!path)
        path = "";
    char space[256];
    const char *reason = strerror_r(code, space, sizeof(space));
    if (code != 0 && UT_EnvControl::getInt(UT_VALDRIN_VERBOSE_ERROR))
    {
        fputs("Valdrin Save error detected:", stderr);
        fprintf(
            stderr, "errno %d (%s) path(%s) operation(%s)\n\r", code, reason,
            path, operation);
    }
    switch (code)
    {
    case EIO:
    case EMFILE:
    case ENOSPC:
    case EROFS:
    case ENOSTR:
    case ENOSR:
    case ETIMEDOUT:
        break;
    default:
        return 1;
    }

    UT_WorkBuffer text;
    text.append(operation);
    if (reason && *reason)
    {
        text.append(" <");
        text.append(reason);
        text.append("> ");
    }
    text.append(path);
    UTaddCommonError(UT_CE_FILE_ERROR, text.buffer());
    return 0;
}
