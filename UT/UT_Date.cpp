#include "UT_Date.h"

#include "UT_DateImpl.h"

#include "SYS/SYS_Types.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iterator>
#include <ostream>

static const char *const theDays[] = {
    "Sunday",   "Monday", "Tuesday",  "Wednesday",
    "Thursday", "Friday", "Saturday",
};

static const char *const theMonths[] = {
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December",
};

static const size_t theAbbreviation = 3; // letters

namespace
{

// The destination of the text: a block, which is written to the stream if there
// is one. Without a stream the text ends with the block.
class ut_DateText
{
public:
    ut_DateText(char *block, size_t size, std::ostream *os)
        : myBlock(block), myEnd(block), myLimit(block + size), myStream(os)
    {
    }

    [[nodiscard]] char *end() const { return myEnd; }
    [[nodiscard]] int count() const { return myCount; }

    void put(char byte)
    {
        if (myEnd == myLimit)
            flush();
        if (myEnd != myLimit)
            *myEnd++ = byte;
    }
    void put(const char *text, size_t length)
    {
        for (; length > 0 && *text; --length)
            put(*text++);
    }
    // As "%.3s" does, of what has three letters.
    void putAbbreviation(const char *name)
    {
        if (myLimit - myEnd >= ptrdiff_t(theAbbreviation))
        {
            memcpy(myEnd, name, theAbbreviation);
            myEnd += theAbbreviation;
        }
        else
            put(name, theAbbreviation);
    }
    void putTwoDigits(int64 value)
    {
        if (uint64(value) < 100 && myLimit - myEnd >= 2)
        {
            myEnd[0] = char('0' + value / 10);
            myEnd[1] = char('0' + value % 10);
            myEnd += 2;
        }
        else
            putFormatted("%02lld", static_cast<long long>(value));
    }
    // A day of the month, with a blank for its zero.
    void putDay(int value)
    {
        if (unsigned(value) < 100 && myLimit - myEnd >= 2)
        {
            myEnd[0] = value < 10 ? ' ' : char('0' + value / 10);
            myEnd[1] = char('0' + value % 10);
            myEnd += 2;
        }
        else
            putFormatted("%2d", value);
    }
    // The most frequent time of day.
    void putClock(const tm &t)
    {
        putTwoDigits(t.tm_hour);
        put(':');
        putTwoDigits(t.tm_min);
        put(':');
        putTwoDigits(t.tm_sec);
        myCount += 3;
    }
    UT_PRINTF(2, 3) void putFormatted(const char *format, ...);
    void putNumber(int64 value);
    void flush();

    void putTime(const char *format, const tm &t);

private:
    char *const myBlock;
    char *myEnd;
    char *const myLimit;
    std::ostream *const myStream; // null for a plain block
    int myCount = 0;              // conversions
};

} // namespace

void
ut_DateText::putFormatted(const char *format, ...)
{
    char number[32];
    va_list args;
    va_start(args, format);
    vsnprintf(number, sizeof(number), format, args);
    va_end(args);
    put(number, sizeof(number));
}

void
ut_DateText::putNumber(int64 value)
{
    if (!myStream)
    {
        if (value >= 1000 && value < 10000) // most years
        {
            putTwoDigits(int(value) / 100);
            putTwoDigits(int(value) % 100);
        }
        else
            putFormatted("%lld", static_cast<long long>(value));
        return;
    }
    flush();
    // As an int, whose other bases have eight digits.
    if (value == int(value))
        *myStream << int(value);
    else
        *myStream << value;
}

void
ut_DateText::flush()
{
    if (!myStream)
        return;
    myStream->write(myBlock, myEnd - myBlock);
    myEnd = myBlock;
}

template <size_t size>
static void
utPutName(ut_DateText &out, const char *const (&names)[size], int index)
{
    const char *const name = unsigned(index) < size ? names[index] : "?";
    out.put(name, strlen(name));
}

template <size_t size>
static void
utPutAbbreviation(ut_DateText &out, const char *const (&names)[size], int index)
{
    if (unsigned(index) < size)
        out.putAbbreviation(names[index]);
    else
        out.put('?');
}

// ---- The conversions

using ut_Conversion = void (*)(ut_DateText &out, const tm &t);

static void
utTimeZone(ut_DateText &out, const tm &t)
{
    const char *name = tzname[daylight && t.tm_isdst > 0];
    if (name)
        out.put(name, strlen(name));
}

