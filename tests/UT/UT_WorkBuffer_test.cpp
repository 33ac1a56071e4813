#include "UT/UT_WorkBuffer.h"

#include "UT/UT_String.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <random>
#include <sstream>
#include <string>

// All of the text, whose end must be where the length says.
static std::string
utText(const UT_WorkBuffer &buffer)
{
    EXPECT_TRUE(buffer.isNullTerminated());
    EXPECT_LT(buffer.length(), buffer.capacity());
    return std::string(buffer.buffer(), size_t(buffer.length()));
}

static bool
utIsInline(const UT_WorkBuffer &buffer)
{
    const char *const start = reinterpret_cast<const char *>(&buffer);
    return buffer.buffer() > start && buffer.buffer() < start + sizeof(buffer);
}

TEST(UT_WorkBuffer, EveryGrowthHasItsCapacity)
{
    static const struct
    {
        unsigned reserved; // beforehand
        int length;
        int appended; // capacity after an append of the length,
        int printed;  // after sprintf() of the length,
        int written;  // after write() at the length
    } theCases[] = {
        {0,    1982,  2000,   2000,   2000  },
        {0,    1983,  2000,   2000,   2000  },
        {0,    1984,  2000,   4000,   2000  },
        {0,    1998,  2000,   4000,   2000  },
        {0,    1999,  2000,   4000,   4000  },
        {0,    2000,  4000,   4000,   4000  },
        {0,    3967,  4000,   4000,   4000  },
        {0,    3968,  4000,   8000,   4000  },
        {0,    3999,  4000,   8000,   8000  },
        {0,    5000,  8000,   8000,   8000  },
        {0,    70000, 128000, 128000, 128000},
        {2001, 2000,  2001,   4002,   4002  },
        {2001, 2001,  4002,   4002,   4002  },
        {2001, 1984,  2001,   2001,   2001  },
        {2001, 1985,  2001,   4002,   2001  },
        {5001, 10001, 10002,  20004,  20004 },
    };
    for (const auto &row : theCases)
    {
        SCOPED_TRACE(testing::Message() << row.reserved << ", " << row.length);
        const std::string text(size_t(row.length), 'x');

        for (int way = 0; way < 5; ++way)
        {
            UT_WorkBuffer buffer;
            EXPECT_TRUE(utIsInline(buffer));
            buffer.reserve(row.reserved);
            if (way == 0)
                buffer.append(text.c_str());
            else if (way == 1)
                for (char byte : text)
                    buffer.append(byte);
            else if (way == 2)
                EXPECT_EQ(row.length, buffer.appendSprintf("%s", text.c_str()));
            else if (way == 3)
                EXPECT_EQ(row.length, buffer.sprintf("%s", text.c_str()));
            else
                buffer.write(row.length, 'x');
            EXPECT_EQ(
                way == 3   ? row.printed
                : way == 4 ? row.written
                           : row.appended,
                buffer.capacity())
                << "way " << way;
            EXPECT_EQ(row.length + (way == 4), buffer.length());
            EXPECT_EQ('x', buffer[buffer.length() - 1]);
            EXPECT_TRUE(buffer.isNullTerminated());
            EXPECT_EQ(buffer.capacity() == 2000, utIsInline(buffer));
        }
    }
}

TEST(UT_WorkBuffer, GrowthKeepsWhatIsBehindTheText)
{
    UT_WorkBuffer buffer;
    memset(buffer.lock(0, 2000), 'z', 2000);
    buffer.release(0);
    for (const unsigned size : {2001u, 2003u, 2002u})
    {
        buffer.reserve(size);
        EXPECT_EQ(std::string(2000, 'z'), std::string(buffer.buffer(), 2000));
    }
    EXPECT_EQ(2003, buffer.capacity());
    // Deliberate: a write behind the end fills nothing in.
    buffer.write(2, 'X');
    EXPECT_EQ("zzX", utText(buffer));
}

