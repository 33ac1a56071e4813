// Formatted output.

#include "UT_WorkBuffer.h"

#include "UT_StringImpl.h"

#include "SYS/SYS_Types.h"

#include <algorithm>
#include <cfenv>
#include <cfloat>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <iterator>

#include <langinfo.h>

namespace
{

// What one attempt at a format leaves for the next one, and for its caller.
struct ut_Attempt
{
    // Lengths of the first texts that "%s" writes whole. Long ones are worth
    // measuring once only.
    size_t lengths[4];
    int measured = 0;

    // Whether no NUL was written, so that the text is as long as reported.
    bool isText = false;
};

// What the usual formats ask for, written without vsnprintf(), whose result it
// is byte for byte: %d %i %u %x %X with a width, filled with blanks or zeros,
// %f %e %g %F %E %G with a width and a precision, %c and %s with a width, %s
// with a precision, and %%. The rest of a format, from the first conversion
// that is another on, is left to vsnprintf().
//
// What does not fit is counted, not written, so that a long text costs a
// strlen().
class ut_CommonFormat
{
public:
    ut_CommonFormat(char *out, size_t size, va_list args, ut_Attempt &attempt)
        : myAt(out), myEnd(out + size - 1), myAttempt(attempt)
    {
        va_copy(myArgs, args);
    }
    ~ut_CommonFormat() { va_end(myArgs); }
    ut_CommonFormat(const ut_CommonFormat &) = delete;
    ut_CommonFormat &operator=(const ut_CommonFormat &) = delete;

    // Returns what vsnprintf() returns, and -1 when it has to do all of it.
    UT_PRINTF(2, 0) int write(const char *format);

private:
    enum ut_Length
    {
        UT_INT,
        UT_LONG,
        UT_LONG_LONG
    };

    enum ut_Outcome
    {
        UT_WRITTEN,
        UT_REST, // vsnprintf() has to write this one and what follows
        UT_ALL   // it has to write all of the format
    };

    // Between the percent sign and the letter.
    struct ut_Directive
    {
        bool isLeft = false;
        bool hasZeros = false;
        int width = 0;
        int precision = -1; // none
        ut_Length length = UT_INT;
    };

    const char *readDirective(const char *at, ut_Directive &directive);
    ut_Outcome writeDirective(char letter, const ut_Directive &directive);
    const char *copyText(const char *format);
    bool writeText(const ut_Directive &directive);
    size_t measure(const char *text);
    void writeSigned(const ut_Directive &directive);
    void writeUnsigned(char letter, const ut_Directive &directive);
    void writeFloat(char letter, const ut_Directive &directive);
    void writeNumber(
        const char *digits, const char *end, const ut_Directive &directive);
    void
    writePadded(const char *bytes, size_t count, const ut_Directive &directive);
    UT_PRINTF(2, 0) int writeRest(const char *format);

    [[nodiscard]] size_t room() const { return size_t(myEnd - myAt); }
    void put(const char *bytes, size_t count);
    void fill(char byte, size_t count);

    char *myAt;
    char *const myEnd;   // the NUL has room there
    uint64 myLength = 0; // also of what did not fit
    int myTexts = 0;     // those that were measured
    ut_Attempt &myAttempt;
    va_list myArgs;
};

} // namespace

void
ut_CommonFormat::put(const char *bytes, size_t count)
{
    myLength += count;
    if (count < 8 && count < room())
    {
        // Sooner done than a function is called.
        for (; count > 0; --count)
            *myAt++ = *bytes++;
        return;
    }
    const size_t fitting = std::min(count, room());
    memcpy(myAt, bytes, fitting);
    myAt += fitting;
}

void
ut_CommonFormat::fill(char byte, size_t count)
{
    const size_t fitting = std::min(count, room());
    memset(myAt, byte, fitting);
    myAt += fitting;
    myLength += count;
}

void
ut_CommonFormat::writePadded(
    const char *bytes, size_t count, const ut_Directive &directive)
{
    const size_t width = size_t(directive.width);
    const size_t blanks = count < width ? width - count : 0;
    if (blanks && !directive.isLeft)
        fill(' ', blanks);
    put(bytes, count);
    if (blanks && directive.isLeft)
        fill(' ', blanks);
}

