// Times in any format are what the C library writes for each conversion, and
// stay inside the buffer. The input is the fields of a time and the format.

#include "ut_FuzzCheck.h"

#include "UT/UT_Date.h"

#include <cstdint>
#include <cstring>
#include <iomanip>
#include <sstream>
#include <string>

// What strftime() writes alike, and how many conversions each is.
static const struct
{
    char letter;
    int count;
    const char *format;
} theConversions[] = {
    {'a', 1, "%a"                  },
    {'A', 1, "%A"                  },
    {'b', 1, "%b"                  },
    {'B', 1, "%B"                  },
    {'c', 9, "%a %b %e %H:%M:%S %Y"},
    {'C', 1, "%C"                  },
    {'d', 1, "%d"                  },
    {'D', 4, "%m/%d/%y"            },
    {'e', 1, "%e"                  },
    {'h', 1, "%b"                  },
    {'H', 1, "%H"                  },
    {'I', 1, "%I"                  },
    {'m', 1, "%m"                  },
    {'M', 1, "%M"                  },
    {'n', 1, "\n"                  },
    {'p', 1, "%p"                  },
    {'r', 5, "%I:%M:%S %p"         },
    {'R', 3, "%H:%M"               },
    {'S', 1, "%S"                  },
    {'t', 1, "\t"                  },
    {'T', 4, "%H:%M:%S"            },
    {'u', 1, "%u"                  },
    {'w', 1, "%w"                  },
    {'x', 4, "%m/%d/%y"            },
    {'X', 4, "%H:%M:%S"            },
    {'y', 1, "%y"                  },
    {'Y', 1, "%Y"                  },
    {'%', 1, "%%"                  },
};

// Appends what stands for `letter` after a percent sign, and returns how many
// conversions that are.
static int
utConvert(std::string &out, char letter, const tm &t)
{
    for (const auto &row : theConversions)
    {
        if (row.letter != letter)
            continue;
        std::ostringstream text;
        text << std::put_time(&t, row.format); // calls strftime()
        out += text.str();
        return row.count;
    }
    out += '%';
    if (letter)
        out += letter;
    return 0;
}

extern "C" int
LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    int fields[8] = {};
    if (size < sizeof(fields) || size > 2000)
        return 0;
    memcpy(fields, data, sizeof(fields));
    const std::string format =
        std::string(data + sizeof(fields), data + size).c_str();
    tm t = {};
    t.tm_sec = fields[0];
    t.tm_min = fields[1];
    t.tm_hour = fields[2];
    t.tm_mday = fields[3];
    t.tm_mon = fields[4];
    t.tm_year = fields[5];
    t.tm_wday = fields[6];
    t.tm_yday = fields[7];
    char buffer[512];
    UT_Date::dprintf(buffer, format.c_str(), &t);
    utRequire(memchr(buffer, '\0', sizeof(buffer)));

    // With fields in their ranges, and without the conversions of its own.
    t.tm_sec = int(unsigned(t.tm_sec) % 61);
    t.tm_min = int(unsigned(t.tm_min) % 60);
    t.tm_hour = int(unsigned(t.tm_hour) % 24);
    t.tm_mday = int(1 + unsigned(t.tm_mday) % 31);
    t.tm_mon = int(unsigned(t.tm_mon) % 12);
    t.tm_year = int(unsigned(t.tm_year) % 8100);
    t.tm_wday = int(unsigned(t.tm_wday) % 7);
    std::string expected;
    int count = 0;
    for (size_t i = 0; i < format.size(); ++i)
    {
        if (format[i] != '%')
        {
            expected += format[i];
            continue;
        }
        ++i;
        const char letter = i < format.size() ? format[i] : '\0';
        if (letter == 'j' || letter == 'Z')
            return 0;
        count += utConvert(expected, letter, t);
    }
    std::ostringstream stream;
    UT_Date::dprintf(stream, format.c_str(), &t);
    utRequire(stream.str() == expected);
    utRequire(UT_Date::dprintf(buffer, format.c_str(), &t) == count);
    utRequire(expected.substr(0, sizeof(buffer) - 1) == buffer);
    return 0;
}
