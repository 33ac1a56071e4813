// Error records: a type, a code, a free text and a severity. The words come
// from message files, which are read when a message is asked for.

#pragma once

#include "UT_API.h"
#include "UT_String.h"

#include "SYS/SYS_Types.h"

/// How bad an error is. A larger value is worse; several severities combine to
/// the largest.
enum UT_ErrorSeverity : int32
{
    UT_ERROR_NONE = 0,    ///< no error
    UT_ERROR_MESSAGE = 1, ///< something to know
    UT_ERROR_PROMPT = 2,  ///< something to answer
    UT_ERROR_WARNING = 3, ///< done, but not as asked
    UT_ERROR_ERROR = 4,   ///< not done
    UT_ERROR_FATAL = 5    ///< not done, and the program cannot continue
};

/// Codes of the message type "Common", for what can go wrong anywhere. The
/// texts are in the message file, where programs may add codes of their own
/// from 100 on.
enum UT_CommonErrorCode : int32
{
    UT_CE_INTERNAL_ERROR = 1,   ///< a mistake in the program
    UT_CE_NO_MEMORY = 2,        ///< out of memory
    UT_CE_FILE_NOT_FOUND = 3,   ///< no such file
    UT_CE_FILE_ERROR = 4,       ///< a file operation failed
    UT_CE_FILE_READ = 5,        ///< reading a file failed
    UT_CE_FILE_WRITE = 6,       ///< writing a file failed
    UT_CE_FILE_FORMAT = 7,      ///< a file has the wrong format
    UT_CE_FILE_EXISTS = 8,      ///< a file exists and must not
    UT_CE_DIRECTORY_ERROR = 9,  ///< making or reading a directory failed
    UT_CE_NO_PERMISSION = 10,   ///< not allowed
    UT_CE_CANNOT_CONNECT = 11,  ///< no answer at an address
    UT_CE_CONNECTION_LOST = 12, ///< a connection ended too early
    UT_CE_UNKNOWN_COMMAND = 13, ///< no such command
    UT_CE_SYNTAX_ERROR = 14,    ///< a text cannot be parsed
    UT_CE_BAD_ARGUMENT = 15,    ///< an argument that makes no sense
    UT_CE_BAD_NAME = 16,        ///< not a valid name
    UT_CE_UNKNOWN_NAME = 17,    ///< nothing has this name
    UT_CE_NAME_IN_USE = 18,     ///< something else has this name
    UT_CE_BAD_NUMBER = 19,      ///< not a number
    UT_CE_OUT_OF_RANGE = 20,    ///< a number too small or too large
    UT_CE_BAD_VARIABLE = 21,    ///< a variable that cannot be used
    UT_CE_RECURSION = 22,       ///< something depends on itself
    UT_CE_INTERRUPTED = 23,     ///< stopped by the user
    UT_CE_TIMED_OUT = 24,       ///< took too long
    UT_CE_NOT_SUPPORTED = 25,   ///< cannot be done here
    UT_CE_OLD_VERSION = 26,     ///< made by an older program
    UT_CE_NEW_VERSION = 27,     ///< made by a newer program
    UT_CE_COUNT                 ///< one more than the last
};

/// One thing that went wrong.
///
/// Two types are built in: "System", whose codes are those of `errno`, and
/// "Common". Any other type is the name of a message file.
///
/// Thread-compatible.
class UT_API UT_Error
{
public:
    /// `type` is kept, must outlive the error and is usually a literal;
    /// `string` is copied. Both may be null.
    UT_Error(
        const char *type, int code, const char *string,
        UT_ErrorSeverity severity);

    /// An error of no type with the code 0.
    UT_Error() : UT_Error(nullptr, 0, nullptr, UT_ERROR_NONE) {}

    virtual ~UT_Error();

    UT_Error(const UT_Error &) = delete;
    UT_Error &operator=(const UT_Error &) = delete;

    /// Frees an error's block, which can be larger than the class: the free
    /// text of an error that was added is in it.
    static void operator delete(void *block) { ::operator delete(block); }

    /// The type, the free text, the code and the severity. The texts are
    /// borrowed until the error's next change, and null if given so.
    [[nodiscard]] const char *getErrorType() const { return myType; }
    [[nodiscard]] const char *getErrorString() const { return myString; }
    [[nodiscard]] int getErrorCode() const { return myCode; }
    [[nodiscard]] UT_ErrorSeverity getSeverity() const { return mySeverity; }

    /// Writes the message to `out`, which then owns it: the code's text from
    /// the type's message file, with the free text in it, or "TYPE: unknown
    /// error: CODE" when there is none. With `prefixes` each line begins with
    /// 13 bytes; see getFileString().
    ///
    /// The message of a system error is the C library's text for the code,
    /// followed by the free text in parentheses unless that is empty: "No such
    /// file or directory (/tmp/x)". It never has prefixes.
    virtual void getErrorMessage(
        UT_String &out, UT_ErrorSeverity lastSeverity, int prefixes) const;

    /// Sets the type: kept, must outlive the error.
    void setErrorType(const char *type) { myType = type; }

    /// Sets the free text, which is copied.
    void setErrorString(const char *string);
    void setErrorCode(int code) { myCode = code; }
    void setSeverity(UT_ErrorSeverity severity) { mySeverity = severity; }

    /// Writes the message as getErrorMessage() does for all types except
    /// "System".
    ///
    /// The text of a message file is a printf() format that may have one `%s`
    /// for the free text, with `-`, a width and a precision of up to three
    /// digits, and any number of `%%`. A text with any other `%` is used
    /// unchanged.
    void stdGetErrorMessage(
        UT_String &out, UT_ErrorSeverity lastSeverity, int prefixes) const;

    /// Writes the text for a code to `out`, which then owns it, and returns 1.
    /// Returns 0, and leaves `out` alone, when `type` is null or has no message
    /// file that can be read, or when `code` is negative or above the file's
    /// last one. The text of a code that the file leaves out is "".
    ///
    /// With `prefixes` the first line begins with the label of `severity`
    /// ("Warning:     ", "Error:       " or "Fatal error: "; none for a lower
    /// one), or with 13 blanks when `lastSeverity` is the same; each further
    /// line begins with 13 blanks. An empty text stays empty.
    ///
    /// The message file is `type` when that is a full path, and otherwise
    /// error/TYPE on the main search path. It is read once, and kept as long as
    /// the process lives; a missing or unreadable one is tried each time.
    /// error/README describes the format. Thread-safe, except for the search
    /// path.
    static int getFileString(
        UT_String &out, const char *type, int code, UT_ErrorSeverity severity,
        UT_ErrorSeverity lastSeverity, int prefixes);

private:
    friend class UT_ErrorManager;

    // One block is what an error and its text cost when they are added. A text
    // that replaces it is a block of its own.
    UT_LOCAL static UT_Error *make(
        const char *type, int code, const char *string,
        UT_ErrorSeverity severity);

    // `text` is borrowed.
    UT_LOCAL UT_Error(
        const char *type, int code, UT_ErrorSeverity severity,
        const char *text);

    // Programs derive from errors: order and size stay.
    UT_String myType;   // borrowed
    UT_String myString; // owned, or borrowed from the error's own block
    UT_ErrorSeverity mySeverity;
    int32 myCode;
};

static_assert(sizeof(void *) != 4 || sizeof(UT_Error) == 28);
