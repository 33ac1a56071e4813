#include "UT/UT_WorkBuffer.h"

#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <random>
#include <string>

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
    for (const std::string &tail : {std::string("de"), std::string(3000, 'x')})
    {
        // Deliberate: the result is the whole length.
        SCOPED_TRACE(tail.size());
        const int whole = 4 + int(tail.size());
        EXPECT_EQ(whole, buffer.sprintf("abc%c%s", '\0', tail.c_str()));
        EXPECT_EQ(whole, buffer.appendSprintf("fgh%c%s", '\0', tail.c_str()));
        EXPECT_EQ("abcfgh", utText(buffer));
    }
}

// A format of random conversions of an int, a text, a long, a text, a double
// and a long long, in this order, with random texts between them.
static std::string
utRandomFormat(std::mt19937 &random)
{
    static const char *const theFlags[] = {"",  "",   "",  "-", "0",
                                           "+", "-0", "#", "'"};
    static const char *const theWidths[] = {"",  "",   "1",   "3",
                                            "7", "40", "2100"};
    static const char *const thePrecisions[] = {"", "", "", ".0", ".2", ".9"};
    static const char *const theTexts[] = {"", "", "/", "%%", "n", "a text "};
    static const char *const theConversions[][6] = {
        {"d",   "i",   "u",   "x",   "X",   "c"  },
        {"s",   "s",   "s",   "s",   "s",   "s"  },
        {"ld",  "li",  "lu",  "zx",  "lX",  "zd" },
        {"s",   "s",   "s",   "s",   "s",   "s"  },
        {"g",   "f",   "e",   "g",   "a",   "G"  },
        {"lld", "lli", "llu", "llx", "llX", "llo"},
    };
    const auto any = [&random](const auto &texts)
    { return texts[random() % std::size(texts)]; };
    std::string format = any(theTexts);
    for (const auto &conversions : theConversions)
        if (random() % 8 == 0)
            return format; // the arguments that are left over do not matter
        else
            format = format + '%' + any(theFlags) + any(theWidths) +
                     any(thePrecisions) + any(conversions) + any(theTexts);
    return format;
}

// Through a pointer: the compiler wants constant formats elsewhere.
static int (*const theFormatter)(char *, size_t, const char *, va_list) =
    vsnprintf;
static int (UT_WorkBuffer::*const theReplacer)(const char *, va_list) =
    &UT_WorkBuffer::vsprintf;
static int (UT_WorkBuffer::*const theAppender)(const char *, ...) =
    &UT_WorkBuffer::appendSprintf;

static int
utReplace(UT_WorkBuffer &buffer, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    const int length = (buffer.*theReplacer)(format, args);
    va_end(args);
    return length;
}

static std::string
utExpectedFormat(const char *format, ...)
{
    std::string text(20000, '\0');
    va_list args;
    va_start(args, format);
    const int length = theFormatter(&text[0], text.size(), format, args);
    va_end(args);
    EXPECT_GE(length, 0) << format;
    text.resize(size_t(length));
    return text;
}

TEST(UT_WorkBuffer, FormatsAsTheLibraryDoes)
{
    static const int64 theNumbers[] = {0,       1,         -1,       42,
                                       -12345,  INT_MAX,   INT_MIN,  'c',
                                       1 << 20, INT64_MAX, INT64_MIN};
    const std::string theLongText(3000, 'x');
    const char *const theTexts[] = {
        "", "a", "geo1", "a text\xe4\xb8", nullptr, theLongText.c_str()};
    std::mt19937 random(1);
    for (int round = 0; round < 20000; ++round)
    {
        const std::string format = utRandomFormat(random);
        const int64 number = theNumbers[random() % std::size(theNumbers)];
        const char *const first = theTexts[random() % std::size(theTexts)];
        const char *const second = theTexts[random() % std::size(theTexts)];
        SCOPED_TRACE(testing::Message() << format << " of " << number);
        const char *const f = format.c_str();
        const int i32 = int(number);
        const long word = long(number);
        const double real = double(number) / 8;
        const long long i64 = number;
        const std::string expected =
            utExpectedFormat(f, i32, first, word, second, real, i64);
        const int length = int(expected.size());
        const std::string shown(expected.c_str()); // %c may have written a NUL

        UT_WorkBuffer replaced;
        for (int time = 0; time < 2; ++time) // the second replaces the first
        {
            EXPECT_EQ(
                length,
                utReplace(replaced, f, i32, first, word, second, real, i64));
            EXPECT_EQ(shown, utText(replaced));
        }
        UT_WorkBuffer appended;
        appended.append("ab");
        EXPECT_EQ(
            length,
            (appended.*theAppender)(f, i32, first, word, second, real, i64));
        EXPECT_EQ("ab" + shown, utText(appended));
        ASSERT_FALSE(HasFailure());
    }
}

TEST(UT_WorkBuffer, ConversionsThatOnlyTheLibraryKnowsCountAllThatIsWritten)
{
    UT_WorkBuffer buffer;
    EXPECT_EQ(4, utReplace(buffer, "%2$s%1$s", "ab", "cd"));
    EXPECT_EQ("cdab", utText(buffer));
    EXPECT_EQ(9, utReplace(buffer, "%s %*d", "abc", 5, 42));
    EXPECT_EQ("abc    42", utText(buffer));
    char writable[] = "%s%d%nx";
    int stored = 0;
    EXPECT_EQ(6, utReplace(buffer, writable, "abc", 42, &stored));
    EXPECT_EQ(5, stored);
    EXPECT_EQ("abc42x", utText(buffer));
}

TEST(UT_WorkBuffer, NullsAndWhatIsTooLongAreDropped)
{
    UT_WorkBuffer buffer;
    buffer.append(nullptr);
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
    EXPECT_EQ(std::string(2000, 'z'), std::string(buffer.buffer(), 2000));
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
    buffer.copyIntoString(bytes, 0);
    buffer.copyIntoString(bytes, 5);
    EXPECT_EQ(0, memcmp("ok\0m\0-----", bytes, 10));
    buffer.copyIntoString(bytes, 10);
    EXPECT_EQ(0, memcmp("ok\0more\0--", bytes, 10));
}
