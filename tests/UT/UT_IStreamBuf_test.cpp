#include "UT/UT_IStreamBuf.h"

#include "UT/UT_WorkBuffer.h"
#include "ut_ScanModel.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <streambuf>

#include <fcntl.h>
#include <unistd.h>

// One reference, given back at the end.
class ut_Source
{
public:
    explicit ut_Source(UT_IStreamBuf *buffer) : myBuffer(buffer) {}
    ut_Source(const ut_Source &) = delete;
    ut_Source &operator=(const ut_Source &) = delete;
    ~ut_Source() { myBuffer->release(); }
    UT_IStreamBuf *operator->() const { return myBuffer; }
    UT_IStreamBuf &operator*() const { return *myBuffer; }
    UT_IStreamBuf *get() const { return myBuffer; }

private:
    UT_IStreamBuf *myBuffer;
};

// Only the layer keeps its source.
static UT_IStreamBuf *
utOver(UT_IStreamBuf *(*layer)(UT_IStreamBuf *), UT_IStreamBuf *source)
{
    const ut_Source lower(source);
    return layer(source);
}

static UT_IStreamBuf *
utRangeOver(UT_IStreamBuf *source, int64 start, size_t length)
{
    const ut_Source lower(source);
    return UT_IStreamBuf::rangeBuf(source, start, int64(length));
}

static UT_IStreamBuf *
utMemory(const std::string &bytes)
{
    return UT_IStreamBuf::memoryBuf(bytes.data(), int(bytes.size()));
}

// A file without a name, at its front. Closed at exit.
static FILE *
utFile(const std::string &bytes)
{
    FILE *const file = tmpfile();
    fwrite(bytes.data(), 1, bytes.size(), file);
    rewind(file);
    return file;
}

static std::string
utPath(FILE *file)
{
    return "/proc/self/fd/" + std::to_string(fileno(file));
}

static std::string
utLine(UT_IStreamBuf &buffer)
{
    UT_WorkBuffer line;
    return buffer.getLine(line)
               ? std::string(line.buffer(), size_t(line.length()))
               : "(none)";
}

TEST(UT_IStreamBuf, EverySourceScansAsModelledByByte)
{
    static const char theAlphabet[] = "  \t\r\n\n\"\"\\\\+-..eE0159ab\xff\x80";
    for (unsigned seed = 0; seed < 40; ++seed)
    {
        std::mt19937 random(seed);
        const size_t length = seed % 4 ? random() % 40 : random() % 20000;
        std::string text;
        // Now and then a run that no block holds; NULs are in the alphabet.
        while (text.size() < length)
            text += random() % 400
                        ? std::string(
                              1, theAlphabet[random() % sizeof(theAlphabet)])
                        : std::string(5000, "7a "[random() % 3]);
        const std::string junk(random() % 5000, '8');
        const std::string gzip = utDeflated(text, 31);
        const std::string inRange = junk + gzip + junk;
        const std::string inGzip = utDeflated(junk + text + junk, 31);
        const std::string zlib = utDeflated(text, 15);
        FILE *const file = utFile(text);
        std::istringstream stream(text);
        const auto start = int64(junk.size());
        UT_IStreamBuf *const sources[] = {
            utMemory(text),
            new ut_ChunkStreamBuf(text),
            new ut_ChunkStreamBuf(text, 9000),
            UT_IStreamBuf::fileBuf(file),
            UT_IStreamBuf::fileBuf(utPath(file).c_str()),
            UT_IStreamBuf::istreamBuf(stream),
            utRangeOver(
                UT_IStreamBuf::fileBuf(utFile(junk + text + junk)), start,
                text.size()),
            utOver(UT_IStreamBuf::zlibBuf, new ut_ChunkStreamBuf(zlib)),
            utOver(
                UT_IStreamBuf::gzipBuf,
                utRangeOver(
                    UT_IStreamBuf::fileBuf(utFile(inRange)), start,
                    gzip.size())),
            utRangeOver(
                utOver(UT_IStreamBuf::gzipBuf, utMemory(inGzip)), start,
                text.size()),
        };
        int kind = 0;
        for (UT_IStreamBuf *source : sources)
        {
            const ut_Source buffer(source);
            EXPECT_EQ("", utScanMismatch(*buffer, text, std::ref(random)))
                << "seed " << seed << ", source " << kind;
            ++kind;
        }
    }
}

