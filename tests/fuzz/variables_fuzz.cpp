// What is true of every text: with backslashes it is itself again, and between
// braces it is the name of a variable.

#include "UT/UT_VariableScan.h"
#include "UT/UT_WorkBuffer.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

// Every name that has a letter A is known, and its value is itself, with
// everything in front that could be taken for more to replace.
static const char *
utLookup(const char *name, void *)
{
    static std::string theValue;
    theValue = "$A'\\~`${//" + std::string(name);
    return strchr(name, 'A') ? theValue.c_str() : nullptr;
}

static std::pair<std::string, int>
utScan(const std::string &text, int flags)
{
    UT_WorkBuffer out;
    const int count = UTExprVariableScan(
        out, text.c_str(), utLookup, flags & 1 ? utLookup : nullptr, nullptr,
        flags & 2, flags & 4, flags & 8);
    return {out.buffer(), count};
}

extern "C" int
LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const int flags = size ? data[0] : 0;
    const std::string text = std::string(data, data + size).c_str();
    utScan(text, flags);

    std::string escaped;
    int depth = 0; // stays below 0 when a brace closes nothing
    for (const char c : text)
    {
        escaped.append(strchr("\\$~'`", c) ? 1 : 0, '\\') += c;
        depth += depth < 0 ? 0 : (c == '{') - (c == '}');
    }
    if (utScan(escaped, flags | 8) != std::make_pair(text, 0))
        abort();
    // In braces all is replaced but expressions, and comments are just text.
    const auto [name, count] = utScan(text, 2 | 4 | 8);
    const char *const value = utLookup(name.c_str(), nullptr);
    const std::pair expected(std::string(value ? value : ""), count + !!value);
    if (depth == 0 && utScan("${" + text + "}", flags | 2) != expected)
        abort();
    return 0;
}
