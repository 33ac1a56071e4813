// Edits of any text do what plain ones do, also with parts of it as arguments;
// lists of modifiers do what their modifiers do; quotes come off again. The
// input is an argument, a NUL and a text.

#include "UT/UT_String.h"
#include "UT/UT_WorkBuffer.h"

#include <cstdlib>
#include <filesystem>
#include <string>

extern "C" int
LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using std::filesystem::path;
    const std::string input(data, data + size);
    const std::string other = input.substr(0, 600).c_str();
    const std::string lent =
        input.substr(std::min(size, other.size() + 1), 600).c_str();
    std::string text = lent;
    UT_String string(lent.c_str(), /*deep=*/size % 3 > 0);
    const size_t offset = size % (text.size() + 1);
    const char *const tail = string.buffer() + offset;
    const char *const old = size % 2 ? tail : other.c_str();
    const std::string arg = old, by = tail, before = lent;

    UT_String modified(lent.c_str(), /*deep=*/1);
    UT_String modifiedByOne(lent.c_str());
    // A long list can make the text longer many times over.
    const std::string list = arg.size() > 40 ? "" : arg;
    modified.applyModifiers(
        list == tail ? modified.buffer() + offset : list.c_str());
    for (size_t at = 0, next; list[0] == ':' && at < list.size(); at = next)
    {
        next = std::min(list.find(':', at + 1), list.size());
        modifiedByOne.applyModifiers(list.substr(at, next - at).c_str());
    }
    bool holds = modified == modifiedByOne;

    UT_String quoted = string.makeQuotedString(arg[0]);
    quoted.harden(quoted.buffer() + 1, std::max(0, quoted.length() - 2));
    quoted.expandControlSequences();
    holds &= quoted == string || std::string("nrt", 4).find(arg[0]) < 4;
    UT_WorkBuffer line;
    line.protectedStrcat(string);
    quoted = lent.c_str();
    quoted.protectString();
    holds &= quoted == line.buffer() || quoted.buffer() == lent.c_str();

    int count = 0;
    for (size_t at = 0; !arg.empty() && (at = text.find(arg, at)) + 1;
         at += by.size(), ++count)
        text.replace(at, arg.size(), by);
    holds &= string.find(old) == (count ? int(lent.find(arg)) : -1);
    holds &= string.findLast(old) == (count ? int(lent.rfind(arg)) : -1);
    holds &= string.count(old) == count;
    holds &= string.substitute(old, tail) == count && string == text.c_str();

    text = "/" + lent;
    string.harden(text.c_str());
    const bool climbs = *path("." + text).lexically_normal().begin() == "..";
    holds &= string.collapseAbsolutePath() != climbs;
    const path collapsed =
        path("/." + text + "/").lexically_normal().parent_path();
    holds &= climbs || string == collapsed.c_str();
    if (!holds || before != lent)
        std::abort();
    return 0;
}
