// A fuzz entry: what it does with an input, and what it claims of it.

#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

// The one function of an entry, which any bytes may be given to.
void utTry(const std::string &input);

extern "C" int
LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    utTry(std::string(data, data + size));
    return 0;
}

// Takes the text before the first NUL out of an input, with the NUL.
inline std::string
utTakeText(std::string &input)
{
    const std::string text = input.c_str();
    input.erase(0, text.size() + 1);
    return text;
}

// A variable or an expression: each that has a letter A is known, and its value
// is itself, with everything in front that could be taken for more to replace.
inline const char *
utLookup(const char *name, void *)
{
    static std::string theValue;
    theValue = "$A' \\~`\"%A% ^${//>|<2>" + std::string(name);
    return strchr(name, 'A') ? theValue.c_str() : nullptr;
}

// Says where it is and ends the program, a failure to any fuzzer, unless the
// claim holds.
inline void
utRequire(
    bool holds, const char *file = __builtin_FILE(),
    int line = __builtin_LINE())
{
    if (holds)
        return;
    std::fprintf(stderr, "%s:%d: the claim does not hold\n", file, line);
    std::abort();
}
