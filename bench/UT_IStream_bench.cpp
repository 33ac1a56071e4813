// A whole file takes as long as fread() of its size, or less. Of a 4 MB file,
// lines take at most 0.7 of the time of getline(3), words at most 0.7 of
// getline() and strtok_r(), integers as text at most 0.7 of getline() and
// strtol(), floats at most 0.6 of getline() and strtod(), gzip data at most as
// long as gzread(), arrays of big-endian values at most 0.8 of fread() and a
// loop that swaps each, and one value at a time 0.6.
//
// Each benchmark opens a file and reads it to its end. The argument is the size
// of the file, that of lines their length, that of arrays and of gzip the
// entries or bytes of a read.

#include "UT/UT_IStream.h"

#include "ut_Curve.h"

#include "UT/UT_WorkBuffer.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <zlib.h>

// Of a file that is read in pieces of several sizes, unless those are longer.
static const size_t theSize = 4 << 20;

// The files of several sizes that `make` makes, each made once.
template <class Make>
static const std::string &
utFileOfSize(size_t size, Make make)
{
    static std::map<size_t, std::string> thePaths;
    std::string &path = thePaths[size];
    if (path.empty())
        path = make(size);
    return path;
}

// A file that is removed when the process ends.
static std::string
utFile(const std::string &bytes)
{
    FILE *const file = tmpfile();
    fwrite(bytes.data(), 1, bytes.size(), file);
    fflush(file);
    return "/proc/self/fd/" + std::to_string(fileno(file));
}

// So many bytes of the words of `word`, ten to a line.
static std::string
utWordFile(size_t size, const std::function<std::string()> &word)
{
    std::string text;
    for (int i = 1; text.size() < size; ++i)
        text += word() + (i % 10 ? ' ' : '\n');
    return utFile(text);
}

static std::string
utLineFile(size_t length)
{
    std::string text;
    std::mt19937 random(1);
    while (text.size() < std::max(theSize, 4 * length))
        text += std::string(length / 2 + random() % (length + 1), 'x') + '\n';
    return utFile(text);
}

static const std::string &
utWords(size_t size)
{
    static std::mt19937 random(1);
    return utFileOfSize(
        size,
        [](size_t bytes)
        {
            return utWordFile(
                bytes, [] { return std::string(1 + random() % 12, 'w'); });
        });
}

static const std::string &
utIntegers(size_t size)
{
    static std::mt19937 random(1);
    return utFileOfSize(
        size,
        [](size_t bytes)
        {
            return utWordFile(
                bytes,
                [] { return std::to_string(int(random()) >> random() % 32); });
        });
}

static std::string
utFloat(std::mt19937 &random)
{
    char text[40];
    const int thousandths = int(random() % 2000000) - 1000000;
    const int divisor = int(random() % 100) + 1;
    snprintf(text, sizeof(text), "%.6g", thousandths * 1e-3 / divisor);
    return text;
}

static const std::string &
utFloats(size_t size)
{
    static std::mt19937 random(1);
    return utFileOfSize(
        size, [](size_t bytes)
        { return utWordFile(bytes, [] { return utFloat(random); }); });
}

// Geometry, say: neighbours are close to each other. Read in pieces of at most
// so many bytes.
static const std::string &
utValues(size_t longest)
{
    return utFileOfSize(
        std::max(theSize, longest),
        [](size_t size)
        {
            std::string bytes;
            std::mt19937 random(1);
            while (bytes.size() < size)
                bytes +=
                    {'\x42', char(random() % 4), char(random() % 64),
                     char(random())};
            return utFile(bytes);
        });
}

static const std::string &
utGzip(size_t longest)
{
    return utFileOfSize(
        std::max(theSize, longest),
        [](size_t size)
        {
            const std::string path = utFile("");
            const gzFile out = gzopen(path.c_str(), "wb");
            std::string plain(size, '\0');
            FILE *const in = fopen(utFloats(size).c_str(), "rb");
            plain.resize(fread(plain.data(), 1, size, in));
            fclose(in);
            gzwrite(out, plain.data(), unsigned(plain.size()));
            gzclose(out);
            return path;
        });
}

static void
utAllStream(benchmark::State &state)
{
    const std::string &path = utWords(size_t(state.range(0)));
    for (auto _ : state)
    {
        UT_IFStream in(path.c_str(), UT_ISTREAM_ASCII);
        UT_WorkBuffer all;
        in.getAll(all);
        benchmark::DoNotOptimize(all.buffer());
    }
}

