#include "UT_Error.h"

#include "UT_CancelImpl.h"
#include "UT_CharImpl.h"
#include "UT_ForkImpl.h"
#include "UT_IStream.h"
#include "UT_LockImpl.h"
#include "UT_Path.h"
#include "UT_PathSearch.h"
#include "UT_StringArray.h"
#include "UT_SymbolTable.h"
#include "UT_WorkBuffer.h"

#include <climits>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <string>

// The start of a line, with prefixes. All have the same width.
static const char theBlanks[] = "             ";
static const char theWarningLabel[] = "Warning:     ";
static const char theErrorLabel[] = "Error:       ";
static const char theFatalLabel[] = "Fatal error: ";

static_assert(sizeof(theWarningLabel) == sizeof(theBlanks));
static_assert(sizeof(theErrorLabel) == sizeof(theBlanks));
static_assert(sizeof(theFatalLabel) == sizeof(theBlanks));

// A larger code is a slip of a file's writer, and would cost memory: its line
// is ignored.
static const int theLastCode = 1000000;

// ---- Reading a message file

using ut_Messages = std::map<int, std::string>;

// Appends a text with its escapes resolved. The backslash of an unknown one
// stays.
static void
utAppendUnescaped(std::string &message, const char *text, const char *end)
{
    static const struct
    {
        char letter;
        char byte;
    } theEscapes[] = {
        {'n',  '\n'},
        {'t',  '\t'},
        {'\\', '\\'},
    };

    while (text < end)
    {
        char byte = *text++;
        if (byte == '\\' && text < end)
            for (const auto &row : theEscapes)
                if (*text == row.letter)
                {
                    byte = row.byte;
                    ++text;
                    break;
                }
        message += byte;
    }
}

// Takes one line. False when the rest need not be read.
static bool
utReadLine(const char *line, ut_Messages &messages)
{
    const char *text = line;
    int64 digits = 0;
    for (; utIsDigit(*text); ++text)
    {
        digits = digits * 10 + (*text - '0');
        if (digits > INT_MAX)
            return false;
    }
    if (text == line || digits > theLastCode)
        return true;
    const int code = int(digits);
    // Deliberate: the byte after the code is skipped, whatever it is.
    if (*text)
        ++text;
    // What is left of the line's end is removed; blanks and tabs stay.
    const char *end = text + strlen(text);
    while (end > text && strchr("\n\v\f\r", end[-1]))
        --end;
    // Further lines of a code are appended to the one before.
    utAppendUnescaped(messages[code], text, end);
    return true;
}

// All texts of a file; a code without a text has a null pointer. Null when the
// file cannot be read to its end.
static std::unique_ptr<UT_StringArray>
utReadMessages(UT_IStream &file)
{
    ut_Messages messages;
    UT_WorkBuffer line;
    while (file.getNonCommentLine(line, '#', /*strip=*/false) &&
           utReadLine(line.buffer(), messages))
        ;
    if (file.getStreamBuf()->hasError())
        return nullptr;
    auto texts = std::make_unique<UT_StringArray>();
    for (const auto &message : messages)
        texts->insert(message.second.c_str(), message.first);
    return texts;
}

static bool
utOpenMessages(UT_IFStream &file, const char *type)
{
    if (UTfullPathSpecified(type))
        return file.open(type, UT_ISTREAM_ASCII);
    UT_WorkBuffer name;
    name.append("error/");
    name.append(type);
    UT_String path;
    return UT_PathSearch::getInstance(UT_PATH_MAIN)
               ->valdrinFindFile(name.buffer(), path) &&
           file.open(path, UT_ISTREAM_ASCII);
}

// The texts of a type, null when there is no file. They never change.
static const UT_StringArray *
utFindMessages(const char *type)
{
    // Recursive: the search for files may report an error of its own.
    static UT_Lock theLock(UT_STATIC_LOCK, /*recursive=*/true);
    static ut_ForkLock theForkLock(theLock, UT_FORK_MESSAGES);
    static UT_SymbolTable *theFiles; // of UT_StringArray; never destroyed

    theForkLock.join();
    const ut_LockGuard guard(&theLock);
    const ut_CancelGuard cancelGuard;
    if (!theFiles)
        theFiles = new UT_SymbolTable;
    UT_Thing found;
    if (!theFiles->findSymbol(type, &found))
    {
        UT_IFStream file;
        if (!utOpenMessages(file, type))
            return nullptr;
        std::unique_ptr<UT_StringArray> texts = utReadMessages(file);
        if (!texts)
            return nullptr;
        theFiles->addSymbol(type, UT_Thing(texts.get()));
        found = UT_Thing(texts.release());
    }
    return static_cast<const UT_StringArray *>(found.pointer);
}

// ---- Putting a message together

static const char *
utFindLabel(UT_ErrorSeverity severity)
{
    switch (severity)
    {
    case UT_ERROR_WARNING:
        return theWarningLabel;
    case UT_ERROR_ERROR:
        return theErrorLabel;
    case UT_ERROR_FATAL:
        return theFatalLabel;
    default:
        return "";
    }
}

