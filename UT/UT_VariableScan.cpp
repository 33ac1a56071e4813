#include "UT_VariableScan.h"

#include "UT_CancelImpl.h"
#include "UT_CharImpl.h"
#include "UT_Env.h"
#include "UT_EnvControl.h"
#include "UT_RefArray.h"
#include "UT_String.h"
#include "UT_VariableScanImpl.h"
#include "UT_WorkArgs.h"
#include "UT_WorkBuffer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <pwd.h>

#ifdef __SSE2__
#include <immintrin.h>
#endif

// Characters that are not simply copied.
enum : unsigned char
{
    UT_SCAN_ALWAYS = 1,
    UT_SCAN_COMMENTS = 2, // where comments count
    UT_SCAN_BRACES = 4,   // between the braces of a reference
    UT_SCAN_EXPRESSIONS = 8
};

static constexpr struct ut_ScanTable
{
    constexpr ut_ScanTable() : kinds()
    {
        for (const char c : {'\0', '\\', '$', '~', '\''})
            kinds[uint8(c)] = UT_SCAN_ALWAYS;
        kinds[uint8('`')] = UT_SCAN_EXPRESSIONS;
        kinds[uint8('/')] = UT_SCAN_COMMENTS;
        kinds[uint8('{')] = kinds[uint8('}')] = UT_SCAN_BRACES;
    }

    unsigned char kinds[256];
} theScanTable;

#ifdef __SSE2__
// Skips bytes that are simply copied, sixteen at a time; those from `start` to
// `text` are. Returns the first that is not, or `end`, or `text` when that is
// less than sixteen bytes before it.
//
// A bit that two bytes differ in does not count, so that one comparison finds
// both; the table separates the others that it finds from them.
static const char *
utSkipOrdinary(const char *text, const char *end, unsigned special)
{
    const char *const start = text;
    const auto bits = [](__m128i block, char ignoredBits, char byte)
    {
        return _mm_cmpeq_epi8(
            _mm_or_si128(block, _mm_set1_epi8(ignoredBits)),
            _mm_set1_epi8(byte));
    };
    const char backquote = special & UT_SCAN_EXPRESSIONS ? '`' : '~';
    const char slash = special & UT_SCAN_COMMENTS ? '/' : '~';
    const char brace = special & UT_SCAN_BRACES ? '\x7f' : '~';
    const char braceBits = special & UT_SCAN_BRACES ? 6 : 0;
    const auto findIn = [&](const char *first) -> const char *
    {
        __m128i block;
        memcpy(&block, first, sizeof(block));
        const __m128i found = _mm_or_si128(
            _mm_or_si128(
                _mm_or_si128(
                    bits(block, 0x22, '~'), // and a backslash
                    bits(block, 3, '\'')),  // and a dollar sign
                bits(block, 0, backquote)),
            _mm_or_si128(bits(block, 0, slash), bits(block, braceBits, brace)));
        for (int left = _mm_movemask_epi8(found); left; left &= left - 1)
        {
            const char *const candidate = first + __builtin_ctz(unsigned(left));
            if (theScanTable.kinds[uint8(*candidate)] & special)
                return candidate;
        }
        return nullptr;
    };
    for (; end - text >= 16; text += 16)
        if (const char *const found = findIn(text))
            return found;
    // The last bytes make a block with some that are known.
    if (text == end || end - start < 16)
        return text;
    const char *const found = findIn(end - 16);
    return found ? found : end;
}

#else
static const char *
utSkipOrdinary(const char *text, const char *, unsigned)
{
    return text;
}
#endif

// How far the text is known to have no NUL: to its end, or some way.
static const char *
utLookAhead(const char *text)
{
    return text + strnlen(text, 4096);
}

static unsigned
utSpecialOutsideBraces(bool hasExpressions, bool ignoreComments)
{
    return UT_SCAN_ALWAYS | (hasExpressions ? UT_SCAN_EXPRESSIONS : 0) |
           (ignoreComments ? 0 : UT_SCAN_COMMENTS);
}

