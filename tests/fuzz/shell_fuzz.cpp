// What is true of every command line: two with a blank between them are one
// with the words of both, and quoted words are themselves.

#include "ut_FuzzCheck.h"

#include "UT/UT_ShellLine.h"
#include "UT/UT_String.h"
#include "UT/UT_WorkArgs.h"
#include "UT/UT_WorkBuffer.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

using ut_Words = std::vector<std::string>;

// Every name that has a letter A is known, and its value is itself, with
// everything in front that could be taken for more to parse.
static const char *
utLookup(const char *name, void *)
{
    static std::string theValue;
    theValue = "$A' \\~`\"%A% ^${>|<2>" + std::string(name);
    return strchr(name, 'A') ? theValue.c_str() : nullptr;
}

namespace
{

// One line after it was parsed.
class ut_Parsed
{
public:
    ut_Parsed(const std::string &line, bool isDos) : myText(line.c_str())
    {
        // As an earlier line may have left them.
        result.input = "old";
        result.output = "old";
        result.pipe = "old";
        const std::string lent = line;
        const auto parse = isDos ? &UT_String::parseDos : &UT_String::parseCsh;
        const int count =
            (myText.*parse)(myArgs, result, utLookup, utLookup, nullptr);
        words.assign(myArgs.getArgv(), myArgs.getArgv() + myArgs.getArgc());
        isAccepted = count >= 0;
        utRequire(line == lent);
        if (isAccepted)
            requireOrder();
        else
            requireRefusal(line);
    }

    UT_ShellLine result;
    ut_Words words;
    bool isAccepted;

private:
    // Words lie one after the other from the first byte on.
    void requireOrder() const
    {
        utRequire(result.error == UT_SHELL_ACCEPTED);
        const char *next = myText;
        for (int i = 0; i < myArgs.getArgc(); ++i)
        {
            utRequire(myArgs[i] == next);
            next += strlen(next) + 1;
        }
    }

    void requireRefusal(const std::string &line) const
    {
        utRequire(result.error != UT_SHELL_ACCEPTED);
        utRequire(result.errorOffset >= 0);
        utRequire(result.errorOffset < int(line.size()));
        utRequire(line == myText.buffer());
        utRequire(words.empty());
        utRequire(!result.input);
        utRequire(!result.output);
        utRequire(!result.pipe);
    }

    UT_String myText;
    UT_WorkArgs myArgs;
};

} // namespace

static void
utTryTwo(const std::string &first, const std::string &second, bool isDos)
{
    const ut_Parsed a(first, isDos);
    const ut_Parsed b(second, isDos);
    // Redirections of both may be one too many.
    const ut_Parsed both(first + " " + second, isDos);
    const bool isOpen = !first.empty() && first.back() == (isDos ? '^' : '\\');
    if (!a.isAccepted || !b.isAccepted || !both.isAccepted || isOpen ||
        a.result.pipe)
        return;
    ut_Words words(a.words);
    words.insert(words.end(), b.words.begin(), b.words.end());
    utRequire(both.words == words);
}

// What csh reads as the word.
static std::string
utQuoteForCsh(const std::string &word)
{
    std::string quoted = "'";
    for (const char c : word)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

// What DOS reads as the word. No quotes protect a backquote.
static std::string
utQuoteForDos(const std::string &word)
{
    std::string quoted = "\"";
    for (const char c : word)
    {
        if (c == '"' || c == '%')
            quoted += std::string(2, c);
        else if (c == '`')
            quoted += "\"^`\"";
        else
            quoted += c;
    }
    return quoted + "\"";
}

static void
utTryQuoted(const ut_Words &words)
{
    std::string csh;
    std::string dos;
    for (const std::string &word : words)
    {
        csh += " " + utQuoteForCsh(word);
        dos += " " + utQuoteForDos(word);
        UT_WorkBuffer buffer;
        buffer.protectedStrcat(word.c_str(), /*forceQuotes=*/true);
        if (word.find_first_of("$`") == word.npos)
            utRequire(ut_Parsed(buffer.buffer(), false).words[0] == word);
    }
    utRequire(ut_Parsed(csh, false).words == words);
    utRequire(ut_Parsed(dos, true).words == words);
}

extern "C" int
LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    ut_Words words;
    const uint8_t *const end = data + size;
    for (const uint8_t *start = data; start != end;)
    {
        const uint8_t *const nul = std::find(start, end, uint8_t(0));
        words.emplace_back(start, nul);
        start = nul == end ? end : nul + 1;
    }
    utTryQuoted(words);
    words.resize(std::max<size_t>(words.size(), 2));
    for (const bool isDos : {false, true})
        utTryTwo(words[0], words[1], isDos);
    return 0;
}
