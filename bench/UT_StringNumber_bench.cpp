// Writing an integer costs at most what std::to_chars() does, except one digit
// in 64 bits: 1.4, because the peer is inline. With commas it costs 0.45 to
// 0.65 of to_chars() and a copy. Comparing two names with numbers costs at most
// 1.1 of strverscmp(), a mixture of names 0.8, and sorting a hundred thousand
// of them at most 0.8 of std::sort() by strverscmp().
//
// The argument of the integers is their number of digits, 0 for a mixture.
// That of the comparisons is the kind of names, and so is the sorts'.

#include "UT/UT_String.h"

#include "UT/UT_StringArray.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <vector>

// So many that the processor cannot learn them by heart.
static constexpr int theItems = 1 << 14;

// ---- Integers

static std::vector<unsigned>
utNumbers(int digits)
{
    std::mt19937 random(1);
    std::vector<unsigned> numbers;
    while (int(numbers.size()) < theItems)
    {
        const int wanted = digits ? digits : int(random() % 10) + 1;
        std::string text = std::to_string(random() % 9 + 1);
        while (int(text.size()) < wanted)
            text += std::to_string(random() % 10);
        if (std::stoull(text) <= 4294967295u)
            numbers.push_back(unsigned(std::stoull(text)));
    }
    return numbers;
}

struct ut_Ours
{
    static size_t write(char *buffer, unsigned value)
    {
        return size_t(UT_String::utoa(buffer, value));
    }
    static size_t write(char *buffer, int value)
    {
        return size_t(UT_String::itoa(buffer, value));
    }
    static int compare(const char *a, const char *b)
    {
        return UT_String::compareNumberedString(a, b);
    }
};

struct ut_Peer
{
    // With the NUL that to_chars() leaves to its caller.
    template <class Number>
    static size_t write(char *buffer, Number value)
    {
        char *const end = std::to_chars(buffer, buffer + 12, value).ptr;
        *end = '\0';
        return size_t(end - buffer);
    }
    static int compare(const char *a, const char *b)
    {
        return strverscmp(a, b);
    }
};

template <class Side, class Number>
static void
utWrite(benchmark::State &state)
{
    const std::vector<unsigned> numbers = utNumbers(int(state.range(0)));
    char buffer[16];
    for (auto _ : state)
        for (const unsigned number : numbers)
        {
            benchmark::DoNotOptimize(Side::write(buffer, Number(number)));
            benchmark::ClobberMemory();
        }
    state.SetItemsProcessed(state.iterations() * int64_t(numbers.size()));
}

// With commas, as a text of its own.
static void
utPretty(benchmark::State &state)
{
    const std::vector<unsigned> numbers = utNumbers(0);
    for (auto _ : state)
        for (const unsigned number : numbers)
        {
            UT_String text;
            text.itoa_pretty(int64(number) * 1000);
            benchmark::DoNotOptimize(text);
        }
}
BENCHMARK(utPretty)->Name("write with commas/ours");

static void
utPrettyToChars(benchmark::State &state)
{
    const std::vector<unsigned> numbers = utNumbers(0);
    for (auto _ : state)
        for (const unsigned number : numbers)
        {
            char digits[24];
            char *const end =
                std::to_chars(digits, std::end(digits), int64(number) * 1000)
                    .ptr;
            char text[32];
            char *at = text;
            for (const char *digit = digits; digit != end; ++digit)
            {
                *at++ = *digit;
                if ((end - digit) % 3 == 1 && digit + 1 != end)
                    *at++ = ',';
            }
            *at = '\0';
            char *copy = strdup(text);
            benchmark::DoNotOptimize(copy);
            free(copy);
        }
}
BENCHMARK(utPrettyToChars)->Name("write with commas/std::to_chars");

// ---- Names

enum ut_Kind
{
    UT_PADDED_FRAMES,
    UT_FRAMES,
    UT_COPIES,
    UT_PATHS,
    UT_MANY_STEMS,
    UT_WORDS,
    UT_MIXTURE // as many of each of the others
};