static bool
utIsSpecial(char c, unsigned special)
{
    return (theScanTable.kinds[uint8(c)] & special) != 0;
}

// The first byte that is not simply copied. There is no NUL before `wholeEnd`,
// which moves as more of the text is looked at.
static const char *
utEndOfOrdinary(const char *text, const char *&wholeEnd, unsigned special)
{
    // Near the end of what is known most runs are short.
    int few = wholeEnd - text < 16 ? 16 : 0;
    while (few > 0)
    {
        if (utIsSpecial(*text, special))
            return text;
        ++text;
        --few;
    }
    for (;;)
    {
        if (wholeEnd - text < 16)
            wholeEnd = utLookAhead(text);
        text = utSkipOrdinary(text, wholeEnd, special);
        if (wholeEnd - text >= 16 || *wholeEnd == '\0')
            break;
    }
    while (!utIsSpecial(*text, special))
        ++text;
    return text;
}

// These look for the end of the text on the way, and read bytes after it: no
// more than lie on the same page, but checkers of memory would object.
#if defined(__SSE2__) && !defined(VALDRIN_SANITIZED)
#define UT_VECTORS [[gnu::target("avx2")]]
#define UT_VECTORS_INLINE [[gnu::target("avx2"), gnu::always_inline]] inline

// For each set of what is special, the bytes in it by their low halves, which
// all differ, except that the backquote, which is left out, has that of NUL.
static constexpr struct ut_HalfTables
{
    constexpr ut_HalfTables() : bytes()
    {
        for (int byte = 1; byte < 128; ++byte)
            for (unsigned set = 0; set < 8; ++set)
                if (theScanTable.kinds[byte] & set)
                {
                    areDistinct =
                        areDistinct && !bytes[set][byte % 16] && byte % 16 != 0;
                    bytes[set][byte % 16] = char(byte);
                }
    }

    char bytes[8][16];
    bool areDistinct = true;
} theHalfTables;
static_assert(theHalfTables.areDistinct);

UT_VECTORS_INLINE static __m256i
utLoad(const char *text)
{
    __m256i block;
    memcpy(&block, text, sizeof(block));
    return block;
}

// All bits are set where a byte is special.
template <bool hasExpressions>
UT_VECTORS_INLINE static __m256i
utFindSpecial(__m256i block, __m256i bytesByHalves)
{
    const __m256i found =
        _mm256_cmpeq_epi8(_mm256_shuffle_epi8(bytesByHalves, block), block);
    if (!hasExpressions)
        return found;
    return _mm256_or_si256(
        found, _mm256_cmpeq_epi8(block, _mm256_set1_epi8('`')));
}

// Skips bytes that are simply copied, and copies them to `out` unless that is
// null. Returns the first that is not, or, if that is farther, one for which
// `out`, up to `outEnd`, has less room than two blocks.
template <bool copies, bool hasExpressions>
UT_VECTORS static const char *
utSkipBlocks(const char *text, unsigned special, char *out, const char *outEnd)
{
    constexpr int theBlock = 32;
    constexpr int thePage = 4096;
    __m128i bytes;
    memcpy(
        &bytes, theHalfTables.bytes[special % UT_SCAN_EXPRESSIONS],
        sizeof(bytes));
    const __m256i byHalves = _mm256_broadcastsi128_si256(bytes);
    if (copies && outEnd - out < 2 * theBlock)
        return text;

    // A block that crosses no page can be read, wherever the text ends in it.
    if (uintptr_t(text) % thePage > thePage - theBlock)
        for (; uintptr_t(text) % theBlock; ++text)
        {
            if (utIsSpecial(*text, special))
                return text;
            if (copies)
                *out++ = *text;
        }
    if (copies)
        outEnd -= 2 * theBlock;
    do
    {
        const __m256i block = utLoad(text);
        if (copies)
            memcpy(out, &block, theBlock);
        const int found = _mm256_movemask_epi8(
            utFindSpecial<hasExpressions>(block, byHalves));
        if (found)
            return text + __builtin_ctz(unsigned(found));
        const size_t step = theBlock - uintptr_t(text) % theBlock;
        text += step;
        out += copies ? step : 0;
    } while (uintptr_t(text) % (2 * theBlock) && (!copies || out <= outEnd));

    while (!copies || out <= outEnd)
    {
        const __m256i low = utLoad(text);
        const __m256i high = utLoad(text + theBlock);
        if (copies)
        {
            memcpy(out, &low, theBlock);
            memcpy(out + theBlock, &high, theBlock);
            out += 2 * theBlock;
        }
        const __m256i inLow = utFindSpecial<hasExpressions>(low, byHalves);
        const __m256i inHigh = utFindSpecial<hasExpressions>(high, byHalves);
        if (_mm256_movemask_epi8(_mm256_or_si256(inLow, inHigh)))
        {
            const unsigned found = unsigned(_mm256_movemask_epi8(inLow));
            if (found)
                return text + __builtin_ctz(found);
            return text + theBlock +
                   __builtin_ctz(unsigned(_mm256_movemask_epi8(inHigh)));
        }
        text += 2 * theBlock;
    }
    return text;
}

