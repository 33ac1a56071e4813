// Command lines as csh and DOS write them, cut into words and redirections.

#include "UT_String.h"

#include "UT_CharImpl.h"
#include "UT_ShellLine.h"
#include "UT_VariableScan.h"
#include "UT_VariableScanImpl.h"
#include "UT_WorkArgs.h"
#include "UT_WorkBuffer.h"

#include <algorithm>
#include <cstring>
#include <iterator>

const char *
UT_ShellLine::message() const
{
    static const char *const theMessages[] = {
        "",
        "unmatched quote",
        "unmatched brace",
        "missing file name",
        "ambiguous file name",
        "missing command",
        "second input",
        "second output",
        "second error output",
        "line too long",
    };
    static_assert(std::size(theMessages) == UT_SHELL_TOO_LONG + 1);
    return theMessages[error];
}

// The kinds of a byte, one bit each.
enum : uint8
{
    UT_ENDS_WORD = 1,         // outside quotes
    UT_SPECIAL_IN_WORD = 2,   // outside quotes
    UT_SPECIAL_IN_QUOTES = 4, // in double quotes
    UT_PROTECTED = 8          // by an escape in double quotes
};

namespace
{

struct ut_ShellSyntax
{
    constexpr explicit ut_ShellSyntax(bool dos)
        : isDos(dos), escape(dos ? '^' : '\\'), variable(dos ? '%' : '$'),
          kinds()
    {
        for (const char c :
             {'\0', ' ', '\t', '\n', '\v', '\f', '\r', '<', '>', '|'})
            kinds[uint8(c)] = UT_ENDS_WORD | UT_SPECIAL_IN_WORD;
        for (const char c : {'"', '`', variable})
            kinds[uint8(c)] = UT_SPECIAL_IN_WORD | UT_SPECIAL_IN_QUOTES;
        kinds[0] |= UT_SPECIAL_IN_QUOTES;
        kinds[uint8(escape)] = UT_SPECIAL_IN_WORD;
        if (dos)
            return;
        kinds[uint8('\'')] = UT_SPECIAL_IN_WORD;
        kinds[uint8('\\')] |= UT_SPECIAL_IN_QUOTES;
        for (const char c : {'"', '`', '$', '\\'})
            kinds[uint8(c)] |= UT_PROTECTED;
    }

    [[nodiscard]] bool is(uint8 kind, char c) const
    {
        return kinds[uint8(c)] & kind;
    }

    bool isDos;
    char escape;
    char variable;
    uint8 kinds[256];
};

// One parse of one line. The words, and separately the file names, are
// assembled in buffers, each with a NUL; where they lie is known at the end.
class ut_ShellParser
{
public:
    ut_ShellParser(
        const char *text, const ut_ShellSyntax &syntax,
        const ut_Lookups &lookups, UT_ShellLine &line)
        : myText(text), myNext(text), mySyntax(syntax), myLookups(lookups),
          myLine(line)
    {
    }

    // Returns false when the line is refused.
    bool parse();

    // Gives the words to the string, and their addresses to the others.
    void store(UT_String &string, UT_WorkArgs &args);

private:
    // A file name that a redirection is followed by: its offset in myNames.
    static constexpr int theNoName = -1;

    bool refuse(UT_ShellError error, const char *place);
    [[nodiscard]] bool isEscapedNewline() const;
    void skipBlanks();

    [[nodiscard]] bool isRedirection() const;
    bool takeRedirection();
    bool takeOutput(const char *start);
    bool takeErrors(const char *start);
    bool takePipe(const char *start);
    bool takeName(const char *start, int &name);

    bool takeWord(UT_WorkBuffer &out);
    void takeRun(uint8 end);
    void takeEscaped();
    bool takeLiteral();
    bool takeQuoted();
    bool takeReference(bool isQuoted);
    bool takeHome();
    bool takeValue(const char *end);

    void append(const char *bytes, size_t length);
    void appendWords(const char *text);
    void closeWord();

