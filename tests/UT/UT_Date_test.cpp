#include "UT/UT_Date.h"

#include <gtest/gtest.h>

#include <climits>
#include <iomanip>
#include <sstream>

static std::string
utFormat(const char *format, const tm &t)
{
    char buffer[512];
    const int count = UT_Date::dprintf(buffer, format, &t);
    return std::to_string(count) + ' ' + buffer;
}

static const struct
{
    const char *format;
    const char *countAndText;
} theFormats[] = {
    {"%Y-%m-%d %T: ",                  "7 2006-03-14 17:05:09: "                    }, // T holds three
    {"%c",                             "9 Tue Mar 14 17:05:09 2006"                 },
    {"%C %j %I %p",                    "4 20 73 05 PM"                              }, // j has two digits
    {"%q%U%%\xe9%",                    "1 %q%U%\xe9%"                               },
    {"%D%r%R%x%X",                     "20 03/14/0605:05:09 PM17:0503/14/0617:05:09"},
    {"%a%A%b%B%d%e%h%H%M%n%S%t%u%w%y",
     "15 TueTuesdayMarMarch1414Mar1705\n09\t2206"                                   },
};

TEST(UT_Date, FormatsCountTheirConversions)
{
    tm t = {};
    strptime("2006-03-14 17:05:09", "%Y-%m-%d %T", &t);
    for (const auto &row : theFormats)
        EXPECT_EQ(row.countAndText, utFormat(row.format, t)) << row.format;
}

TEST(UT_Date, StreamsWriteNumbersInTheirOwnWay)
{
    tm t = {};
    strptime("2006-03-14 17:05:09", "%Y-%m-%d %T", &t);
    std::ostringstream out;
    UT_Date::dprintf(out << std::hex << std::setw(5), "%Y %d %u", &t);
    EXPECT_EQ("  7d6 14 2", out.str());
}

TEST(UT_Date, FieldsOutOfRangeStayText)
{
    tm t = {};
    t.tm_year = -5;
    t.tm_mon = INT_MAX - 1;
    t.tm_mday = 123;
    EXPECT_EQ(
        "8 -5 1895 18 ? 2147483647 123 12 7",
        utFormat("%y %Y %C %b %m %e %I %u", t));
    t.tm_mday = -1;
    EXPECT_EQ("1 -1", utFormat("%e", t));
    // One byte of room for an abbreviation and for a day.
    const std::string nearly(510, 'x');
    for (const char *const end : {"%a", "%e"})
        EXPECT_EQ(
            "1 " + nearly + utFormat(end, t)[2],
            utFormat((nearly + end).c_str(), t));
}

TEST(UT_Date, AgreesWithStrftimeInAnyZone)
{
    const char format[] = "%a%A%b%B%c%C%d%D%e%h%H%I%m%M%p%r%R%S%T%u%w%x%X%y%Y"
                          "%Z%n%t%%";
    // Null for the system's.
    for (const char *zone :
         {"UTC", "Europe/Berlin", static_cast<const char *>(nullptr), "EST5EDT",
          "IST-5:30", ""})
        for (time_t time = 86399; time < INT_MAX - 9999999; time += 9999999)
        {
            // Seen without a tzset().
            zone ? setenv("TZ", zone, 1) : unsetenv("TZ");
            char ours[512];
            UT_Date::dprintf(ours, format, long(time));
            std::ostringstream theirs; // calls strftime()
            theirs << std::put_time(localtime(&time), format);
            ASSERT_EQ(theirs.str(), ours)
                << (zone ? zone : "system") << ' ' << time;
        }
}