template <bool copies>
static const char *
utSkipBlocks(const char *text, unsigned special, char *out, const char *outEnd)
{
    if (special & UT_SCAN_EXPRESSIONS)
        return utSkipBlocks<copies, true>(text, special, out, outEnd);
    return utSkipBlocks<copies, false>(text, special, out, outEnd);
}

#undef UT_VECTORS
#undef UT_VECTORS_INLINE

static bool
utHasBlocks()
{
    return __builtin_cpu_supports("avx2");
}
#else
template <bool copies>
static const char *
utSkipBlocks(const char *text, unsigned, char *, const char *)
{
    return text;
}

static bool
utHasBlocks()
{
    return false;
}
#endif

// Appends the bytes that are simply copied, and returns the first that is not.
static const char *
utCopyOrdinary(
    UT_WorkBuffer &out, const char *text, const char *&wholeEnd,
    unsigned special)
{
    const char *end;
    if (utHasBlocks())
    {
        const int length = out.length();
        const int room = out.capacity() - 1 - length; // but for the NUL
        if (!out.isLocked() && room > 0)
        {
            char *const start = &out[length];
            end = utSkipBlocks</*copies=*/true>(
                text, special, start, start + room);
            out.write(length + int(end - text), '\0');
            text = end;
            if (utIsSpecial(*text, special))
                return text;
        }
        end = utSkipBlocks</*copies=*/false>(text, special, nullptr, nullptr);
    }
    else
        end = utEndOfOrdinary(text, wholeEnd, special);
    if (end != text)
        out.append(text, int(end - text));
    return end;
}

// Characters that a name between percent signs cannot have. Parentheses are not
// among them: PROGRAMFILES(X86) is a name.
static constexpr char theNoNameChars[] = "%:=\"<>|^&` \t\n\v\f\r";

// Characters that a backslash makes ordinary.
static constexpr char theScanProtectedChars[] = "`$~'";

