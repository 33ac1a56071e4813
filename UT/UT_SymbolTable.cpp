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

#include <endian.h>

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
    static const uint32 theSteps = 37u * 37 * 37 * 37 * 37 * 37 * 37 * 37;

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

// Without a jump, which could not be predicted.
inline bool
UT_SymList::ut_First::setIfNull(UT_Sym *first, uint32 hash)
{
    const uintptr_t word = uintptr_t(first) | (theHasSet ? utBit(hash) : 0);
    const bool isNull = myWord == 0;
    myWord |= word & (0 - uintptr_t(isNull));
    return isNull;
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

int
UT_SymList::deleteEntry(const char *name)
{
    return name ? deleteEntry(ut_Key(name)) : 0;
}

int
UT_SymList::deleteEntry(const ut_Key &key)
{
    if (!myFirst.mayHave(key.hash))
        return 0;
    UT_Sym *first = myFirst.get();
    UT_Sym **link = &first;
    while (*link && !(*link)->has(key))
        link = &(*link)->next;
    // The name may be that of one of the nodes: unlink them all before any
    // of them is deleted.
    UT_Sym *sym = *link;
    UT_Sym *end = sym;
    while (end && end->has(key))
        end = end->next;
    *link = end;
    myFirst.set(first);
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
    for (UT_Sym *sym = myFirst.get(); sym;)
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

UT_SymbolTable::~UT_SymbolTable()
{
    delete[] myBuckets;
}

unsigned int
UT_SymbolTable::hash(const char *name)
{
    return name ? ut_Key(name).hash : 0;
}

UT_SymList &
UT_SymbolTable::bucketOf(const ut_Key &key) const
{
    return myBuckets[key.hash % unsigned(myTableSize)];
}

// Every attempt to insert comes through here, so the check for growth does too.
UT_SymList::UT_Sym *
UT_SymbolTable::findOrCreate(const char *name, int &created)
{
    assert(name);
    adjust(UT_ADJUST_GROW);
    const ut_Key key(name);
    UT_SymList::UT_Sym *sym = bucketOf(key).findOrCreate(key, created);
    myEntries += created;
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
    const UT_SymList::UT_Sym *sym = bucketOf(key).find(key);
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
    const int deleted = bucketOf(key).deleteEntry(key);
    if (deleted)
    {
        myEntries -= deleted;
        adjust(UT_ADJUST_SHRINK);
    }
    return deleted;
}

void
UT_SymbolTable::clear()
{
    delete[] myBuckets;
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

int
UT_SymbolTable::traverseConst(UT_SymFunction function, void *data) const
{
    for (int32 i = 0; i < myTableSize; ++i)
        if (!myBuckets[i].traverse(function, data))
            return 0;
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
    traverseConst(utCountNumbered, &numbered);

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
        for (int32 i = 0; i < myTableSize; ++i)
            bytes += myBuckets[i].getMemUsage(/*headOnly=*/false);
    return bytes;
}

void
UT_SymbolTable::outputStats(FILE *stream) const
{
    int total = 0;
    int used = 0;
    int shortest = INT_MAX;
    int longest = 0;
    for (int32 i = 0; i < myTableSize; ++i)
    {
        const int count = myBuckets[i].count();
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
    for (int32 i = 0; i < myTableSize; ++i)
    {
        if (myBuckets[i].empty())
            continue;
        fprintf(stream, "[%3d]: ", i);
        myBuckets[i].dump(stream, " \"%s\" = 0x%08X\n");
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
        rehash(newSize);
}

// Nodes that move together.
static const int theRunLength = 128;

// Moves nodes to their new buckets and puts those that follow them in their
// place, whose number it returns.
int
UT_SymList::move(
    UT_Sym **syms, int count, UT_SymList *buckets, unsigned bucketCount)
{
    UT_SymList *targets[theRunLength];
    for (int i = 0; i < count; ++i)
    {
        targets[i] = &buckets[syms[i]->hash() % bucketCount];
        __builtin_prefetch(targets[i]);
    }
    UT_Sym *late[theRunLength]; // for buckets that have a node
    int lateCount = 0;
    int nextCount = 0;
    for (int i = 0; i < count; ++i)
    {
        UT_Sym *const sym = syms[i];
        UT_Sym *const next = sym->next;
        UT_SymList *const target = targets[i];
        sym->next = nullptr;
        const bool isFirst = target->myFirst.setIfNull(sym, sym->hash());
        late[lateCount] = sym;
        targets[lateCount] = target;
        lateCount += !isFirst;
        __builtin_prefetch(next ? next : sym); // to ask for null is slow
        syms[nextCount] = next;
        nextCount += next != nullptr;
    }
    for (int i = 0; i < lateCount; ++i)
        targets[i]->link(late[i]);
    return nextCount;
}

// Nodes are scattered in memory, and which buckets have any, or more than one,
// cannot be predicted: one node after the other, a move would wait most of the
// time. So the first nodes of a run of buckets move together, then the second
// ones and so on, in steps of which each prefetches the memory that the next
// one needs.
void
UT_SymbolTable::rehash(int tableSize)
{
    UT_SymList::UT_Sym *syms[theRunLength];
    UT_SymList *buckets = new UT_SymList[unsigned(tableSize)];
    for (int32 start = 0; start < myTableSize; start += theRunLength)
    {
        const int32 end = std::min(start + theRunLength, myTableSize);
        int count = 0;
        for (int32 i = start; i < end; ++i)
        {
            UT_SymList::UT_Sym *const sym = myBuckets[i].myFirst.get();
            myBuckets[i].myFirst = UT_SymList::ut_First();
            syms[count] = sym;
            count += sym != nullptr;
        }
        for (int i = 0; i < count; ++i)
            __builtin_prefetch(syms[i]);
        while (count > 0)
            count = UT_SymList::move(syms, count, buckets, unsigned(tableSize));
    }
    delete[] myBuckets;
    myBuckets = buckets;
    myTableSize = tableSize;
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
