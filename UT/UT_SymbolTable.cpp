#include "UT_SymbolTable.h"

#include "UT_AllocImpl.h"
#include "UT_CharImpl.h"
#include "UT_SmallObjectAllocator.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <numeric>
#include <vector>

#include <endian.h>
#include <sys/mman.h>

#ifdef __x86_64__
#include <emmintrin.h>
#endif

// ---- One bucket

// Never destroyed: tables in static storage free their nodes at exit. Made
// without waiting: the thread that makes it may not be there in a child of
// fork().
static std::atomic<UT_SmallObjectAllocator *> theSymPool(nullptr);

static UT_SmallObjectAllocator &
utMakeSymPool()
{
    auto *const made = new UT_SmallObjectAllocator(
        /*reclaim=*/true, /*objectsPerPage=*/1024, /*maxObjectSize=*/128,
        /*threadSafe=*/true);
    UT_SmallObjectAllocator *first = nullptr;
    if (theSymPool.compare_exchange_strong(first, made))
        return *made;
    delete made; // another thread came first
    return *first;
}

static inline UT_SmallObjectAllocator &
utSymPool()
{
    UT_SmallObjectAllocator *const pool =
        theSymPool.load(std::memory_order_acquire);
    return pool ? *pool : utMakeSymPool();
}

// The base to the power of eight, with which the digits before eight count.
static const uint32 theSteps = 37u * 37 * 37 * 37 * 37 * 37 * 37 * 37;

// The number whose digits in base 37 are eight bytes, the lowest first, as
// signed ones. With 128 more each, which the end takes off again, none is
// negative: neighbours are joined in 16 bits, and then in 32, side by side.
static inline uint32
utDigits(uint64 bytes)
{
    const uint64 pairs = 0x00FF00FF00FF00FF;
    const uint64 fours = 0x0000FFFF0000FFFF;
    const uint32 excess = 128 * 38 * 1370 * (37 * 37 * 37 * 37 + 1u);
    bytes ^= 0x8080808080808080;
    bytes = (bytes & pairs) * 37 + ((bytes >> 8) & pairs);
    bytes = (bytes & fours) * (37 * 37) + ((bytes >> 16) & fours);
    return uint32(bytes) * (37 * 37 * 37 * 37) + uint32(bytes >> 32) - excess;
}

#ifdef __x86_64__
// The same of a name of 8 to 16 bytes, in one step without a jump. In 32 bits
// it takes longer than two of the others.
static inline uint32
utDigits(const char *name, size_t length)
{
    const auto eightAt = [](const void *bytes)
    { return _mm_loadl_epi64(static_cast<const __m128i *>(bytes)); };
    // Of the first eight those that the last ones do not have, after zeros.
    const __m128i zeroBits = _mm_cvtsi32_si128(int(8 * (16 - length)));
    const __m128i bytes = _mm_unpacklo_epi64(
        _mm_sll_epi64(eightAt(name), zeroBits), eightAt(name + length - 8));
    const __m128i firsts = _mm_srai_epi16(_mm_slli_epi16(bytes, 8), 8);
    const __m128i seconds = _mm_srai_epi16(bytes, 8);
    const __m128i pairs =
        _mm_add_epi16(_mm_mullo_epi16(firsts, _mm_set1_epi16(37)), seconds);
    const __m128i fours =
        _mm_madd_epi16(pairs, _mm_set1_epi32((1 << 16) + 37 * 37));
    const __m128i eights = _mm_add_epi64(
        _mm_mul_epu32(fours, _mm_set1_epi32(37 * 37 * 37 * 37)),
        _mm_srli_epi64(fours, 32));
    return uint32(_mm_cvtsi128_si32(eights)) * theSteps +
           uint32(_mm_cvtsi128_si32(_mm_unpackhi_epi64(eights, eights)));
}
#endif

// A name and what one pass over it computes.
struct UT_SymList::UT_Sym::ut_Key
{
    [[gnu::always_inline]] explicit ut_Key(const char *text)
        : name(text), length(strlen(text)), hash(0)
    {
        // Zeros in front change nothing, so that the first one to eight bytes
        // are taken like the others. A loop over bytes would end where the
        // processor cannot predict it.
        if (length < 8)
        {
            hash = utDigits(shortName());
            return;
        }
#ifdef __x86_64__
        if (length <= 16)
        {
            hash = utDigits(name, length);
            return;
        }
#endif
        size_t i = (length - 1) % 8 + 1;
        hash = utDigits(bytesAt<uint64>(0) << (8 * (8 - i)));
        for (; i < length; i += 8)
            hash = hash * theSteps + utDigits(bytesAt<uint64>(i));
    }

    // Copies the name to `block`, to one of its own when that is null.
    char *copyTo(void *block) const
    {
        return static_cast<char *>(
            memcpy(block ? block : utAllocate(length + 1), name, length + 1));
    }