static bool
utIsNameCharacter(char c)
{
    return utIsLetter(c) || utIsDigit(c) || c == '_';
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
utFrameWidth(const char *name)
{
    if (name[0] != 'F')
        return -1;
    // No path has room for more, and a few digits must not claim gigabytes.
    constexpr int theWidestFrame = 4096;
    int width = 0;
    for (const char *digit = name + 1; *digit; ++digit)
    {
        if (!utIsDigit(*digit))
            return -1;
        width = std::min(width * 10 + (*digit - '0'), theWidestFrame);
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
        UT_WorkBuffer &out, const char *next, char previous,
        const ut_Lookups &lookups, bool expandVars, bool expandTilde,
        bool ignoreComments)
        : myOut(out), myNext(next), myPrevious(previous), myLookups(lookups),
          myWholeEnd(myNext), myExpandVars(expandVars),
          myExpandTilde(expandTilde), myIgnoreComments(ignoreComments)
    {
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
    void replaceValue(int modifiersLength);
    void replaceHome();
    void replaceExpression();

    UT_WorkBuffer &myOut;
    const char *myNext; // what is not scanned yet
    char myPrevious; // before it; NUL at the start and after what was replaced
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
    myScratch.append(name, int(end - name));
    myNext = end;
    replaceValue(modifiersLength);
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
    const unsigned special =
        isInBraces()
            ? UT_SCAN_ALWAYS | UT_SCAN_BRACES
            : utSpecialOutsideBraces(myLookups.expression, myIgnoreComments);
    const char *const end =
        utCopyOrdinary(output(), myNext, myWholeEnd, special);
    if (end != myNext)
        myPrevious = end[-1];
    myNext = end;
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
    replaceValue(/*modifiersLength=*/0);
}

void
ut_VariableScanner::replaceVariable()
{
    const char *end = myNext + 1;
    while (utIsNameCharacter(*end))
        ++end;
    myScratch.clear();
    myScratch.append(myNext + 1, int(end - myNext - 1));
    myNext = end;
    replaceValue(utModifiersLength(end));
}

// The value of the variable in myScratch, with the modifiers that come next.
void
ut_VariableScanner::replaceValue(int modifiersLength)
{
    const char *const modifiers = myNext;
    myNext += modifiersLength;
    myPrevious = '\0';
    char *const name = &myScratch[0];
    const int width = utFrameWidth(name);
    if (width >= 0)
        name[1] = '\0'; // without the digits
    const char *const value = myLookups.variable(name, myLookups.data);
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

int
UTExprVariableScan(
    UT_WorkBuffer &out, const char *text,
    const char *(*varLookup)(const char *, void *),
    const char *(*exprLookup)(const char *, void *), void *data,
    bool expandVars, bool expandTilde, bool ignoreComments)
{
    out.clear();
    if (!text)
        return 0;
    // Most texts have nothing to replace.
    const char *wholeEnd = text;
    const char *const next = utCopyOrdinary(
        out, text, wholeEnd,
        utSpecialOutsideBraces(exprLookup, ignoreComments));
    if (!*next)
        return 0;
    const char previous = next == text ? '\0' : next[-1];
    const ut_Lookups lookups = {
        varLookup ? varLookup : wrapValdrinGetenv, exprLookup, data};
    ut_VariableScanner scanner(
        out, next, previous, lookups, expandVars, expandTilde, ignoreComments);
    scanner.scan();
    return scanner.count();
}

int
UTVariableScan(
    UT_WorkBuffer &out, const char *text,
    const char *(*varLookup)(const char *, void *), void *data,
    bool expandTilde, bool ignoreComments)
{
    return UTExprVariableScan(
        out, text, varLookup, nullptr, data, /*expandVars=*/true, expandTilde,
        ignoreComments);
}

bool
utHasNothingToReplace(const char *text)
{
    const char *wholeEnd = text;
    const char *const end =
        utHasBlocks() ? utSkipBlocks</*copies=*/false>(
                            text, UT_SCAN_ALWAYS, nullptr, nullptr)
                      : utEndOfOrdinary(text, wholeEnd, UT_SCAN_ALWAYS);
    return *end == '\0';
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
               out, text, /*previous=*/'\0', lookups, /*expandVars=*/true,
               /*expandTilde=*/false,
               /*ignoreComments=*/true)
        .scanReference();
}

const char *
utReplacePercent(
    UT_WorkBuffer &out, const char *text, const ut_Lookups &lookups)
{
    return ut_VariableScanner(
               out, text, /*previous=*/'\0', lookups, /*expandVars=*/true,
               /*expandTilde=*/false,
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
               out, text, /*previous=*/'\0', lookups, /*expandVars=*/false,
               /*expandTilde=*/false,
               /*ignoreComments=*/true)
        .scanReference();
}

const char *
utReplaceHome(UT_WorkBuffer &out, const char *text)
{
    static constexpr ut_Lookups theNoLookups = {nullptr, nullptr, nullptr};
    return ut_VariableScanner(
               out, text, /*previous=*/'\0', theNoLookups, /*expandVars=*/false,
               /*expandTilde=*/true, /*ignoreComments=*/true)
        .scanReference();
}
