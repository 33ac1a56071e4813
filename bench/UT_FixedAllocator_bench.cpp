// A block from a pool costs a few instructions, without a call: less than
// malloc() and the standard pools take, whatever the order of releases.
//
// Blocks of one size stand beside Boost's pool, which counts nothing and keeps
// its pages. A thousand take 1.2 of its time, a block that is given back at
// once 1.7, in 32 bits 4. From pages that are reclaimed that takes 4 to 7 times
// its time, as a release has to find the block's page first, and 3 to 5 times
// where each release misses the cache; then 1.4 of tcmalloc's.
//
// Blocks of several sizes stand beside what serves these: malloc(), tcmalloc
// and the standard pools. They take at most 0.8 of malloc()'s time, and 0.5
// to 1.6 of tcmalloc's, 2 where each release misses the cache. With a lock they
// stand beside the standard pools that have one, too, and take a third of their
// time. tcmalloc needs no lock, since each thread has its own blocks, and takes
// a quarter of ours. A process with one thread saves the lock.

#include "UT/UT_FixedAllocator.h"

#include "ut_Curve.h"

#include "UT/UT_SmallObjectAllocator.h"

#include <benchmark/benchmark.h>

#ifdef VALDRIN_HAVE_BOOST
#include <boost/pool/pool.hpp>
#endif

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <memory_resource>
#include <numeric>
#include <random>
#include <vector>

#include <dlfcn.h>
#include <sys/single_threaded.h>

namespace
{

// ---- Pools

struct ut_Malloc
{
    void *allocate(size_t size) { return malloc(size); }
    void deallocate(void *block, size_t) { free(block); }
};

// Loaded beside the process's own allocator, which it would replace otherwise.
struct ut_TCMalloc
{
    ut_TCMalloc()
    {
        void *library =
            dlopen("libtcmalloc_minimal.so.4", RTLD_NOW | RTLD_LOCAL);
        if (!library)
            return;
        allocateBytes =
            reinterpret_cast<void *(*)(size_t)>(dlsym(library, "tc_malloc"));
        freeBytes = reinterpret_cast<void (*)(void *, size_t)>(
            dlsym(library, "tc_free_sized"));
    }
    void *allocate(size_t size) { return allocateBytes(size); }
    void deallocate(void *block, size_t size) { freeBytes(block, size); }
    void *(*allocateBytes)(size_t) = malloc; // where it is not installed
    void (*freeBytes)(void *, size_t) = [](void *block, size_t)
    { free(block); };
};

template <class Resource>
struct ut_StandardPool
{
    void *allocate(size_t size) { return pool.allocate(size, alignof(void *)); }
    void deallocate(void *block, size_t size)
    {
        pool.deallocate(block, size, alignof(void *));
    }
    Resource pool;
};

const unsigned theSize = 24;

#ifdef VALDRIN_HAVE_BOOST
struct ut_BoostPool
{
    void *allocate(size_t) { return pool.malloc(); }
    void deallocate(void *block, size_t) { pool.free(block); }
    boost::pool<> pool{theSize, 1024};
};
#endif

template <bool Reclaim>
struct ut_Fixed
{
    void *allocate(size_t) { return pool.allocate(); }
    void deallocate(void *block, size_t) { pool.deallocate(block); }
    UT_FixedAllocator pool{theSize, Reclaim, 1024};
};

template <bool ThreadSafe>
struct ut_SmallObject
{
    // As in a process with several threads: otherwise the lock is left out.
    ut_SmallObject() { __libc_single_threaded = !ThreadSafe; }
    ~ut_SmallObject() { __libc_single_threaded = true; }
    void *allocate(unsigned size) { return pool.allocate(size); }
    void deallocate(void *block, unsigned size)
    {
        pool.deallocate(block, size);
    }
    UT_SmallObjectAllocator pool{true, 1024, 128, ThreadSafe};
};

// ---- Sizes of blocks

struct ut_OneSize
{
    explicit ut_OneSize(size_t) {}
    unsigned operator()(size_t) const { return theSize; }
};

struct ut_SeveralSizes
{
    explicit ut_SeveralSizes(size_t blocks) : sizes(blocks)
    {
        static const uint8_t theChoice[] = {16, 24, 40, 96};
        std::mt19937 random(2);
        for (uint8_t &size : sizes)
            size = theChoice[random() % std::size(theChoice)];
    }
    unsigned operator()(size_t block) const { return sizes[block]; }
    std::vector<uint8_t> sizes;
};

} // namespace

// One block at a time, given back at once.
template <class Pool, class Sizes>
static void
utPair(benchmark::State &state)
{
    const size_t count = 1 << 14;
    const Sizes sizes(count);
    Pool pool;
    std::vector<void *> others(32); // of all sizes: pools are rarely empty
    for (size_t i = 0; i < others.size(); ++i)
        others[i] = pool.allocate(sizes(i));
    size_t step = 0;
    for (auto _ : state)
    {
        const unsigned size = sizes(step++ % count);
        void *block = pool.allocate(size);
        benchmark::DoNotOptimize(block);
        pool.deallocate(block, size);
    }
    for (size_t i = 0; i < others.size(); ++i)
        pool.deallocate(others[i], sizes(i));
}

