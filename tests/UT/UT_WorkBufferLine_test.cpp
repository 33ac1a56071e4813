#include "UT/UT_WorkBuffer.h"

#include "UT/UT_IStream.h"
#include "UT/UT_String.h"
#include "UT/UT_WorkArgs.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using std::string_literals::operator""s;

using ut_Lines = std::vector<std::string>;

// All lines of a FILE or a stream.
template <class Input>
static ut_Lines
utLinesOf(Input &&input, UT_WorkBuffer &line)
{
    ut_Lines lines;
    while (line.getline(input))
        lines.emplace_back(line.buffer(), size_t(line.length()));
    return lines;
}

static ut_Lines
utLinesOfFile(UT_WorkBuffer &line, std::string text)
{
    FILE *const file = fmemopen(text.data(), text.size(), "r");
    const ut_Lines lines = utLinesOf(file, line);
    fclose(file);
    return lines;
}

TEST(UT_WorkBufferLine, LinesOfEveryLengthComeWhole)
{
    UT_WorkBuffer line;
    UT_WorkBuffer locked;
    locked.lock(0, 0);
    for (const size_t a : {0u, 1u, 1997u, 1998u, 1999u, 4096u, 6093u, 10000u})
        for (const std::string end : {"", "\n", "\r", "\r\n"})
        {
            SCOPED_TRACE(std::to_string(a) + " bytes before " + end);
            const std::string text = std::string(a, 'a') + "\r\nb" + end;
            const ut_Lines lines = {std::string(a, 'a'), "b"};
            EXPECT_EQ(lines, utLinesOfFile(line, text));
            // A line that meets the end stays.
            EXPECT_STREQ(text.back() == '\n' ? "" : "b", line.buffer());
            EXPECT_EQ(lines, utLinesOf(std::istringstream(text), line));
            // Reads them and takes nothing.
            EXPECT_EQ(ut_Lines({"", ""}), utLinesOfFile(locked, text));
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
        ut_Lines({"a\0b"s, "c", "\0d"s, "e"}),
        utLinesOf(std::istringstream(text), line));
}

TEST(UT_WorkBufferLine, CommandsSkipBlankLinesButNotInFiles)
{
    std::string text = "\n # c\r\necho \"a b;c\" d\r\n\tx\\\ny";
    // The words of each line, and of the end.
    const std::string wordsOfLines[] = {"",     "",   "echo,\"a,b,",
                                        "x\\,", "y,", ""};
    UT_WorkBuffer line;
    UT_WorkArgs args;
    int count = 0;
    FILE *const file = fmemopen(text.data(), text.size(), "r");
    for (const std::string &expected : wordsOfLines)
    {
        EXPECT_EQ(
            !expected.empty(), line.cmdGetLine(file, args, count, "#;", " \t"));
        std::string words;
        for (int i = 0; i < args.getArgc(); ++i)
            words += args.getArg(i) + ","s;
        EXPECT_EQ(expected, words) << "line " << count;
    }
    EXPECT_EQ(5, count);
    EXPECT_NE(0, feof(file));
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
        std::string text; // without the comment
        std::string comment;
    } theCases[] = {
        {"echo \"a#b\" ",   "# c"},
        {"echo \\# c",      ""   },
        {"a\\\\",           "# c"},
        {"'a\\'#' \"b'#\"", "#"  },
    };
    for (const auto &row : theCases)
    {
        UT_WorkBuffer buffer;
        buffer.append((row.text + row.comment).c_str());
        EXPECT_EQ(!row.comment.empty(), buffer.stripComments('#')) << row.text;
        EXPECT_EQ(row.text, buffer.buffer());
        EXPECT_EQ(int(row.text.size()), buffer.length()) << row.text;
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
