#include "UT/UT_WorkBuffer.h"

#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <random>
#include <string>
#include <vector>

static std::string
utText(const UT_WorkBuffer &buffer)
{
    EXPECT_TRUE(buffer.isNullTerminated());
    return std::string(buffer.buffer(), size_t(buffer.length()));
}

// A script of random changes, beside a std::string that undergoes the same.
TEST(UT_WorkBuffer, FollowsAStandardStringThroughRandomChanges)
{
    for (unsigned seed = 0; seed < 500; ++seed)
    {
        std::mt19937 random(seed);
        const auto below = [&random](size_t limit) { return random() % limit; };
        UT_WorkBuffer buffer;
        std::string text;
        size_t capacity = 2000;
        for (int step = 0; step < 20; ++step)
        {
            // Often one that fills the storage, or is a byte too long for it.
            const size_t room = capacity - text.size() - below(2);
            std::string piece(below(2) ? room : below(30), '\0');
            for (char &byte : piece)
                byte = char(below(256));
            const size_t from = below(text.size() + 1);
            switch (below(5))
            {
            case 0:
                buffer.append(piece.data(), int(piece.size()));
                text += piece;
                break;
            case 1:
                buffer.strcat(char(step));
                text += char(step);
                break;
            case 2: // its own tail
                buffer.append(buffer.buffer() + from, int(text.size() - from));
                text += text.substr(from);
                break;
            case 3: // the same, formatted
                buffer.appendSprintf("<%s", buffer.buffer() + from);
                text += '<' + std::string(text.c_str() + from);
                break;
            case 4:
                buffer.write(int(from), 'w');
                text.replace(from, 1, "w");
                break;
            }
            while (capacity <= text.size())
                capacity *= 2;
            ASSERT_EQ(text, utText(buffer)) << seed << ", step " << step;
            ASSERT_EQ(int(capacity), buffer.capacity())
                << seed << ", step " << step;
        }
    }
}

TEST(UT_WorkBuffer, FormattedTextsEndAtANulOrAFailure)
{
    // No wide character; the C library has no bytes for it in any locale.
    const wint_t bad = 0x7FFFFFFF;
    UT_WorkBuffer buffer;
    EXPECT_EQ(3, buffer.sprintf("abc%lcdef", bad));
    EXPECT_EQ(2, buffer.appendSprintf("gh%lc", bad));
    EXPECT_EQ("abcgh", utText(buffer));
    // As far as the storage goes, which does not grow for it.
    EXPECT_EQ(1983, buffer.sprintf("%5000d%lc", 1, bad));
    // A text that fills it needs a byte more.
    EXPECT_EQ(17, buffer.appendSprintf("%17d", 1));
    EXPECT_EQ(4000, buffer.capacity());
    // Deliberate: the result is the whole length.
    EXPECT_EQ(6, buffer.sprintf("abc%c%s", '\0', "de"));
    EXPECT_EQ(6, buffer.appendSprintf("fgh%c%s", '\0', "de"));
    EXPECT_EQ("abcfgh", utText(buffer));
}

// Through pointers: the compiler wants constant formats elsewhere.
static int (*const thePrinter)(char *, size_t, const char *, ...) = snprintf;
static int (UT_WorkBuffer::*const theAppender)(const char *, ...) =
    &UT_WorkBuffer::appendSprintf;

// Each conversion in each form, between others.
template <class T>
static void
utExpectFormats(
    std::initializer_list<const char *> conversions,
    std::initializer_list<T> values)
{
    std::vector<std::string> formats;
    for (const std::string conversion : conversions)
        for (const std::string flags : {"", "-", "0", "+", "-0", "#", "'"})
            for (const std::string width : {"", "1", "7", "2100"})
                for (const std::string precision : {"", ".0", ".2", ".9"})
                    formats.push_back(
                        "%s%" + flags + width + precision + conversion +
                        "%%|%s/");
    for (const std::string &format : formats)
        for (const T value : values)
        {
            SCOPED_TRACE(testing::Message() << format << " of " << value);
            const char *const f = format.c_str();
            char expected[6000]; // %c may write a NUL
            const int length =
                thePrinter(expected, sizeof(expected), f, "a", value, "z");
            UT_WorkBuffer buffer;
            buffer.append("ab");
            EXPECT_EQ(length, (buffer.*theAppender)(f, "a", value, "z"));
            EXPECT_EQ(std::string("ab") + expected, utText(buffer));
        }
}

TEST(UT_WorkBuffer, FormatsAsTheLibraryDoes)
{
    const std::string longText(3000, 'x');
    utExpectFormats<int>(
        {"d", "i", "u", "x", "X", "c"},
        {0, 1, -1, 42, -12345, 'c', INT_MIN, INT_MAX});
    utExpectFormats<long>(
        {"ld", "li", "lu", "zx", "lX", "zd"},
        {0, 1, -1, 42, -12345, LONG_MIN, LONG_MAX});
    utExpectFormats<long long>(
        {"lld", "lli", "llu", "llx", "llX", "llo"},
        {0, 1, -1, 42, -12345, LLONG_MIN, LLONG_MAX});
    utExpectFormats<double>(
        {"f", "e", "g", "a", "F", "E", "G", "lf", "le", "lg"},
        {0, -0.0, 0.125, -5.25, 12345, 1e18, -1e18, DBL_MAX, 5e-324, INFINITY,
         -INFINITY, NAN, -NAN});
    utExpectFormats<const char *>(
        {"s"}, {nullptr, "", "a", "geo1", "a text\xe4\xb8", longText.c_str()});
}