// Many blocks, written to, then given back in random order, again and again.
template <class Pool, class Sizes>
static void
utFillAndEmpty(benchmark::State &state)
{
    const size_t count = size_t(state.range(0));
    const Sizes sizes(count);
    std::vector<unsigned> order(count);
    std::iota(order.begin(), order.end(), 0u);
    std::shuffle(order.begin(), order.end(), std::mt19937(1));
    std::vector<void *> blocks(count);
    Pool pool;
    for (auto _ : state)
    {
        for (size_t i = 0; i < count; ++i)
        {
            blocks[i] = pool.allocate(sizes(i));
            *static_cast<void **>(blocks[i]) = blocks[i];
        }
        for (unsigned i : order)
            pool.deallocate(blocks[i], sizes(i));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// A steady number of blocks, of which a random one is replaced at each step.
template <class Pool, class Sizes>
static void
utReplace(benchmark::State &state)
{
    const size_t count = size_t(state.range(0));
    const Sizes sizes(count);
    std::mt19937 random(1);
    std::vector<unsigned> victims(1 << 16);
    for (unsigned &victim : victims)
        victim = unsigned(random() % count);
    Pool pool;
    std::vector<void *> blocks(count);
    for (size_t i = 0; i < count; ++i)
        blocks[i] = pool.allocate(sizes(i));
    size_t step = 0;
    for (auto _ : state)
    {
        const unsigned victim = victims[step++ % victims.size()];
        void *&block = blocks[victim];
        pool.deallocate(block, sizes(victim));
        block = pool.allocate(sizes(victim));
        *static_cast<void **>(block) = &block;
    }
    for (size_t i = 0; i < count; ++i)
        pool.deallocate(blocks[i], sizes(i));
}

#define UT_POOL_BENCHMARKS(Pool, Sizes, kind, contender)           \
    BENCHMARK_TEMPLATE(utPair, Pool, Sizes)                        \
        ->Name("allocate and release a block" kind "/" contender); \
    BENCHMARK_TEMPLATE(utFillAndEmpty, Pool, Sizes)                \
        ->Name("allocate all, release all" kind "/" contender)     \
        ->Apply(utCurve<1000, 100000, 10000000, 100>);             \
    BENCHMARK_TEMPLATE(utReplace, Pool, Sizes)                     \
        ->Name("replace a block" kind "/" contender)               \
        ->Apply(utCurve<1000, 100000, 10000000, 100>)

using ut_Unsynchronized =
    ut_StandardPool<std::pmr::unsynchronized_pool_resource>;
using ut_Synchronized = ut_StandardPool<std::pmr::synchronized_pool_resource>;

UT_POOL_BENCHMARKS(ut_Malloc, ut_OneSize, "", "malloc");
UT_POOL_BENCHMARKS(ut_TCMalloc, ut_OneSize, "", "tcmalloc");
#ifdef VALDRIN_HAVE_BOOST
UT_POOL_BENCHMARKS(ut_BoostPool, ut_OneSize, "", "Boost pool");
#endif
UT_POOL_BENCHMARKS(ut_Unsynchronized, ut_OneSize, "", "std::pmr");
UT_POOL_BENCHMARKS(ut_Fixed<false>, ut_OneSize, "", "ours");
UT_POOL_BENCHMARKS(ut_Fixed<true>, ut_OneSize, "", "ours that reclaims");

#define UT_SIZES ", of several sizes"
UT_POOL_BENCHMARKS(ut_Malloc, ut_SeveralSizes, UT_SIZES, "malloc");
UT_POOL_BENCHMARKS(ut_TCMalloc, ut_SeveralSizes, UT_SIZES, "tcmalloc");
UT_POOL_BENCHMARKS(ut_Unsynchronized, ut_SeveralSizes, UT_SIZES, "std::pmr");
UT_POOL_BENCHMARKS(ut_SmallObject<false>, ut_SeveralSizes, UT_SIZES, "ours");

#define UT_LOCKED ", of several sizes, with a lock"
UT_POOL_BENCHMARKS(ut_Malloc, ut_SeveralSizes, UT_LOCKED, "malloc");
UT_POOL_BENCHMARKS(ut_TCMalloc, ut_SeveralSizes, UT_LOCKED, "tcmalloc");
UT_POOL_BENCHMARKS(ut_Synchronized, ut_SeveralSizes, UT_LOCKED, "std::pmr");
UT_POOL_BENCHMARKS(ut_SmallObject<true>, ut_SeveralSizes, UT_LOCKED, "ours");
