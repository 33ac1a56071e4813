// The search that records and the one that does not come to the same answer, a
// range and its negation select nothing twice, and a short expansion is the
// front of a longer one.

#include "UT/UT_String.h"

#include <algorithm>
#include <cstdlib>
#include <string>

extern "C" int
LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // A pattern, a newline and a text.
    const std::string input(data, data + std::min(size, size_t(400)));
    const UT_String pattern(input.substr(0, input.find('\n')).c_str(), 1);
    UT_String text(input.c_str() + pattern.length(), 1);
    char singles[30], *words[30];
    int counts[2];
    for (const int cs : {0, 1})
    {
        const int result = text.multiMatchRecord(
            pattern, 30, singles, counts[0], words, counts[1], cs, " ");
        std::for_each(words, words + counts[1], free);
        if (result != text.multiMatch(pattern, cs))
            abort();
    }
    UT_String(text).patternRename("?*?*", pattern);
    bool seen[9][4] = {};
    const auto emit = [](int major, int minor, void *items)
    {
        bool &isSeen = static_cast<bool(*)[4]>(items)[major][minor + 1];
        return isSeen ? (abort(), 0) : int(isSeen = true);
    };
    const auto count = [](int major, void *) { return unsigned(major % 4); };
    const std::string range(pattern.buffer() + strspn(pattern, "!"));
    for (const char *mark : {"", "!"})
        UT_String((mark + range).c_str())
            .traversePattern(9, seen, emit, count, 1);

    counts[0] = UT_String(text, 1).expandArrays(words, 20);
    counts[1] = text.expandArrays(words + 20, 10);
    for (int i = 0; i < counts[1]; free(words[20 + i++]))
        if (i >= counts[0] || strcmp(words[i], words[20 + i]) != 0)
            abort();
    std::for_each(words, words + counts[0], free);
    return 0;
}