TEST(UT_IStreamBuf, RandomSeeksThroughStackedBuffersFindThePlainBytes)
{
    std::mt19937 random(7);
    std::string text(3000000, '\0');
    for (char &byte : text)
        byte = char(random() % 1000 ? random() % 8 : random());
    const std::string gzip = utDeflated(text, 31);
    const int64 start = 1234567;
    const int64 length = 1500000;
    const std::string packed = utPath(utFile("front" + gzip + "back"));
    const ut_Source whole(utOver(
        UT_IStreamBuf::gzipBuf,
        utRangeOver(UT_IStreamBuf::fileBuf(packed.c_str()), 5, gzip.size())));
    const ut_Source part(UT_IStreamBuf::rangeBuf(whole.get(), start, length));
    const ut_Source plain(UT_IStreamBuf::fileBuf(utPath(utFile(text)).c_str()));
    for (int i = 0; i < 99; ++i)
    {
        const bool isPart = i % 3 == 1;
        UT_IStreamBuf &buffer = isPart ? *part : i % 3 ? *plain : *whole;
        const int64 first = isPart ? start : 0;
        const int64 size = isPart ? length : int64(text.size());
        const int64 offset = int64(random()) % (size + 1);
        const int64 wanted =
            std::min(int64(random() % (i % 2 ? 9000 : 200000)), size - offset);
        ASSERT_TRUE(buffer.seekg(offset, 0)) << i;
        std::string bytes(size_t(wanted), '\0');
        for (size_t k = 0; k < bytes.size() && random() % 30; ++k)
            bytes[k] = char(buffer.getc());
        ASSERT_TRUE(buffer.seekg(offset, 0));
        ASSERT_EQ(wanted, buffer.bread(bytes.data(), int(wanted))) << i;
        EXPECT_TRUE(
            bytes == text.substr(size_t(first + offset), size_t(wanted)))
            << i;
        EXPECT_EQ(offset + wanted, buffer.tellg());
    }
}