    const char *name;
    size_t length; // bytes, without the NUL
    uint32 hash;

private:
    template <class Word>
    [[nodiscard]] Word bytesAt(size_t offset) const
    {
        Word word;
        memcpy(&word, name + offset, sizeof(word));
        return sizeof(word) == 8 ? Word(le64toh(word)) : Word(le32toh(word));
    }

    // Less than eight bytes, after zeros.
    [[nodiscard]] uint64 shortName() const
    {
        if (length >= 4)
            return uint64(bytesAt<uint32>(length - 4)) << 32 |
                   uint32(uint64(bytesAt<uint32>(0)) << (8 * (8 - length)));
        uint64 bytes = 0;
        for (size_t i = 0; i < length; ++i)
            bytes = bytes >> 8 | uint64(uint8(name[i])) << 56;
        return bytes;
    }
};

// What the block of a node holds after it: the hash of the name, and the name
// itself where it is short, so that a look-up or a move seldom has to wait for
// other memory. Not members, because programs know the size of a node.
struct UT_SymList::UT_Sym::ut_Tail
{
    uint32 hash;
    uint8 size; // of the name in `text`, with the NUL; 0 for a long name
    char text[(sizeof(void *) == 8 ? 32 : 28) - 5];

    // Bytes of the block of a node, with this after it.
    static unsigned blockSize(bool isShort)
    {
        return unsigned(
            sizeof(UT_Sym) +
            (isShort ? sizeof(ut_Tail) : offsetof(ut_Tail, text)));
    }

    static bool fits(const ut_Key &key) { return key.length < sizeof(text); }

    // Copies a name that fits. What start() reads is always set.
    char *hold(const ut_Key &key)
    {
        memset(text, 0, sizeof(uint64));
        return key.copyTo(text);
    }

    // The first bytes of a short name, as a number that orders as they do.
    [[nodiscard]] uint64 start() const
    {
        uint64 bytes;
        memcpy(&bytes, text, sizeof(bytes));
        return be64toh(bytes);
    }
};

UT_SymList::UT_Sym::ut_Tail &
UT_SymList::UT_Sym::tail() const
{
    void *const end = const_cast<UT_Sym *>(this + 1);
    return *static_cast<ut_Tail *>(end);
}

uint32
UT_SymList::UT_Sym::hash() const
{
    return tail().hash;
}

UT_SymList::UT_Sym::UT_Sym(const ut_Key &key)
    : name(ut_Tail::fits(key) ? tail().hold(key) : key.copyTo(nullptr)),
      next(nullptr)
{
    tail().hash = key.hash;
    tail().size = ut_Tail::fits(key) ? uint8(key.length + 1) : 0;
}

UT_SymList::UT_Sym::~UT_Sym()
{
    if (tail().size == 0)
        free(const_cast<char *>(name));
}

void *
UT_SymList::UT_Sym::operator new(size_t, const ut_Key &key)
{
    return utSymPool().allocate(ut_Tail::blockSize(ut_Tail::fits(key)));
}

// When there is no memory for a name.
void
UT_SymList::UT_Sym::operator delete(void *node, const ut_Key &key)
{
    utSymPool().deallocate(node, ut_Tail::blockSize(ut_Tail::fits(key)));
}

void
UT_SymList::UT_Sym::operator delete(void *node, size_t)
{
    // The tail outlives the node.
    const bool isShort = static_cast<UT_Sym *>(node)->tail().size > 0;
    utSymPool().deallocate(node, ut_Tail::blockSize(isShort));
}

// Whether two texts of one length, which is usually from 4 to 16, are equal:
// words that may overlap, without a jump for each byte.
static inline bool
utIsSame(const char *a, const char *b, size_t length)
{
    const auto differ = [a, b](auto word, size_t first, size_t second)
    {
        auto other = word;
        memcpy(&word, a + first, sizeof(word));
        memcpy(&other, b + first, sizeof(word));
        auto difference = word ^ other;
        memcpy(&word, a + second, sizeof(word));
        memcpy(&other, b + second, sizeof(word));
        return (difference | (word ^ other)) != 0;
    };
    if (length > 16)
        return memcmp(a, b, length) == 0;
    if (length >= 8)
        return !differ(uint64(0), 0, length - 8);
    if (length >= 4)
        return !differ(uint32(0), 0, length - 4);
    for (size_t i = 0; i < length; ++i)
        if (a[i] != b[i])
            return false;
    return true;
}

inline bool
UT_SymList::UT_Sym::has(const ut_Key &key) const
{
    const ut_Tail &rest = tail();
    if (rest.hash != key.hash)
        return false;
    if (rest.size > 0)
        return rest.size == key.length + 1 &&
               utIsSame(rest.text, key.name, key.length);
    return strcmp(name, key.name) == 0;
}

// Where a word has 64 bits, an address has this many of them.
static const bool theHasSet = sizeof(uintptr_t) == 8;
static const unsigned theAddressBits = 48;
static const uintptr_t theAddressMask =
    theHasSet ? uintptr_t(~(~uint64(0) << theAddressBits)) : UINTPTR_MAX;

