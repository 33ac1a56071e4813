#include "UT/UT_WorkBuffer.h"

#include "UT/UT_IStream.h"
#include "UT/UT_String.h"
#include "UT/UT_WorkArgs.h"

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <string>
#include <vector>

using std::string_literals::operator""s;

using ut_Lines = std::vector<std::string>;

static ut_Lines
utLinesOfFile(UT_WorkBuffer &line, std::string text)
{
    ut_Lines lines;
    FILE *const file = fmemopen(text.data(), text.size(), "r");
    while (line.getline(file))
        lines.emplace_back(line.buffer(), size_t(line.length()));
    fclose(file);
    return lines;
}

static ut_Lines
utLinesOfStream(UT_WorkBuffer &line, const std::string &text)
{
    ut_Lines lines;
    std::istringstream stream(text);
    while (line.getline(stream))
        lines.emplace_back(line.buffer(), size_t(line.length()));
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
                const std::string first(a, 'a');
                const std::string second(b, 'b');
                const std::string text = first + "\r\n" + second + end;
                SCOPED_TRACE(
                    std::to_string(a) + " and " + std::to_string(b) +
                    " bytes, an end of " + std::to_string(end.size()));
                const ut_Lines lines = {first, second};
                EXPECT_EQ(lines, utLinesOfFile(line, text));
                EXPECT_EQ(lines, utLinesOfStream(line, text));
                // Reads them and takes nothing.
                const ut_Lines empty = {"", ""};
                EXPECT_EQ(empty, utLinesOfFile(locked, text));
                EXPECT_EQ(empty, utLinesOfStream(locked, text));
            }
    EXPECT_EQ(16000, line.capacity());
}

TEST(UT_WorkBufferLine, OnlyStreamsKeepNuls)
{
    UT_WorkBuffer line;
    const std::string text = "a\0b\nc\n\0d\ne"s;
    // Deliberate: a piece that starts with a NUL ends the line. After one
    // further on, the next line follows.
    EXPECT_EQ(ut_Lines({"ac", "", "e"}), utLinesOfFile(line, text));
    EXPECT_EQ(
        ut_Lines({"a\0b"s, "c", "\0d"s, "e"}), utLinesOfStream(line, text));
}

TEST(UT_WorkBufferLine, ALineThatMeetsTheEndStays)
{
    FILE *const file = tmpfile();
    fputs("a", file);
    rewind(file);
    UT_WorkBuffer line;
    EXPECT_TRUE(line.getline(file));
    EXPECT_FALSE(line.getline(file));
    EXPECT_STREQ("a", line.buffer());
    fclose(file);
}

// One call of cmdGetLine().
struct ut_Command
{
    bool isFound;
    int lineCount;
    ut_Lines words;
};

TEST(UT_WorkBufferLine, CommandsSkipBlankLinesButNotInFiles)
{
    std::string text = "\n # c\r\necho \"a b;c\" d\r\n\tx\\\ny";
    const ut_Command fromFile[] = {
        {false, 1, {}                  },
        {false, 2, {}                  },
        {true,  3, {"echo", "\"a", "b"}},
        {true,  4, {"x\\"}             },
        {true,  5, {"y"}               },
    };
    UT_WorkBuffer line;
    UT_WorkArgs args;
    int count = 0;
    FILE *const file = fmemopen(text.data(), text.size(), "r");
    for (const ut_Command &command : fromFile)
    {
        SCOPED_TRACE(command.lineCount);
        EXPECT_EQ(
            command.isFound, line.cmdGetLine(file, args, count, "#;", " \t"));
        EXPECT_EQ(command.lineCount, count);
        EXPECT_EQ(
            command.words,
            ut_Lines(args.getArgv(), args.getArgv() + args.getArgc()));
        EXPECT_EQ(nullptr, args[args.getArgc()]);
    }
    EXPECT_FALSE(line.cmdGetLine(file, args, count, "#;", " \t"));
    EXPECT_NE(0, feof(file));
    EXPECT_EQ(5, count);
    fclose(file);
    UT_IStream in(text.data(), int(text.size()), UT_ISTREAM_ASCII);
    EXPECT_TRUE(line.cmdGetLine(in, args, count, "#;", " \t"));
    EXPECT_EQ(5 + 3, count);
    // Deliberate: the text is the first word, the length that of the line.
    EXPECT_EQ(14, line.length());
    EXPECT_STREQ("echo", line.buffer());
}

TEST(UT_WorkBufferWord, CommentsStartOutsideQuotes)
{
    static const struct
    {
        const char *text; // without the comment
        const char *comment;
    } theCases[] = {
        {"echo \"a#b\" ",   "# c"},
        {"echo \\# c",      ""   },
        {"a\\\\",           "# c"},
        {"'a\\'#' \"b'#\"", "#"  },
    };
    for (const auto &row : theCases)
    {
        UT_WorkBuffer buffer;
        buffer.append(row.text);
        buffer.append(row.comment);
        SCOPED_TRACE(buffer.buffer());
        EXPECT_EQ(*row.comment != '\0', buffer.stripComments('#'));
        EXPECT_STREQ(row.text, buffer.buffer());
        EXPECT_EQ(int(strlen(row.text)), buffer.length());
        EXPECT_FALSE(buffer.stripComments('\''));
        EXPECT_FALSE(buffer.stripComments('\0'));
    }
}

TEST(UT_WorkBufferWord, TokensMayBeTheBuffersOwn)
{
    UT_WorkBuffer buffer;
    buffer.append(" ,a ,b,c\0hidden", 15);
    const char *cursor = buffer.buffer();
    EXPECT_TRUE(buffer.getNextToken(cursor, " ,"));
    EXPECT_STREQ(",b,c", cursor);
    EXPECT_STREQ("a", buffer.buffer());
    buffer.lock(0, 0); // which keeps the token away
    EXPECT_TRUE(buffer.getNextToken(cursor, " ,"));
    EXPECT_STREQ("c", cursor);
    EXPECT_STREQ("a", buffer.buffer());
}

TEST(UT_WorkBufferWord, WordsMayBeTheBuffersOwn)
{
    UT_WorkBuffer buffer;
    buffer.append("a");
    // Deliberate: a lock does not prevent it.
    buffer.lock(0, 0);
    buffer.strcatFirstWord(" \t\r\v\nb\rc");
    EXPECT_STREQ("ab", buffer.buffer());
    for (int doubling = 0; doubling < 12; ++doubling)
        buffer.strcatFirstWord(buffer.buffer() + 1);
    EXPECT_EQ("a" + std::string(4096, 'b'), buffer.buffer());
    EXPECT_EQ(1 + 4096, buffer.length());
}