// From the front: how many bytes to take, a seek, and what is there.
TEST(UT_IStreamBuf, SeeksCountFromBehindTheLoadBuffer)
{
    static const char theText[] = "0123456789abcdefghij";
    FILE *const file = utFile(theText);
    std::istringstream stream(theText);
    const ut_Source memory(UT_IStreamBuf::memoryBuf(theText, 10));
    const ut_Source range(
        utRangeOver(UT_IStreamBuf::memoryBuf(theText, 20), 5, 10));
    const ut_Source plain(UT_IStreamBuf::fileBuf(file));
    const ut_Source named(UT_IStreamBuf::fileBuf(utPath(file).c_str()));
    const ut_Source standard(UT_IStreamBuf::istreamBuf(stream));
    const std::string data = utDeflated(theText, 15);
    const ut_Source zlib(utOver(UT_IStreamBuf::zlibBuf, utMemory(data)));
    const ut_Source null(UT_IStreamBuf::nullBuf());
    const struct
    {
        UT_IStreamBuf *buffer;
        int taken; // by getc()
        int64 offset;
        int whence;
        int64 place; // -1 for a seek that fails
        const char *line;
    } rows[] = {
        {memory.get(),   1, -3,        1,  7,  "789"                 },
        {memory.get(),   1, 99,        2,  0,  "0123456789"          }, // the offset is ignored
        {memory.get(),   0, 99,        2,  10, "(none)"              },
        {memory.get(),   1, 1,         1,  -1, "(none)"              },
        {memory.get(),   0, -1,        0,  -1, "(none)"              },
        {memory.get(),   0, INT64_MAX, 1,  -1, "(none)"              },
        {memory.get(),   0, 0,         3,  -1, "(none)"              },
        {range.get(),    0, 4,         0,  4,  "9abcde"              },
        {range.get(),    0, 10,        0,  10, "(none)"              },
        {range.get(),    0, 12,        0,  12, "(none)"              }, // behind the end
        {range.get(),    0, -1,        0,  -1, "(none)"              },
        {range.get(),    0, 3,         1,  3,  "89abcde"             },
        {range.get(),    0, -12,       2,  3,  "89abcde"             }, // by the range's end: 15 - 12
        {range.get(),    0, 0,         7,  -1, "(none)"              },
        {range.get(),    0, INT64_MIN, 0,  -1, "(none)"              },
        {range.get(),    0, INT64_MAX, 0,  -1, "(none)"              },
        {plain.get(),    1, -3,        1,  17, "hij"                 },
        {plain.get(),    1, -1,        2,  19, "j"                   },
        {plain.get(),    0, -1,        0,  -1, "(none)"              },
        {plain.get(),    0, 0,         -1, -1, "(none)"              },
        {named.get(),    1, -3,        1,  17, "hij"                 },
        {named.get(),    1, -1,        2,  19, "j"                   },
        {named.get(),    0, -1,        0,  -1, "(none)"              },
        {named.get(),    0, 0,         -1, -1, "(none)"              },
        {named.get(),    0, INT64_MAX, 1,  -1, "(none)"              },
        {standard.get(), 1, -3,        1,  17, "hij"                 },
        {standard.get(), 1, -1,        2,  19, "j"                   },
        {standard.get(), 0, 99,        0,  -1, "(none)"              },
        {zlib.get(),     1, -3,        1,  17, "hij"                 },
        {zlib.get(),     0, 0,         2,  -1, "0123456789abcdefghij"},
        {zlib.get(),     0, 21,        0,  -1, "(none)"              },
        {zlib.get(),     5, -30,       1,  -1, "0123456789abcdefghij"},
        {null.get(),     0, 0,         0,  -1, "(none)"              },
    };
    for (const auto &row : rows)
    {
        row.buffer->seekg(0, 0);
        for (int i = 0; i < row.taken; ++i)
            EXPECT_EQ(theText[i], row.buffer->getc());
        const auto place = row.buffer->seekg(row.offset, row.whence)
                               ? row.buffer->tellg()
                               : -1;
        EXPECT_EQ(row.place, place) << &row - rows;
        EXPECT_EQ(row.line, utLine(*row.buffer)) << &row - rows;
    }
    EXPECT_EQ(5, (range->seekg(12, 0), range->seekg(5, 0), range->tellg()));
}

TEST(UT_IStreamBuf, UnwindsWithinTheBlockOnly)
{
    const ut_Source range(
        utRangeOver(UT_IStreamBuf::memoryBuf("abcdef", 6), 2, 3));
    EXPECT_EQ(0, range->unwind(1));
    EXPECT_EQ('c', range->getc());
    EXPECT_EQ('d', range->getc());
    EXPECT_EQ(2, range->unwind(5)); // not to what is in front of the range
    EXPECT_EQ(0, range->unwind(-1));
    EXPECT_EQ("cde", utLine(*range));
    EXPECT_EQ(0, (range->getc(), range->unwind(1))); // the end has no block

    std::string file(5000, 'x');
    const ut_Source blocks(UT_IStreamBuf::fileBuf(utFile(file)));
    for (int i = 0; i < 4098; ++i)
        blocks->getc();
    EXPECT_EQ(2, blocks->unwind(4098));
    EXPECT_EQ(4096, blocks->tellg());
}