inline UT_SymList::UT_Sym *
UT_SymList::ut_First::get() const
{
    const uintptr_t address = myWord & theAddressMask;
    UT_Sym *first;
    memcpy(&first, &address, sizeof(address));
    return first;
}

// The bits stay, unless the list is empty then.
inline void
UT_SymList::ut_First::set(UT_Sym *first)
{
    assert((uintptr_t(first) & ~theAddressMask) == 0);
    myWord = first ? (myWord & ~theAddressMask) | uintptr_t(first) : 0;
}

// The hashes in one bucket differ by multiples of an odd number, so that their
// last bits are as good as any.
static inline uintptr_t
utBit(uint32 hash)
{
    return uintptr_t(uint64(1) << (theAddressBits + hash % 16));
}

inline void
UT_SymList::ut_First::add(uint32 hash)
{
    if (theHasSet)
        myWord |= utBit(hash);
}

inline bool
UT_SymList::ut_First::mayHave(uint32 hash) const
{
    return theHasSet ? (myWord & utBit(hash)) != 0 : myWord != 0;
}

// One of two pointers, without a jump; compilers make one of a plain choice.
template <class Object>
static inline Object *
utChoose(bool isFirst, Object *first, Object *second)
{
    const uintptr_t differing = uintptr_t(first) ^ uintptr_t(second);
    const uintptr_t word =
        uintptr_t(second) ^ (differing & (0 - uintptr_t(isFirst)));
    Object *chosen;
    memcpy(&chosen, &word, sizeof(word));
    return chosen;
}

// Which of the first two nodes a look-up is for cannot be predicted, so their
// hashes choose without a jump.
[[gnu::always_inline]] inline UT_SymList::UT_Sym *
UT_SymList::find(const ut_Key &key) const
{
    if (!myFirst.mayHave(key.hash))
        return nullptr;
    UT_Sym *sym = myFirst.get();
    sym = utChoose(sym->hash() == key.hash, sym, sym->next);
    while (sym && !sym->has(key))
        sym = sym->next;
    return sym;
}

UT_SymList::UT_Sym *
UT_SymList::findOrCreate(const ut_Key &key, int &created)
{
    UT_Sym *sym = find(key);
    created = !sym;
    if (created)
    {
        sym = new (key) UT_Sym(key);
        link(sym);
    }
    return sym;
}

UT_SymList::UT_Sym *
UT_SymList::findOrCreate(const char *name, int *created)
{
    assert(name);
    int isNew;
    UT_Sym *sym = findOrCreate(ut_Key(name), isNew);
    if (created)
        *created = isNew;
    return sym;
}

UT_SymList::UT_Sym *
UT_SymList::getEntry(const char *name, int *created)
{
    return findOrCreate(name, created);
}

const char *
UT_SymList::getStringReference(const char *name, int *created)
{
    return findOrCreate(name, created)->name;
}

int
UT_SymList::insertEntry(const char *name, const UT_Thing &value)
{
    int created;
    insertEntryAndGetReference(name, value, created);
    return created;
}

const char *
UT_SymList::insertEntryAndGetReference(
    const char *name, const UT_Thing &value, int &created)
{
    UT_Sym *sym = findOrCreate(name, &created);
    sym->value = value;
    return sym->name;
}

int
UT_SymList::findEntry(const char *name, UT_Thing *value) const
{
    const UT_Sym *sym = name ? find(ut_Key(name)) : nullptr;
    if (sym && value)
        *value = sym->value;
    return sym != nullptr;
}

// Takes a node with the name out of the list; null when there is none.
inline UT_SymList::UT_Sym *
UT_SymList::remove(const ut_Key &key)
{
    if (!myFirst.mayHave(key.hash))
        return nullptr;
    UT_Sym *first = myFirst.get();
    UT_Sym **link = &first;
    while (*link && !(*link)->has(key))
        link = &(*link)->next;
    UT_Sym *const sym = *link;
    if (sym)
    {
        *link = sym->next;
        myFirst.set(first);
    }
    return sym;
}

int
UT_SymList::deleteEntry(const char *name)
{
    if (!name)
        return 0;
    // The name may be that of one of the nodes: all are removed before any of
    // them is deleted.
    const ut_Key key(name);
    UT_SymList deleted;
    while (UT_Sym *const sym = remove(key))
        deleted.push(sym);
    return deleted.count();
}

int
UT_SymList::traverse(UT_SymFunction function, void *data) const
{
    if (!function)
        return 1;
    for (UT_Sym *sym = myFirst.get(); sym;)
    {
        UT_Sym *next = sym->next;
        if (!function(sym->value, sym->name, data))
            return 0;
        sym = next;
    }
    return 1;
}

inline UT_SymList::UT_Sym *
UT_SymList::secondOrFirst() const
{
    UT_Sym *const first = myFirst.get();
    return first->next ? first->next : first;
}

int
UT_SymList::count() const
{
    int nodes = 0;
    for (const UT_Sym *sym = myFirst.get(); sym; sym = sym->next)
        ++nodes;
    return nodes;
}

void
UT_SymList::clear()
{
    while (UT_Sym *sym = removeFirstSym())
        delete sym;
}

