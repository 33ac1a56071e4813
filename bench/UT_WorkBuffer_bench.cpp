// Appends cost at most what they cost std::string, and the usual formatted
// ones, also of floats, at most 0.8 of snprintf() into a large enough array and
// an append, and 0.9 of fmt. sprintf() of a text alone takes 1.1 of strdup().
//
// Every benchmark builds the same text in a work buffer and in the peer. The
// argument is the number of appends: few show the construction, many the
// growth.

#include "UT/UT_WorkBuffer.h"

#include "ut_Curve.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

#ifdef VALDRIN_HAVE_FMT
#include <fmt/format.h>
#endif

static void
utAppend(UT_WorkBuffer &text, char byte)
{
    text.append(byte);
}

static void
utAppend(std::string &text, char byte)
{
    text.push_back(byte);
}

template <class Text>
static void
utAppendBytes(benchmark::State &state)
{
    for (auto _ : state)
    {
        Text text;
        for (int i = 0; i < state.range(0); ++i)
            utAppend(text, char(i));
        benchmark::DoNotOptimize(text);
        benchmark::ClobberMemory();
    }
}

template <class Text>
static void
utAppendLiterals(benchmark::State &state)
{
    for (auto _ : state)
    {
        Text text;
        for (int i = 0; i < state.range(0); ++i)
            text.append("<![CDATA[");
        benchmark::DoNotOptimize(text);
        benchmark::ClobberMemory();
    }
}

// Texts whose lengths the compiler cannot see.
static const char *theWords[] = {
    "geo", "a", "light1", "a somewhat longer text", "/", "cam", "render_node"};

template <class Text>
static void
utAppendWords(benchmark::State &state)
{
    benchmark::DoNotOptimize(theWords);
    for (auto _ : state)
    {
        Text text;
        unsigned word = 0;
        for (int i = 0; i < state.range(0); ++i)
        {
            text.append(theWords[word]);
            word = word + 1 < std::size(theWords) ? word + 1 : 0;
        }
        benchmark::DoNotOptimize(text);
        benchmark::ClobberMemory();
    }
}

template <class Text>
static void
utAppendBlocks(benchmark::State &state)
{
    static const std::string theBlock(8191, 'x');
    for (auto _ : state)
    {
        Text text;
        for (int i = 0; i < state.range(0); ++i)
            text.append(theBlock.data(), 8191);
        benchmark::DoNotOptimize(text);
        benchmark::ClobberMemory();
    }
}

struct ut_Number
{
    static void add(UT_WorkBuffer &text, int i) { text.appendSprintf("%d", i); }
    static void add(std::string &text, int i)
    {
        char formatted[2000];
        const int length = snprintf(formatted, sizeof(formatted), "%d", i);
        text.append(formatted, size_t(length));
    }
};

struct ut_Element
{
    static constexpr char theFormat[] = "<%s index=\"%d\">%g</%s>\n";

    static void add(UT_WorkBuffer &text, int i)
    {
        text.appendSprintf(theFormat, "value", i, i * 0.5, "value");
    }
    static void add(std::string &text, int i)
    {
        char formatted[2000];
        const int length = snprintf(
            formatted, sizeof(formatted), theFormat, "value", i, i * 0.5,
            "value");
        text.append(formatted, size_t(length));
    }
#ifdef VALDRIN_HAVE_FMT
    static void add(fmt::memory_buffer &text, int i)
    {
        fmt::format_to(
            std::back_inserter(text), "<{} index=\"{}\">{:g}</{}>\n", "value",
            i, i * 0.5, "value");
    }
#endif
};

struct ut_LongText
{
    static void add(UT_WorkBuffer &text, int i)
    {
        text.appendSprintf("%d %s\n", i, theText.c_str());
    }
    static void add(std::string &text, int i)
    {
        char formatted[2000];
        const int length = snprintf(
            formatted, sizeof(formatted), "%d %s\n", i, theText.c_str());
        text.append(formatted, size_t(length));
    }

    static const std::string theText;
};
const std::string ut_LongText::theText(1900, 'x');

// The name of a picture of a sequence.
struct ut_Frame
{
    static void add(UT_WorkBuffer &text, int i)
    {
        text.appendSprintf("%s/%d.%03d", theDirectory, i, i % 1000);
    }
    static void add(std::string &text, int i)
    {
        char formatted[2000];
        const int length = snprintf(
            formatted, sizeof(formatted), "%s/%d.%03d", theDirectory, i,
            i % 1000);
        text.append(formatted, size_t(length));
    }
#ifdef VALDRIN_HAVE_FMT
    static void add(fmt::memory_buffer &text, int i)
    {
        fmt::format_to(
            std::back_inserter(text), "{}/{}.{:03}", theDirectory, i, i % 1000);
    }
#endif

    static const char *theDirectory;
};
const char *ut_Frame::theDirectory = "/projects/alpha/render";

