#include "UT/UT_IStream.h"
#include "UT/UT_WorkArgs.h"
#include "UT/UT_WorkBuffer.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

using ut_Lines = std::vector<std::string>;
using ut_File = std::unique_ptr<FILE, int (*)(FILE *)>;

static ut_File
utFile(const std::string &text)
{
    ut_File file(tmpfile(), fclose);
    fwrite(text.data(), 1, text.size(), file.get());
    rewind(file.get());
    return file;
}

template <class Source>
static ut_Lines
utLines(Source &&source)
{
    UT_WorkBuffer line;
    ut_Lines lines;
    while (line.getline(source))
        lines.emplace_back(line.buffer(), size_t(line.length()));
    return lines;
}

TEST(UT_WorkBufferLine, LinesOfEveryLengthComeWhole)
{
    static const int theLengths[] = {0,    1,    1997, 1998, 1999, 2000,
                                     4095, 4096, 4097, 6093, 6094, 10000};
    for (const int first : theLengths)
        for (const int second : theLengths)
            for (const std::string end : {"\n", "\r\n", "\r\r\n"})
                for (const std::string last : {"", "\r", "\n"})
                {
                    const std::string a(size_t(first), 'a');
                    const std::string b(size_t(second), 'b');
                    ut_Lines lines = {a + (end.size() > 2 ? "\r" : "")};
                    if (!(b + last).empty())
                        lines.push_back(b);
                    const std::string text = a + end + b + last;
                    EXPECT_EQ(lines, utLines(utFile(text).get())) << text;
                    EXPECT_EQ(lines, utLines(std::istringstream(text)));
                }
}

TEST(UT_WorkBufferLine, TextStaysOnceTheEndIsKnown)
{
    const ut_File file = utFile("one\nlast");
    std::istringstream stream("one\nlast");
    std::istringstream closed("one\n");
    UT_WorkBuffer line;
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(i < 2, line.getline(file.get()));
    EXPECT_STREQ("last", line.buffer());
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(i < 2, line.getline(stream));
    EXPECT_STREQ("last", line.buffer());
    EXPECT_EQ(std::ios::eofbit, stream.rdstate());
    EXPECT_TRUE(line.getline(closed));
    EXPECT_FALSE(line.getline(closed));
    EXPECT_EQ(0, line.length());
    // A write-only stream fails at once.
    const ut_File output(fopen("/dev/null", "w"), fclose);
    line.append("kept");
    EXPECT_FALSE(line.getline(output.get()));
    EXPECT_STREQ("", line.buffer());
    line.append("kept");
    EXPECT_FALSE(line.getline(output.get()));
    EXPECT_STREQ("kept", line.buffer());
}

TEST(UT_WorkBufferLine, LockedBuffersPassLines)
{
    const std::string text = std::string(5000, 'x') + "\n\ny\n";
    const ut_File file = utFile(text);
    std::istringstream stream(text);
    UT_WorkBuffer line;
    line.append("kept\r");
    line.lock(0, 0);
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_TRUE(line.getline(file.get()));
        EXPECT_TRUE(line.getline(stream));
    }
    EXPECT_FALSE(line.getline(file.get()));
    EXPECT_FALSE(line.getline(stream));
    EXPECT_STREQ("kept\r", line.buffer());
}

TEST(UT_WorkBufferLine, NulsHideBytesOfFilesOnly)
{
    using std::string_literals::operator""s;
    const std::string text = "a\0b\nc\n\0d\ne\n"s;
    EXPECT_EQ((ut_Lines{"ac", "", "e"}), utLines(utFile(text).get()));
    EXPECT_EQ(
        (ut_Lines{"a\0b"s, "c", "\0d"s, "e"}),
        utLines(std::istringstream(text)));
    UT_WorkBuffer line;
    EXPECT_TRUE(line.getline(utFile(std::string(10000, 'x') + "\n").get()));
    EXPECT_EQ(16000, line.capacity());
}

TEST(UT_WorkBufferLine, AStreamThatThrowsDoesSoAtItsEndOnly)
{
    std::istringstream stream("\n" + std::string(9000, 'x'));
    stream.exceptions(std::ios::failbit | std::ios::badbit);
    UT_WorkBuffer line;
    EXPECT_TRUE(line.getline(stream));
    EXPECT_TRUE(line.getline(stream));
    EXPECT_EQ(9000, line.length());
    stream.clear();
    EXPECT_THROW(line.getline(stream), std::ios::failure);
    // What comes before a failure is a line.
    struct ut_Broken : std::streambuf
    {
        ut_Broken() { setg(myText, myText, myText + sizeof(myText)); }
        int underflow() override { throw 1; }
        char myText[3] = {'a', 'b', 'c'};
    } broken;
    std::istream source(&broken);
    EXPECT_EQ(ut_Lines{"abc"}, utLines(source));
    EXPECT_TRUE(source.bad());
}

// What a reader of commands sees of `source`, false results too: the count of
// lines, and the arguments.
template <class Source>
static ut_Lines
utCommands(Source &&source, int calls)
{
    UT_WorkBuffer line;
    UT_WorkArgs args;
    int count = 0;
    ut_Lines seen;
    for (int i = 0; i < calls; ++i)
    {
        const bool isFound = line.cmdGetLine(source, args, count, "#;", " \t");
        EXPECT_EQ(isFound, args.getArgc() > 0);
        seen.push_back(std::to_string(count));
        for (int arg = 0; arg < args.getArgc(); ++arg)
            seen.back() += std::string("|") + args[arg];
    }
    return seen;
}

TEST(UT_WorkBufferLine, CommandsSkipBlankLinesButNotInFiles)
{
    const std::string text = "\n # c\r\necho \"a b;c\" d\r\n\n\tx\\\ny";
    const ut_Lines fromFile = {"1",   "2", "3|echo|\"a|b", "4", "5|x\\",
                               "6|y", "6"};
    EXPECT_EQ(fromFile, utCommands(utFile(text).get(), 7));
    const ut_Lines fromStream = {"3|echo|\"a|b", "5|x\\", "6|y", "6"};
    EXPECT_EQ(fromStream, utCommands(std::istringstream(text), 4));
    UT_IStream stream(text.data(), int(text.size()), UT_ISTREAM_ASCII);
    EXPECT_EQ(fromStream, utCommands(stream, 4));
}

TEST(UT_WorkBufferLine, CommandsLeaveTheLengthOfTheirLine)
{
    std::istringstream stream("one two # three");
    UT_WorkBuffer line;
    UT_WorkArgs args;
    int count = 0;
    args.setArg(0, &line[0]);
    EXPECT_FALSE(utCmdGetLine(
        line, static_cast<std::istream *>(nullptr), nullptr, args, count, "#",
        " "));
    EXPECT_EQ(1, args.getArgc());
    EXPECT_TRUE(line.cmdGetLine(stream, args, count, nullptr, " "));
    EXPECT_EQ(4, args.getArgc());
    EXPECT_STREQ("one", line.buffer());
    EXPECT_EQ(15, line.length());
    EXPECT_FALSE(line.isLocked());
}