void
UT_SymList::dump(FILE *stream, const char *format) const
{
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    for (const UT_Sym *sym = myFirst.get(); sym; sym = sym->next)
        fprintf(stream, format, sym->name, unsigned(sym->value.integer));
#pragma GCC diagnostic pop
}

UT_SymList::UT_Sym *
UT_SymList::removeFirstSym()
{
    UT_Sym *sym = myFirst.get();
    if (sym)
    {
        myFirst.set(sym->next);
        sym->next = nullptr;
    }
    return sym;
}

void
UT_SymList::insertSym(UT_Sym &sym)
{
    link(&sym);
}

// In the order of strcmp(). The first bytes of short names nearly always
// decide.
inline bool
UT_SymList::UT_Sym::isBefore(const UT_Sym &other) const
{
    if (tail().size > 0 && other.tail().size > 0)
    {
        const uint64 start = tail().start();
        const uint64 otherStart = other.tail().start();
        if (start != otherStart)
            return start < otherStart;
    }
    return strcmp(name, other.name) < 0;
}

inline void
UT_SymList::link(UT_Sym *sym)
{
    UT_Sym *first = myFirst.get();
    UT_Sym **link = &first;
    while (*link && (*link)->isBefore(*sym))
        link = &(*link)->next;
    sym->next = *link;
    *link = sym;
    myFirst.set(first);
    myFirst.add(sym->hash());
}

// At the front, which reads no other node.
inline void
UT_SymList::push(UT_Sym *sym)
{
    sym->next = myFirst.get();
    myFirst.set(sym);
    myFirst.add(sym->hash());
}

int64
UT_SymList::getMemUsage(bool headOnly) const
{
    size_t bytes = sizeof(*this);
    if (!headOnly)
        for (const UT_Sym *sym = myFirst.get(); sym; sym = sym->next)
            bytes += sizeof(*sym) + strlen(sym->name) + 1;
    return int64(bytes);
}

// ---- The table

// Primes, each some 1.2 times the one before.
static constexpr int utTableSizes[] = {
    5,         11,        17,        23,        29,        37,        47,
    59,        71,        89,        107,       131,       163,       197,
    239,       293,       353,       431,       521,       631,       761,
    919,       1103,      1327,      1597,      1931,      2333,      2801,
    3371,      4049,      4861,      5839,      7013,      8419,      10103,
    12143,     14591,     17519,     21023,     25229,     30293,     36353,
    43627,     52361,     62851,     75431,     90523,     108631,    130363,
    156437,    187751,    225307,    270371,    324449,    389357,    467237,
    560689,    672827,    807403,    968897,    1162687,   1395263,   1674319,
    2009191,   2411033,   2893249,   3471899,   4166287,   4999559,   5999471,
    7199369,   8639249,   10367101,  12440537,  14928671,  17914409,  21497293,
    25796759,  30956117,  37147349,  44576837,  53492207,  64190669,  77028803,
    92434613,  110921543, 133105859, 159727031, 191672443, 230006941, 276008387,
    331210079, 397452101, 476942527, 572331049, 686797261, 824156741, 988988087,
    1186785703};

static constexpr unsigned theSizeCount = std::size(utTableSizes);

static unsigned
utSizeIndex(int size)
{
    return unsigned(
        std::lower_bound(utTableSizes, utTableSizes + theSizeCount - 1, size) -
        utTableSizes);
}

#ifdef __SIZEOF_INT128__
namespace
{

// What dividing by each size takes: 2^64 divided by it, rounded up.
struct ut_Inverses
{
    constexpr ut_Inverses() : values()
    {
        for (unsigned i = 0; i < theSizeCount; ++i)
            values[i] = UINT64_MAX / unsigned(utTableSizes[i]) + 1;
    }
    uint64 values[theSizeCount];
};

} // namespace

// The hash modulo a size. The lower half of its product with the inverse is the
// fraction that a division leaves. Two multiplications take less time than a
// division.
static inline unsigned
utBucketOf(uint32 hash, unsigned sizeIndex)
{
    static constexpr ut_Inverses theInverses;
    __extension__ using ut_Product = unsigned __int128;
    const uint64 fraction = theInverses.values[sizeIndex] * hash;
    const unsigned size = unsigned(utTableSizes[sizeIndex]);
    return unsigned(ut_Product(fraction) * size >> 64);
}
#else
static inline unsigned
utBucketOf(uint32 hash, unsigned sizeIndex)
{
    return hash % unsigned(utTableSizes[sizeIndex]);
}
#endif

unsigned int
UT_SymbolTable::hash(const char *name)
{
    return name ? ut_Key(name).hash : 0;
}

// Large arrays have pages of their own, which are larger than usual if the
// system has such for those who ask: the processor has room for the addresses
// of few others. Heap that was in use would keep its pages.
static const size_t theLargePage = 0x200000;
static const size_t theMappedSize = theLargePage / 2; // from there on

static size_t
utMappedSize(size_t bytes)
{
    return (bytes + theLargePage - 1) / theLargePage * theLargePage;
}

