// Collections of errors: one manager for each scope, on a stack.

#pragma once

#include "UT_API.h"
#include "UT_Error.h"
#include "UT_PtrArray.h"

#include <iosfwd>

/// The errors of one scope, in the order in which they came. The manager owns
/// them.
///
/// All functions that add an error pass it to the error log first (see
/// UT_ErrorLog) and return the severity of the whole manager. They leave
/// `errno` unchanged.
///
/// One thread only: managers are used from one thread at a time.
class UT_API UT_ErrorManager
{
public:
    /// A manager without errors, whose read flag is set.
    UT_ErrorManager();

    /// Deletes the errors.
    ~UT_ErrorManager();

    UT_ErrorManager(const UT_ErrorManager &) = delete;
    UT_ErrorManager &operator=(const UT_ErrorManager &) = delete;

    /// Number of errors.
    [[nodiscard]] int entries() const { return int(myErrors.entries()); }

    /// The error at `index`, which must be below entries(). Borrowed until the
    /// next change of the manager.
    UT_Error *getError(int index) { return myErrors(unsigned(index)); }
    [[nodiscard]] const UT_Error *getError(int index) const
    {
        return myErrors(unsigned(index));
    }

    /// The largest severity of the errors, UT_ERROR_NONE when there are none.
    UT_ErrorSeverity getSeverity()
    {
        return getNeedScan() ? computeSeverity() : mySeverity;
    }

    /// Whether no error has been added since the messages were last listed.
    [[nodiscard]] bool getReadFlag() const
    {
        return (myFlags & theReadFlag) != 0;
    }

    /// Whether the severity has to be computed again.
    [[nodiscard]] bool getNeedScan() const
    {
        return (myFlags & theNeedScanFlag) != 0;
    }

    /// Index of the first error of that type and code, or -1. A null type
    /// finds an error without one.
    [[nodiscard]] int findError(const char *type, int code) const;

    /// Lists the messages of all errors of the severity `filter`, or of all
    /// errors for UT_ERROR_NONE, in `out`, which owns the text, and sets the
    /// read flag. Returns the number of errors that matched. `prefixes` is as
    /// for UT_Error::getErrorMessage(); in a run of errors of one severity only
    /// the first has a label.
    ///
    /// Deliberate: there is a newline before every error except the first, also
    /// when the filter skips it or the ones before. A skipped error counts as
    /// the previous one when the next gets its label. With the filter
    /// UT_ERROR_ERROR a warning and an error give "\n" and the error's message.
    int getErrorMessages(UT_String &out, UT_ErrorSeverity filter, int prefixes);

    // ---- Adding

    /// Adds an error of the severity in the function's name, and returns the
    /// largest severity of all. `type` is kept, must outlive the error and is
    /// usually a literal; `string` is copied. Both may be null.
    UT_ErrorSeverity addMessage(const char *type, int code, const char *string);
    UT_ErrorSeverity addPrompt(const char *type, int code, const char *string);
    UT_ErrorSeverity addWarning(const char *type, int code, const char *string);
    UT_ErrorSeverity addError(const char *type, int code, const char *string);
    UT_ErrorSeverity addFatal(const char *type, int code, const char *string);

    /// Adds the system error in `errno`, with a free text. Unlike other errors,
    /// it is not passed to the performance monitor.
    UT_ErrorSeverity systemError(const char *string);

    /// Adds an error of the type "Common".
    UT_ErrorSeverity commonWarning(int code, const char *string);
    UT_ErrorSeverity commonError(int code, const char *string);

    /// Takes over an error, which the manager deletes, without logging it; does
    /// nothing for null. Returns the severity.
    ///
    /// A manager that holds 40 errors accepts only one that is worse than all
    /// of them, and deletes any other at once.
    ///
    /// Deliberate: "worse" refers to the severity as last computed, also when
    /// an error has been removed since.
    UT_ErrorSeverity append(UT_Error *error);

    // ---- Removing

    /// Deletes all errors, the last one first, and sets the read flag.
    void clearAndDestroyErrors();

    /// Removes the error at `index` and returns `index`; -1 when there is none.
    /// Deliberate: the error is not deleted; caller deletes.
    int removeError(int index);

