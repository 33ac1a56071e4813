#include "UT_VariableScan.h"

#include "UT_CancelImpl.h"
#include "UT_CharImpl.h"
#include "UT_Env.h"
#include "UT_EnvControl.h"
#include "UT_EnvImpl.h"
#include "UT_RefArray.h"
#include "UT_String.h"
#include "UT_StringImpl.h"
#include "UT_VariableScanCopyImpl.h"
#include "UT_VariableScanImpl.h"
#include "UT_WorkArgs.h"
#include "UT_WorkBuffer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <pwd.h>

// Characters that a name between percent signs cannot have. Parentheses are not
// among them: PROGRAMFILES(X86) is a name.
static constexpr char theNoNameChars[] = "%:=\"<>|^&` \t\n\v\f\r";

// Characters that a backslash makes ordinary.
static constexpr char theScanProtectedChars[] = "`$~'";

static bool
utIsNameCharacter(char c)
{
    return (theScanTable.kinds[uint8(c)] & UT_SCAN_NAME) != 0;
}

// Past the brace that closes the one before `text`; null when there is
// none. Quotes and backslashes do not hide a brace.
static const char *
utBehindClosingBrace(const char *text)
{
    for (unsigned depth = 1; depth != 0; ++text)
    {
        text += strcspn(text, "{}");
        if (!*text)
            return nullptr;
        *text == '{' ? ++depth : --depth;
    }
    return text;
}

// The backquote that ends the expression at `text`, or the text's end.
static const char *
utEndOfExpression(const char *text)
{
    const char *end = strchrnul(text, '`');
    while (*end && end[-1] == '\\')
        end = strchrnul(end + 1, '`');
    return end;
}

// The least width in the name of a frame number: "F4" is F in 4 characters,
// and "F" in 0. -1 for all other names.
static int
utFrameWidth(const char *name, size_t length)
{
    if (length == 0 || name[0] != 'F')
        return -1;
    // No path has room for more, and a few digits must not claim gigabytes.
    constexpr int theWidestFrame = 4096;
    int width = 0;
    for (size_t i = 1; i < length; ++i)
    {
        if (!utIsDigit(name[i]))
            return -1;
        width = std::min(width * 10 + (name[i] - '0'), theWidestFrame);
    }
    return width;
}

// Bytes of modifiers at `text`, which follows a name.
//
// The setting is read at a colon only: to compute the settings some texts
// are expanded, and those have no colon after a name.
static int
utModifiersLength(const char *text)
{
    if (*text != ':' || UT_EnvControl::getInt(UT_VALDRIN8_COMPATIBILITY))
        return 0;
    return UT_String::findModifiers(text);
}

static void
utAppendPadded(UT_WorkBuffer &out, const char *value, int width)
{
    const size_t length = strlen(value);
    if (width < 0 || length >= size_t(width))
    {
        out.append(value, int(length));
        return;
    }
    const bool isSigned =
        (*value == '-' || *value == '+') && utIsDigit(value[1]);
    if (isSigned)
        out.append(*value++);
    const char filler = utIsDigit(*value) ? '0' : ' ';
    for (size_t i = length; i < size_t(width); ++i)
        out.append(filler);
    out.append(value);
}

namespace
{

// s/old/new/ with its flags, as UT_String::applyModifiers() understands it.
struct ut_Substitution
{
    bool all;
    UT_String old;
    int64 growth; // for each one that is replaced

    [[nodiscard]] int64 lengthOf(const UT_String &text) const
    {
        const int found = all ? text.count(old) : text.find(old) >= 0;
        return text.length() + found * growth;
    }

    // The words are put together with one blank after each, which the last one
    // has only if white space follows it.
    [[nodiscard]] int64 lengthOfWords(const UT_String &text) const
    {
        UT_String copy(text, /*deep=*/1);
        UT_WorkArgs words;
        copy.tokenizeInPlace(words, " \t\n\v\f\r");
        int64 length = utIsSpace(text[text.length() - 1]) ? 0 : -1;
        for (int i = 0; i < words.getArgc(); ++i)
            length += lengthOf(UT_String(words[i])) + 1;
        return length;
    }
};

} // namespace

