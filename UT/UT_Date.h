// Times as text. The names are English in every locale.

#pragma once

#include "UT_API.h"

#include <atomic>
#include <ctime>
#include <iosfwd>

/// Formats times as strftime() does in the C locale, except for a few
/// conversions:
///
/// | letters | text |
/// |---|---|
/// | `a` `A` | weekday, `Sun` or `Sunday` |
/// | `b` `h` `B` | month, `Jan` or `January` |
/// | `c` | `%a %b %e %T %Y` |
/// | `C` `y` `Y` | century (two digits), year of the century, year |
/// | `m` `d` `e` | month, day of the month, the same padded with a blank |
/// | `D` `x` | `%m/%d/%y` |
/// | `j` | day of the year from 1, with two digits at least |
/// | `H` `I` `M` `S` | hour of 24, hour of 12, minute, second |
/// | `p` | `AM` or `PM` |
/// | `r` `R` | `%I:%M:%S %p`, `%H:%M` |
/// | `T` `X` | `%H:%M:%S` |
/// | `u` `w` | weekday as a number, Monday 1 to Sunday 7, or from Sunday 0 |
/// | `Z` | name of the time zone |
/// | `n` `t` `%` | a newline, a tab, a percent sign |
///
/// Any other letter is copied, with the `%` before it. A field that is out of
/// its range is printed as a number, or as `?` where a name is due: month 12 of
/// `tm_mon` is "13" for `%m` and "?" for `%b`.
///
/// Thread-safe, except for `%Z`, which reads the C library's `tzname`.
class UT_API UT_Date
{
public:
    /// Writes a broken-down time to `os` and returns `os`. Writes nothing for a
    /// null time or format. `%Y`, `%u` and `%w` use the stream's own number
    /// format; nothing else does.
    static std::ostream &
    dprintf(std::ostream &os, const char *format, const tm *t);

    /// Writes the local time at `time`, in seconds since 1970, as localtime()
    /// has it at that moment, and returns `os`. Writes nothing when the year
    /// does not fit in an int. When the variable `TZ` is not set, a change of
    /// the system's time zone is noticed within a second.
    static std::ostream &
    dprintf(std::ostream &os, const char *format, long time);

    /// Writes the text to `buffer`, which has room for 512 bytes: at most 511
    /// bytes of text, and a NUL. Returns the number of conversions done,
    /// including those inside others and those that did not fit.
    static int dprintf(char *buffer, const char *format, const tm *t);
    static int dprintf(char *buffer, const char *format, long time);

    /// Conversions done by all threads since the last call that formatted into
    /// a buffer began.
    static int conversions()
    {
        return theCount.load(std::memory_order_relaxed);
    }

private:
    static std::atomic<int> theCount;
};