    const char *const myText;
    const char *myNext; // what is not parsed yet
    const ut_ShellSyntax &mySyntax;
    const ut_Lookups &myLookups;
    UT_ShellLine &myLine;

    UT_WorkBuffer myWords;
    int myWordCount = 0;
    UT_WorkBuffer myNames;
    int myInput = theNoName;
    int myOutput = theNoName;
    int myErrors = theNoName;
    const char *myPipe = nullptr;

    // What takeWord() works on. What it takes may become several words.
    UT_WorkBuffer *myOut = nullptr;
    bool myIsOpen = false; // a word has begun
    int myCount = 0;       // words that are complete
    UT_WorkBuffer myValue; // of a reference
    int myGrowth = 0;      // bytes that the values have more than references
};

} // namespace

bool
ut_ShellParser::parse()
{
    for (;;)
    {
        skipBlanks();
        if (!*myNext)
            return true;
        if (isRedirection())
        {
            if (!takeRedirection())
                return false;
            if (myPipe)
                return true;
            continue;
        }
        if (!takeWord(myWords))
            return false;
        myWordCount += myCount;
    }
}

void
ut_ShellParser::store(UT_String &string, UT_WorkArgs &args)
{
    if (myWords.length() == 0)
        myWords.append('\0');
    const int names = myWords.length();
    myWords.append(myNames);
    const int pipe = myWords.length();
    if (myPipe)
    {
        myWords.append(myPipe);
        myLine.pipeOffset = int(myPipe - myText);
    }

    string.harden("", myWords.length());
    char *const text = string.buffer();
    memcpy(text, myWords.buffer(), size_t(myWords.length()));
    char *word = text;
    for (int i = 0; i < myWordCount; ++i)
    {
        args.setArg(i, word);
        word += strlen(word) + 1;
    }
    if (myInput != theNoName)
        myLine.input = text + names + myInput;
    if (myOutput != theNoName)
        myLine.output = text + names + myOutput;
    if (myErrors != theNoName)
        myLine.errors = text + names + myErrors;
    if (myLine.pipeOffset >= 0)
        myLine.pipe = text + pipe;
}

bool
ut_ShellParser::refuse(UT_ShellError error, const char *place)
{
    myLine = UT_ShellLine();
    myLine.error = error;
    myLine.errorOffset = int(place - myText);
    return false;
}

bool
ut_ShellParser::isEscapedNewline() const
{
    if (*myNext != mySyntax.escape)
        return false;
    return myNext[1] == '\n' || (myNext[1] == '\r' && myNext[2] == '\n');
}

void
ut_ShellParser::skipBlanks()
{
    while (utIsSpace(*myNext) || isEscapedNewline())
        ++myNext;
}

// At the start of a word.
bool
ut_ShellParser::isRedirection() const
{
    switch (*myNext)
    {
    case '<':
    case '>':
    case '|':
        return true;
    case '0':
        return mySyntax.isDos && myNext[1] == '<';
    case '1':
    case '2':
        return mySyntax.isDos && myNext[1] == '>';
    default:
        return false;
    }
}

bool
ut_ShellParser::takeRedirection()
{
    const char *const start = myNext;
    const bool isErrors = *start == '2';
    if (utIsDigit(*start))
        ++myNext;
    switch (*myNext++)
    {
    case '<':
        if (myInput != theNoName)
            return refuse(UT_SHELL_TWO_INPUTS, start);
        return takeName(start, myInput);
    case '>':
        return isErrors ? takeErrors(start) : takeOutput(start);
    default:
        return takePipe(start);
    }
}

bool
ut_ShellParser::takeOutput(const char *start)
{
    if (myOutput != theNoName)
        return refuse(UT_SHELL_TWO_OUTPUTS, start);
    if (*myNext == '>')
    {
        myLine.appendsOutput = true;
        ++myNext;
    }
    if (mySyntax.isDos)
    {
        if (*myNext == '&')
            return refuse(UT_SHELL_NO_NAME, start);
        return takeName(start, myOutput);
    }
    if (*myNext == '&')
    {
        myLine.joinsErrors = true;
        ++myNext;
    }
    if (*myNext == '!')
    {
        myLine.forcesOutput = true;
        ++myNext;
    }
    return takeName(start, myOutput);
}