static std::string
utName(int kind, std::mt19937 &random)
{
    static const char *const theWords[] = {
        "geo", "light", "camera", "box", "sphere", "render", "null", "merge"};
    const std::string word = theWords[random() % std::size(theWords)];
    const std::string number = std::to_string(random() % 100000);
    const std::string padded = std::string(6 - number.size(), '0') + number;
    switch (kind)
    {
    case UT_PADDED_FRAMES:
        return "img." + padded + ".tif";
    case UT_FRAMES:
        return "img." + number + ".tif";
    case UT_COPIES:
        return "geo_copy" + number;
    case UT_PATHS:
        return "/obj/scene_04/" + word + number + "/out" + padded;
    case UT_MANY_STEMS:
        return word + number;
    default:
        return word + "_" + theWords[random() % std::size(theWords)];
    }
}

// Names that follow one another are of a kind, as in the lists that are
// compared: a mixture is one list after the other.
static std::vector<std::string>
utNames(int kind, int count)
{
    std::mt19937 random(1);
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i)
        names.push_back(
            utName(kind == UT_MIXTURE ? i * UT_MIXTURE / count : kind, random));
    return names;
}

template <class Side>
static void
utCompare(benchmark::State &state)
{
    const std::vector<std::string> names =
        utNames(int(state.range(0)), theItems);
    for (auto _ : state)
        for (size_t i = 1; i < names.size(); ++i)
            benchmark::DoNotOptimize(
                Side::compare(names[i - 1].c_str(), names[i].c_str()));
    state.SetItemsProcessed(state.iterations() * int64_t(names.size() - 1));
}

static constexpr int theSortedNames = 100000;

static void
utSortArray(benchmark::State &state)
{
    UT_StringArray array;
    array.fromStdVectorOfStrings(utNames(int(state.range(0)), theSortedNames));
    const std::vector<UT_String *> unsorted(
        array.data(), array.data() + array.entries());
    for (auto _ : state)
    {
        std::copy(unsorted.begin(), unsorted.end(), array.data());
        array.sort(/*forward=*/true, /*numbered=*/true);
        benchmark::ClobberMemory();
    }
}

// The peer sorts plain pointers to the same texts.
static void
utSortPointers(benchmark::State &state)
{
    UT_StringArray array;
    array.fromStdVectorOfStrings(utNames(int(state.range(0)), theSortedNames));
    std::vector<const char *> unsorted;
    for (int i = 0; i < array.entries(); ++i)
        unsorted.push_back(array(i));
    for (auto _ : state)
    {
        std::vector<const char *> sorted = unsorted;
        std::sort(
            sorted.begin(), sorted.end(),
            [](const char *a, const char *b) { return strverscmp(a, b) < 0; });
        benchmark::DoNotOptimize(sorted.data());
        benchmark::ClobberMemory();
    }
}

BENCHMARK(utWrite<ut_Ours, unsigned>)
    ->Name("write an unsigned/ours")
    ->DenseRange(0, 10);
BENCHMARK(utWrite<ut_Peer, unsigned>)
    ->Name("write an unsigned/std::to_chars")
    ->DenseRange(0, 10);
BENCHMARK(utWrite<ut_Ours, int>)
    ->Name("write an integer/ours")
    ->DenseRange(0, 10, 5);
BENCHMARK(utWrite<ut_Peer, int>)
    ->Name("write an integer/std::to_chars")
    ->DenseRange(0, 10, 5);
BENCHMARK(utCompare<ut_Ours>)
    ->Name("compare names/ours")
    ->ArgName("kind")
    ->DenseRange(UT_PADDED_FRAMES, UT_MIXTURE);
BENCHMARK(utCompare<ut_Peer>)
    ->Name("compare names/strverscmp")
    ->ArgName("kind")
    ->DenseRange(UT_PADDED_FRAMES, UT_MIXTURE);
BENCHMARK(utSortArray)
    ->Name("sort names/ours")
    ->ArgName("kind")
    ->DenseRange(UT_PADDED_FRAMES, UT_MIXTURE)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(utSortPointers)
    ->Name("sort names/std::sort")
    ->ArgName("kind")
    ->DenseRange(UT_PADDED_FRAMES, UT_MIXTURE)
    ->Unit(benchmark::kMillisecond);