// A script of random changes, beside a std::string that undergoes the same.
TEST(UT_WorkBuffer, FollowsAStandardStringThroughRandomChanges)
{
    const unsigned seed = 20;
    std::mt19937 random(seed);
    const auto below = [&random](size_t limit)
    { return std::uniform_int_distribution<size_t>(0, limit - 1)(random); };
    for (int run = 0; run < 200; ++run)
    {
        UT_WorkBuffer buffer;
        std::string text;
        size_t capacity = 2000;
        for (int step = 0; step < 100; ++step)
        {
            SCOPED_TRACE(
                testing::Message()
                << "seed " << seed << ", run " << run << ", step " << step);
            std::string piece(below(8) ? below(30) : below(3000), '\0');
            for (char &byte : piece)
                byte = char(below(256));
            const size_t from = below(text.size() + 1);
            const size_t count = below(text.size() - from + 1);
            size_t needed = 0; // where that is more than the text needs
            switch (below(12))
            {
            case 0:
                buffer.append(piece.data(), int(piece.size()));
                text += piece;
                break;
            case 1:
                buffer.strcat(piece.c_str());
                text += piece.c_str();
                break;
            case 2:
                buffer.append(piece.c_str(), -1);
                text += piece.c_str();
                break;
            case 3:
                buffer.strcat(char(step - 50));
                text += char(step - 50);
                break;
            case 4: // its own text
                buffer.append(buffer);
                text += std::string(text);
                break;
            case 5: // a piece of that
                buffer.append(buffer.buffer() + from, int(count));
                text += text.substr(from, count);
                break;
            case 6: // its tail, up to a NUL
                buffer.strcat(buffer.buffer() + from);
                text += std::string(text.c_str() + from);
                break;
            case 7: // the same, formatted
                buffer.appendSprintf("<%d %s>", step, buffer.buffer() + from);
                text += '<' + std::to_string(step) + ' ' +
                        std::string(text.c_str() + from) + '>';
                break;
            case 8:
                buffer.write(int(from), 'w');
                if (from < text.size())
                    text[from] = 'w';
                else
                    text += 'w';
                break;
            case 9: // a NUL needs room even where the text ends before it
                buffer.write(int(from), '\0');
                if (from == text.size())
                    needed = from + 2;
                text.resize(from);
                break;
            case 10:
                if (text.size() > 20000)
                {
                    buffer.clear();
                    text.clear();
                }
                break;
            case 11: // a lock holder's change
                strcpy(buffer.lock(int(from), 30), "end");
                buffer.release();
                if (capacity < from + 30)
                    capacity = from + 30;
                text = (text.substr(0, from) + "end").c_str();
                break;
            }
            while (capacity < std::max(text.size() + 1, needed))
                capacity *= 2;
            ASSERT_EQ(text, utText(buffer));
            ASSERT_EQ(int(capacity), buffer.capacity());
        }
    }
}

TEST(UT_WorkBuffer, AppendsKeepNulsAndTakeNullForNothing)
{
    UT_WorkBuffer buffer;
    buffer.append(nullptr);
    buffer.append(nullptr, 5);
    buffer.append(UT_String());
    buffer.append("a\0b", 3);
    buffer.append('\0');
    buffer.append("\xFF\x80", 0);
    buffer.append("\xFF\x80", 1);
    buffer.append(UT_String("cd"));
    EXPECT_EQ(
        std::string(
            "a\0b\0\xFF"
            "cd",
            7),
        utText(buffer));
    // Longer than any text: the bytes are not even looked at.
    volatile int tooLong = INT_MAX - 7; // the compiler would look
    buffer.append("x", tooLong);
    buffer.write(INT_MAX, 'x');
    buffer.write(-1, 'x');
    EXPECT_EQ(7, buffer.length());
    EXPECT_EQ(2000, buffer.capacity());
}

TEST(UT_WorkBuffer, GrowthEndsAtTheLargestCapacity)
{
    if (sizeof(void *) == 4)
        GTEST_SKIP() << "no address space for it";
    // The storage is hardly touched, so it costs little memory.
    {
        UT_WorkBuffer buffer;
        buffer.write(1 << 30, 'x');
        EXPECT_EQ(2000 << 20, buffer.capacity());
    }
    UT_WorkBuffer buffer;
    buffer.write(2000 << 20, 'x');
    EXPECT_EQ(INT_MAX, buffer.capacity());
    buffer.write(INT_MAX - 2, '>');
    EXPECT_EQ(INT_MAX - 1, buffer.length());
    buffer.append('x');
    buffer.append("x");
    buffer.write(INT_MAX - 1, 'x');
    EXPECT_EQ(INT_MAX - 1, buffer.length());
    EXPECT_EQ('>', buffer[INT_MAX - 2]);
    EXPECT_TRUE(buffer.isNullTerminated());
}