// After `2>`.
bool
ut_ShellParser::takeErrors(const char *start)
{
    if (myErrors != theNoName || myLine.joinsErrors)
        return refuse(UT_SHELL_TWO_ERROR_OUTPUTS, start);
    if (*myNext == '>')
    {
        myLine.appendsErrors = true;
        ++myNext;
    }
    if (*myNext != '&')
        return takeName(start, myErrors);
    if (myLine.appendsErrors || myNext[1] != '1' ||
        !mySyntax.is(UT_ENDS_WORD, myNext[2]))
        return refuse(UT_SHELL_NO_NAME, start);
    myLine.joinsErrors = true;
    myNext += 2;
    return true;
}

bool
ut_ShellParser::takePipe(const char *start)
{
    if (myOutput != theNoName)
        return refuse(UT_SHELL_TWO_OUTPUTS, start);
    if (!mySyntax.isDos && *myNext == '&')
    {
        myLine.joinsErrors = true;
        ++myNext;
    }
    skipBlanks();
    if (myWordCount == 0 || !*myNext || *myNext == '|')
        return refuse(UT_SHELL_NO_COMMAND, start);
    myPipe = myNext;
    return true;
}

bool
ut_ShellParser::takeName(const char *start, int &name)
{
    skipBlanks();
    const int offset = myNames.length();
    if (!takeWord(myNames))
        return false;
    if (myCount > 1)
        return refuse(UT_SHELL_MANY_NAMES, start);
    if (myNames.length() <= offset + 1)
        return refuse(UT_SHELL_NO_NAME, start);
    name = offset;
    return true;
}

bool
ut_ShellParser::takeWord(UT_WorkBuffer &out)
{
    myOut = &out;
    myCount = 0;
    if (*myNext == '~' && !mySyntax.isDos && !takeHome())
        return false;
    for (;;)
    {
        takeRun(UT_SPECIAL_IN_WORD);
        if (mySyntax.is(UT_ENDS_WORD, *myNext) || isEscapedNewline())
        {
            closeWord();
            return true;
        }
        bool isTaken = true;
        if (*myNext == '"')
            isTaken = takeQuoted();
        else if (*myNext == '\'')
            isTaken = takeLiteral();
        else if (*myNext == mySyntax.escape)
            takeEscaped();
        else
            isTaken = takeReference(/*isQuoted=*/false);
        if (!isTaken)
            return false;
    }
}

void
ut_ShellParser::takeRun(uint8 end)
{
    const char *const start = myNext;
    while (!mySyntax.is(end, *myNext))
        ++myNext;
    append(start, size_t(myNext - start));
}

// A backslash or caret, and what comes after it.
void
ut_ShellParser::takeEscaped()
{
    if (myNext[1])
        ++myNext;
    append(myNext++, 1);
}

bool
ut_ShellParser::takeLiteral()
{
    const char *const start = myNext + 1;
    const char *const end = strchr(start, '\'');
    if (!end)
        return refuse(UT_SHELL_OPEN_QUOTE, myNext);
    append(start, size_t(end - start));
    myIsOpen = true;
    myNext = end + 1;
    return true;
}

bool
ut_ShellParser::takeQuoted()
{
    const char *const start = myNext++;
    myIsOpen = true;
    for (;;)
    {
        takeRun(UT_SPECIAL_IN_QUOTES);
        if (!*myNext)
            return refuse(UT_SHELL_OPEN_QUOTE, start);
        if (*myNext == '"')
        {
            ++myNext;
            if (!mySyntax.isDos || *myNext != '"')
                return true;
            append(myNext++, 1);
        }
        else if (*myNext == '\\')
        {
            if (mySyntax.is(UT_PROTECTED, myNext[1]))
                ++myNext;
            append(myNext++, 1);
        }
        else if (!takeReference(/*isQuoted=*/true))
            return false;
    }
}