// The digits may have a sign before them, which comes before the zeros.
void
ut_CommonFormat::writeNumber(
    const char *digits, const char *end, const ut_Directive &directive)
{
    const size_t count = size_t(end - digits);
    if (!directive.hasZeros || directive.isLeft ||
        count >= size_t(directive.width))
    {
        writePadded(digits, count, directive);
        return;
    }
    const size_t sign = *digits == '-';
    put(digits, sign);
    fill('0', size_t(directive.width) - count);
    put(digits + sign, count - sign);
}

void
ut_CommonFormat::writeSigned(const ut_Directive &directive)
{
    char digits[24];
    char *const limit = digits + sizeof(digits);
    char *end = nullptr;
    switch (directive.length)
    {
    case UT_INT:
        end = std::to_chars(digits, limit, va_arg(myArgs, int)).ptr;
        break;
    case UT_LONG:
        end = std::to_chars(digits, limit, va_arg(myArgs, long)).ptr;
        break;
    case UT_LONG_LONG:
        end = std::to_chars(digits, limit, va_arg(myArgs, long long)).ptr;
        break;
    }
    writeNumber(digits, end, directive);
}

void
ut_CommonFormat::writeUnsigned(char letter, const ut_Directive &directive)
{
    const int base = letter == 'u' ? 10 : 16;
    char digits[24];
    char *const limit = digits + sizeof(digits);
    char *end = nullptr;
    switch (directive.length)
    {
    case UT_INT:
        end = std::to_chars(digits, limit, va_arg(myArgs, unsigned), base).ptr;
        break;
    case UT_LONG:
        end = std::to_chars(digits, limit, va_arg(myArgs, unsigned long), base)
                  .ptr;
        break;
    case UT_LONG_LONG:
        end = std::to_chars(
                  digits, limit, va_arg(myArgs, unsigned long long), base)
                  .ptr;
        break;
    }
    if (letter == 'X')
        std::transform(digits, end, digits, utToUpper);
    writeNumber(digits, end, directive);
}

// The most digits after the point that have room.
static const int theMostPrecise = 100;

// Whether vsnprintf() writes floats as the standard library does: with a point,
// and rounded to the nearest.
static bool
utFloatsAreUsual()
{
    return strcmp(nl_langinfo(RADIXCHAR), ".") == 0 &&
           fegetround() == FE_TONEAREST;
}

void
ut_CommonFormat::writeFloat(char letter, const ut_Directive &directive)
{
    const double value = va_arg(myArgs, double);
    const char small = utToLower(letter);
    const auto format = small == 'f'   ? std::chars_format::fixed
                        : small == 'e' ? std::chars_format::scientific
                                       : std::chars_format::general;
    char digits[DBL_MAX_10_EXP + theMostPrecise + 8];
    char *const end = std::to_chars(
                          digits, std::end(digits), value, format,
                          directive.precision < 0 ? 6 : directive.precision)
                          .ptr;
    if (letter != small)
        std::transform(digits, end, digits, utToUpper);
    if (std::isfinite(value))
        writeNumber(digits, end, directive);
    else
        writePadded(digits, size_t(end - digits), directive);
}

size_t
ut_CommonFormat::measure(const char *text)
{
    const int index = myTexts++;
    if (index < myAttempt.measured)
        return myAttempt.lengths[index];
    const size_t length = strlen(text);
    if (index < int(std::size(myAttempt.lengths)))
    {
        myAttempt.lengths[index] = length;
        myAttempt.measured = index + 1;
    }
    return length;
}

// False for null.
bool
ut_CommonFormat::writeText(const ut_Directive &directive)
{
    const char *const text = va_arg(myArgs, const char *);
    if (!text)
        return false;
    const size_t length = directive.precision < 0
                              ? measure(text)
                              : strnlen(text, size_t(directive.precision));
    writePadded(text, length, directive);
    return true;
}

// A number of at most four digits; more are for vsnprintf().
static const char *
utReadCount(const char *at, int &count)
{
    const char *const start = at;
    count = 0;
    while (utIsDigit(*at) && at - start < 4)
        count = count * 10 + (*at++ - '0');
    return at;
}

