#include "UT/UT_IStreamBuf.h"

#include "ut_StreamSources.h"
#include "ut_TempDir.h"

#include <gtest/gtest.h>

#include <cstring>
#include <iostream>
#include <memory>
#include <random>
#include <sstream>
#include <string>

#include <unistd.h>

using std::string_literals::operator""s;

struct ut_Release
{
    void operator()(UT_IStreamBuf *buffer) const { buffer->release(); }
};
using ut_Source = std::unique_ptr<UT_IStreamBuf, ut_Release>;

// A layer, which alone keeps its source.
static UT_IStreamBuf *
utOver(UT_IStreamBuf *(*layer)(UT_IStreamBuf *), UT_IStreamBuf *source)
{
    return layer(ut_Source(source).get());
}

static UT_IStreamBuf *
utRange(UT_IStreamBuf *source, size_t start, size_t length)
{
    return UT_IStreamBuf::rangeBuf(
        ut_Source(source).get(), int64(start), int64(length));
}

static UT_IStreamBuf *
utMemory(const std::string &bytes)
{
    return UT_IStreamBuf::memoryBuf(bytes.data(), int(bytes.size()));
}

// A file at its front, gone at exit, and its path.
static FILE *
utFile(const std::string &bytes)
{
    FILE *const file = tmpfile();
    fwrite(bytes.data(), 1, bytes.size(), file);
    rewind(file);
    return file;
}

static UT_IStreamBuf *
utNamed(const std::string &bytes)
{
    const int file = fileno(utFile(bytes));
    return UT_IStreamBuf::fileBuf(
        ("/proc/self/fd/" + std::to_string(file)).c_str());
}

// A header with all parts: checksum, extra bytes, name and comment.
static const std::string theGzipHeader = "\x1f\x8b\x08\x1etimeXO\x04\x01" +
                                         std::string(260, '\0') +
                                         "name\0comment\0CR"s;

// Without a trailer, which does not matter.
static std::string
utGzipped(const std::string &text)
{
    return theGzipHeader + utDeflated(text).substr(2);
}

static std::string
utLine(UT_IStreamBuf &buffer)
{
    UT_WorkBuffer line;
    return buffer.getLine(line) ? line.buffer() : "(none)";
}

// Bytes that mean something to a scanner; the literal's NUL is one of them.
static std::string
utScannable(std::mt19937 &random, size_t length)
{
    static const char theAlphabet[] = "  \t\r\n\n\"\"\\\\+-..eE0159ab\xff\x80";
    std::string text;
    while (text.size() < length)
    {
        text += theAlphabet[random() % sizeof(theAlphabet)];
        // Now and then a run that no block holds.
        if (random() % 400 == 0)
            text.append(5000, "7a "[random() % 3]);
    }
    return text;
}

// What a scanner takes of a text in memory, and how far it goes. Deliberate:
// the first byte of a number is not looked at.
static const struct
{
    const char *what;
    std::string text;
    ut_Scanner scanner;
    ut_Scan expected;
} theScans[] = {
    {"a line",                   "ab\ncd",          UT_GET_LINE,   {1, "ab", false, 3}     },
    {"no line",                  "",                UT_GET_LINE,   {0, "", false, 0}       },
    {"another delimiter",        "a\r\x80\n",       UT_GET_TO_128, {1, "a\r", false, 3}    },
    {"a skipped line",           "ab\r\ncd",        UT_SKIP_LINE,  {1, "old", false, 4}    },
    {"space",                    " \t\n\v\f\r\xa0", UT_SKIP_SPACE, {1, "old", false, 6}    },
    {"a word",                   " \na\xe9,\tb",    UT_GET_WORD,   {1, "a\xe9,", false, 5} },
    {"an integer",               " -12a",           UT_GET_NUMBER, {1, "-12", false, 4}    },
    {"a sign alone",             "+-",              UT_GET_NUMBER, {1, "+", false, 1}      },
    {"a fraction",               "1.5.2",           UT_GET_NUMBER, {1, "1.5", true, 3}     },
    {"an exponent",              "12e-5e",          UT_GET_NUMBER, {1, "12e-5", true, 5}   },
    {"a point in front",         ".5 ",             UT_GET_NUMBER, {1, ".5", false, 2}     },
    {"a word that is no number", " e5 x",           UT_GET_NUMBER, {1, "e5", false, 3}     },
    {"quotes",                   " \"a b\"c",       UT_GET_STRING, {1, "a b", false, 6}    },
    {"escapes",                  "\"\\\"\\\\\\n\"", UT_GET_STRING, {1, "\"\\\\n", false, 8}},
    {"an escaped first quote",   "\\\"a b",         UT_GET_STRING, {1, "\"a", false, 3}    },
    {"an open quote",            "\"a b",           UT_GET_STRING, {0, "a b", false, 4}    },
    {"a first byte of 128",      "\x80x",           UT_GET_STRING, {0, "", false, 1}       },
};