template <class Format, class Text>
static void
utAppendFormatted(benchmark::State &state)
{
    for (auto _ : state)
    {
        Text text;
        for (int i = 0; i < state.range(0); ++i)
            Format::add(text, i);
        benchmark::DoNotOptimize(text);
        benchmark::ClobberMemory();
    }
}

// A text of as many bytes replaces nothing; the peer copies it.
static void
utReplaceByLongText(benchmark::State &state)
{
    const std::string source(size_t(state.range(0)), 'x');
    for (auto _ : state)
    {
        UT_WorkBuffer text;
        text.sprintf("%s", source.c_str());
        benchmark::DoNotOptimize(text);
        benchmark::ClobberMemory();
    }
}

static void
utReplaceByLongTextPeer(benchmark::State &state)
{
    const std::string source(size_t(state.range(0)), 'x');
    for (auto _ : state)
    {
        char *text = strdup(source.c_str());
        benchmark::DoNotOptimize(text);
        benchmark::ClobberMemory();
        free(text);
    }
}

static const auto utLongSizes =
    utCurve<32, 1 << 25, utMost(1 << 30, 1 << 25), 32>;

BENCHMARK(utReplaceByLongText)
    ->Name("sprintf of a long text/ours")
    ->Apply(utLongSizes);
BENCHMARK(utReplaceByLongTextPeer)
    ->Name("sprintf of a long text/strdup")
    ->Apply(utLongSizes);
BENCHMARK(utAppendFormatted<ut_Frame, UT_WorkBuffer>)
    ->Name("format a path and numbers/ours")
    ->Apply(utCurve<1, 1 << 12, 1 << 21, 8>);
BENCHMARK(utAppendFormatted<ut_Frame, std::string>)
    ->Name("format a path and numbers/snprintf")
    ->Apply(utCurve<1, 1 << 12, 1 << 21, 8>);
#ifdef VALDRIN_HAVE_FMT
BENCHMARK(utAppendFormatted<ut_Frame, fmt::memory_buffer>)
    ->Name("format a path and numbers/fmt")
    ->Apply(utCurve<1, 1 << 12, 1 << 21, 8>);
#endif
BENCHMARK(utAppendBytes<UT_WorkBuffer>)
    ->Name("append bytes/ours")
    ->Apply(utCurve<8, 1 << 18, 1 << 27, 8>);
BENCHMARK(utAppendBytes<std::string>)
    ->Name("append bytes/std::string")
    ->Apply(utCurve<8, 1 << 18, 1 << 27, 8>);
BENCHMARK(utAppendLiterals<UT_WorkBuffer>)
    ->Name("append literals/ours")
    ->Apply(utCurve<8, 1 << 15, 1 << 24, 8>);
BENCHMARK(utAppendLiterals<std::string>)
    ->Name("append literals/std::string")
    ->Apply(utCurve<8, 1 << 15, 1 << 24, 8>);
BENCHMARK(utAppendWords<UT_WorkBuffer>)
    ->Name("append words/ours")
    ->Apply(utCurve<8, 1 << 15, 1 << 24, 8>);
BENCHMARK(utAppendWords<std::string>)
    ->Name("append words/std::string")
    ->Apply(utCurve<8, 1 << 15, 1 << 24, 8>);
BENCHMARK(utAppendBlocks<UT_WorkBuffer>)
    ->Name("append blocks/ours")
    ->Apply(utCurve<1, 1 << 10, 1 << 16, 8>);
BENCHMARK(utAppendBlocks<std::string>)
    ->Name("append blocks/std::string")
    ->Apply(utCurve<1, 1 << 10, 1 << 16, 8>);
BENCHMARK(utAppendFormatted<ut_Number, UT_WorkBuffer>)
    ->Name("format a number/ours")
    ->Apply(utCurve<1, 1 << 12, 1 << 21, 8>);
BENCHMARK(utAppendFormatted<ut_Number, std::string>)
    ->Name("format a number/snprintf")
    ->Apply(utCurve<1, 1 << 12, 1 << 21, 8>);
BENCHMARK(utAppendFormatted<ut_Element, UT_WorkBuffer>)
    ->Name("format an element/ours")
    ->Apply(utCurve<1, 1 << 12, 1 << 21, 8>);
BENCHMARK(utAppendFormatted<ut_Element, std::string>)
    ->Name("format an element/snprintf")
    ->Apply(utCurve<1, 1 << 12, 1 << 21, 8>);
#ifdef VALDRIN_HAVE_FMT
BENCHMARK(utAppendFormatted<ut_Element, fmt::memory_buffer>)
    ->Name("format an element/fmt")
    ->Apply(utCurve<1, 1 << 12, 1 << 21, 8>);
#endif
BENCHMARK(utAppendFormatted<ut_LongText, UT_WorkBuffer>)
    ->Name("format a long text/ours")
    ->Apply(utCurve<1, 1 << 12, 1 << 18, 8>);
BENCHMARK(utAppendFormatted<ut_LongText, std::string>)
    ->Name("format a long text/snprintf")
    ->Apply(utCurve<1, 1 << 12, 1 << 18, 8>);