static void *
utMap(size_t bytes)
{
    const size_t mapped = utMappedSize(bytes) + theLargePage;
    void *const memory = mmap(
        nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS,
        -1, 0);
    if (memory == MAP_FAILED)
        throw std::bad_alloc();
    // What is before and after the large pages goes back.
    char *const start = static_cast<char *>(memory);
    const size_t before = (0 - uintptr_t(start)) % theLargePage;
    char *const pages = start + before;
    char *const end = pages + utMappedSize(bytes);
    if (before > 0)
        munmap(start, before);
    munmap(end, theLargePage - before);
    (void)madvise(pages, utMappedSize(bytes), MADV_HUGEPAGE);
    return pages;
}

static UT_SymList *
utMakeBuckets(unsigned count)
{
    size_t bytes;
    if (__builtin_mul_overflow(count, sizeof(UT_SymList), &bytes) ||
        bytes > size_t(PTRDIFF_MAX))
        throw std::bad_alloc();
    void *const memory =
        bytes < theMappedSize ? utAllocate(bytes) : utMap(bytes);
    auto *const buckets = static_cast<UT_SymList *>(memory);
    std::uninitialized_default_construct_n(buckets, count);
    return buckets;
}

// Does not destroy the lists.
static void
utFreeBuckets(UT_SymList *buckets, unsigned count)
{
    const size_t bytes = count * sizeof(UT_SymList);
    if (bytes < theMappedSize)
        free(buckets);
    else
        munmap(buckets, utMappedSize(bytes));
}

inline unsigned
UT_SymbolTable::bucketCount() const
{
    return myBuckets ? unsigned(utTableSizes[mySizeIndex]) : 0;
}

UT_SymbolTable::~UT_SymbolTable()
{
    std::destroy_n(myBuckets, bucketCount());
    utFreeBuckets(myBuckets, bucketCount());
}

// Whether the processor's cache has no room for the nodes, so that one that is
// prefetched comes much sooner. Otherwise that would only be more to do.
inline bool
UT_SymbolTable::isLarge() const
{
    return myEntries >= 200000;
}

// Nodes that are visited together.
static const int theRunLength = 128;

// Calls `function` with all nodes, in runs, after reading the links of a run.
//
// Nodes are scattered in memory, and which buckets have any, or more than one,
// cannot be predicted: one node after the other, this would wait most of the
// time. So the first nodes of a run of buckets come together, then the second
// ones and so on, in steps of which each prefetches what the next one needs
// where the table is large.
template <class Function>
inline void
UT_SymbolTable::forRuns(Function function) const
{
    UT_Sym *syms[theRunLength];
    UT_Sym *nexts[theRunLength];
    const bool prefetches = isLarge();
    for (unsigned start = 0; start < bucketCount(); start += theRunLength)
    {
        const unsigned end = std::min(start + theRunLength, bucketCount());
        int count = 0;
        for (unsigned i = start; i < end; ++i)
        {
            UT_Sym *const sym = myBuckets[i].myFirst.get();
            syms[count] = sym;
            count += sym != nullptr;
        }
        for (int i = 0; i < count && prefetches; ++i)
            __builtin_prefetch(syms[i]);
        while (count > 0)
        {
            int nextCount = 0;
            for (int i = 0; i < count; ++i)
            {
                UT_Sym *const next = syms[i]->next;
                if (prefetches)
                    __builtin_prefetch(next ? next : syms[i]); // null is slow
                nexts[nextCount] = next;
                nextCount += next != nullptr;
            }
            function(syms, count);
            std::copy(nexts, nexts + nextCount, syms);
            count = nextCount;
        }
    }
}

inline UT_SymList &
UT_SymbolTable::bucketOf(const ut_Key &key) const
{
    return myBuckets[utBucketOf(key.hash, mySizeIndex)];
}

// Every attempt to insert comes through here, so the check for growth does too.
UT_SymList::UT_Sym *
UT_SymbolTable::findOrCreate(const char *name, int &created)
{
    assert(name);
    adjust(UT_ADJUST_GROW);
    const ut_Key key(name);
    UT_SymList &bucket = bucketOf(key);
    UT_Sym *sym = bucket.find(key);
    created = !sym;
    if (created)
    {
        sym = new (key) UT_Sym(key);
        if (myIsInOrder)
            bucket.link(sym);
        else
            bucket.push(sym);
        ++myEntries;
    }
    return sym;
}

int
UT_SymbolTable::addSymbol(const char *name, UT_Thing value)
{
    int created;
    findOrCreate(name, created)->value = value;
    return created;
}

const char *
UT_SymbolTable::addSymbolAndGetReference(const char *name, UT_Thing value)
{
    int created;
    UT_Sym *sym = findOrCreate(name, created);
    sym->value = value;
    return sym->name;
}

const char *
UT_SymbolTable::getStringReference(const char *name)
{
    int created;
    return findOrCreate(name, created)->name;
}

