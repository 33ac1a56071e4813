#include "UT/UT_IStream.h"
#include "UT/UT_String.h"
#include "UT/UT_WorkArgs.h"
#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <sstream>

using std::string_literals::operator""s;

// The lines of a text as a FILE and then as a stream, each with a bar behind.
static std::string
utLines(UT_WorkBuffer &line, std::string text)
{
    std::string lines;
    std::istringstream stream(text);
    FILE *const file = fmemopen(text.data(), text.size(), "r");
    while (line.getline(file) || line.getline(stream))
        lines.append(line.buffer(), size_t(line.length())).append("|");
    fclose(file);
    return lines;
}

TEST(UT_WorkBufferLine, LinesOfEveryLengthComeWhole)
{
    UT_WorkBuffer line;
    UT_WorkBuffer locked;
    locked.lock(0, 0);
    for (const size_t a : {0u, 1u, 1997u, 1998u, 1999u, 4096u, 6093u, 10000u})
        for (const size_t b : {1u, 4095u, 4096u, 4097u, 6094u})
            for (const std::string end : {"", "\n", "\r", "\r\n"})
            {
                const std::string text =
                    std::string(a, 'a') + "\r\n" + std::string(b, 'b');
                std::string lines = text + '|';
                lines.replace(a, 2, "|");
                EXPECT_EQ(lines + lines, utLines(line, text + end));
                EXPECT_EQ("||||", utLines(locked, text + end));
            }
    EXPECT_EQ(16000, line.capacity());
    EXPECT_EQ("ac||e|a\0b|c|\0d|e|"s, utLines(line, "a\0b\nc\n\0d\ne"s));
    EXPECT_STREQ("e", line.buffer());
    std::istringstream stream("\n" + std::string(9000, 'x'));
    stream.exceptions(std::ios::failbit);
    EXPECT_TRUE(line.getline(stream) && line.getline(stream));
}

TEST(UT_WorkBufferLine, CommandsSkipBlankLinesButNotInFiles)
{
    std::string text = "\n # c\r\necho \"a b;c\" d\r\n\tx\\\ny";
    UT_WorkBuffer line;
    std::string seen;
    const auto read = [&](auto &source, int calls)
    {
        UT_WorkArgs args;
        for (int count = 0; calls-- > 0;)
        {
            line.cmdGetLine(source, args, count, "#;", " \t");
            seen += ' ' + std::to_string(count);
            for (int arg = 0; arg < args.getArgc(); ++arg)
                seen += "|"s + args[arg];
        }
    };
    FILE *const file = fmemopen(text.data(), text.size(), "r");
    read(file, 6);
    fclose(file);
    std::istringstream stream(text);
    read(stream, 4);
    UT_IStream in(text.data(), int(text.size()), UT_ISTREAM_ASCII);
    read(in, 1);
    EXPECT_EQ(
        " 1 2 3|echo|\"a|b 4|x\\ 5|y 5"
        " 3|echo|\"a|b 4|x\\ 5|y 5 3|echo|\"a|b",
        seen);
    EXPECT_EQ(14, line.length());
}

TEST(UT_WorkBufferWord, TokensEndAtOneSeparator)
{
    UT_WorkBuffer buffer;
    buffer.append("  a ,,bc,-d ");
    const char *cursor = buffer.buffer(); // its own text
    std::string tokens;
    while (buffer.getNextToken(cursor, " ,"))
        tokens.append(buffer.buffer()).append(cursor).append("|");
    EXPECT_EQ("a,,bc,-d |bc-d |-d|", tokens);
}

TEST(UT_WorkBufferWord, CommentsStartOutsideQuotes)
{
    static const std::string theCases[][3] = {
        {"#", "\"a#b\" # c",      "\"a#b\" "       },
        {"#", "echo \\# c",       "echo \\# c"     },
        {"#", "a\\\\# c",         "a\\\\"          },
        {"#", "'a\\'#' \"b'#\"#", "'a\\'#' \"b'#\""},
        {"'", "a'b",              "a'b"            },
        {"",  "a\\",              "a\\"            }
    };
    for (const auto &[start, text, rest] : theCases)
    {
        UT_WorkBuffer buffer;
        buffer.append(text.c_str());
        EXPECT_EQ(text != rest, buffer.stripComments(*start.c_str()));
        EXPECT_EQ(rest, std::string(buffer.buffer(), size_t(buffer.length())));
    }
}

TEST(UT_WorkBufferWord, FirstWordsAreAppendedInSpiteOfALock)
{
    UT_WorkBuffer buffer;
    buffer.append("a\0hidden", 8);
    buffer.lock(0, 0);
    buffer.strcatFirstWord(" \t\r\v\nb\rc");
    for (int i = 0; i < 12; ++i)
        buffer.strcatFirstWord(buffer.buffer() + 1); // its own tail
    EXPECT_EQ("a" + std::string(4096, 'b'), buffer.buffer());
}
