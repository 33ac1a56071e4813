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

static void
utCheck(const ut_Variables &variables, const std::string &name)
{
    utRequire(variables.count(name) || !ValdrinGetenv(name.c_str()));
    std::vector<std::string> expected;
    for (const auto &[each, value] : variables)
    {
        expected.push_back(each + '=' + value);
        const char *const found = ValdrinGetenv(each.c_str());
        utRequire(found);
        utRequire(found == value);
    }
    std::sort(expected.begin(), expected.end());
    char **const texts = ValdrinGetenvlist();
    utRequire(std::equal(expected.begin(), expected.end(), texts));
    utRequire(!texts[expected.size()]);
    utRequire(texts == environ);
}

void
utTry(const std::string &input)
{
    if (input.size() > 1000)
        return;
    // A map cannot show what names with bytes from 128 on do.
    std::string lines(input);
    for (char &byte : lines)
        byte = char(byte & 127);
    clearenv();
    ut_Variables variables;
    std::list<std::string> texts; // the array may hold them until the end
    char *array[] = {nullptr, nullptr};
    std::istringstream in(lines);
    for (std::string line; std::getline(in, line);)
    {
        const std::string rest = std::string(line, !line.empty()).c_str();
        const size_t equals = std::min(rest.find('='), rest.size());
        const bool isAssignment = equals < rest.size();
        const std::string name = rest.substr(0, equals);
        const std::string value = rest.substr(equals + isAssignment);
        const char *const other = ValdrinGetenv(value.c_str());
        switch (uint8(line[0]) % 8)
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
            if (other)
                variables[name] = std::string(other);
            ValdrinSetenv(other ? name.c_str() : nullptr, other);
            break;
        case 4:
            if (setenv(name.c_str(), value.c_str(), /*overwrite=*/1) == 0)
                variables[name] = value;
            break;
        case 5:
            if (unsetenv(name.c_str()) == 0)
                variables.erase(name);
            break;
        default:
            array[0] = texts.emplace_back(rest).data();
            environ = array;
            variables.clear();
            if (isAssignment)
                variables[name] = value;
        }
        utCheck(variables, name);
    }
}