// Returns the letter; what is not read here is none of the letters either.
const char *
ut_CommonFormat::readDirective(const char *at, ut_Directive &directive)
{
    for (; *at == '-' || *at == '0'; ++at)
    {
        directive.isLeft |= *at == '-';
        directive.hasZeros |= *at == '0';
    }
    at = utReadCount(at, directive.width);
    if (*at == '.' && utIsDigit(at[1]))
        at = utReadCount(at + 1, directive.precision);
    if (*at == 'l')
    {
        directive.length = at[1] == 'l' ? UT_LONG_LONG : UT_LONG;
        at += at[1] == 'l' ? 2 : 1;
    }
    else if (*at == 'z')
    {
        static_assert(sizeof(size_t) == sizeof(long));
        directive.length = UT_LONG;
        ++at;
    }
    return at;
}

// Returns UT_REST for what is not written here, and UT_ALL for what is not
// written after its argument has been taken.
ut_CommonFormat::ut_Outcome
ut_CommonFormat::writeDirective(char letter, const ut_Directive &directive)
{
    const bool isPlain = directive.length == UT_INT && !directive.hasZeros;
    switch (letter)
    {
    case 'd':
    case 'i':
        if (directive.precision >= 0)
            return UT_REST;
        writeSigned(directive);
        return UT_WRITTEN;
    case 'u':
    case 'x':
    case 'X':
        if (directive.precision >= 0)
            return UT_REST;
        writeUnsigned(letter, directive);
        return UT_WRITTEN;
    case 'f':
    case 'e':
    case 'g':
    case 'F':
    case 'E':
    case 'G':
        // Two letters l stand for a long double.
        if (directive.length == UT_LONG_LONG ||
            directive.precision > theMostPrecise || !utFloatsAreUsual())
            return UT_REST;
        writeFloat(letter, directive);
        return UT_WRITTEN;
    case 's':
        if (!isPlain)
            return UT_REST;
        return writeText(directive) ? UT_WRITTEN : UT_ALL;
    case 'c':
    {
        if (!isPlain || directive.precision >= 0)
            return UT_REST;
        const char byte = char(va_arg(myArgs, int));
        myAttempt.isText = myAttempt.isText && byte;
        writePadded(&byte, 1, directive);
        return UT_WRITTEN;
    }
    default:
        return UT_REST;
    }
}

// Whether a format has a conversion that stores the length so far.
static bool
utStoresLength(const char *format)
{
    while (*(format = strchrnul(format, '%')))
    {
        format += strspn(format + 1, "0123456789$*.-+ #'IhlLqjzt") + 1;
        if (*format == 'n')
            return true;
        format += *format != '\0';
    }
    return false;
}

int
ut_CommonFormat::writeRest(const char *format)
{
    myAttempt.isText = false;
    // It must not miss what is written.
    if (strchr(format, 'n') && utStoresLength(format))
        return -1;
    const int rest = vsnprintf(myAt, room() + 1, format, myArgs);
    if (rest < 0 || uint64(rest) + myLength > INT_MAX)
        return -1;
    return rest + int(myLength);
}

// Up to a percent sign or the end: most such texts are a few bytes.
const char *
ut_CommonFormat::copyText(const char *format)
{
    const char *const most = format + std::min<size_t>(room(), 16);
    const char *const start = format;
    while (format != most && *format && *format != '%')
        *myAt++ = *format++;
    myLength += size_t(format - start);
    if (format != most)
        return format;
    const char *const end = utFindOrEnd(format, '%');
    put(format, size_t(end - format));
    return end;
}

int
ut_CommonFormat::write(const char *format)
{
    myAttempt.isText = true;
    while (*(format = copyText(format)))
    {
        if (format[1] == '%')
        {
            put(format, 1);
            format += 2;
            continue;
        }
        ut_Directive directive;
        const char *const letter = readDirective(format + 1, directive);
        const ut_Outcome outcome = writeDirective(*letter, directive);
        if (outcome == UT_REST)
            return writeRest(format);
        if (outcome == UT_ALL)
            return -1;
        format = letter + 1;
    }
    *myAt = '\0';
    return myLength <= INT_MAX ? int(myLength) : -1;
}

// A text that no capacity can hold is cut at this length.
static const unsigned theFormatLimit = INT_MAX - 1;

// Makes room for what the formatter reports; returns the usable storage.
unsigned
UT_WorkBuffer::growToFormatted(int formatted)
{
    unsigned usable = unsigned(myAllocatedSize) - theSpareSize;
    if (formatted < 0 || unsigned(formatted) < usable)
        return usable;
    while (usable <= unsigned(formatted) && usable < theFormatLimit)
        usable = std::min(usable * 2, theFormatLimit);
    growTo(int(usable), myAllocatedSize);
    return usable;
}