// Whether the modifier, with its colon, is a substitution that would make the
// value longer than allowed.
static bool
utMakesTooLong(const UT_String &value, const char *modifier)
{
    constexpr int64 theLongestValue = 1 << 20;
    const char *const flags = modifier + 1;
    const char *const letter = flags + strspn(flags, "ag");
    if (value.length() == 0 || letter[0] != 's' || letter[1] != '/')
        return false;
    const char *const old = letter + 2;
    const size_t oldLength = strcspn(old, "/");
    const char *const slash = old + oldLength;
    const size_t newLength = *slash ? strcspn(slash + 1, "/") : 0;
    const ut_Substitution substitution = {
        std::find(flags, letter, 'a') != letter,
        UT_String(old, /*deep=*/1, int(oldLength)),
        int64(newLength) - int64(oldLength)};
    if (substitution.growth <= 0)
        return false;
    int64 length;
    if (std::find(flags, letter, 'g') != letter)
        length = substitution.lengthOfWords(value);
    else if (substitution.growth > theLongestValue - value.length())
        return value.find(substitution.old) >= 0; // one is too many
    else
        length = substitution.lengthOf(value);
    return length > theLongestValue && length > value.length();
}

// One after the other: each substitution can multiply the length of the value,
// and a line of them would allocate gigabytes.
static void
utApplyModifiers(UT_String &value, const char *modifiers, const char *end)
{
    while (modifiers != end)
    {
        const char *const next = std::find(modifiers + 1, end, ':');
        const UT_String modifier(modifiers, /*deep=*/1, int(next - modifiers));
        if (!utMakesTooLong(value, modifier))
            value.applyModifiers(modifier);
        modifiers = next;
    }
}

// Appends the home directory of `user`, whose name has `length` characters.
static bool
utAppendHomeOf(const char *user, size_t length, UT_WorkBuffer &out)
{
    char name[256];
    if (length >= sizeof(name))
        return false;
    memcpy(name, user, length);
    name[length] = '\0';

    const ut_CancelGuard guard; // the C library may have a lock in it
    UT_WorkBuffer storage;
    passwd entry;
    passwd *found = nullptr;
    for (;;)
    {
        const int error = getpwnam_r(
            name, &entry, storage.lock(0, 0), size_t(storage.capacity()),
            &found);
        storage.release(/*recomputeLength=*/0);
        if (error == EINTR)
            continue;
        // Entries are a line of text each: none is that long.
        if (error != ERANGE || storage.capacity() >= 1 << 20)
            break;
        storage.reserve(2 * unsigned(storage.capacity()));
    }
    if (!found || !found->pw_dir)
        return false;
    out.append(found->pw_dir);
    return true;
}

namespace
{

// One scan of one text.
//
// The text of a reference in braces is scanned where it stands, however deep,
// and not by a call of its own: the names under construction lie in one buffer
// one after the other, the innermost last. Every brace that comes by is
// counted, so that the one that closes a name is known when it comes.
class ut_VariableScanner
{
public:
    ut_VariableScanner(
        UT_WorkBuffer &out, const char *text, const ut_Lookups &lookups,
        bool expandVars, bool expandTilde, bool ignoreComments)
        : myOut(out), myNext(text), myLookups(lookups), myWholeEnd(text),
          myExpandVars(expandVars), myExpandTilde(expandTilde),
          myIgnoreComments(ignoreComments)
    {
    }

    // What comes before `next` has been copied.
    void moveTo(const char *next, const char *wholeEnd)
    {
        if (next != myNext)
            myPrevious = next[-1];
        myNext = next;
        myWholeEnd = wholeEnd;
    }

    // Returns false when a brace is never closed.
    bool scan();
    [[nodiscard]] int count() const { return myCount; }

    // These scan what the text begins with, and return its end; null when a
    // brace is never closed.
    const char *scanReference();
    const char *scanPercent();

private:
    // A reference in braces whose name is not complete.
    struct ut_OpenName
    {
        unsigned depth; // braces that are open inside it, its own included
        int start;      // where its name starts in myNames
    };

    [[nodiscard]] bool isInBraces() const { return myOpenNames.entries() != 0; }
    UT_WorkBuffer &output() { return isInBraces() ? myNames : myOut; }
    [[nodiscard]] bool isEndOfName() const;

