// Points in time as text. The names are English wherever the program runs.

#pragma once

#include "UT_API.h"

#include <atomic>
#include <ctime>
#include <iosfwd>

/// Formats times as strftime() does in the C locale, with its own ideas of a
/// few conversions:
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
/// Any other letter stands for itself, and the `%` before it too. A field out
/// of its range prints as the number it is, a name as `?`.
///
/// Thread-safe, but for `%Z`, which reads the C library's `tzname` as it is.
class UT_API UT_Date
{
public:
    /// Writes a broken-down time to `os` and returns it; nothing for a null
    /// time or format. `%Y`, `%u` and `%w` are written with the stream's own
    /// number format, all else as it is.
    static std::ostream &
    dprintf(std::ostream &os, const char *format, const tm *t);

    /// Writes the local time of `time`, in seconds since 1970, as localtime()
    /// has it at that moment; nothing when the year does not fit in an int.
    /// Without the variable `TZ` each call looks at the system's zone, which
    /// takes one system call.
    static std::ostream &
    dprintf(std::ostream &os, const char *format, long time);

    /// Puts the text into `buffer`, which has room for 512 bytes: at most 511
    /// of the text, and a NUL. Returns the number of conversions done, those
    /// inside others and those that did not fit included.
    static int dprintf(char *buffer, const char *format, const tm *t);
    static int dprintf(char *buffer, const char *format, long time);

    /// Conversions done by all threads since somebody formatted into a buffer
    /// the last time, that call included.
    static int conversions()
    {
        return theCount.load(std::memory_order_relaxed);
    }

private:
    static std::atomic<int> theCount;
};
