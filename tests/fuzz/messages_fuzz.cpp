// No text of a message file reads memory as a format.

#include "ut_FuzzCheck.h"
#include "ut_TempDir.h"

#include "UT/UT_Error.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>

void
utTry(const std::string &input)
{
    static const ut_TempDir theDir;
    static int theFiles = 0;
    const std::string bytes = input.substr(0, 4096);
    const auto isDigit = [](char byte, int) { return isdigit(uint8_t(byte)); };
    const bool hasLargeCodes =
        std::search_n(bytes.begin(), bytes.end(), 4, 0, isDigit) != bytes.end();
    // What was read stays in memory.
    if (hasLargeCodes && theFiles > 9)
        return;
    const std::string file = theDir.write(std::to_string(theFiles++), bytes);
    for (int code = 0; code < 100; ++code)
    {
        UT_String plain;
        UT_String message;
        if (!UT_Error::getFileString(
                plain, file.c_str(), code, UT_ERROR_ERROR, UT_ERROR_NONE, 0))
            continue;
        UT_Error(file.c_str(), code, "%n", UT_ERROR_ERROR)
            .getErrorMessage(message, UT_ERROR_NONE, 0);
        utRequire(message.length() <= plain.length() + 1000);
        if (!strchr(plain, '%'))
            utRequire(message == plain);
    }
    std::remove(file.c_str());
}
