// What is true of every text: with backslashes it is itself again.

#include "ut_FuzzCheck.h"

#include "SYS/SYS_Types.h"
#include "UT/UT_VariableScan.h"
#include "UT/UT_WorkBuffer.h"

#include <cstring>
#include <string>

// What the scan does, as bits of the first byte.
enum
{
    UT_SCAN_EXPRESSIONS = 1,
    UT_SCAN_VARIABLES = 2,
    UT_SCAN_TILDES = 4,
    UT_SCAN_COMMENTS_TOO = 8
};

static std::pair<std::string, int>
utScan(const std::string &text, int flags)
{
    UT_WorkBuffer out;
    const int count = UTExprVariableScan(
        out, text.c_str(), utLookup,
        flags & UT_SCAN_EXPRESSIONS ? utLookup : nullptr, nullptr,
        flags & UT_SCAN_VARIABLES, flags & UT_SCAN_TILDES,
        flags & UT_SCAN_COMMENTS_TOO);
    return {out.buffer(), count};
}

static std::string
utEscaped(const std::string &text)
{
    std::string escaped;
    for (const char c : text)
    {
        if (strchr("\\$~'`", c))
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}

void
utTry(const std::string &input)
{
    if (input.empty())
        return;
    const int flags = uint8(input[0]);
    const std::string text = input.c_str();
    utScan(text, flags);

    const auto unescaped =
        utScan(utEscaped(text), flags | UT_SCAN_COMMENTS_TOO);
    utRequire(unescaped.first == text);
    utRequire(unescaped.second == 0);
}
