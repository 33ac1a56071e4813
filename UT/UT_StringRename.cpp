// Renaming by pattern: what the wildcards of one pattern stood for takes the
// place of those of another.

#include "UT_String.h"

#include "UT_StringImpl.h"
#include "UT_WorkBuffer.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

namespace
{

// The captures of the pattern's wildcards while a name is changed.
struct ut_Captures
{
    static constexpr int theMaximum = 256;

    ~ut_Captures()
    {
        for (int i = 0; i < wordCount; ++i)
            free(words[i]);
    }

    char singles[theMaximum];
    int singleCount = 0;
    char *words[theMaximum];
    int wordCount = 0;
};

} // namespace

// Reads the "(N)" that may stand at `at` into `index`, and moves past it.
// Returns false when it is not closed.
static bool
utReadIndex(const char *&at, int &index)
{
    if (*at != '(')
        return true;
    const char *const close = strchr(at, ')');
    if (!close)
        return false;
    index = utLeadingNumber(at + 1, close);
    at = close + 1;
    return true;
}

// Puts captures in the place of the wildcards of `pattern`. Returns false
// when it is malformed, or the name too long.
static bool
utRewrite(const char *pattern, const ut_Captures &captures, UT_WorkBuffer &out)
{
    int star = 0;
    int single = 0;
    while (*pattern)
    {
        const char c = *pattern++;
        if (c != '*' && c != '?')
        {
            out.append(c);
            continue;
        }
        int &index = c == '*' ? star : single;
        const int count = c == '*' ? captures.wordCount : captures.singleCount;
        if (!utReadIndex(pattern, index))
            return false;
        if (index >= count)
            continue;
        if (c == '*')
        {
            const char *const word = captures.words[index];
            if (strlen(word) >= size_t(INT_MAX - 1 - out.length()))
                return false;
            out.append(word);
        }
        else
            out.append(captures.singles[index]);
        // Deliberate: wildcards that are left over repeat the last capture.
        index = std::min(index + 1, count - 1);
    }
    return true;
}

int
UT_String::patternRename(const char *fromPattern, const char *toPattern)
{
    if (!toPattern)
        return 0;
    ut_Captures captures;
    if (!multiMatchRecord(
            fromPattern, ut_Captures::theMaximum, captures.singles,
            captures.singleCount, captures.words, captures.wordCount,
            /*caseSensitive=*/1, ", "))
        return 0;
    UT_WorkBuffer name;
    if (!utRewrite(toPattern, captures, name))
        return 0;
    harden(name.buffer());
    return 1;
}