static void
utAllFread(benchmark::State &state)
{
    const std::string &path = utWords(size_t(state.range(0)));
    for (auto _ : state)
    {
        FILE *const in = fopen(path.c_str(), "rb");
        fseek(in, 0, SEEK_END);
        std::string all(size_t(ftell(in)), '\0');
        rewind(in);
        all.resize(fread(all.data(), 1, all.size(), in));
        fclose(in);
        benchmark::DoNotOptimize(all.data());
    }
}

static void
utLines(benchmark::State &state)
{
    const std::string path = utLineFile(size_t(state.range(0)));
    for (auto _ : state)
    {
        UT_IFStream in(path.c_str(), UT_ISTREAM_ASCII);
        UT_WorkBuffer line;
        int total = 0;
        while (in.getLine(line))
            total += line.length();
        benchmark::DoNotOptimize(total);
    }
}

template <class Function>
static void
utEachGetline(const std::string &path, Function function)
{
    FILE *const in = fopen(path.c_str(), "rb");
    char *line = nullptr;
    size_t size = 0;
    ssize_t length = 0;
    while ((length = getline(&line, &size, in)) > 0)
        function(line, length);
    free(line);
    fclose(in);
}

static void
utLinesGetline(benchmark::State &state)
{
    const std::string path = utLineFile(size_t(state.range(0)));
    for (auto _ : state)
    {
        ssize_t total = 0;
        utEachGetline(
            path,
            [&](char *line, ssize_t length)
            {
                line[length - 1] = '\0';
                total += length - 1;
            });
        benchmark::DoNotOptimize(total);
    }
}

static void
utWordsStream(benchmark::State &state)
{
    const std::string &path = utWords(size_t(state.range(0)));
    for (auto _ : state)
    {
        UT_IFStream in(path.c_str(), UT_ISTREAM_ASCII);
        UT_WorkBuffer word;
        int total = 0;
        while (in.getWord(word))
            total += word[0];
        benchmark::DoNotOptimize(total);
    }
}

static void
utWordsStrtok(benchmark::State &state)
{
    const std::string &path = utWords(size_t(state.range(0)));
    for (auto _ : state)
    {
        int total = 0;
        utEachGetline(
            path,
            [&](char *line, ssize_t)
            {
                char *next = nullptr;
                while (char *word = strtok_r(line, " \t\n\v\f\r", &next))
                {
                    total += *word;
                    line = nullptr;
                }
            });
        benchmark::DoNotOptimize(total);
    }
}

template <class T>
static void
utNumbersStream(benchmark::State &state, const std::string &path)
{
    for (auto _ : state)
    {
        UT_IFStream in(path.c_str(), UT_ISTREAM_ASCII);
        T values[256];
        T total = 0;
        while (const int count = in.aread(values, 256))
            for (int i = 0; i < count; ++i)
                total += values[i] / 1024;
        benchmark::DoNotOptimize(total);
    }
}

template <class T, class Convert>
static void
utNumbersLibrary(
    benchmark::State &state, const std::string &path, Convert convert)
{
    for (auto _ : state)
    {
        T total = 0;
        utEachGetline(
            path,
            [&](char *line, ssize_t)
            {
                for (;;)
                {
                    char *end = line;
                    const T value = T(convert(line, &end));
                    if (end == line)
                        break;
                    total += value / 1024;
                    line = end;
                }
            });
        benchmark::DoNotOptimize(total);
    }
}

static void
utIntegersStream(benchmark::State &state)
{
    utNumbersStream<int>(state, utIntegers(size_t(state.range(0))));
}

static void
utIntegersStrtol(benchmark::State &state)
{
    utNumbersLibrary<int>(
        state, utIntegers(size_t(state.range(0))),
        [](const char *text, char **end) { return strtol(text, end, 10); });
}

static void
utFloatsStream(benchmark::State &state)
{
    utNumbersStream<float>(state, utFloats(size_t(state.range(0))));
}

static void
utFloatsStrtod(benchmark::State &state)
{
    utNumbersLibrary<float>(state, utFloats(size_t(state.range(0))), strtod);
}

static void
utGzipStream(benchmark::State &state)
{
    const std::string &path = utGzip(size_t(state.range(0)));
    std::vector<char> bytes(size_t(state.range(0)));
    for (auto _ : state)
    {
        UT_IFStream file(path.c_str(), UT_ISTREAM_BINARY);
        UT_IGZStream in(file);
        int total = 0;
        while (const int count = in.bread(bytes.data(), int(bytes.size())))
            total += count;
        benchmark::DoNotOptimize(total);
    }
}

