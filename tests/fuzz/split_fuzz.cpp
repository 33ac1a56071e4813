#include "ut_SplitModel.h"

#include <cstdlib>

extern "C" int
LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // The separators, a NUL and the text.
    std::string text(data, data + std::min(size, size_t(4096)));
    const std::string separators = text.c_str();
    text.erase(0, separators.size() + 1);
    text.erase(std::min(text.find('\0'), text.size()));
    if (!separators.empty() && !utSplitsAsModelled(text, separators.c_str()))
        abort();
    return 0;
}
