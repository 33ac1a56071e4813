#include "UT/UT_Date.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <iomanip>
#include <random>
#include <sstream>
#include <string>

#include <time.h>

// 14 March 2006, a Tuesday, 17:05:09.
static tm
utPiDay()
{
    tm t = {};
    t.tm_year = 106;
    t.tm_mon = 2;
    t.tm_mday = 14;
    t.tm_hour = 17;
    t.tm_min = 5;
    t.tm_sec = 9;
    t.tm_wday = 2;
    t.tm_yday = 72;
    return t;
}

static std::string
utFormat(const char *format, const tm &t, int *count = nullptr)
{
    char buffer[512];
    const int conversions = UT_Date::dprintf(buffer, format, &t);
    if (count)
        *count = conversions;
    return buffer;
}

static const struct
{
    const char *format;
    const char *text;
    int conversions;
} theFormats[] = {
    {"%Y-%m-%d %T: ", "2006-03-14 17:05:09: ",        7 }, // T holds three
    {"%c",            "Tue Mar 14 17:05:09 2006",     9 },
    {"%C %j %I %p",   "20 73 05 PM",                  4 }, // j has two digits
    {"%r|%D%x",       "05:05:09 PM|03/14/0603/14/06", 13},
    {"%u%w%n%t%%",    "22\n\t%",                      5 },
    {"%q%U%%%",       "%q%U%%",                       1 },
    {"100%",          "100%",                         0 },
    {"%\xe9%\x80",    "%\xe9%\x80",                   0 },
    {"",              "",                             0 },
};

TEST(UT_Date, FormatsTellTheirConversions)
{
    for (const auto &row : theFormats)
    {
        int count = -1;
        EXPECT_EQ(row.text, utFormat(row.format, utPiDay(), &count));
        EXPECT_EQ(row.conversions, count) << row.format;
        EXPECT_EQ(count, UT_Date::conversions());
    }
    // Streams add to the count and have the last word on plain numbers.
    std::ostringstream out;
    const tm t = utPiDay();
    UT_Date::dprintf(out, "%S %Y", &t) << std::hex << std::showbase;
    UT_Date::dprintf(out << std::setw(9), " %Y %d %u|", &t);
    EXPECT_EQ("09 2006     0x7d6 14 0x2|", out.str());
    EXPECT_EQ(5, UT_Date::conversions());
}

TEST(UT_Date, OddFieldsStayText)
{
    tm t = utPiDay();
    t.tm_year = -5;
    t.tm_mon = 12;
    t.tm_mday = 7;
    t.tm_hour = 0;
    t.tm_wday = 0;
    EXPECT_EQ(
        "-5 1895 18 ? ? 13  7 12 AM 7 0 Sun",
        utFormat("%y %Y %C %b %B %m %e %I %p %u %w %a", t));
    t.tm_year = INT_MAX;
    t.tm_wday = INT_MIN;
    t.tm_sec = 100;
    EXPECT_EQ("2147485547 ? 100", utFormat("%Y %A %S", t));
    // Only a buffer ends after 511 bytes; the count goes on.
    std::string format;
    for (int i = 0; i < 256; ++i)
        format += "%S";
    int count;
    const std::string cut = utFormat(format.c_str(), t, &count);
    EXPECT_EQ(511u, cut.size());
    EXPECT_EQ(256, count);
    std::ostringstream out;
    UT_Date::dprintf(out, format.c_str(), &t);
    EXPECT_EQ(768u, out.str().size());
    EXPECT_EQ(cut, out.str().substr(0, 511));
    // No such time, no text.
    UT_Date::dprintf(out, "never", static_cast<const tm *>(nullptr));
    if (sizeof(long) > 4)
        UT_Date::dprintf(out, "never", LONG_MAX);
    EXPECT_EQ(768u, out.str().size());
}

TEST(UT_Date, AgreesWithStrftimeInAnyZone)
{
    const char format[] = "%a %A %b %B %c %C %d %D %e %h %H %I %m %M%n%p %r %R "
                          "%S %t %T %u %w %x %X %y %Y %Z %%";
    std::mt19937 random(8);
    const std::string tooLong = "XYZ-1" + std::string(100, ' ');
    for (const char *zone :
         {"UTC", "Europe/Berlin", "EST5EDT", "IST-5:30", tooLong.c_str(), ""})
        for (int i = 0; i < 500; ++i)
        {
            // The change is seen without a word to the C library.
            setenv("TZ", zone, 1);
            const long seconds = long(random() & 0x7fffffff);
            char ours[512];
            UT_Date::dprintf(ours, format, seconds);
            const time_t time = seconds;
            std::ostringstream theirs; // calls strftime()
            theirs << std::put_time(localtime(&time), format);
            ASSERT_EQ(theirs.str(), ours) << zone << ' ' << seconds;
        }
}