TEST(UT_IStreamBuf, ScannersTakeWhatTheyAreFor)
{
    for (const auto &row : theScans)
        for (const bool isLocked : {false, true})
        {
            const ut_Source source(utMemory(row.text));
            // A locked work buffer takes nothing.
            ut_Scan expected = row.expected;
            if (isLocked)
                std::get<std::string>(expected) = "old";
            EXPECT_EQ(expected, utScan(*source, row.scanner, isLocked))
                << row.what << ", locked: " << isLocked;
        }
}

TEST(UT_IStreamBuf, EverySourceScansAsMemoryDoes)
{
    for (unsigned seed = 0; seed < 40; ++seed)
    {
        std::mt19937 random(seed);
        // Mostly short ones, in which all comes close together.
        const size_t most = seed % 4 == 0 ? 20000 : 40;
        const std::string text = utScannable(random, random() % most);
        const std::string junk(random() % 5000, '8');
        const std::string inJunk = junk + text + junk;
        const std::string deflated = utDeflated(text);
        const std::string inGzip = utGzipped(inJunk);
        std::istringstream stream(text);
        UT_IStreamBuf *const range =
            utRange(utNamed(inJunk), junk.size(), text.size());
        UT_IStreamBuf *const zlib =
            utOver(UT_IStreamBuf::zlibBuf, new ut_ChunkStreamBuf(deflated));
        UT_IStreamBuf *const gzip =
            utOver(UT_IStreamBuf::gzipBuf, utMemory(inGzip));
        UT_IStreamBuf *const gzipRange =
            utRange(gzip, junk.size(), text.size());
        const struct
        {
            const char *name;
            UT_IStreamBuf *source;
        } sources[] = {
            {"blocks of any size", new ut_ChunkStreamBuf(text)         },
            {"FILE",               UT_IStreamBuf::fileBuf(utFile(text))},
            {"named file",         utNamed(text)                       },
            {"standard stream",    UT_IStreamBuf::istreamBuf(stream)   },
            {"range of a file",    range                               },
            {"zlib data",          zlib                                },
            {"range of gzip data", gzipRange                           },
        };
        for (const auto &row : sources)
        {
            const ut_Source source(row.source);
            EXPECT_EQ("", utScanMismatch(*source, text, std::ref(random)))
                << row.name << ", seed " << seed;
        }
    }
}

TEST(UT_IStreamBuf, SeeksCountFromTheEndOfTheLoadBuffer)
{
    const std::string text = "0123456789abcdefghij";
    const std::string data = utDeflated(text);
    std::istringstream stream(text);
    const ut_Source memory(UT_IStreamBuf::memoryBuf(text.data(), 10));
    const ut_Source range(utRange(utMemory(text), 5, 10));
    const ut_Source file(UT_IStreamBuf::fileBuf(utFile(text)));
    const ut_Source named(utNamed(text));
    const ut_Source standard(UT_IStreamBuf::istreamBuf(stream));
    const ut_Source zlib(utOver(UT_IStreamBuf::zlibBuf, utMemory(data)));
    const struct
    {
        const char *name;
        UT_IStreamBuf &buffer;
        bool takesAByte; // before it seeks
        int64 offset;
        int whence;
        bool isFound;
        const char *line;
    } seeks[] = {
        {"memory",   *memory,   true,  -3,        1, true,  "789"                 },
        {"range",    *range,    false, -12,       2, true,  "89abcde"             },
        {"range",    *range,    false, INT64_MAX, 0, false, "(none)"              },
        {"file",     *file,     true,  -3,        1, true,  "hij"                 },
        {"named",    *named,    true,  -1,        2, true,  "j"                   },
        {"named",    *named,    false, INT64_MAX, 1, false, "(none)"              },
        {"standard", *standard, true,  -3,        1, true,  "hij"                 },
        {"zlib",     *zlib,     true,  -3,        1, true,  "hij"                 },
        {"zlib",     *zlib,     false, 0,         2, false, "0123456789abcdefghij"},
    };
    for (const auto &row : seeks)
    {
        SCOPED_TRACE(
            row.name + std::string(" by ") + std::to_string(row.offset) +
            " from " + std::to_string(row.whence));
        row.buffer.seekg(0, 0);
        if (row.takesAByte)
            row.buffer.getc();
        EXPECT_EQ(row.isFound, row.buffer.seekg(row.offset, row.whence));
        EXPECT_EQ(row.line, utLine(row.buffer));
        EXPECT_FALSE(row.buffer.seekg(0, 3));
    }
    range->seekg(0, 0);
    range->getc();
    range->getc();
    EXPECT_EQ(2, range->unwind(9)); // not to what lies before the range
}