static void
utGzipGzread(benchmark::State &state)
{
    const std::string &path = utGzip(size_t(state.range(0)));
    std::vector<char> bytes(size_t(state.range(0)));
    for (auto _ : state)
    {
        const gzFile in = gzopen(path.c_str(), "rb");
        int total = 0;
        while (const int count =
                   gzread(in, bytes.data(), unsigned(bytes.size())))
            total += count;
        gzclose(in);
        benchmark::DoNotOptimize(total);
    }
}

template <class T>
static void
utValuesStream(benchmark::State &state)
{
    const std::string &path = utValues(sizeof(T) * size_t(state.range(0)));
    std::vector<T> values(size_t(state.range(0)));
    for (auto _ : state)
    {
        UT_IFStream in(path.c_str(), UT_ISTREAM_BINARY);
        T last = 0;
        while (in.bread(values.data(), int(values.size())) > 0)
            last += values[0];
        benchmark::DoNotOptimize(last);
    }
}

static uint32
utSwapped(uint32 bits)
{
    return __builtin_bswap32(bits);
}

static uint64
utSwapped(uint64 bits)
{
    return __builtin_bswap64(bits);
}

template <class T, class Bits>
static void
utValuesFread(benchmark::State &state)
{
    const std::string &path = utValues(sizeof(T) * size_t(state.range(0)));
    std::vector<T> values(size_t(state.range(0)));
    for (auto _ : state)
    {
        FILE *const in = fopen(path.c_str(), "rb");
        T last = 0;
        while (const size_t count =
                   fread(values.data(), sizeof(T), values.size(), in))
        {
            for (size_t i = 0; i < count; ++i)
            {
                Bits bits;
                memcpy(&bits, &values[i], sizeof(T));
                bits = utSwapped(bits);
                memcpy(&values[i], &bits, sizeof(T));
            }
            last += values[0];
        }
        fclose(in);
        benchmark::DoNotOptimize(last);
    }
}

// Bytes of a file.
static const auto utSizes = utCurve<1 << 12, 1 << 22, 1 << 27, 32>;

BENCHMARK(utAllStream)->Name("read a whole file/ours")->Apply(utSizes);
BENCHMARK(utAllFread)->Name("read a whole file/fread")->Apply(utSizes);
BENCHMARK(utLines)->Name("read lines/ours")->Apply(utCurve<10, 1000, 10000000>);
BENCHMARK(utLinesGetline)
    ->Name("read lines/getline")
    ->Apply(utCurve<10, 1000, 10000000>);
BENCHMARK(utWordsStream)->Name("read words/ours")->Apply(utSizes);
BENCHMARK(utWordsStrtok)->Name("read words/strtok_r")->Apply(utSizes);
BENCHMARK(utIntegersStream)->Name("read integers/ours")->Apply(utSizes);
BENCHMARK(utIntegersStrtol)->Name("read integers/strtol")->Apply(utSizes);
BENCHMARK(utFloatsStream)->Name("read floats/ours")->Apply(utSizes);
BENCHMARK(utFloatsStrtod)->Name("read floats/strtod")->Apply(utSizes);
BENCHMARK(utGzipStream)
    ->Name("read gzip data/ours")
    ->Apply(utCurve<64, 1 << 20, 1 << 27, 128>);
BENCHMARK(utGzipGzread)
    ->Name("read gzip data/gzread")
    ->Apply(utCurve<64, 1 << 20, 1 << 27, 128>);
BENCHMARK(utValuesStream<int>)
    ->Name("read big-endian integers/ours")
    ->Apply(utCurve<1, 1 << 20, 1 << 25, 32>);
BENCHMARK(utValuesFread<int, uint32>)
    ->Name("read big-endian integers/fread")
    ->Apply(utCurve<1, 1 << 20, 1 << 25, 32>);
BENCHMARK(utValuesStream<double>)
    ->Name("read big-endian doubles/ours")
    ->Apply(utCurve<1, 1 << 20, 1 << 25, 32>);
BENCHMARK(utValuesFread<double, uint64>)
    ->Name("read big-endian doubles/fread")
    ->Apply(utCurve<1, 1 << 20, 1 << 25, 32>);