// Where the last digit decides, and any others.
TEST(UT_WorkBuffer, FloatsAreRoundedAsTheLibraryDoes)
{
    const char *const formats[] = {"%g",    "%.0f",   "%.2f",   "%.1e",
                                   "%.17G", "%.100f", "%.101f", "%09.3g"};
    std::mt19937_64 random(1);
    for (const int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO})
        for (int i = 0; i < 4000; ++i)
        {
            double value = (i - 2000) / 8.0;
            const uint64 bits = random();
            if (i % 2)
                memcpy(&value, &bits, sizeof(value));
            const char *const format = formats[random() % std::size(formats)];
            char expected[500];
            UT_WorkBuffer buffer;
            ASSERT_EQ(0, fesetround(mode));
            const int length =
                thePrinter(expected, sizeof(expected), format, value);
            const int found = (buffer.*theAppender)(format, value);
            fesetround(FE_TONEAREST);
            ASSERT_EQ(length, found) << format << ", mode " << mode;
            ASSERT_STREQ(expected, buffer.buffer())
                << format << ", mode " << mode;
        }
}

TEST(UT_WorkBuffer, ConversionsThatOnlyTheLibraryKnowsCountAllThatIsWritten)
{
    UT_WorkBuffer buffer;
    EXPECT_EQ(4, (buffer.*theAppender)("%2$s%1$s", "ab", "cd"));
    char writable[] = "%s%*d%nx";
    int stored = 0;
    EXPECT_EQ(8, (buffer.*theAppender)(writable, "abc", 4, 42, &stored));
    EXPECT_EQ(7, stored);
    EXPECT_EQ("cdababc  42x", utText(buffer));
}

TEST(UT_WorkBuffer, NullsAndWhatIsTooLongAreDropped)
{
    UT_WorkBuffer buffer;
    buffer.append(nullptr, 5);
    buffer.append("text\0b", -1);
    volatile int tooLong = INT_MAX - 1; // else the compiler would complain
    buffer.append("x", tooLong);
    buffer.write(INT_MAX, 'x');
    buffer.write(-1, 'x');
    EXPECT_EQ("text", utText(buffer));
}

TEST(UT_WorkBuffer, ALockedBufferTakesNothingMore)
{
    UT_WorkBuffer buffer;
    buffer.append("text");
    buffer.lock(0, 0);
    buffer.append("x");
    buffer.append('x');
    EXPECT_EQ(3, buffer.appendSprintf("%s", "abc"));
    buffer.write(9000, 'x');
    buffer.clear();
    EXPECT_EQ("text", utText(buffer));
    // Deliberate: these work all the same.
    buffer.sprintf("%d", 123456);
    buffer.write(3, '\0');
    EXPECT_EQ("123", utText(buffer));
}

TEST(UT_WorkBuffer, TheLastReleaseFindsTheEndIfItIsAsked)
{
    UT_WorkBuffer buffer;
    memset(buffer.lock(0, 2000), 'z', 2000);
    buffer.lock(0, 0);
    buffer.release(1); // not the last
    buffer.release(0);
    buffer.reserve(2001); // keeps all the storage
    // Deliberate: a write past the end fills nothing in.
    buffer.write(2, 'X');
    EXPECT_EQ("zzX", utText(buffer));
    // A holder who leaves no NUL in the storage.
    memset(buffer.lock(0, 2001), 'y', 2001);
    buffer.release();
    EXPECT_EQ(std::string(2001, 'y'), utText(buffer));
    // Deliberate: a surplus release locks.
    buffer.release();
    EXPECT_TRUE(buffer.isLocked());
}

TEST(UT_WorkBuffer, CopiesEndAtANulOrAtTheirSize)
{
    UT_WorkBuffer buffer;
    buffer.append("ok\0more", 7);
    UT_String string;
    buffer.copyIntoString(string);
    EXPECT_STREQ("ok", string);
    char bytes[] = "----------";
    buffer.copyIntoString(bytes, 5);
    EXPECT_EQ(0, memcmp("ok\0m\0-----", bytes, 10));
}

TEST(UT_WorkBuffer, ANulWrittenPastTheEndIsFollowedByOne)
{
    UT_WorkBuffer buffer;
    memset(buffer.lock(0, 8), 'z', 8);
    buffer.release(0);
    buffer.write(2, '\0');
    buffer.write(5, 'X');
    EXPECT_EQ(std::string("zz\0\0zX", 6), utText(buffer));
}