    void copy(const char *end);
    void copyOrdinary();
    void skipBackslash();
    void copyComment();
    void copyQuoted();
    bool openName();
    void closeName();
    void replaceVariable();
    const char *findValue(const char *name, size_t length);
    void replaceValue(const char *name, size_t length, int modifiersLength);
    void replaceHome();
    void replaceExpression();

    UT_WorkBuffer &myOut;
    const char *myNext;     // what is not scanned yet
    char myPrevious = '\0'; // before it; NUL at the start and after what was
                            // replaced
    int myCount = 0;
    unsigned myDepth = 0; // open braces since the outermost open name
    UT_RefArray<ut_OpenName> myOpenNames; // the innermost last
    UT_WorkBuffer myNames;
    UT_WorkBuffer myScratch;      // the text for a look-up
    bool myEndsWithFirst = false; // with the first reference
    const ut_Lookups &myLookups;
    const char *myWholeEnd; // there is no NUL before it
    const bool myExpandVars;
    const bool myExpandTilde;
    const bool myIgnoreComments;
};

} // namespace

bool
ut_VariableScanner::scan()
{
    do
    {
        copyOrdinary();
        switch (*myNext)
        {
        case '\0':
            return true;
        case '\\':
            skipBackslash();
            continue;
        case '\'':
            copyQuoted();
            continue;
        case '/':
            if (myNext[1] != '/' && myNext[1] != '*')
                break;
            copyComment();
            continue;
        case '`':
            if (!myLookups.expression || isInBraces())
                break;
            replaceExpression();
            continue;
        case '~':
            if (!(myExpandTilde || isInBraces()) ||
                (myPrevious && !utIsSpace(myPrevious)))
                break;
            replaceHome();
            continue;
        case '$':
            if (!myExpandVars)
                break;
            if (utIsNameCharacter(myNext[1]))
            {
                replaceVariable();
                continue;
            }
            if (myNext[1] != '{')
                break;
            if (openName())
                continue;
            myOut.append(myNext);
            return false;
        case '{':
            ++myDepth;
            break;
        case '}':
            if (isEndOfName())
            {
                closeName();
                continue;
            }
            --myDepth;
            break;
        }
        copy(myNext + 1);
    } while (!myEndsWithFirst || isInBraces());
    return true;
}

const char *
ut_VariableScanner::scanReference()
{
    myEndsWithFirst = true;
    return scan() ? myNext : nullptr;
}

const char *
ut_VariableScanner::scanPercent()
{
    const char *const name = myNext + 1;
    const char *const end = name + strcspn(name, theNoNameChars);
    const int modifiersLength = utModifiersLength(end);
    if (end == name || end[modifiersLength] != '%')
    {
        copy(name);
        return *name == '%' ? name + 1 : name;
    }
    myNext = end;
    replaceValue(name, size_t(end - name), modifiersLength);
    return myNext + 1;
}

bool
ut_VariableScanner::isEndOfName() const
{
    return isInBraces() && *myNext == '}' &&
           myOpenNames(myOpenNames.entries() - 1).depth == myDepth;
}

// The text up to `end`.
void
ut_VariableScanner::copy(const char *end)
{
    output().append(myNext, int(end - myNext));
    myPrevious = end[-1];
    myNext = end;
}

void
ut_VariableScanner::copyOrdinary()
{
    const unsigned special = isInBraces()
                                 ? UT_SCAN_ALWAYS | UT_SCAN_BRACES
                                 : utSpecialOutsideBraces(myIgnoreComments);
    const char *wholeEnd = myWholeEnd;
    utLookAhead(myNext, wholeEnd);
    if (wholeEnd - myNext < theBlock)
    {
        // The end of the text is near.
        const char *end = myNext;
        while (!utIsSpecial(*end, special))
            ++end;
        if (end != myNext)
            copy(end);
        return;
    }
    const char *const end = utCopyOrdinary(output(), myNext, wholeEnd, special);
    moveTo(end, wholeEnd);
}