TEST(UT_WorkBuffer, FormattingReplacesTheTextAndReturnsItsLength)
{
    UT_WorkBuffer buffer;
    buffer.append("a longer text than what follows");
    EXPECT_EQ(7, buffer.sprintf("%s=%04d", "ab", 7));
    EXPECT_EQ("ab=0007", utText(buffer));
    EXPECT_EQ(4, buffer.appendSprintf("|%3s", "\xE4"));
    EXPECT_EQ("ab=0007|  \xE4", utText(buffer));
    EXPECT_EQ(0, buffer.sprintf("%s", ""));
    EXPECT_EQ("", utText(buffer));

    // Deliberate: the text ends at a NUL that a conversion writes, the result
    // tells the whole length.
    const std::string longText(3000, 'x');
    for (const std::string &tail : {std::string("de"), longText})
    {
        const int whole = 4 + int(tail.size());
        EXPECT_EQ(whole, buffer.sprintf("abc%c%s", '\0', tail.c_str()));
        EXPECT_EQ("abc", utText(buffer));
        EXPECT_EQ(whole, buffer.appendSprintf("fgh%c%s", '\0', tail.c_str()));
        EXPECT_EQ("abcfgh", utText(buffer));
        EXPECT_EQ(
            whole + 20,
            buffer.appendSprintf("%020d%3s%c%s", 1, "jkl", 0, tail.c_str()));
        EXPECT_EQ("abcfgh00000000000000000001jkl", utText(buffer));
    }
}

TEST(UT_WorkBuffer, AFailingFormatterLeavesWhatItWrote)
{
    // No wide character; the C library has no bytes for it in any locale.
    const wint_t bad = 0x7FFFFFFF;
    UT_WorkBuffer buffer;
    buffer.append("before");
    EXPECT_EQ(3, buffer.sprintf("abc%lcdef", bad));
    EXPECT_EQ("abc", utText(buffer));
    EXPECT_EQ(2, buffer.appendSprintf("gh%lc", bad));
    EXPECT_EQ("abcgh", utText(buffer));
    EXPECT_EQ(0, buffer.sprintf("%lc", bad));
    EXPECT_EQ("", utText(buffer));
    // Only as far as the storage goes, which does not grow for it.
    EXPECT_EQ(1983, buffer.sprintf("%5000d%lc", 1, bad));
    EXPECT_EQ(std::string(1983, ' '), utText(buffer));
    EXPECT_EQ(1983, buffer.appendSprintf("%5000d%lc", 1, bad));
    EXPECT_EQ(std::string(3966, ' '), utText(buffer));
    EXPECT_EQ(4000, buffer.capacity());
}

TEST(UT_WorkBuffer, ProtectedTextsReadBackAsOneWord)
{
    static const struct
    {
        const char *text;
        const char *plain;
        const char *forced;
    } theCases[] = {
        {nullptr,     "\"\"",           "\"\""              },
        {"",          "\"\"",           "\"\""              },
        {"abc",       "abc",            "\"abc\""           },
        {"a b\"c",    "\"a b\\\"c\"",   "\"a b\\\"c\""      },
        {"a\tb",      "\"a\tb\"",       "\"a\tb\""          },
        {"\n",        "\"\n\"",         "\"\n\""            },
        {"a\v",       "\"a\v\"",        "\"a\v\""           },
        {"\fa",       "\"\fa\"",        "\"\fa\""           },
        {"a\rb",      "a\rb",           "\"a\rb\""          },
        {"\"",        "\\\"",           "\"\\\"\""          },
        {"\\",        "\\\\",           "\"\\\\\""          },
        {"a\\\"\"b",  "a\\\\\\\"\\\"b", "\"a\\\\\\\"\\\"b\""},
        {"\xA0'\xFF", "\xA0'\xFF",      "\"\xA0'\xFF\""     },
    };
    for (const auto &row : theCases)
    {
        UT_WorkBuffer buffer;
        buffer.protectedStrcat(row.text);
        EXPECT_EQ(row.plain, utText(buffer));
        buffer.protectedStrcat(row.text, /*forceQuotes=*/true);
        EXPECT_EQ(std::string(row.plain) + row.forced, utText(buffer));
        // Its own text.
        if (row.text)
        {
            buffer.clear();
            buffer.append(row.text);
            buffer.protectedStrcat(buffer.buffer());
            EXPECT_EQ(std::string(row.text) + row.plain, utText(buffer));
        }
    }
}

