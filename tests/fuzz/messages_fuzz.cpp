// Message files of any bytes have the texts that a second, plain reader finds,
// and no text reads memory as a format.

#include "ut_FuzzCheck.h"
#include "ut_TempDir.h"

#include "UT/UT_Error.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <sstream>

static std::string
utUnescaped(const std::string &text)
{
    std::string out;
    for (size_t i = 0; i < text.size(); ++i)
    {
        const std::string next = text.substr(i, 2);
        if (next == "\\n")
            out += '\n';
        else if (next == "\\t")
            out += '\t';
        else if (next == "\\\\")
            out += '\\';
        else
        {
            out += text[i];
            continue;
        }
        ++i; // the letter, too
    }
    return out;
}

static std::map<long, std::string>
utRead(const std::string &bytes)
{
    std::map<long, std::string> texts;
    std::istringstream in(bytes);
    for (std::string line; std::getline(in >> std::ws, line);)
    {
        line = line.c_str();
        if (!isdigit(line[0]))
            continue;
        char *end;
        const long code = strtol(line.c_str(), &end, 10);
        if (code > 1000000)
            break;
        line.erase(0, size_t(end - line.c_str()) + 1);
        line.erase(line.find_last_not_of("\n\v\f\r") + 1);
        texts[code] += utUnescaped(line);
    }
    return texts;
}

extern "C" int
LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const ut_TempDir theDir;
    static int theFiles = 0;
    const std::string bytes(data, data + std::min<size_t>(size, 4096));
    const auto texts = utRead(bytes);
    // What was read stays in memory.
    if (!texts.empty() && texts.rbegin()->first > 500 && theFiles > 9)
        return 0;
    const std::string file = theDir.write(std::to_string(theFiles++), bytes);
    for (const auto &[code, text] : texts)
    {
        UT_String plain;
        UT_String message;
        UT_Error::getFileString(
            plain, file.c_str(), int(code), UT_ERROR_ERROR, UT_ERROR_NONE, 0);
        UT_Error(file.c_str(), int(code), "%n", UT_ERROR_ERROR)
            .getErrorMessage(message, UT_ERROR_NONE, 0);
        utRequire(plain == text.c_str());
        utRequire(message.length() <= plain.length() + 1000);
        if (text.find('%') == text.npos)
            utRequire(message == plain);
    }
    return std::remove(file.c_str());
}