void
ut_VariableScanner::skipBackslash()
{
    const char next = myNext[1];
    if (next == '\\')
    {
        copy(myNext + 1);
        myPrevious = '\0';
        ++myNext;
        return;
    }
    if (next && strchr(theScanProtectedChars, next))
        ++myNext;
    copy(myNext + 1);
}

void
ut_VariableScanner::copyComment()
{
    const bool isLine = myNext[1] == '/';
    // The star that opens a comment is not the one that closes it.
    const char *const end = strstr(myNext + 2, isLine ? "\n" : "*/");
    if (end)
        copy(end + (isLine ? 1 : 2));
    else
        copy(myNext + strlen(myNext));
}

void
ut_VariableScanner::copyQuoted()
{
    const char *const start = ++myNext;
    while (*myNext && !(*myNext == '\'' && myNext[-1] != '\\'))
    {
        if (isInBraces() && *myNext == '{')
            ++myDepth;
        else if (isInBraces() && *myNext == '}')
        {
            if (isEndOfName())
                break;
            --myDepth;
        }
        ++myNext;
    }
    output().append(start, int(myNext - start));
    myPrevious = '\0';
    if (*myNext == '\'')
        ++myNext;
}

// Returns false when the braces are never closed.
bool
ut_VariableScanner::openName()
{
    // What stands between closed braces has closed braces only.
    if (!isInBraces() && !utBehindClosingBrace(myNext + 2))
        return false;
    const unsigned index = myOpenNames.insert(myOpenNames.entries());
    myOpenNames(index).depth = ++myDepth;
    myOpenNames(index).start = myNames.length();
    myNext += 2;
    myPrevious = '\0';
    return true;
}

void
ut_VariableScanner::closeName()
{
    const unsigned last = myOpenNames.entries() - 1;
    const int start = myOpenNames(last).start;
    myScratch.clear();
    myScratch.append(myNames.buffer() + start, myNames.length() - start);
    myNames.write(start, '\0');
    myOpenNames.removeAt(last);
    --myDepth;
    ++myNext;
    replaceValue(
        myScratch.buffer(), size_t(myScratch.length()), /*modifiersLength=*/0);
}

void
ut_VariableScanner::replaceVariable()
{
    const char *const name = myNext + 1;
    const char *end = name;
    while (utIsNameCharacter(*end))
        ++end;
    myNext = end;
    replaceValue(name, size_t(end - name), utModifiersLength(end));
}

const char *
ut_VariableScanner::findValue(const char *name, size_t length)
{
    if (!myLookups.variable)
        return utGetenv(name, length);
    if (name != myScratch.buffer())
    {
        myScratch.clear();
        myScratch.append(name, int(length));
    }
    myScratch.write(int(length), '\0');
    return myLookups.variable(myScratch.buffer(), myLookups.data);
}

// The value of the variable, with the modifiers that come next.
void
ut_VariableScanner::replaceValue(
    const char *name, size_t length, int modifiersLength)
{
    const char *const modifiers = myNext;
    myNext += modifiersLength;
    myPrevious = '\0';
    const int width = utFrameWidth(name, length);
    const char *const value = findValue(name, width >= 0 ? 1 : length);
    if (!value)
        return;
    ++myCount;
    if (modifiersLength == 0)
    {
        utAppendPadded(output(), value, width);
        return;
    }
    UT_WorkBuffer padded;
    utAppendPadded(padded, value, width);
    UT_String replacement;
    padded.copyIntoString(replacement);
    utApplyModifiers(replacement, modifiers, modifiers + modifiersLength);
    output().append(replacement.buffer());
}

void
ut_VariableScanner::replaceHome()
{
    const char *end = myNext + 1;
    while (utIsLetter(*end) || utIsDigit(*end))
        ++end;
    const char *const user = myNext + 1;
    if (end != user)
    {
        if (utAppendHomeOf(user, size_t(end - user), output()))
        {
            ++myCount;
            myPrevious = end[-1];
            myNext = end;
            return;
        }
    }
    else if (const char *home = UT_EnvControl::getString(UT_HOME))
    {
        output().append(home);
        ++myCount;
        myPrevious = '~';
        myNext = end;
        return;
    }
    copy(end);
}

