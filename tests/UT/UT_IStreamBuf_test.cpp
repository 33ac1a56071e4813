#include "UT/UT_IStreamBuf.h"

#include "ut_ScanModel.h"
#include "ut_TempDir.h"

#include <gtest/gtest.h>

#include <iostream>
#include <memory>
#include <random>
#include <sstream>
#include <tuple>

#include <unistd.h>

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

// A header with the parts that `flags` tells of; the trailer does not matter.
static std::string
utGzipped(const std::string &text, int flags = 0)
{
    std::string out = std::string("\x1f\x8b\x08") + char(flags) + "timeXO";
    out += flags & 4 ? std::string("\x04\x01", 2) + std::string(260, 'x') : "";
    out += std::string(flags & 8 ? "name" : "", flags & 8 ? 5 : 0);
    out += std::string(flags & 16 ? "comment" : "", flags & 16 ? 8 : 0);
    return out + (flags & 2 ? "CR" : "") + utDeflated(text).substr(2);
}

static std::string
utLine(UT_IStreamBuf &buffer)
{
    UT_WorkBuffer line;
    return buffer.getLine(line) ? line.buffer() : "(none)";
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
            if (random() % 400)
                text += theAlphabet[random() % sizeof(theAlphabet)];
            else
                text.append(5000, "7a "[random() % 3]);
        const std::string junk(random() % 5000, '8');
        const std::string inGzip = utGzipped(junk + text + junk);
        const std::string zlib = utDeflated(text);
        std::istringstream stream(text);
        const size_t start = junk.size();
        UT_IStreamBuf *const sources[] = {
            utMemory(text),
            new ut_ChunkStreamBuf(text),
            UT_IStreamBuf::fileBuf(utFile(text)),
            utNamed(text),
            UT_IStreamBuf::istreamBuf(stream),
            utRange(utNamed(junk + text + junk), start, text.size()),
            utOver(UT_IStreamBuf::zlibBuf, new ut_ChunkStreamBuf(zlib)),
            utRange(
                utOver(UT_IStreamBuf::gzipBuf, utMemory(inGzip)), start,
                text.size())};
        for (auto *const &source : sources)
            EXPECT_EQ(
                "", utScanMismatch(*ut_Source(source), text, std::ref(random)))
                << "seed " << seed << ", source " << &source - sources;
    }
}

TEST(UT_IStreamBuf, RandomSeeksThroughStackedBuffersFindThePlainBytes)
{
    std::mt19937 random(7);
    std::string text(3000000, '\0');
    for (char &byte : text)
        byte = char(random() % 1000 ? random() % 8 : random());
    const std::string gzip = utGzipped(text);
    UT_IStreamBuf *const whole = utOver(
        UT_IStreamBuf::gzipBuf, utRange(utNamed("12" + gzip), 2, gzip.size()));
    whole->addReference();
    const ut_Source sources[] = {
        ut_Source(whole), ut_Source(utRange(whole, 1234567, 1500000)),
        ut_Source(utNamed(text))};
    for (size_t i = 0; i < 99; ++i)
    {
        UT_IStreamBuf &buffer = *sources[i % 3];
        const auto offset = int64(random() % 1500001);
        std::string bytes(random() % (i % 2 ? 9000 : 200000), '\0');
        ASSERT_TRUE(buffer.seekg(offset, 0)) << i;
        for (auto left = random() % 30; left; --left)
            buffer.getc();
        ASSERT_TRUE(buffer.seekg(offset, 0)) << i;
        bytes.resize(size_t(buffer.bread(bytes.data(), int(bytes.size()))));
        EXPECT_EQ(offset + int64(bytes.size()), buffer.tellg());
        const size_t first = size_t(offset) + (i % 3 == 1 ? 1234567 : 0);
        EXPECT_EQ(0, text.compare(first, bytes.size(), bytes)) << i;
    }
}

