// Edits of any text do what plain ones do, also with parts of it as arguments,
// and quotes come off again. The input is an argument, a NUL and a text.

#include "ut_FuzzCheck.h"

#include "UT/UT_String.h"

#include <algorithm>
#include <cstring>
#include <string>

// Quotes come off again, unless the quote is a letter with an escape.
static void
utTryQuotes(const UT_String &text, char quote)
{
    UT_String quoted = text.makeQuotedString(quote);
    quoted.harden(quoted.buffer() + 1, std::max(0, quoted.length() - 2));
    quoted.expandControlSequences();
    if (quote != '\0' && quote != 'n' && quote != 'r' && quote != 't')
        utRequire(quoted == text);
    UT_String isProtected(text);
    isProtected.protectString();
}

// Searches, and the substitution of `old` by `by`, beside those of std::string.
// Both may be parts of the string's text.
static void
utTrySubstitution(UT_String &string, const char *old, const char *by)
{
    const std::string before = string.buffer();
    const std::string pattern = old;
    const std::string replacement = by;
    std::string expected = before;
    int count = 0;
    size_t at = pattern.empty() ? before.npos : before.find(pattern);
    while (at != before.npos)
    {
        expected.replace(at, pattern.size(), replacement);
        ++count;
        at = expected.find(pattern, at + replacement.size());
    }
    utRequire(string.find(old) == (count ? int(before.find(pattern)) : -1));
    utRequire(
        string.findLast(old) == (count ? int(before.rfind(pattern)) : -1));
    utRequire(string.count(old) == count);
    utRequire(string.substitute(old, by) == count);
    utRequire(string == expected.c_str());
}

void
utTry(const std::string &input)
{
    const size_t size = input.size();
    std::string rest(input);
    const std::string argument = utTakeText(rest).substr(0, 600);
    const std::string text = utTakeText(rest).substr(0, 600);
    const std::string before = text;
    // The size chooses: borrowed or owned, and which part of the text is an
    // argument, too.
    UT_String string(text.c_str(), /*deep=*/size % 3 > 0);
    const size_t offset = size % (text.size() + 1);
    const char *const tail = string.buffer() + offset;
    const char *const old = size % 2 == 1 ? tail : argument.c_str();
    UT_String modified(text.c_str(), /*deep=*/1);
    if (strlen(old) <= 40) // a long list makes the text longer many times over
        modified.applyModifiers(old == tail ? modified.buffer() + offset : old);
    utTryQuotes(string, *old);
    utTrySubstitution(string, old, tail);
    utRequire(text == before); // what was lent stays
}
