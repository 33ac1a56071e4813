#include "UT/UT_WorkBuffer.h"

#include "UT/UT_IStream.h"
#include "UT/UT_String.h"
#include "UT/UT_WorkArgs.h"

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
}

TEST(UT_WorkBufferLine, CommandsSkipBlankLinesButNotInFiles)
{
    std::string text = "\n # c\r\necho \"a b;c\" d\r\n\tx\\\ny";
    UT_WorkBuffer line;
    UT_WorkArgs args;
    int count = 0;
    std::string seen;
    FILE *const file = fmemopen(text.data(), text.size(), "r");
    while (line.cmdGetLine(file, args, count, "#;", " \t") || !feof(file))
        for (int arg = 0; arg <= args.getArgc(); ++arg)
            seen += args[arg] ? args[arg] + "|"s : std::to_string(count);
    EXPECT_EQ("12echo|\"a|b|3x\\|4y|5", seen);
    fclose(file);
    UT_IStream in(text.data(), int(text.size()), UT_ISTREAM_ASCII);
    EXPECT_TRUE(line.cmdGetLine(in, args, count, "#;", " \t") && count == 8);
    EXPECT_EQ(14, line.length());
}

TEST(UT_WorkBufferLine, StreamsThatThrowLoseNoLine)
{
    const std::ios::iostate throws =
        std::ios::eofbit | std::ios::failbit | std::ios::badbit;
    std::istringstream lines("first\nlast");
    std::istringstream commands("one\n\ntwo");
    lines.exceptions(throws);
    commands.exceptions(throws);
    UT_WorkBuffer line;
    UT_WorkArgs args;
    int count = 0;
    for (const char *text : {"first", "last"})
    {
        EXPECT_TRUE(line.getline(lines)) << text;
        EXPECT_STREQ(text, line.buffer());
    }
    EXPECT_FALSE(line.getline(lines));
    for (const char *text : {"one", "two"})
    {
        EXPECT_TRUE(line.cmdGetLine(commands, args, count, "#", " ")) << text;
        EXPECT_STREQ(text, args[0]);
    }
    EXPECT_FALSE(line.cmdGetLine(commands, args, count, "#", " "));
    EXPECT_EQ(3, count);
    EXPECT_EQ(throws, commands.exceptions()); // for others who read it
}

TEST(UT_WorkBufferWord, CommentsStartOutsideQuotes)
{
    // A bar is where the comment starts.
    for (std::string text :
         {"echo \"a#b\" |# c", "echo \\# c", "a\\\\|# c", "'a\\'#' \"b'#\"|#"})
    {
        UT_WorkBuffer buffer;
        const size_t cut = text.find('|');
        buffer.append(text.erase(std::min(cut, text.size()), 1).c_str());
        EXPECT_EQ(cut < text.size(), buffer.stripComments('#')) << text;
        EXPECT_EQ(int(std::min(cut, text.size())), buffer.length()) << text;
        EXPECT_FALSE(buffer.stripComments('\'') || buffer.stripComments('\0'));
    }
}

TEST(UT_WorkBufferWord, WordsMayBeTheBuffersOwn)
{
    UT_WorkBuffer buffer;
    buffer.append(" ,a ,b,c\0hidden", 15);
    const char *cursor = buffer.buffer();
    EXPECT_TRUE(buffer.getNextToken(cursor, " ,") && *cursor == ',');
    buffer.lock(0, 0); // which keeps the token away
    EXPECT_TRUE(buffer.getNextToken(cursor, " ,") && *cursor == 'c');
    buffer.strcatFirstWord(" \t\r\v\nb\rc");
    for (int i = 0; i < 12; ++i)
        buffer.strcatFirstWord(buffer.buffer() + 1);
    EXPECT_EQ("a" + std::string(4096, 'b'), buffer.buffer());
}