UT_Thing &
UT_SymbolTable::operator[](const char *name)
{
    int created;
    return findOrCreate(name, created)->value;
}

int
UT_SymbolTable::findSymbol(const char *name, UT_Thing *value) const
{
    if (!myBuckets || !name)
        return 0;
    const ut_Key key(name);
    const UT_Sym *sym = bucketOf(key).find(key);
    if (sym && value)
        *value = sym->value;
    return sym != nullptr;
}

int
UT_SymbolTable::deleteSymbol(const char *name)
{
    if (!myBuckets || !name)
        return 0;
    const ut_Key key(name);
    UT_Sym *const sym = bucketOf(key).remove(key);
    if (!sym)
        return 0;
    delete sym;
    --myEntries;
    adjust(UT_ADJUST_SHRINK);
    return 1;
}

void
UT_SymbolTable::clear()
{
    std::destroy_n(myBuckets, bucketCount());
    utFreeBuckets(myBuckets, bucketCount());
    myBuckets = nullptr;
    myTableSize = 0;
    myEntries = 0;
}

namespace
{

// Keeps the size of a table as long as it lives. An inner traversal must not
// end the protection of the outer one, so the state before comes back.
class ut_TraversalGuard
{
public:
    explicit ut_TraversalGuard(bool &isTraversing)
        : myIsTraversing(isTraversing), myWasTraversing(isTraversing)
    {
        myIsTraversing = true;
    }
    ~ut_TraversalGuard() { myIsTraversing = myWasTraversing; }
    ut_TraversalGuard(const ut_TraversalGuard &) = delete;
    ut_TraversalGuard &operator=(const ut_TraversalGuard &) = delete;

private:
    bool &myIsTraversing;
    bool myWasTraversing;
};

} // namespace

// The nodes of a table in the order that it shows.
class UT_SymbolTable::ut_Order
{
public:
    explicit ut_Order(const UT_SymbolTable &table)
        : myIsLarge(table.isLarge()),
          mySyms(new UT_Sym *[unsigned(table.myEntries)]),
          myEnds(unsigned(table.myTableSize) + 1)
    {
        distribute(table);
        unsigned start = 0;
        for (const unsigned end : myEnds)
        {
            sort(start, end);
            start = end;
        }
    }

    // Number of nodes.
    [[nodiscard]] unsigned entries() const { return myEnds.back(); }

    // The nodes of a bucket, by their indices.
    [[nodiscard]] unsigned begin(unsigned bucket) const
    {
        return bucket > 0 ? myEnds[bucket - 1] : 0;
    }
    [[nodiscard]] unsigned end(unsigned bucket) const { return myEnds[bucket]; }

    // Nodes are read one after the other: one that comes later is prefetched,
    // where the table is large.
    UT_Sym &operator()(unsigned index) const
    {
        if (myIsLarge)
            __builtin_prefetch(mySyms[std::min(index + 16, entries() - 1)]);
        return *mySyms[index];
    }

private:
    // Counts the nodes of each bucket, and puts them there.
    void distribute(const UT_SymbolTable &table)
    {
        const unsigned sizeIndex = utSizeIndex(table.myTableSize);
        const unsigned count = unsigned(table.myEntries);
        const std::unique_ptr<UT_Sym *[]> syms(new UT_Sym *[count]);
        const std::unique_ptr<unsigned[]> buckets(new unsigned[count]);
        table.forRuns(
            [nextSym = syms.get(), nextBucket = buckets.get(),
             counts = myEnds.data() + 1,
             sizeIndex](UT_Sym **run, int length) mutable
            {
                unsigned *const countsHere = counts; // in a register
                for (int i = 0; i < length; ++i)
                {
                    const unsigned bucket =
                        utBucketOf(run[i]->hash(), sizeIndex);
                    nextSym[i] = run[i];
                    nextBucket[i] = bucket;
                    ++countsHere[bucket];
                }
                nextSym += length;
                nextBucket += length;
            });
        std::partial_sum(myEnds.begin(), myEnds.end(), myEnds.begin());
        // What is a start before becomes the end.
        for (unsigned i = 0; i < count; ++i)
            mySyms[myEnds[buckets[i]]++] = syms[i];
    }

    void sort(unsigned first, unsigned last)
    {
        for (unsigned i = first; i < last && myIsLarge; ++i)
            (*this)(i);
        // Most buckets have no more.
        if (last - first == 2)
        {
            UT_Sym **const pair = mySyms.get() + first;
            if (pair[1]->isBefore(*pair[0]))
                std::swap(pair[0], pair[1]);
        }
        else if (last - first > 2)
            std::sort(
                mySyms.get() + first, mySyms.get() + last,
                [](const UT_Sym *a, const UT_Sym *b)
                { return a->isBefore(*b); });
    }

    const bool myIsLarge;
    const std::unique_ptr<UT_Sym *[]> mySyms;
    std::vector<unsigned> myEnds; // by bucket, and the number of nodes
};

