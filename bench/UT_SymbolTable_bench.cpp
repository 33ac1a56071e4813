// A table of short names is as fast as the standard hash table, and its growth
// by a fifth at a time costs little more than doubling.

#include "UT/UT_SymbolTable.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

namespace
{

class ut_Ours
{
public:
    void insert(const char *name) { myTable.addSymbol(name, 1); }
    bool find(const char *name) const
    {
        UT_Thing value;
        return myTable.findSymbol(name, &value) != 0;
    }
    const char *intern(const char *name)
    {
        return myTable.getStringReference(name);
    }
    void erase(const char *name) { myTable.deleteSymbol(name); }

private:
    UT_SymbolTable myTable;
};

class ut_Standard
{
public:
    void insert(const char *name) { myTable[name] = this; }
    bool find(const char *name) const
    {
        const auto found = myTable.find(name);
        return found != myTable.end() && found->second;
    }
    const char *intern(const char *name)
    {
        return myTable.try_emplace(name).first->first.c_str();
    }
    void erase(const char *name) { myTable.erase(name); }

private:
    std::unordered_map<std::string, void *> myTable;
};

} // namespace

using ut_Names = std::vector<std::string>;

// Names as programs have them, a word and a number, in a random order.
static const ut_Names &
utNames(int64_t count, const char *word, unsigned seed)
{
    static const char *const theTails[] = {"", "_tx", ".geo", "Scale"};
    static std::map<std::tuple<int64_t, std::string, unsigned>, ut_Names>
        theNames;
    ut_Names &names = theNames[{count, word, seed}];
    if (names.empty())
    {
        for (int64_t i = 0; i < count; ++i)
            names.push_back(word + std::to_string(i / 4) + theTails[i % 4]);
        std::shuffle(names.begin(), names.end(), std::mt19937(seed));
    }
    return names;
}

template <class Table>
static void
utFill(Table &table, const ut_Names &names)
{
    for (const std::string &name : names)
        table.insert(name.c_str());
}

// From an empty table to a full one.
template <class Table>
static void
utInsert(benchmark::State &state)
{
    const ut_Names &names = utNames(state.range(0), "obj", 1);
    for (auto _ : state)
    {
        auto *table = new Table;
        utFill(*table, names);
        state.PauseTiming();
        delete table;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// A table of that many names, made once.
template <class Table>
static Table &
utFullTable(int64_t count)
{
    static std::map<int64_t, Table> theTables;
    const bool isNew = !theTables.count(count);
    Table &table = theTables[count];
    if (isNew)
        utFill(table, utNames(count, "obj", 1));
    return table;
}

template <class Table>
static void
utLookUp(benchmark::State &state, const char *word)
{
    const Table &table = utFullTable<Table>(state.range(0));
    const ut_Names &names = utNames(state.range(0), word, 2);
    int found = 0;
    for (auto _ : state)
        for (const std::string &name : names)
            found += table.find(name.c_str());
    benchmark::DoNotOptimize(found);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Table>
static void
utFind(benchmark::State &state)
{
    utLookUp<Table>(state, "obj");
}

template <class Table>
static void
utMiss(benchmark::State &state)
{
    utLookUp<Table>(state, "cam");
}

// One shared copy of names of which all are there.
template <class Table>
static void
utIntern(benchmark::State &state)
{
    Table &table = utFullTable<Table>(state.range(0));
    const ut_Names &names = utNames(state.range(0), "obj", 2);
    for (auto _ : state)
        for (const std::string &name : names)
            benchmark::DoNotOptimize(table.intern(name.c_str()));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// From a full table to an empty one, name by name.
template <class Table>
static void
utErase(benchmark::State &state)
{
    const ut_Names &names = utNames(state.range(0), "obj", 1);
    for (auto _ : state)
    {
        state.PauseTiming();
        auto *table = new Table;
        utFill(*table, names);
        state.ResumeTiming();
        for (const std::string &name : names)
            table->erase(name.c_str());
        state.PauseTiming();
        delete table;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

#define UT_TABLE_BENCHMARK(name, operation)    \
    BENCHMARK_TEMPLATE(operation, ut_Ours)     \
        ->Name(name "/ours")                   \
        ->RangeMultiplier(10)                  \
        ->Range(1000, 1000000);                \
    BENCHMARK_TEMPLATE(operation, ut_Standard) \
        ->Name(name "/std::unordered_map")     \
        ->RangeMultiplier(10)                  \
        ->Range(1000, 1000000)

UT_TABLE_BENCHMARK("fill a table", utInsert);
UT_TABLE_BENCHMARK("find a symbol", utFind);
UT_TABLE_BENCHMARK("miss a symbol", utMiss);
UT_TABLE_BENCHMARK("intern a name", utIntern);
UT_TABLE_BENCHMARK("empty a table", utErase);