// vsnprintf(), by the short way where there is one.
UT_PRINTF(3, 0)
static int
utFormat(
    char *out, size_t size, const char *format, va_list args,
    ut_Attempt &attempt)
{
    const int common = ut_CommonFormat(out, size, args, attempt).write(format);
    if (common >= 0)
        return common;
    attempt.isText = false;
    va_list again;
    va_copy(again, args);
    const int formatted = vsnprintf(out, size, format, again);
    va_end(again);
    return formatted;
}

// The text that the format asks for, if it is "%s". Null for all other formats.
UT_PRINTF(1, 0)
static const char *
utOnlyText(const char *format, va_list args)
{
    if (format[0] != '%' || format[1] != 's' || format[2])
        return nullptr;
    va_list again;
    va_copy(again, args);
    const char *const text = va_arg(again, const char *);
    va_end(again);
    return text;
}

int
UT_WorkBuffer::vsprintf(const char *format, va_list args)
{
    if (const char *const text = utOnlyText(format, args))
    {
        const size_t length = strlen(text);
        if (length < theFormatLimit)
        {
            growToFormatted(int(length));
            memcpy(myBuffer, text, length + 1);
            myLength = int(length);
            return myLength;
        }
    }
    unsigned usable = unsigned(myAllocatedSize) - theSpareSize;
    ut_Attempt attempt;
    if (myLength > 0)
    {
        // The old text stays until there is room for the other one.
        char text[theInlineSize - theSpareSize];
        const int formatted =
            utFormat(text, sizeof(text), format, args, attempt);
        if (formatted >= 0 && formatted < int(sizeof(text)))
        {
            // A conversion may have written a NUL; the text ends there.
            myLength = int(stpcpy(myBuffer, text) - myBuffer);
            return formatted;
        }
        usable = growToFormatted(formatted);
    }
    for (;;)
    {
        // The first attempt returns the length, so a second one always fits.
        const int formatted = utFormat(myBuffer, usable, format, args, attempt);
        myBuffer[usable - 1] = '\0';
        if (formatted >= 0 && unsigned(formatted) >= usable &&
            usable < theFormatLimit)
        {
            usable = growToFormatted(formatted);
            continue;
        }
        const bool isWhole = attempt.isText && unsigned(formatted) < usable;
        myLength = isWhole ? formatted : SYSnarrow<int>(strlen(myBuffer));
        return formatted < 0 ? myLength : formatted;
    }
}

int
UT_WorkBuffer::sprintf(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    const int formatted = vsprintf(format, args);
    va_end(args);
    return formatted;
}

// Apart from the usual short text, which then costs little stack.
[[gnu::noinline]] int
UT_WorkBuffer::appendLongFormatted(
    unsigned size, const char *format, va_list args)
{
    UT_WorkBuffer text;
    text.reserve(size);
    const int formatted = text.vsprintf(format, args);
    append(text);
    return formatted;
}

int
UT_WorkBuffer::appendSprintf(const char *format, ...)
{
    // The arguments may point into this buffer, so nothing in it changes
    // before they are used up.
    char text[theInlineSize - theSpareSize];
    va_list args;
    va_start(args, format);
    ut_Attempt attempt;
    int formatted = utFormat(text, sizeof(text), format, args, attempt);
    va_end(args);
    if (formatted >= int(sizeof(text)))
    {
        const unsigned size = unsigned(formatted) + 1 + theSpareSize;
        va_start(args, format);
        formatted = appendLongFormatted(size, format, args);
        va_end(args);
        return formatted;
    }
    if (formatted >= 0 && formatted < myAllocatedSize - myLength &&
        !myLockCount)
    {
        // A conversion may have written a NUL; the text ends there. A few
        // bytes are copied sooner than a function is called.
        char *end = myBuffer + myLength;
        if (formatted < 16)
            for (const char *byte = text; (*end = *byte); ++byte)
                ++end;
        else
            end = stpcpy(end, text);
        myLength = int(end - myBuffer);
        return formatted;
    }
    const size_t length = strlen(text);
    appendSlowly(text, length);
    return formatted < 0 ? int(length) : formatted;
}