TEST(UT_IStreamBuf, TheEndIsToldApartFromErrors)
{
    const std::string text(4096, 'x');
    const ut_Source file(UT_IStreamBuf::fileBuf(utFile(text)));
    UT_WorkBuffer line;
    std::string bytes(4096, '\0');
    EXPECT_EQ(4096, file->bread(bytes.data(), 4096));
    EXPECT_FALSE(file->endOfBuffer()); // until a read meets it
    EXPECT_EQ(-1, file->peekc());
    EXPECT_TRUE(file->endOfBuffer());
    EXPECT_FALSE(file->getLine(line));
    EXPECT_FALSE(file->hasError());
    EXPECT_EQ(0, file->bread(bytes.data(), 1));
    EXPECT_TRUE(file->hasError());
    line.append("kept");
    EXPECT_FALSE(file->getLine(line));
    EXPECT_STREQ("kept", line.buffer());
    EXPECT_EQ(0, file->tellg());
    EXPECT_TRUE(file->seekg(-1, 2));
    EXPECT_EQ("x", utLine(*file));

    errno = 0;
    const ut_Source missing(UT_IStreamBuf::fileBuf("/nowhere/at/all"));
    EXPECT_STREQ(strerror(ENOENT), missing->getErrorStr());
    missing->setError("later"); // the first one stays
    EXPECT_STREQ(strerror(ENOENT), missing->getErrorStr());
    const ut_Source folder(UT_IStreamBuf::fileBuf("/"));
    EXPECT_FALSE(folder->getLine(line));
    EXPECT_STREQ(strerror(EISDIR), folder->getErrorStr());

    // A source that fails in the middle: what came before is delivered, and
    // the layers tell of it.
    const ut_Source part(
        utRangeOver(new ut_ChunkStreamBuf("one\ntwo\n", 3, 6), 1, 7));
    EXPECT_EQ("ne", utLine(*part));
    EXPECT_EQ("tw", utLine(*part));
    EXPECT_EQ("(none)", utLine(*part));
    EXPECT_STREQ(strerror(EIO), part->getErrorStr());

    const ut_Source named(UT_IStreamBuf::fileBuf("/dev/null"));
    EXPECT_TRUE(named->closeFile() && named->closeFile());
    EXPECT_EQ(-1, named->tellg());
    EXPECT_EQ(-1, named->peekc());
    EXPECT_FALSE(named->seekg(0, 0));
}

// Throws what a stream's exceptions() ask for, and from within.
TEST(UT_IStreamBuf, StandardStreamsThatThrowOnlyFail)
{
    struct ut_Failing : std::streambuf
    {
        int_type underflow() override { throw std::runtime_error("disk"); }
    } failing;
    std::istream broken(&failing);
    broken.exceptions(std::ios::badbit);
    const ut_Source bad(UT_IStreamBuf::istreamBuf(broken));
    EXPECT_EQ("(none)", utLine(*bad));
    EXPECT_TRUE(bad->hasError());
    EXPECT_FALSE(bad->seekg(0, 0));

    std::istringstream stream("one\ntwo");
    stream.exceptions(std::ios::failbit | std::ios::eofbit);
    const ut_Source good(UT_IStreamBuf::istreamBuf(stream));
    EXPECT_EQ("one", utLine(*good));
    EXPECT_EQ("two", utLine(*good));
    EXPECT_EQ("(none)", utLine(*good));
    EXPECT_EQ(7, good->tellg());
    EXPECT_TRUE(good->seekg(4, 0));
    EXPECT_EQ("two", utLine(*good));
}

// Standard input reads `bytes` from a pipe that is closed behind them.
static void
utPipeIntoStdin(const std::string &bytes)
{
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    ASSERT_EQ(
        ssize_t(bytes.size()), write(ends[1], bytes.data(), bytes.size()));
    close(ends[1]);
    dup2(ends[0], 0);
    close(ends[0]);
}

TEST(UT_IStreamBuf, StandardInputIsSharedAndNeverDestroyed)
{
    utPipeIntoStdin("one\r\ntwo");
    UT_IStreamBuf *const first = UT_IStreamBuf::fileBuf(stdin);
    EXPECT_EQ(3, first->references());
    EXPECT_EQ(first, UT_IStreamBuf::istreamBuf(std::cin));
    EXPECT_EQ(4, first->references());
    first->release();
    EXPECT_EQ('o', first->getc());
    EXPECT_EQ(7, first->pending()); // in blocks
    first->release();
    EXPECT_EQ("ne", utLine(*first));
}

TEST(UT_IStreamBuf, StandardInputCanBeReadByLines)
{
    utPipeIntoStdin("one\r\n\ntwo");
    UT_IStreamBuf::setStdinCompatible(true);
    UT_IStreamBuf *const input = UT_IStreamBuf::fileBuf(stdin);
    EXPECT_EQ('o', input->peekc());
    UT_WorkBuffer text;
    EXPECT_EQ('o', input->getc());
    EXPECT_EQ(3, input->pending()); // "ne" and a newline
    EXPECT_TRUE(input->getAll(text));
    EXPECT_STREQ("ne\n\ntwo\n", text.buffer()); // each line gets one
    EXPECT_FALSE(input->hasError());
    char byte = 0;
    EXPECT_EQ(0, input->bread(&byte, 1));
    EXPECT_TRUE(input->hasError());
    EXPECT_FALSE(input->seekg(0, 0)); // a pipe
}

