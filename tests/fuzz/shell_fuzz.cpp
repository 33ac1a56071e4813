// What is true of every command line: two with a blank between them are one
// with the words of both, and one that is refused stays as it is.

#include "ut_FuzzCheck.h"

#include "UT/UT_ShellLine.h"
#include "UT/UT_String.h"
#include "UT/UT_WorkArgs.h"

#include <string>
#include <vector>

namespace
{

// One line after it was parsed.
struct ut_Parsed
{
    ut_Parsed(const std::string &line, bool isDos)
    {
        const std::string lent = line;
        UT_String text(line.c_str());
        UT_WorkArgs args;
        result.input = "old"; // as an earlier line may have left it
        const auto parse = isDos ? &UT_String::parseDos : &UT_String::parseCsh;
        const int count =
            (text.*parse)(args, result, utLookup, utLookup, nullptr);
        words.assign(args.getArgv(), args.getArgv() + args.getArgc());
        isAccepted = count >= 0;
        utRequire(line == lent);
        utRequire(isAccepted == (result.error == UT_SHELL_ACCEPTED));
        if (isAccepted)
            return;
        utRequire(result.errorOffset >= 0);
        utRequire(result.errorOffset < int(line.size()));
        utRequire(line == text.buffer());
        utRequire(words.empty());
        utRequire(!result.input);
    }

    UT_ShellLine result;
    std::vector<std::string> words;
    bool isAccepted;
};

} // namespace

void
utTry(const std::string &input)
{
    std::string rest(input);
    const std::string first = utTakeText(rest);
    const std::string second = utTakeText(rest);
    for (const bool isDos : {false, true})
    {
        const ut_Parsed a(first, isDos);
        const ut_Parsed b(second, isDos);
        // Redirections of both may be one too many.
        const ut_Parsed both(first + " " + second, isDos);
        const char escape = isDos ? '^' : '\\';
        const bool isOpen = !first.empty() && first.back() == escape;
        if (!a.isAccepted || !b.isAccepted || !both.isAccepted || isOpen ||
            a.result.pipe)
            continue;
        std::vector<std::string> words(a.words);
        words.insert(words.end(), b.words.begin(), b.words.end());
        utRequire(both.words == words);
    }
}
