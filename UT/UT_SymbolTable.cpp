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
#include <vector>

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

// A name and what one pass over it computes.
struct UT_SymList::UT_Sym::ut_Key
{
    // Bytes count as signed ones wherever plain char is not, too.
    explicit ut_Key(const char *text) : name(text), hash(0)
    {
        const char *c = text;
        for (; *c; ++c)
            hash = hash * 37 + uint32(int8(*c));
        length = size_t(c - text);
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
    : name(key.copyTo(ut_Tail::fits(key) ? tail().text : nullptr)),
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

template <class Word>
static inline Word
utDifference(const char *a, const char *b)
{
    Word x;
    Word y;
    memcpy(&x, a, sizeof(x));
    memcpy(&y, b, sizeof(y));
    return x ^ y;
}

// Whether two texts of one length, which is usually from 4 to 16, are equal:
// compares two words, which may overlap, without a jump for each byte.
static inline bool
utIsSame(const char *a, const char *b, size_t length)
{
    if (length > 16)
        return memcmp(a, b, length) == 0;
    if (length >= 8)
        return (utDifference<uint64>(a, b) |
                utDifference<uint64>(a + length - 8, b + length - 8)) == 0;
    if (length >= 4)
        return (utDifference<uint32>(a, b) |
                utDifference<uint32>(a + length - 4, b + length - 4)) == 0;
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

UT_SymList::UT_Sym *
UT_SymList::find(const ut_Key &key) const
{
    UT_Sym *sym = myFirst;
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

int
UT_SymList::deleteEntry(const char *name)
{
    return name ? deleteEntry(ut_Key(name)) : 0;
}

int
UT_SymList::deleteEntry(const ut_Key &key)
{
    UT_Sym **link = &myFirst;
    while (*link && !(*link)->has(key))
        link = &(*link)->next;
    // The name may be that of one of the nodes: unlink them all before any
    // of them is deleted.
    UT_Sym *sym = *link;
    UT_Sym *end = sym;
    while (end && end->has(key))
        end = end->next;
    *link = end;
    int deleted = 0;
    for (UT_Sym *next; sym != end; sym = next)
    {
        next = sym->next;
        delete sym;
        ++deleted;
    }
    return deleted;
}

int
UT_SymList::traverse(UT_SymFunction function, void *data) const
{
    if (!function)
        return 1;
    for (UT_Sym *sym = myFirst; sym;)
    {
        UT_Sym *next = sym->next;
        if (!function(sym->value, sym->name, data))
            return 0;
        sym = next;
    }
    return 1;
}

int
UT_SymList::count() const
{
    int nodes = 0;
    for (const UT_Sym *sym = myFirst; sym; sym = sym->next)
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
    for (const UT_Sym *sym = myFirst; sym; sym = sym->next)
        fprintf(stream, format, sym->name, unsigned(sym->value.integer));
#pragma GCC diagnostic pop
}

UT_SymList::UT_Sym *
UT_SymList::removeFirstSym()
{
    UT_Sym *sym = myFirst;
    if (sym)
    {
        myFirst = sym->next;
        sym->next = nullptr;
    }
    return sym;
}

void
UT_SymList::insertSym(UT_Sym &sym)
{
    link(&sym);
}

void
UT_SymList::link(UT_Sym *sym)
{
    UT_Sym **link = &myFirst;
    while (*link && strcmp((*link)->name, sym->name) < 0)
        link = &(*link)->next;
    sym->next = *link;
    *link = sym;
}

int64
UT_SymList::getMemUsage(bool headOnly) const
{
    size_t bytes = sizeof(*this);
    if (!headOnly)
        for (const UT_Sym *sym = myFirst; sym; sym = sym->next)
            bytes += sizeof(*sym) + strlen(sym->name) + 1;
    return int64(bytes);
}

// ---- The table
//
// Where the names are has nothing to do with the buckets that callers see. The
// names are in lists whose number doubles, so that a name moves once on average
// while the table grows. The buckets, of which there is a fifth more at a time,
// are the order of a traversal, which sorts the names when it starts.
//
// The lists lie in one block, after a slot that holds how many upper bits of a
// hash choose one. A zero is an empty list.

static const unsigned theLeastBits = 3;
static const unsigned theMostBits = 31;

static unsigned
utBits(const UT_SymList *lists)
{
    uint32 bits;
    memcpy(&bits, static_cast<const void *>(lists - 1), sizeof(bits));
    return bits;
}

static uint32
utListCount(const UT_SymList *lists)
{
    return uint32(1) << utBits(lists);
}

// The multiplication spreads the differences between hashes, which similar
// names have in the lower bits, to the upper ones.
static uint32
utListIndex(const UT_SymList *lists, uint32 hash)
{
    return uint32(hash * 2654435769u) >> (32 - utBits(lists));
}

static UT_SymList *
utSetBits(void *block, uint32 bits)
{
    memcpy(block, &bits, sizeof(bits));
    return static_cast<UT_SymList *>(block) + 1;
}

static size_t
utSlots(unsigned bits)
{
    return (size_t(1) << bits) + 1;
}

static UT_SymList *
utNewLists()
{
    return utSetBits(
        utAllocateZeros(utSlots(theLeastBits), sizeof(UT_SymList)),
        theLeastBits);
}

UT_SymbolTable::~UT_SymbolTable()
{
    clear();
}

unsigned int
UT_SymbolTable::hash(const char *name)
{
    return name ? ut_Key(name).hash : 0;
}

UT_SymList &
UT_SymbolTable::listOf(const ut_Key &key) const
{
    return myBuckets[utListIndex(myBuckets, key.hash)];
}

// Each list splits into two neighbours. Nodes are scattered in memory, so those
// of a later step are fetched meanwhile.
void
UT_SymbolTable::growLists()
{
    const unsigned bits = utBits(myBuckets);
    if (bits == theMostBits)
        return;
    myBuckets = utSetBits(
        utChecked(
            reallocarray(myBuckets - 1, utSlots(bits + 1), sizeof(UT_SymList))),
        bits + 1);
    const uint32 ahead = 16;
    for (uint32 i = uint32(1) << bits; i-- > 0;)
    {
        if (i >= ahead)
            __builtin_prefetch(myBuckets[i - ahead].myFirst);
        UT_SymList::UT_Sym *halves[2] = {nullptr, nullptr};
        UT_SymList::UT_Sym *sym = myBuckets[i].myFirst;
        while (sym)
        {
            UT_SymList::UT_Sym *const next = sym->next;
            UT_SymList::UT_Sym *&half =
                halves[utListIndex(myBuckets, sym->hash()) & 1];
            sym->next = half;
            half = sym;
            sym = next;
        }
        myBuckets[2 * i].myFirst = halves[0];
        myBuckets[2 * i + 1].myFirst = halves[1];
    }
}

// Joins each two neighbours.
void
UT_SymbolTable::shrinkLists()
{
    const unsigned bits = utBits(myBuckets) - 1;
    for (uint32 i = 0; i < uint32(1) << bits; ++i)
    {
        UT_SymList::UT_Sym *first = myBuckets[2 * i].myFirst;
        UT_SymList::UT_Sym **end = &first;
        while (*end)
            end = &(*end)->next;
        *end = myBuckets[2 * i + 1].myFirst;
        myBuckets[i].myFirst = first;
    }
    void *const block = myBuckets - 1;
    void *const less = reallocarray(block, utSlots(bits), sizeof(UT_SymList));
    myBuckets = utSetBits(less ? less : block, bits);
}

// Every attempt to insert comes through here, so the check for growth does too.
UT_SymList::UT_Sym *
UT_SymbolTable::findOrCreate(const char *name, int &created)
{
    assert(name);
    adjust(UT_ADJUST_GROW);
    if (!myBuckets)
        myBuckets = utNewLists();
    const ut_Key key(name);
    UT_SymList::UT_Sym *sym = listOf(key).find(key);
    created = !sym;
    if (created)
    {
        const uint32 count = utListCount(myBuckets);
        if (uint32(myEntries) >= count - count / 4)
            growLists();
        sym = new (key) UT_SymList::UT_Sym(key);
        UT_SymList &list = listOf(key);
        sym->next = list.myFirst;
        list.myFirst = sym;
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
    UT_SymList::UT_Sym *sym = findOrCreate(name, created);
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
    const UT_SymList::UT_Sym *sym = listOf(key).find(key);
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
    const int deleted = listOf(key).deleteEntry(key);
    if (deleted)
    {
        myEntries -= deleted;
        adjust(UT_ADJUST_SHRINK);
        if (utBits(myBuckets) > theLeastBits &&
            uint32(myEntries) < utListCount(myBuckets) / 8)
            shrinkLists();
    }
    return deleted;
}

void
UT_SymbolTable::clear()
{
    if (myBuckets)
    {
        for (uint32 i = 0; i < utListCount(myBuckets); ++i)
            myBuckets[i].clear();
        free(myBuckets - 1);
    }
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

int
UT_SymbolTable::traverse(UT_SymFunction function, void *data)
{
    int completed;
    {
        const ut_TraversalGuard guard(myTraversing);
        completed = traverseConst(function, data);
    }
    adjust(UT_ADJUST_SHRINK);
    return completed;
}

// A node and the bucket that callers see it in.
struct UT_SymbolTable::ut_Place
{
    uint32 bucket;
    UT_SymList::UT_Sym *sym;
};

// All nodes in the order of a traversal: counted and put into their buckets,
// which are then sorted by name.
std::vector<UT_SymbolTable::ut_Place>
UT_SymbolTable::inOrder() const
{
    const size_t entries = size_t(myEntries);
    const size_t buckets = size_t(myTableSize);
    std::vector<ut_Place> places(entries);
    if (entries == 0)
        return places;
    std::vector<uint32> starts(buckets);
    size_t count = 0;
    for (uint32 i = 0; i < utListCount(myBuckets); ++i)
        for (auto *sym = myBuckets[i].myFirst; sym; sym = sym->next)
        {
            const uint32 bucket = sym->hash() % uint32(myTableSize);
            places[count++] = {bucket, sym};
            ++starts[bucket];
        }
    uint32 start = 0;
    for (uint32 &bucketStart : starts)
    {
        const uint32 size = bucketStart;
        bucketStart = start;
        start += size;
    }
    std::vector<ut_Place> ordered(entries);
    for (const ut_Place &place : places)
        ordered[starts[place.bucket]++] = place;

    auto first = ordered.begin();
    for (const uint32 end : starts)
    {
        const auto last = ordered.begin() + ptrdiff_t(end);
        if (last - first > 1)
            std::sort(
                first, last,
                [](const ut_Place &a, const ut_Place &b)
                { return strcmp(a.sym->name, b.sym->name) < 0; });
        first = last;
    }
    return ordered;
}

int
UT_SymbolTable::traverseConst(UT_SymFunction function, void *data) const
{
    if (!function)
        return 1;
    for (const ut_Place &place : inOrder())
        if (!function(place.sym->value, place.sym->name, data))
            return 0;
    return 1;
}

// Calls `function` for all names in any order.
void
UT_SymbolTable::visit(UT_SymFunction function, void *data) const
{
    if (myBuckets)
        for (uint32 i = 0; i < utListCount(myBuckets); ++i)
            myBuckets[i].traverse(function, data);
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
        other.visit(ut_mergeTable, this);
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
    visit(utCountNumbered, &numbered);

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
    if (!tableOnly)
    {
        bytes += int64(myTableSize) * int64(sizeof(UT_SymList));
        for (const ut_Place &place : inOrder())
            bytes += int64(sizeof(*place.sym) + strlen(place.sym->name) + 1);
    }
    return bytes;
}

void
UT_SymbolTable::outputStats(FILE *stream) const
{
    const int total = myEntries;
    int used = 0;
    int shortest = INT_MAX;
    int longest = 0;
    const std::vector<ut_Place> places = inOrder();
    for (size_t i = 0; i < places.size();)
    {
        int count = 0;
        for (const uint32 bucket = places[i].bucket;
             i < places.size() && places[i].bucket == bucket; ++i)
            ++count;
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
    int64 last = -1;
    for (const ut_Place &place : inOrder())
    {
        if (place.bucket != last)
            fprintf(stream, "[%3d]: ", int(place.bucket));
        last = place.bucket;
        fprintf(
            stream, " \"%s\" = 0x%08X\n", place.sym->name,
            unsigned(place.sym->value.integer));
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
    if (type == UT_ADJUST_GROW)
    {
        // In this form a table without buckets grows at any load factor.
        if (!(used < size * myMaxLoadFactor))
            myTableSize = UTbumpAllocToPrime(myTableSize);
    }
    else if (size * myMinLoadFactor > used)
        myTableSize = UTdecreaseAllocToPrime(myTableSize);
}

UT_SnapshotTable::UT_SnapshotTable() = default;

UT_SnapshotTable::~UT_SnapshotTable() = default;

// ---- Sizes

// Primes, each some 1.2 times the one before.
static const int utTableSizes[] = {
    5,         11,        17,         23,        29,        37,
    47,        59,        71,         89,        107,       131,
    163,       197,       239,        293,       353,       431,
    521,       631,       761,        919,       1103,      1327,
    1597,      1931,      2333,       2801,      3371,      4049,
    4861,      5839,      7013,       8419,      10103,     12143,
    14591,     17519,     21023,      25229,     30293,     36353,
    43627,     52361,     62851,      75431,     90523,     108631,
    130363,    156437,    187751,     225307,    270371,    324449,
    389357,    467237,    560689,     672827,    807403,    968897,
    1162687,   1395263,   1674319,    2009191,   2411033,   2893249,
    3471899,   4166287,   4999559,    5999471,   7199369,   8639249,
    10367101,  12440537,  14928671,   17914409,  21497293,  25796759,
    30956117,  37147349,  44576837,   53492207,  64190669,  77028803,
    92434613,  110921543, 133105859,  159727031, 191672443, 230006941,
    276008387, 331210079, 397452101,  476942527, 572331049, 686797261,
    824156741, 988988087, 1186785703, -1};

int
UTbumpAllocToPrime(int size)
{
    for (const int *next = utTableSizes; *next > 0; ++next)
        if (*next > size)
            return *next;
    return size;
}

int
UTdecreaseAllocToPrime(int size)
{
    int below = utTableSizes[0];
    for (const int *next = utTableSizes; *next > 0; ++next)
    {
        if (*next >= size)
            return below;
        below = *next;
    }
    return size;
}