TEST(UT_IStreamBuf, ALineFromATerminalIsThereWhenTyped)
{
    const int keyboard = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_EQ(0, grantpt(keyboard) | unlockpt(keyboard));
    FILE *const terminal = fopen(ptsname(keyboard), "r");
    ASSERT_NE(nullptr, terminal);
    ASSERT_EQ(6, write(keyboard, "hello\n", 6));
    {
        const ut_Source typed(UT_IStreamBuf::fileBuf(terminal));
        EXPECT_EQ("hello", utLine(*typed)); // a block would wait for more
    }
    fclose(terminal);
    close(keyboard);
}

// A header with the parts that `flags` tells of, in front of raw data.
static std::string
utGzip(int flags, const std::string &data)
{
    std::string out("\x1f\x8b\x08", 3);
    out += char(flags) + std::string("timeXO");
    if (flags & 4)
        out += std::string("\x04\x01", 2) + std::string(260, '\0');
    if (flags & 8)
        out += std::string("name\0", 5);
    if (flags & 16)
        out += std::string("\xff comment\0", 10);
    if (flags & 2)
        out += "CR";
    return out + data + "trailers";
}

// What zlib itself makes of raw data that stop somewhere.
static std::string
utInflated(std::string data)
{
    char out[1000];
    z_stream stream = {};
    inflateInit2(&stream, -15);
    stream.next_in = reinterpret_cast<Bytef *>(data.data());
    stream.avail_in = uInt(data.size());
    stream.next_out = reinterpret_cast<Bytef *>(out);
    stream.avail_out = sizeof(out);
    inflate(&stream, Z_SYNC_FLUSH);
    inflateEnd(&stream);
    return std::string(out, stream.total_out);
}

TEST(UT_IStreamBuf, GzipDataMayStopAnywhere)
{
    const std::string data = utDeflated("The text, the text, the end.\n", -15);
    for (int flags = 0; flags < 256; ++flags)
    {
        const std::string whole = utGzip(flags, data);
        const size_t header = whole.size() - data.size() - 8;
        for (size_t cut = flags < 32 ? 0 : whole.size(); cut <= whole.size();
             ++cut)
        {
            const bool isGood = flags < 32 && cut >= header;
            const std::string expected =
                isGood ? utInflated(whole.substr(header, cut - header)) : "";
            for (unsigned most : {1u, 9999u})
            {
                const ut_Source buffer(utOver(
                    UT_IStreamBuf::gzipBuf,
                    new ut_ChunkStreamBuf(whole.substr(0, cut), most)));
                char out[1000];
                const int length = buffer->bread(out, sizeof(out));
                EXPECT_EQ(expected, std::string(out, size_t(length)));
                EXPECT_EQ(isGood, !buffer->hasError()) << flags << " " << cut;
                EXPECT_STREQ(
                    isGood ? "Success" : zError(Z_STREAM_ERROR),
                    buffer->getErrorStr());
            }
        }
    }
}

// Damaged here: the checksum.
TEST(UT_IStreamBuf, DamagedDataFailAfterTheirGoodBytes)
{
    const std::string text(100000, 'x');
    std::string data = utDeflated(text, 15);
    data.back() = char(data.back() ^ 1);
    const ut_Source all(utOver(UT_IStreamBuf::zlibBuf, utMemory(data)));
    const ut_Source bytes(utOver(UT_IStreamBuf::zlibBuf, utMemory(data)));
    std::string read(text.size() + 1, '\0');
    EXPECT_EQ(100000, all->bread(read.data(), int(read.size())));
    EXPECT_STREQ(zError(Z_DATA_ERROR), all->getErrorStr());
    for (int i = 0; i < 100000; ++i)
        ASSERT_EQ('x', bytes->getc()) << i;
    EXPECT_FALSE(bytes->hasError());
    EXPECT_EQ(-1, bytes->getc());
    EXPECT_TRUE(bytes->hasError());
    EXPECT_TRUE(bytes->seekg(99999, 0));
    EXPECT_EQ("x", utLine(*bytes));
}