// Puts the nodes into the buckets that the table shows.
void
UT_SymbolTable::settle()
{
    if (myIsInOrder || !myBuckets)
        return;
    const ut_Order order(*this);
    auto *const buckets = utMakeBuckets(unsigned(myTableSize));
    for (unsigned bucket = 0; bucket < unsigned(myTableSize); ++bucket)
        for (unsigned i = order.end(bucket); i > order.begin(bucket);)
            buckets[bucket].push(&order(--i));
    replaceBuckets(buckets, utSizeIndex(myTableSize));
    myIsInOrder = true;
}

int
UT_SymbolTable::traverse(UT_SymFunction function, void *data)
{
    int completed;
    settle();
    {
        const ut_TraversalGuard guard(myTraversing);
        completed = traverseConst(function, data);
    }
    adjust(UT_ADJUST_SHRINK);
    return completed;
}

int
UT_SymbolTable::traverseConst(UT_SymFunction function, void *data) const
{
    if (myIsInOrder || !function)
        return walkBuckets(function, data);
    const ut_Order order(*this);
    for (unsigned i = 0; i < order.entries(); ++i)
    {
        UT_Sym &sym = order(i);
        if (!function(sym.value, sym.name, data))
            return 0;
    }
    return 1;
}

// A block of buckets, one for each bit of a word.
static const unsigned theBlockLength = 8 * sizeof(uintptr_t);

// The number of the lowest bit that is set.
static inline unsigned
utLowest(uintptr_t bits)
{
    return unsigned(__builtin_ctzl(bits));
}

// Which buckets of the block that begins with `start` are not empty, by bits:
// that cannot be predicted, so no jump depends on it.
inline uintptr_t
UT_SymbolTable::usedBuckets(unsigned start) const
{
    uintptr_t used = 0;
    for (unsigned i = std::min(start + theBlockLength, bucketCount());
         i > start; --i)
        used = used + used + !myBuckets[i - 1].empty();
    return used;
}

// The first nodes of a block's buckets are prefetched a block ahead of the
// calls for them, the second ones just before. The calls may delete names and
// buckets, so no pointer outlives one.
int
UT_SymbolTable::walkBuckets(UT_SymFunction function, void *data) const
{
    if (!function)
        return 1;
    const bool prefetches = isLarge();
    for (unsigned start = 0; start < bucketCount(); start += theBlockLength)
    {
        uintptr_t used = usedBuckets(start);
        if (prefetches)
        {
            for (uintptr_t bits = used; bits != 0; bits &= bits - 1)
                __builtin_prefetch(
                    myBuckets[start + utLowest(bits)].secondOrFirst());
            const unsigned next = start + theBlockLength;
            for (uintptr_t bits = usedBuckets(next); bits; bits &= bits - 1)
                __builtin_prefetch(
                    myBuckets[next + utLowest(bits)].myFirst.get());
        }
        for (; used != 0; used &= used - 1)
        {
            const unsigned i = start + utLowest(used);
            if (i < bucketCount() && !myBuckets[i].traverse(function, data))
                return 0;
        }
    }
    return 1;
}

static int
ut_mergeTable(UT_Thing &value, const char *name, void *data)
{
    static_cast<UT_SymbolTable *>(data)->addSymbol(name, value);
    return 1;
}

void
UT_SymbolTable::mergeTable(const UT_SymbolTable &other)
{
    // Adding to the table that is being walked could rehash it on the way.
    if (&other != this)
        other.traverseConst(ut_mergeTable, this);
}

namespace
{

struct ut_NumberedBase
{
    const char *base;
    size_t length;
    int count; // more than all numbers so far
};

} // namespace

static int
utCountNumbered(UT_Thing &, const char *name, void *data)
{
    auto *numbered = static_cast<ut_NumberedBase *>(data);
    if (strncmp(name, numbered->base, numbered->length) != 0 ||
        !utIsDigit(name[numbered->length]))
        return 1;
    // Deliberate: text after the number does not matter.
    const long number = strtol(name + numbered->length, nullptr, 10);
    if (number >= numbered->count && number < INT_MAX)
        numbered->count = int(number) + 1;
    return 1;
}

char *
UT_SymbolTable::newName(const char *name) const
{
    if (!name)
        return nullptr;
    ut_NumberedBase numbered = {name, strlen(name), 1};
    while (numbered.length > 0 && utIsDigit(name[numbered.length - 1]))
        --numbered.length;
    walkBuckets(utCountNumbered, &numbered);

    const size_t size = numbered.length + sizeof("2147483647");
    char *result = static_cast<char *>(utAllocate(size));
    memcpy(result, name, numbered.length);
    snprintf(
        result + numbered.length, size - numbered.length, "%d", numbered.count);
    return result;
}

void
UT_SymbolTable::setMaxLoadFactor(float factor)
{
    myMaxLoadFactor = factor;
    if (!(factor > 0 && factor > myMinLoadFactor))
        myMaxLoadFactor = std::max(0.75f, 2 * myMinLoadFactor);
}

void
UT_SymbolTable::setMinLoadFactor(float factor)
{
    myMinLoadFactor = factor;
    if (!(factor >= 0 && factor < myMaxLoadFactor))
        myMinLoadFactor = myMaxLoadFactor / 2;
}

