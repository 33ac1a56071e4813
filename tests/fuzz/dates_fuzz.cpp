// Times in any format stay inside the buffer, and are in it what a stream gets.
// The input is the fields of a time and the format.

#include "ut_FuzzCheck.h"

#include "UT/UT_Date.h"

#include <cstring>
#include <sstream>
#include <string>

void
utTry(const std::string &input)
{
    int fields[8] = {};
    if (input.size() < sizeof(fields) || input.size() > 2000)
        return;
    memcpy(fields, input.data(), sizeof(fields));
    const std::string format = input.c_str() + sizeof(fields);
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
    const int count = UT_Date::dprintf(buffer, format.c_str(), &t);
    utRequire(memchr(buffer, '\0', sizeof(buffer)));
    std::ostringstream stream;
    UT_Date::dprintf(stream, format.c_str(), &t);
    utRequire(stream.str().substr(0, sizeof(buffer) - 1) == buffer);
    utRequire(UT_Date::conversions() == count + count); // goes on
}