void
ut_VariableScanner::replaceExpression()
{
    const char *const start = myNext + 1;
    const char *const end = utEndOfExpression(start);
    myScratch.clear();
    myScratch.append(start, int(end - start));
    myNext = *end ? end + 1 : end;
    myPrevious = '\0';
    const char *const value =
        myLookups.expression(myScratch.buffer(), myLookups.data);
    if (!value)
        return;
    myOut.append(value);
    ++myCount;
}

// A function of its own: a scanner has two buffers, which most texts do not
// need. What comes before `start.next` has been copied.
[[gnu::noinline]] static int
utScanFrom(
    ut_Position start, const char *text, UT_WorkBuffer &out,
    const char *(*varLookup)(const char *, void *),
    const char *(*exprLookup)(const char *, void *), void *data,
    bool expandVars, bool expandTilde, bool ignoreComments)
{
    const ut_Lookups lookups = {varLookup, exprLookup, data};
    ut_VariableScanner scanner(
        out, text, lookups, expandVars, expandTilde, ignoreComments);
    scanner.moveTo(start.next, start.wholeEnd);
    scanner.scan();
    return scanner.count();
}

// Inline: by way of one function for both, a short text would take a tenth more
// time.
[[gnu::always_inline]] static inline int
utScan(
    UT_WorkBuffer &out, const char *text,
    const char *(*varLookup)(const char *, void *),
    const char *(*exprLookup)(const char *, void *), void *data,
    bool expandVars, bool expandTilde, bool ignoreComments)
{
    if (!text)
        text = "";
    // Most texts have nothing to replace.
    const ut_Position start =
        utCopyStart(out, text, utSpecialOutsideBraces(ignoreComments));
    if (!*start.next)
        return 0;
    return utScanFrom(
        start, text, out, varLookup, exprLookup, data, expandVars, expandTilde,
        ignoreComments);
}

int
UTExprVariableScan(
    UT_WorkBuffer &out, const char *text,
    const char *(*varLookup)(const char *, void *),
    const char *(*exprLookup)(const char *, void *), void *data,
    bool expandVars, bool expandTilde, bool ignoreComments)
{
    return utScan(
        out, text, varLookup, exprLookup, data, expandVars, expandTilde,
        ignoreComments);
}

int
UTVariableScan(
    UT_WorkBuffer &out, const char *text,
    const char *(*varLookup)(const char *, void *), void *data,
    bool expandTilde, bool ignoreComments)
{
    return utScan(
        out, text, varLookup, /*exprLookup=*/nullptr, data,
        /*expandVars=*/true, expandTilde, ignoreComments);
}

bool
utHasNothingToReplace(const char *text)
{
    const char *wholeEnd = text;
    return *utEndOfOrdinary(text, wholeEnd, UT_SCAN_ALWAYS) == '\0';
}

const char *
wrapValdrinGetenv(const char *name, void *)
{
    return ValdrinGetenv(name);
}

const char *
utReplaceVariable(
    UT_WorkBuffer &out, const char *text, const ut_Lookups &lookups)
{
    return ut_VariableScanner(
               out, text, lookups, /*expandVars=*/true, /*expandTilde=*/false,
               /*ignoreComments=*/true)
        .scanReference();
}

const char *
utReplacePercent(
    UT_WorkBuffer &out, const char *text, const ut_Lookups &lookups)
{
    return ut_VariableScanner(
               out, text, lookups, /*expandVars=*/true, /*expandTilde=*/false,
               /*ignoreComments=*/true)
        .scanPercent();
}

const char *
utReplaceExpression(
    UT_WorkBuffer &out, const char *text, const ut_Lookups &lookups)
{
    if (!*utEndOfExpression(text + 1))
        return nullptr;
    return ut_VariableScanner(
               out, text, lookups, /*expandVars=*/false, /*expandTilde=*/false,
               /*ignoreComments=*/true)
        .scanReference();
}

const char *
utReplaceHome(UT_WorkBuffer &out, const char *text)
{
    static constexpr ut_Lookups theNoLookups = {nullptr, nullptr, nullptr};
    return ut_VariableScanner(
               out, text, theNoLookups, /*expandVars=*/false,
               /*expandTilde=*/true, /*ignoreComments=*/true)
        .scanReference();
}
