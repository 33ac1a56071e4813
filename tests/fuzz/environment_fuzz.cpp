// The environment table beside a plain map, under changes by the toolkit, by
// the C library and of the array itself. Each line of the input is a byte that
// chooses the change, and what it is about.

#include "ut_FuzzCheck.h"

#include "SYS/SYS_Types.h"
#include "UT/UT_Env.h"

#include <algorithm>
#include <cstdlib>
#include <list>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

using ut_Variables = std::map<std::string, std::string>;
using ut_Texts = std::vector<std::string>;

// A text without "=" is a name alone.
static ut_Variables::value_type
utVariableOf(const std::string &text)
{
    const size_t equals = std::min(text.find('='), text.size());
    return {
        text.substr(0, equals), text.substr(std::min(equals + 1, text.size()))};
}

static ut_Texts
utTextsOf(char **slots)
{
    ut_Texts texts;
    for (; slots && *slots; ++slots)
        texts.push_back(*slots);
    return texts;
}

// The array becomes one of the texts in the list, with commas between them,
// except names that are there. The array and the texts must stay.
static void
utReplaceArray(
    const std::string &list, std::list<ut_Texts> &texts,
    std::vector<char *> &array)
{
    std::istringstream in(list);
    ut_Variables seen;
    texts.emplace_back();
    for (std::string text; std::getline(in, text, ',');)
        if (seen.insert(utVariableOf(text)).second)
            texts.back().push_back(text);
    array.clear();
    for (std::string &text : texts.back())
        array.push_back(text.data());
    array.push_back(nullptr);
    environ = array.data();
}

static void
utCheck(const ut_Variables &variables, const std::string &name)
{
    const auto found = variables.find(name);
    const char *const value = ValdrinGetenv(name.c_str());
    utRequire((value != nullptr) == (found != variables.end()));
    if (value)
        utRequire(value == found->second);
    ut_Texts texts;
    for (const auto &variable : variables)
        texts.push_back(variable.first + '=' + variable.second);
    std::sort(texts.begin(), texts.end());
    utRequire(utTextsOf(ValdrinGetenvlist()) == texts);
    utRequire(ValdrinGetenvlist() == environ);
}

extern "C" int
LLVMFuzzerTestOneInput(const uint8 *data, size_t size)
{
    if (size > 1000)
        return 0;
    static const int theClearing = clearenv(); // once
    utRequire(theClearing == 0);
    for (const std::string &text : utTextsOf(ValdrinGetenvlist()))
        ValdrinUnsetenv(utVariableOf(text).first.c_str());
    ut_Variables variables;
    std::list<ut_Texts> texts; // the array may hold them until the end
    std::vector<char *> array;
    // A map cannot show what names with bytes from 128 on do.
    std::string input(data, data + size);
    for (char &byte : input)
        byte = char(byte & 127);
    std::istringstream in(input);
    for (std::string line; std::getline(in, line);)
    {
        const unsigned change = uint8(line[0]) % 8;
        const std::string rest = std::string(line, !line.empty()).c_str();
        const bool isAssignment = rest.find('=') != rest.npos;
        const auto [name, value] = utVariableOf(rest);
        const ut_Texts before = utTextsOf(environ);
        switch (change)
        {
        case 0:
            ValdrinSetenv(name.c_str(), value.c_str());
            variables[name] = value;
            break;
        case 1:
            ValdrinPutenv(rest.c_str());
            if (isAssignment)
                variables[name] = value;
            break;
        case 2:
            ValdrinUnsetenv(name.c_str());
            variables.erase(name);
            break;
        case 3: // the value of a variable, perhaps its own
            if (const char *const other = ValdrinGetenv(value.c_str()))
            {
                variables[name] = other;
                ValdrinSetenv(name.c_str(), other);
            }
            break;
        case 4:
            setenv(name.c_str(), value.c_str(), /*overwrite=*/1);
            break;
        case 5:
            unsetenv(name.c_str());
            break;
        default:
            utReplaceArray(rest, texts, array);
        }
        // What other code has left in the array is what there is.
        if (change > 3 && utTextsOf(environ) != before)
        {
            variables.clear();
            for (const std::string &text : utTextsOf(environ))
                if (text.find('=') != text.npos)
                    variables.insert(utVariableOf(text));
        }
        utCheck(variables, name);
    }
    return 0;
}