// From the front: how many bytes to take, a seek, where that is (-1: it fails)
// and the line there. Memory ignores the offset from its end, and a range goes
// on by its own end, 15, and the offset.
// What a named file has read ahead shows nowhere: not in a FILE's blocks, and
// not where a read or a peek went past one.
TEST(UT_IStreamBuf, ANamedFileReadsLikeAnyOther)
{
    std::mt19937 random(1);
    std::string bytes(300000, '\0');
    for (char &byte : bytes)
        byte = char(random());
    const ut_TempDir dir;
    const std::string path = dir.write("bytes", bytes);
    FILE *const file = fopen(path.c_str(), "rb");
    UT_IStreamBuf *const buffers[] = {
        UT_IStreamBuf::fileBuf(path.c_str()), UT_IStreamBuf::fileBuf(file)};
    for (int step = 0; step < 3000; ++step)
    {
        const int kind = int(random() % 6);
        const int n = int(random() % (random() % 4 ? 6000 : 200000));
        std::string seen[2];
        int64 results[2];
        for (int i = 0; i < 2; ++i)
        {
            UT_IStreamBuf &buffer = *buffers[i];
            seen[i].resize(size_t(n));
            switch (kind)
            {
            case 0:
                results[i] = buffer.bread(seen[i].data(), n);
                break;
            case 1:
                results[i] = buffer.seekg(n, 0);
                break;
            case 2:
                results[i] = buffer.seekg(n - 3000, 1);
                break;
            case 3:
                results[i] = buffer.peekc();
                break;
            case 4:
                results[i] = buffer.unwind(n % 100);
                break;
            default:
                results[i] = buffer.getc();
            }
        }
        ASSERT_EQ(results[1], results[0]) << step << ' ' << kind << ' ' << n;
        ASSERT_EQ(seen[1], seen[0]) << step << ' ' << kind << ' ' << n;
        ASSERT_EQ(buffers[1]->tellg(), buffers[0]->tellg()) << step;
    }
    for (UT_IStreamBuf *const buffer : buffers)
        buffer->release();
    fclose(file);
}

TEST(UT_IStreamBuf, SeeksCountFromBehindTheLoadBuffer)
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
    using ut_Row =
        std::tuple<const ut_Source &, int, int64, int, int64, std::string>;
    for (const auto &[buffer, taken, offset, whence, place, line] : {
             ut_Row{memory,   1, -3,        1, 7,  "789"       },
             ut_Row{memory,   1, 99,        2, 0,  "0123456789"},
             ut_Row{range,    0, 12,        0, 12, "(none)"    },
             ut_Row{range,    0, -12,       2, 3,  "89abcde"   },
             ut_Row{range,    0, INT64_MAX, 0, -1, "(none)"    },
             ut_Row{file,     1, -3,        1, 17, "hij"       },
             ut_Row{named,    1, -3,        1, 17, "hij"       },
             ut_Row{named,    1, -1,        2, 19, "j"         },
             ut_Row{named,    0, INT64_MAX, 1, -1, "(none)"    },
             ut_Row{standard, 1, -3,        1, 17, "hij"       },
             ut_Row{zlib,     1, -3,        1, 17, "hij"       },
             ut_Row{zlib,     0, 0,         2, -1, text        },
    })
    {
        buffer->seekg(0, 0);
        for (int i = 0; i < taken; ++i)
            buffer->getc();
        const bool isDone = buffer->seekg(offset, whence);
        EXPECT_EQ(place, isDone ? buffer->tellg() : -1) << offset << line;
        EXPECT_EQ(line, utLine(*buffer)) << offset;
        EXPECT_FALSE(buffer->seekg(0, 3));
    }
    EXPECT_TRUE(range->seekg(0, 0));
    EXPECT_EQ('5' + '6', range->getc() + range->getc());
    EXPECT_EQ(2, range->unwind(9)); // not to what is in front of the range
}