TEST(UT_IStreamBuf, AWholeFileLeavesItsLastBlockToUnwind)
{
    const struct
    {
        size_t length;
        int lastBlock; // when it was loaded, the end was found
    } cases[] = {
        {10,     10  },
        {4096,   0   },
        {8191,   4095},
        {12288,  0   },
        {100000, 1696},
    };
    std::mt19937 random(4);
    for (const auto &row : cases)
    {
        SCOPED_TRACE(row.length);
        const std::string text = "one\n" + utScannable(random, row.length + 1);
        const ut_Source file(utNamed(text.substr(0, row.length)));
        EXPECT_EQ("one", utLine(*file));
        UT_WorkBuffer all;
        EXPECT_TRUE(file->getAll(all));
        EXPECT_EQ(text.substr(4, row.length - 4), utTextOf(all));
        EXPECT_EQ(row.lastBlock, file->unwind(100000));
        EXPECT_TRUE(file->getAll(all));
        const size_t again = size_t(row.lastBlock);
        EXPECT_EQ(text.substr(row.length - again, again), utTextOf(all));
    }
}

TEST(UT_IStreamBuf, TheEndIsSomethingElseThanAnError)
{
    const ut_Source missing(UT_IStreamBuf::fileBuf("/nowhere/at/all"));
    missing->setError("later"); // the first one stays
    EXPECT_STREQ(strerror(ENOENT), missing->getErrorStr());
    const ut_Source part(
        utRange(new ut_ChunkStreamBuf("one\ntwo\n", 3, 6), 1, 7));
    for (const char *line : {"ne", "tw", "(none)"})
        EXPECT_EQ(line, utLine(*part));
    EXPECT_STREQ(strerror(EIO), part->getErrorStr());
    const std::string deflated = utDeflated("one\ntwo\n");
    const ut_Source inflated(utOver(
        UT_IStreamBuf::zlibBuf,
        new ut_ChunkStreamBuf(deflated, 3, deflated.size() - 5)));
    UT_WorkBuffer all;
    inflated->getAll(all);
    EXPECT_STREQ(strerror(EIO), inflated->getErrorStr());
    std::istringstream stream("one");
    stream.exceptions(std::ios::failbit | std::ios::eofbit);
    const ut_Source throwing(UT_IStreamBuf::istreamBuf(stream));
    for (const char *line : {"one", "(none)"})
        EXPECT_EQ(line, utLine(*throwing));
    EXPECT_EQ(3, throwing->tellg());
}

TEST(UT_IStreamBuf, StandardInputIsSharedAndReadByLinesIfWanted)
{
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    ASSERT_EQ(9, write(ends[1], "one\r\n\ntwo", 9));
    close(ends[1]);
    dup2(ends[0], 0);
    UT_IStreamBuf::setStdinCompatible(true);
    UT_IStreamBuf *const input = UT_IStreamBuf::fileBuf(stdin);
    EXPECT_EQ(3, input->references());
    EXPECT_EQ(input, UT_IStreamBuf::istreamBuf(std::cin));
    EXPECT_EQ('o', input->getc());
    EXPECT_EQ(3, input->pending()); // "ne" and a newline
    char bytes[5] = "";
    EXPECT_EQ(4, input->bread(bytes, 4)); // the last one is not pending yet
    EXPECT_FALSE(input->hasError());
    EXPECT_STREQ("ne\n\n", bytes);
    UT_WorkBuffer text;
    EXPECT_TRUE(input->getAll(text));
    EXPECT_STREQ("two\n", text.buffer()); // each line gets a newline
}

TEST(UT_IStreamBuf, AGzipHeaderThatIsCutShortIsAnError)
{
    const std::string whole = utGzipped("text");
    for (size_t cut = 0; cut <= whole.size(); ++cut)
    {
        const ut_Source buffer(utOver(
            UT_IStreamBuf::gzipBuf,
            new ut_ChunkStreamBuf(whole.substr(0, cut))));
        UT_WorkBuffer out;
        buffer->getLine(out);
        EXPECT_EQ(0u, std::string("text").find(utTextOf(out))) << cut;
        EXPECT_STREQ(
            cut < theGzipHeader.size() ? zError(Z_STREAM_ERROR) : "Success",
            buffer->getErrorStr())
            << cut;
    }
}