bool
ut_ShellParser::takeReference(bool isQuoted)
{
    const bool isExpression = *myNext == '`';
    if (isExpression && !myLookups.expression)
    {
        append(myNext++, 1);
        return true;
    }
    myValue.clear();
    const char *end;
    if (isExpression)
        end = utReplaceExpression(myValue, myNext, myLookups);
    else if (mySyntax.isDos)
        end = utReplacePercent(myValue, myNext, myLookups);
    else
        end = utReplaceVariable(myValue, myNext, myLookups);
    if (!end)
        return refuse(
            isExpression ? UT_SHELL_OPEN_QUOTE : UT_SHELL_OPEN_BRACE, myNext);
    if (!takeValue(end))
        return false;
    if (isQuoted)
        append(myValue.buffer(), size_t(myValue.length()));
    else
        appendWords(myValue.buffer());
    return true;
}

bool
ut_ShellParser::takeHome()
{
    myValue.clear();
    if (!takeValue(utReplaceHome(myValue, myNext)))
        return false;
    append(myValue.buffer(), size_t(myValue.length()));
    myIsOpen = true;
    return true;
}

// The reference up to `end` has become myValue.
bool
ut_ShellParser::takeValue(const char *end)
{
    constexpr int theGreatestGrowth = 1 << 24;
    const int growth = myValue.length() - int(end - myNext);
    if (growth > theGreatestGrowth - myGrowth)
        return refuse(UT_SHELL_TOO_LONG, myNext);
    myGrowth += std::max(growth, 0);
    myNext = end;
    return true;
}

void
ut_ShellParser::append(const char *bytes, size_t length)
{
    if (length == 0)
        return;
    myOut->append(bytes, int(length));
    myIsOpen = true;
}

void
ut_ShellParser::appendWords(const char *text)
{
    for (;;)
    {
        const char *end = text;
        while (*end && !utIsSpace(*end))
            ++end;
        append(text, size_t(end - text));
        if (!*end)
            return;
        closeWord();
        text = end + 1;
    }
}

void
ut_ShellParser::closeWord()
{
    if (!myIsOpen)
        return;
    myOut->append('\0');
    myIsOpen = false;
    ++myCount;
}

static int
utParseShell(
    UT_String &string, const ut_ShellSyntax &syntax, UT_WorkArgs &args,
    UT_ShellLine &line, const ut_Lookups &lookups)
{
    constexpr size_t theLongestLine = 1 << 26;
    args.setArg(0, nullptr);
    line = UT_ShellLine();
    if (string.isNull() || !*string.buffer())
        return 0;
    if (strlen(string) > theLongestLine)
    {
        line.error = UT_SHELL_TOO_LONG;
        line.errorOffset = int(theLongestLine);
        return -1;
    }
    ut_ShellParser parser(string, syntax, lookups, line);
    if (!parser.parse())
        return -1;
    parser.store(string, args);
    return args.getArgc();
}

int
UT_String::parseCsh(
    UT_WorkArgs &args, UT_ShellLine &line,
    const char *(*varLookup)(const char *, void *),
    const char *(*exprLookup)(const char *, void *), void *data)
{
    static constexpr ut_ShellSyntax theSyntax(/*dos=*/false);
    return utParseShell(
        *this, theSyntax, args, line, {varLookup, exprLookup, data});
}

int
UT_String::parseDos(
    UT_WorkArgs &args, UT_ShellLine &line,
    const char *(*varLookup)(const char *, void *),
    const char *(*exprLookup)(const char *, void *), void *data)
{
    static constexpr ut_ShellSyntax theSyntax(/*dos=*/true);
    return utParseShell(
        *this, theSyntax, args, line, {varLookup, exprLookup, data});
}