TEST(UT_IStreamBuf, TheEndIsToldApartFromErrors)
{
    char bytes[4096];
    const std::string text(4096, 'x');
    for (UT_IStreamBuf *source :
         {utNamed(text), UT_IStreamBuf::fileBuf(utFile(text))})
    {
        const ut_Source file(source);
        EXPECT_EQ(4096, file->bread(bytes, 4096));
        EXPECT_FALSE(file->endOfBuffer()); // until a read meets it
        EXPECT_EQ("(none)", utLine(*file));
        EXPECT_TRUE(file->endOfBuffer() && !file->hasError());
        EXPECT_TRUE(file->bread(bytes, 1) == 0 && file->hasError());
    }
    const ut_Source missing(UT_IStreamBuf::fileBuf("/nowhere/at/all"));
    missing->setError("later"); // the first one stays
    EXPECT_STREQ(strerror(ENOENT), missing->getErrorStr());
    const ut_Source part(
        utRange(new ut_ChunkStreamBuf("one\ntwo\n", 3, 6), 1, 7));
    for (const char *line : {"ne", "tw", "(none)"})
        EXPECT_EQ(line, utLine(*part));
    EXPECT_STREQ(strerror(EIO), part->getErrorStr());
    std::istringstream stream("one");
    stream.exceptions(std::ios::failbit | std::ios::eofbit);
    const ut_Source throwing(UT_IStreamBuf::istreamBuf(stream));
    for (const char *line : {"one", "(none)"})
        EXPECT_EQ(line, utLine(*throwing));
    EXPECT_EQ(3, throwing->tellg());
}

TEST(UT_IStreamBuf, WhatAStandardStreamThrowsStaysInside)
{
    // Throws what is no std::exception, and the stream passes it on.
    struct ut_ThrowingSource : std::streambuf
    {
        int_type underflow() override { throw 7; }
        pos_type
        seekoff(off_type, std::ios::seekdir, std::ios::openmode) override
        {
            throw 7;
        }
        pos_type seekpos(pos_type, std::ios::openmode) override { throw 7; }
    };
    const struct
    {
        const char *name;
        void (*call)(UT_IStreamBuf &buffer);
        bool isError;
    } calls[] = {
        {"getLine",
         [](UT_IStreamBuf &buffer) { EXPECT_EQ("(none)", utLine(buffer)); },
         true                                                                         },
        {"peekc",   [](UT_IStreamBuf &buffer) { EXPECT_EQ(-1, buffer.peekc()); },
         false                                                                        },
        {"tellg",   [](UT_IStreamBuf &buffer) { EXPECT_EQ(-1, buffer.tellg()); },
         false                                                                        },
        {"seekg",
         [](UT_IStreamBuf &buffer) { EXPECT_FALSE(buffer.seekg(0, 0)); },         true},
    };
    for (const auto &row : calls)
    {
        SCOPED_TRACE(row.name);
        ut_ThrowingSource bytes;
        std::istream stream(&bytes);
        stream.exceptions(std::ios::badbit);
        const ut_Source source(UT_IStreamBuf::istreamBuf(stream));
        EXPECT_NO_THROW(row.call(*source));
        EXPECT_EQ(row.isError, source->hasError());
        EXPECT_EQ(std::ios::badbit, stream.exceptions());
    }
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
    UT_WorkBuffer text;
    EXPECT_TRUE(input->getAll(text));
    EXPECT_STREQ("ne\n\ntwo\n", text.buffer()); // each line gets one
}

TEST(UT_IStreamBuf, GzipHeadersHaveAnyPartsAndDataStopAnywhere)
{
    const std::string text = "The text, the text, the text and the end.\n";
    for (int flags = 0; flags < 256; ++flags)
    {
        const std::string whole = utGzipped(text, flags);
        const size_t header = whole.size() - utDeflated(text).size() + 2;
        for (size_t cut = flags < 32 ? 0 : header; cut <= whole.size(); ++cut)
        {
            UT_IStreamBuf *source = new ut_ChunkStreamBuf(whole.substr(0, cut));
            const ut_Source buffer(utOver(UT_IStreamBuf::gzipBuf, source));
            const bool isGood = flags < 32 && cut >= header;
            UT_WorkBuffer out;
            buffer->getLine(out, 0);
            EXPECT_EQ(0, text.compare(0, size_t(out.length()), out.buffer()));
            EXPECT_TRUE(!isGood || cut < whole.size() || out.length() == 42);
            const char *error = isGood ? "Success" : zError(Z_STREAM_ERROR);
            EXPECT_STREQ(error, buffer->getErrorStr()) << flags << " " << cut;
        }
    }
}