// Null for a byte that is not a letter or has no conversion.
static ut_Conversion
utFindConversion(char letter)
{
    struct ut_Table
    {
        ut_Conversion of[128] = {};

        constexpr ut_Conversion &at(char letter) { return of[uint8(letter)]; }

        constexpr ut_Table()
        {
            at('a') = [](ut_DateText &out, const tm &t)
            { utPutAbbreviation(out, theDays, t.tm_wday); };
            at('A') = [](ut_DateText &out, const tm &t)
            { utPutName(out, theDays, t.tm_wday); };
            at('b') = at('h') = [](ut_DateText &out, const tm &t)
            { utPutAbbreviation(out, theMonths, t.tm_mon); };
            at('B') = [](ut_DateText &out, const tm &t)
            { utPutName(out, theMonths, t.tm_mon); };
            at('c') = [](ut_DateText &out, const tm &t)
            { out.putTime("%a %b %e %T %Y", t); };
            at('C') = [](ut_DateText &out, const tm &t)
            { out.putTwoDigits(int((int64(t.tm_year) + 1900) / 100 % 100)); };
            at('d') = [](ut_DateText &out, const tm &t)
            { out.putTwoDigits(t.tm_mday); };
            at('D') = at('x') = [](ut_DateText &out, const tm &t)
            { out.putTime("%m/%d/%y", t); };
            at('e') = [](ut_DateText &out, const tm &t)
            { out.putDay(t.tm_mday); };
            at('H') = [](ut_DateText &out, const tm &t)
            { out.putTwoDigits(t.tm_hour); };
            at('I') = [](ut_DateText &out, const tm &t)
            { out.putTwoDigits(t.tm_hour % 12 == 0 ? 12 : t.tm_hour % 12); };
            // Deliberate: two digits where strftime() has three.
            at('j') = [](ut_DateText &out, const tm &t)
            { out.putTwoDigits(int64(t.tm_yday) + 1); };
            at('m') = [](ut_DateText &out, const tm &t)
            { out.putTwoDigits(int64(t.tm_mon) + 1); };
            at('M') = [](ut_DateText &out, const tm &t)
            { out.putTwoDigits(t.tm_min); };
            at('n') = [](ut_DateText &out, const tm &) { out.put('\n'); };
            at('p') = [](ut_DateText &out, const tm &t)
            { out.put(t.tm_hour < 12 ? "AM" : "PM", 2); };
            at('r') = [](ut_DateText &out, const tm &t)
            { out.putTime("%I:%M:%S %p", t); };
            at('R') = [](ut_DateText &out, const tm &t)
            { out.putTime("%H:%M", t); };
            at('S') = [](ut_DateText &out, const tm &t)
            { out.putTwoDigits(t.tm_sec); };
            at('t') = [](ut_DateText &out, const tm &) { out.put('\t'); };
            at('T') = at('X') = [](ut_DateText &out, const tm &t)
            { out.putClock(t); };
            at('u') = [](ut_DateText &out, const tm &t)
            { out.putNumber(t.tm_wday == 0 ? 7 : t.tm_wday); };
            at('w') = [](ut_DateText &out, const tm &t)
            { out.putNumber(t.tm_wday); };
            // Deliberate: the sign of years before 1900 stays.
            at('y') = [](ut_DateText &out, const tm &t)
            { out.putTwoDigits(t.tm_year % 100); };
            at('Y') = [](ut_DateText &out, const tm &t)
            { out.putNumber(int64(t.tm_year) + 1900); };
            at('Z') = utTimeZone;
            at('%') = [](ut_DateText &out, const tm &) { out.put('%'); };
        }
    };
    static constexpr ut_Table theConversions;
    const uint8 index = uint8(letter);
    return index < std::size(theConversions.of) ? theConversions.of[index]
                                                : nullptr;
}

void
ut_DateText::putTime(const char *format, const tm &t)
{
    while (*format)
    {
        const char byte = *format++;
        const ut_Conversion conversion =
            byte == '%' ? utFindConversion(*format) : nullptr;
        if (conversion)
        {
            ++format;
            conversion(*this, t);
            ++myCount;
        }
        else
            put(byte);
    }
}

// ---- The class

std::atomic<int> UT_Date::theCount(0);

std::ostream &
UT_Date::dprintf(std::ostream &os, const char *format, const tm *t)
{
    if (!format || !t)
        return os;
    char block[256];
    ut_DateText text(block, sizeof(block), &os);
    text.putTime(format, *t);
    text.flush();
    theCount.fetch_add(text.count(), std::memory_order_relaxed);
    return os;
}

int
UT_Date::dprintf(char *buffer, const char *format, const tm *t)
{
    const size_t size = 512;
    ut_DateText text(buffer, size - 1, nullptr);
    if (format && t)
        text.putTime(format, *t);
    *text.end() = '\0';
    theCount.store(text.count(), std::memory_order_relaxed);
    return text.count();
}

// ---- Clock and zone

static_assert(
    sizeof(time_t) == sizeof(int64), "the C library has times of 32 bits only");

int64
utCurrentTime()
{
    return time(nullptr);
}

// Has localtime_r() know the zone in force: alone it looks only once. The
// variable is compared each time. Where there is none, the zone's file is asked
// whether it has changed, which takes ten times as long as all the rest: once a
// second.
static void
utUpdateZone()
{
    static const int64 theVariable = -1; // in place of the second of a look
    static std::atomic<int64> theLook(theVariable);
    const auto relaxed = std::memory_order_relaxed;
    int64 look = theVariable;
    if (!getenv("TZ"))
    {
        timespec now;
        clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
        look = now.tv_sec;
        if (theLook.load(relaxed) == look)
            return;
    }
    theLook.store(look, relaxed);
    tzset();
}

const tm *
utLocalTime(int64 seconds, tm &result)
{
    utUpdateZone();
    const time_t time = seconds;
    return localtime_r(&time, &result);
}

std::ostream &
UT_Date::dprintf(std::ostream &os, const char *format, long time)
{
    tm t;
    return dprintf(os, format, utLocalTime(time, t));
}

int
UT_Date::dprintf(char *buffer, const char *format, long time)
{
    tm t;
    return dprintf(buffer, format, utLocalTime(time, t));
}