    /// Removes each error whose message is that of an earlier one; errors with
    /// an empty message stay. O(n). Deliberate: the removed errors are not
    /// deleted, and neither the flags nor the severity change.
    void pruneDuplicates();

    /// Moves the errors `first` to `last` of `src` here, or copies them, if
    /// their severity is `filter` or `filter` is UT_ERROR_NONE. Returns their
    /// number, including those that append() deleted.
    ///
    /// A negative `first` counts as 0. A `last` that is negative or too large
    /// counts as the last of `src`, as does any `last` when `first` is the
    /// number of errors there. Nothing happens when `src` is empty or `first`
    /// is above that number; otherwise the read flag is cleared here.
    /// `stealErrors(src, 0, -1, UT_ERROR_NONE, false)` moves all errors.
    int stealErrors(
        UT_ErrorManager &src, int first, int last, UT_ErrorSeverity filter,
        bool copy);

    // ---- State

    /// Computes the severity from the errors and returns it.
    UT_ErrorSeverity computeSeverity();

    /// Sets or clears what getReadFlag() and getNeedScan() return.
    void setReadFlag(int on) { setFlag(theReadFlag, on); }
    void setNeedScan(int on) { setFlag(theNeedScanFlag, on); }

private:
    enum
    {
        theReadFlag = 1,
        theNeedScanFlag = 2,
        theUsualLimit = 40 // errors
    };

    UT_LOCAL UT_ErrorSeverity
    add(const char *type, int code, const char *string,
        UT_ErrorSeverity severity);
    void setFlag(int32 flag, int on)
    {
        myFlags = on ? myFlags | flag : myFlags & ~flag;
    }

    // The stack moves managers by their bytes: no pointers into themselves.
    // Order and size stay.
    UT_PtrArray<UT_Error *> myErrors; // owned
    UT_ErrorSeverity mySeverity;      // the largest, unless it needs a scan
    int32 myFlags;
};

static_assert(sizeof(void *) != 4 || sizeof(UT_ErrorManager) == 24);

// ---- The stack of managers, which is empty at first. One thread only.

/// The manager on top, which is created when the stack is empty. Borrowed until
/// the next push or pop: both may move it.
UT_API UT_ErrorManager *UTgetErrorManager();

/// Opens a scope: pushes a manager without errors.
UT_API void UTpushErrorManager();

/// Ends a scope: removes the manager on top with all its errors. Does nothing
/// on an empty stack.
UT_API void UTpopErrorManager();

/// Adds an error to the manager on top, as the member of UT_ErrorManager does.
UT_API UT_ErrorSeverity
UTaddMessage(const char *type, int code, const char *string);
UT_API UT_ErrorSeverity
UTaddPrompt(const char *type, int code, const char *string);
UT_API UT_ErrorSeverity
UTaddWarning(const char *type, int code, const char *string);
UT_API UT_ErrorSeverity
UTaddError(const char *type, int code, const char *string);
UT_API UT_ErrorSeverity
UTaddFatal(const char *type, int code, const char *string);
UT_API UT_ErrorSeverity UTaddSystemError(const char *string);
UT_API UT_ErrorSeverity UTaddCommonWarning(int code, const char *string);
UT_API UT_ErrorSeverity UTaddCommonError(int code, const char *string);

/// Logs an error and gives it to the manager on top, which deletes it; does
/// nothing for null.
UT_API UT_ErrorSeverity UTaddError(UT_Error *error);

/// Asks the manager on top, as the member of UT_ErrorManager does.
UT_API UT_ErrorSeverity UTgetErrorSeverity();
[[nodiscard]] UT_API int UTfindError(const char *type, int code);

/// Whether the last output succeeded, judged by `errno`: 1 when it did. Returns
/// 0 when the device or the file system failed (EIO, EMFILE, ENOSPC, EROFS,
/// ENOSTR, ENOSR or ETIMEDOUT), and adds the common error UT_CE_FILE_ERROR with
/// `operation`, the system's text, and `path`. Both texts may be null. Set
/// `errno` to 0 before the output.
///
/// With the setting VALDRIN_VERBOSE_ERROR any `errno` except 0 is also printed
/// on standard error. Deliberate: the stream is not looked at.
UT_API int
UTcheckOutStream(std::ostream &os, const char *operation, const char *path);