int64
UT_SymbolTable::getMemUsage(bool tableOnly) const
{
    int64 bytes = sizeof(*this);
    if (tableOnly)
        return bytes;
    for (unsigned i = 0; i < bucketCount(); ++i)
        bytes += myBuckets[i].getMemUsage(/*headOnly=*/false);
    // Deliberate: of the heads, those that tableSize() counts.
    return bytes +
           (myTableSize - int64(bucketCount())) * int64(sizeof(UT_SymList));
}

void
UT_SymbolTable::outputStats(FILE *stream) const
{
    int total = 0;
    int used = 0;
    int shortest = INT_MAX;
    int longest = 0;
    const ut_Order order(*this);
    for (unsigned i = 0; i < unsigned(myTableSize); ++i)
    {
        const int count = int(order.end(i) - order.begin(i));
        if (count == 0)
            continue;
        total += count;
        ++used;
        shortest = std::min(shortest, count);
        longest = std::max(longest, count);
    }
    fprintf(stream, "Table size: %d\n", myTableSize);
    fprintf(stream, "   Entries: %d\n", total);
    if (myTableSize != 0)
        fprintf(stream, "  Coverage: %g\n", double(used) / myTableSize);
    fprintf(stream, "Collisions: %d\n", total - used);
    if (used == 0)
        return;
    fprintf(
        stream, "   Lengths: [%d-%d] avg: %g\n", shortest, longest,
        double(total) / used);
    fprintf(stream, " Deviation: %g\n", double(longest - shortest) / shortest);
}

void
UT_SymbolTable::dumpTable(FILE *stream) const
{
    const ut_Order order(*this);
    for (unsigned bucket = 0; bucket < unsigned(myTableSize); ++bucket)
    {
        if (order.begin(bucket) < order.end(bucket))
            fprintf(stream, "[%3u]: ", bucket);
        for (unsigned i = order.begin(bucket); i < order.end(bucket); ++i)
            fprintf(
                stream, " \"%s\" = 0x%08X\n", order(i).name,
                unsigned(order(i).value.integer));
    }
}

void
UT_SymbolTable::adjustTableSize(UT_AdjustType type)
{
    adjust(type);
}

void
UT_SymbolTable::adjust(UT_AdjustType type)
{
    if (myTraversing)
        return;
    const float size = float(myTableSize);
    const float used = float(myEntries);
    int newSize = myTableSize;
    if (type == UT_ADJUST_GROW)
    {
        // In this form a table without buckets grows at any load factor.
        if (!(used < size * myMaxLoadFactor))
            newSize = UTbumpAllocToPrime(myTableSize);
    }
    else if (size * myMinLoadFactor > used)
        newSize = UTdecreaseAllocToPrime(myTableSize);
    if (newSize != myTableSize)
        resize(newSize);
}

// How many sizes a table goes further than it shows when its buckets are too
// few, which makes them twice as many.
static const unsigned theLead = 4;

void
UT_SymbolTable::resize(int tableSize)
{
    const unsigned index = utSizeIndex(tableSize);
    if (!myBuckets || index > mySizeIndex || index + 2 * theLead < mySizeIndex)
        rehash(std::min(index + theLead, theSizeCount - 1));
    myTableSize = tableSize;
    myIsInOrder = false;
}

void
UT_SymbolTable::rehash(unsigned sizeIndex)
{
    auto *const buckets = utMakeBuckets(unsigned(utTableSizes[sizeIndex]));
    forRuns(
        [&](UT_Sym **syms, int count)
        {
            UT_SymList *targets[theRunLength];
            for (int i = 0; i < count; ++i)
            {
                targets[i] = &buckets[utBucketOf(syms[i]->hash(), sizeIndex)];
                __builtin_prefetch(targets[i]);
            }
            for (int i = 0; i < count; ++i)
                targets[i]->push(syms[i]);
        });
    replaceBuckets(buckets, sizeIndex);
}

// The nodes are in the new lists; the old ones still point at some, so they are
// not destroyed.
void
UT_SymbolTable::replaceBuckets(UT_SymList *buckets, unsigned sizeIndex)
{
    utFreeBuckets(myBuckets, bucketCount());
    myBuckets = buckets;
    mySizeIndex = uint8(sizeIndex);
}

UT_SnapshotTable::UT_SnapshotTable() = default;

UT_SnapshotTable::~UT_SnapshotTable() = default;

// ---- Sizes

int
UTbumpAllocToPrime(int size)
{
    const int *const end = utTableSizes + theSizeCount;
    const int *const above = std::upper_bound(utTableSizes, end, size);
    return above < end ? *above : size;
}

int
UTdecreaseAllocToPrime(int size)
{
    const int *const end = utTableSizes + theSizeCount;
    const int *const atLeast = std::lower_bound(utTableSizes, end, size);
    if (atLeast == end)
        return size;
    return atLeast > utTableSizes ? atLeast[-1] : utTableSizes[0];
}