TEST(UT_WorkBuffer, ALockDropsWhatWouldMoveTheEnd)
{
    UT_WorkBuffer buffer;
    buffer.append("text");
    buffer.lock(0, 0);
    buffer.lock(0, 0);
    for (int locks = 2; locks > 0; --locks)
    {
        EXPECT_TRUE(buffer.isLocked());
        buffer.append("x");
        buffer.append('x');
        buffer.append(buffer);
        buffer.append(std::string(5000, 'x').c_str());
        buffer.protectedStrcat("a b");
        EXPECT_EQ(3, buffer.appendSprintf("%s", "abc"));
        EXPECT_EQ(5000, buffer.appendSprintf("%5000d", 1));
        buffer.clear();
        buffer.write(4, 'x');
        buffer.write(9000, 'x');
        EXPECT_EQ("text", utText(buffer));
        EXPECT_EQ(2000, buffer.capacity());
        buffer.release(0);
    }
    buffer.append("!");
    EXPECT_EQ("text!", utText(buffer));

    // Deliberate: these work all the same, and a surplus release locks.
    buffer.release();
    EXPECT_TRUE(buffer.isLocked());
    buffer.write(1, 'a');
    buffer.write(3, '\0');
    EXPECT_EQ("tax", utText(buffer));
    EXPECT_EQ(6, buffer.sprintf("%d", 123456));
    EXPECT_EQ("123456", utText(buffer));
    buffer.reserve(3000);
    EXPECT_EQ(3000, buffer.capacity());
}

TEST(UT_WorkBuffer, TheLastReleaseFindsTheEndIfItIsAsked)
{
    UT_WorkBuffer buffer;
    buffer.append("head");
    char *const bytes = buffer.lock(4, 2996);
    EXPECT_EQ(buffer.buffer() + 4, bytes);
    EXPECT_EQ(3000, buffer.capacity());
    memcpy(bytes, "tail\0more", 10);
    EXPECT_FALSE(buffer.isNullTerminated());
    buffer.lock(0, 0);
    buffer.release(1); // not the last
    EXPECT_EQ(4, buffer.length());
    buffer.release(0);
    EXPECT_EQ(4, buffer.length());
    buffer.lock(0, 0);
    buffer.release(1);
    EXPECT_EQ("headtail", utText(buffer));

    // A holder who leaves no NUL in the storage.
    memset(buffer.lock(0, 5000), 'y', 5000);
    buffer.release();
    EXPECT_EQ(std::string(5000, 'y'), utText(buffer));
    EXPECT_EQ(10000, buffer.capacity());
}

TEST(UT_WorkBuffer, CopiesDifferInWhatANulMeans)
{
    UT_WorkBuffer buffer;
    buffer.append("ok\0more", 7);
    UT_String string;
    buffer.copyIntoString(string);
    EXPECT_STREQ("ok", string);
    std::ostringstream out;
    out << buffer;
    EXPECT_EQ("ok", out.str());

    const std::string text("ok\0more\0", 8);
    for (const int size : {-1, 0, 1, 2, 5, 7, 8, 10})
    {
        // One byte is the NUL's; what does not fit, or is not there, stays.
        std::string expected(10, '-');
        const size_t used = size_t(std::max(0, std::min(size - 1, 7)));
        if (size > 0)
            expected.replace(0, used + 1, text.substr(0, used) + '\0');
        char bytes[] = "----------";
        buffer.copyIntoString(bytes, size);
        EXPECT_EQ(expected, std::string(bytes, 10)) << size;
    }
    buffer.write(0, '\0');
    buffer.copyIntoString(string);
    EXPECT_STREQ("", string);
}