// Appends each line after `prefix`.
static void
utAppendLines(UT_WorkBuffer &out, const char *text, const char *prefix)
{
    while (*text)
    {
        const char *end = strchrnul(text, '\n');
        if (*end)
            ++end;
        out.append(prefix);
        out.append(text, SYSnarrow<int>(end - text));
        text = end;
        prefix = theBlanks;
    }
}

// Reads up to three digits; a fourth one is left, and makes it invalid.
static int
utReadNumber(const char *&text)
{
    int number = 0;
    for (int i = 0; i < 3 && utIsDigit(*text); ++i)
        number = number * 10 + (*text++ - '0');
    return number;
}

// The output of printf() for `text` and one string, if that is safe. False,
// with a part of it written, if it is not.
static bool
utAppendFormatted(UT_WorkBuffer &out, const char *text, const char *argument)
{
    bool isUsed = false;
    for (;;)
    {
        const char *percent = strchrnul(text, '%');
        out.append(text, SYSnarrow<int>(percent - text));
        if (!*percent)
            return true;
        text = percent + 1;
        if (*text == '%')
        {
            out.append(*text++);
            continue;
        }

        const bool isLeft = *text == '-';
        if (isLeft)
            ++text;
        const int width = utReadNumber(text);
        const bool isCut = *text == '.';
        if (isCut)
            ++text;
        const int precision = isCut ? utReadNumber(text) : 0;
        if (*text++ != 's' || isUsed)
            return false;
        isUsed = true;
        const int length = SYSnarrow<int>(
            isCut ? strnlen(argument, size_t(precision)) : strlen(argument));
        for (int i = length; !isLeft && i < width; ++i)
            out.append(' ');
        out.append(argument, length);
        for (int i = length; isLeft && i < width; ++i)
            out.append(' ');
    }
}

// ---- The class

UT_Error::UT_Error(
    const char *type, int code, const char *string, UT_ErrorSeverity severity)
    : myType(type), myString(string, /*deep=*/1), mySeverity(severity),
      myCode(code)
{
}

UT_Error::~UT_Error() = default;

UT_Error::UT_Error(
    const char *type, int code, UT_ErrorSeverity severity, const char *text)
    : myType(type), myString(text), mySeverity(severity), myCode(code)
{
}

UT_Error *
UT_Error::make(
    const char *type, int code, const char *string, UT_ErrorSeverity severity)
{
    const size_t size = string ? strlen(string) + 1 : 0;
    char *const block =
        static_cast<char *>(::operator new(sizeof(UT_Error) + size));
    char *const text = block + sizeof(UT_Error);
    if (string)
        memcpy(text, string, size);
    return new (block) UT_Error(type, code, severity, string ? text : nullptr);
}

void
UT_Error::setErrorString(const char *string)
{
    if (string)
        myString.harden(string);
    else
        myString.freeData();
}

void
UT_Error::getErrorMessage(
    UT_String &out, UT_ErrorSeverity lastSeverity, int prefixes) const
{
    if (myType != "System")
    {
        stdGetErrorMessage(out, lastSeverity, prefixes);
        return;
    }
    char space[256];
    const char *text = strerror_r(myCode, space, sizeof(space));
    UT_WorkBuffer message;
    message.append(text && *text ? text : "Unknown Error");
    if (myString.buffer() && *myString.buffer())
    {
        message.append(" (");
        message.append(myString);
        message.append(")");
    }
    message.copyIntoString(out);
}

void
UT_Error::stdGetErrorMessage(
    UT_String &out, UT_ErrorSeverity lastSeverity, int prefixes) const
{
    UT_WorkBuffer message;
    UT_String text;
    if (!getFileString(
            text, myType, myCode, mySeverity, lastSeverity, prefixes))
        message.sprintf(
            "%s: unknown error: %d", myType.isNull() ? "" : myType.buffer(),
            int(myCode));
    else if (!utAppendFormatted(
                 message, text, myString.isNull() ? "" : myString.buffer()))
    {
        message.clear();
        message.append(text);
    }
    message.copyIntoString(out);
}

int
UT_Error::getFileString(
    UT_String &out, const char *type, int code, UT_ErrorSeverity severity,
    UT_ErrorSeverity lastSeverity, int prefixes)
{
    const UT_StringArray *texts = type ? utFindMessages(type) : nullptr;
    if (!texts || code < 0 || code >= texts->entries())
        return 0;
    const UT_String *entry = texts->data()[code];
    const char *text = entry ? entry->buffer() : "";
    if (!prefixes)
    {
        out.harden(text);
        return 1;
    }
    UT_WorkBuffer lines;
    utAppendLines(
        lines, text,
        severity == lastSeverity ? theBlanks : utFindLabel(severity));
    lines.copyIntoString(out);
    return 1;
}
