// Tries every row of the tables in the page on the command lines of shells, and
// prints those with a wrong result. Argument: the page.

#include "page_tables.h"

#include "UT/UT_Env.h"
#include "UT/UT_ShellLine.h"
#include "UT/UT_String.h"
#include "UT/UT_WorkArgs.h"

#include <cctype>
#include <cstring>
#include <string>

// The variables that the page names.
static const char *
lookUpVariable(const char *name, void *)
{
    static const struct
    {
        const char *name;
        const char *value;
    } variables[] = {
        {"A",     "x"           },
        {"TWO",   "a  b"        },
        {"EMPTY", ""            },
        {"ODD",   "\"$A\" %A%>'"},
        {"FILE",  "/p/q.rs"     },
        {"F",     "7"           },
    };
    for (const auto &each : variables)
        if (strcmp(each.name, name) == 0)
            return each.value;
    return nullptr;
}

// Its own text in capitals; nothing for "none".
static const char *
lookUpExpression(const char *expression, void *data)
{
    if (strcmp(expression, "none") == 0)
        return nullptr;
    std::string &capitals = *static_cast<std::string *>(data);
    capitals.clear();
    for (const char *c = expression; *c; ++c)
        capitals += char(toupper(*c));
    return capitals.c_str();
}

static std::string
inBrackets(const char *before, const char *text)
{
    return text ? std::string(before) + "[" + text + "]" : "";
}

// The result in the notation of the page.
static std::string
describe(const UT_WorkArgs &words, const UT_ShellLine &line)
{
    if (line.error != UT_SHELL_ACCEPTED)
        return std::to_string(line.errorOffset) + ": " + line.message();
    std::string text;
    for (int i = 0; i < words.getArgc(); ++i)
        text += inBrackets(" ", words[i]);
    text += inBrackets(" < ", line.input);
    std::string output = line.appendsOutput ? " >>" : " >";
    output += line.forcesOutput ? "! " : " ";
    text += inBrackets(output.c_str(), line.output);
    text += inBrackets(line.appendsErrors ? " 2>> " : " 2> ", line.errors);
    text += line.joinsErrors ? " 2>&1" : "";
    text += inBrackets(" | ", line.pipe);
    return text.substr(text.empty() ? 0 : 1);
}

static std::string
parseCsh(const Row &row)
{
    UT_String text(row[0].c_str());
    UT_WorkArgs words;
    UT_ShellLine line;
    std::string capitals;
    text.parseCsh(words, line, lookUpVariable, lookUpExpression, &capitals);
    return describe(words, line);
}

static std::string
parseDos(const Row &row)
{
    UT_String text(row[0].c_str());
    UT_WorkArgs words;
    UT_ShellLine line;
    std::string capitals;
    text.parseDos(words, line, lookUpVariable, lookUpExpression, &capitals);
    return describe(words, line);
}

int
main(int argc, char **argv)
{
    ValdrinSetenv("HOME", "/home/me");
    return checkTables(
        argc, argv,
        {
            {"csh reads", parseCsh},
            {"DOS reads", parseDos},
    });
}
