// An independent order of names with numbers: a name becomes a list of whole
// numbers, and lists compare one number after another.

#pragma once

#include <string>
#include <vector>

// A number of a name becomes a '0', the count of its digits and these, so that
// no value is too large; any other byte itself, and the end of the name 0.
inline std::vector<int>
utNumberedKey(const std::string &name, int dot = '.')
{
    std::vector<int> key;
    for (size_t i = 0; i < name.size();)
    {
        const size_t end = name.find_first_not_of("0123456789", i);
        const std::string digits = name.substr(i, end - i);
        i += digits.empty() ? 1 : digits.size();
        if (digits.empty())
        {
            const signed char byte = static_cast<signed char>(name[i - 1]);
            key.push_back(byte == '.' ? dot : byte);
            continue;
        }
        const size_t zeros = digits.find_first_not_of('0');
        const size_t start = zeros == std::string::npos ? digits.size() : zeros;
        key.push_back('0');
        key.push_back(int(digits.size() - start));
        key.insert(key.end(), digits.begin() + long(start), digits.end());
    }
    key.push_back(0);
    return key;
}
