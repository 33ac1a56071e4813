// Tries every row of the tables in the page on paths, and prints those with a
// wrong result. Argument: the page.

#include "page_tables.h"

#include "UT/UT_Env.h"
#include "UT/UT_Path.h"
#include "UT/UT_String.h"
#include "UT/UT_VariableScan.h"
#include "UT/UT_WorkBuffer.h"

#include <memory>
#include <string>

#include <unistd.h>

// Its own text, unless that begins with "=".
static const char *
lookUpExpression(const char *expression, void *)
{
    return *expression == '=' ? nullptr : expression;
}

static std::string
replaceVariables(const Row &row)
{
    ValdrinSetenv("F", row[0].c_str());
    UT_WorkBuffer out;
    const int count = UTExprVariableScan(
        out, row[1].c_str(), nullptr, lookUpExpression, nullptr,
        /*expandVars=*/true, /*expandTilde=*/true,
        /*ignoreComments=*/false);
    return std::to_string(count) + ' ' + out.buffer();
}

static std::string
modify(const Row &row)
{
    UT_String text((row[0] + row[1]).c_str(), /*deep=*/1);
    UT_String modifiers;
    text.extractModifiers(modifiers);
    const int length = UT_String::findModifiers(modifiers);
    const bool result = text.applyModifiers(modifiers);
    return std::to_string(length) + ' ' + std::to_string(result) + ' ' +
           inBrackets(text);
}

static std::string
makeAbsolute(const Row &row)
{
    UT_String path(row[0].c_str());
    UTmakeAbsoluteFilePath(path, row[1].c_str());
    return path.buffer();
}

static std::string
findKind(const Row &row)
{
    const char *const path = row[0].c_str();
    return std::to_string(UTisAbsolutePath(path)) + ' ' +
           std::to_string(UTisRootPath(path)) + ' ' +
           std::to_string(UTfullPathSpecified(path));
}

static std::string
split(const Row &row)
{
    const UT_String path(row[0].c_str());
    const std::unique_ptr<UT_String> base(path.base());
    UT_String directory("old");
    UT_String file(path);
    file.splitPath(directory, file); // from itself
    return inBrackets(*base) + ' ' + inBrackets(path.pathUpToExtension()) +
           ' ' + inBrackets(directory) + ' ' + inBrackets(file);
}

static std::string
makeRelative(const Row &row)
{
    UT_String path(row[0].c_str());
    if (path.makeRelativePath("/a/x/../bc/"))
        return path.buffer();
    // It is not even copied.
    return path.buffer() == row[0].c_str() ? "stays" : "changes";
}

int
main(int argc, char **argv)
{
    for (const char *variable :
         {"A=x", "B=A", "E=", "N=F3", "P=/p/q.r", "HOME=/h"})
        ValdrinPutenv(variable);
    UTaddAbsolutePathPrefix("net:");
    if (chdir("/usr"))
        return 1;
    return checkTables(
        argc, argv,
        {
            {"replaced, becomes",    replaceVariables},
            {"length, result, text", modify          },
            {"absolute",             makeAbsolute    },
            {"absolute, root, full", findKind        },
            {"parts",                split           },
            {"from `/a/bc`",         makeRelative    },
    });
}
