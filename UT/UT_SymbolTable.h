// Tables from names to one-word values. A table keeps its own copy of every
// name, so it can also hold one shared copy of texts that recur.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

/// One machine word that holds an integer or a pointer. A value made from an
/// integer has no other bits set.
union UT_Thing
{
    /// 0, and null.
    constexpr UT_Thing() : pointer(nullptr) {}

    /// A pointer or an integer.
    constexpr UT_Thing(void *value) : pointer(value) {}
    UT_Thing(int32 value) : pointer(nullptr) { integer = value; }

    int32 integer; ///< the lower half of the word, or all of it
    void *pointer; ///< all of the word
};

static_assert(sizeof(UT_Thing) == sizeof(void *));

/// The function that a traversal calls for each name, with the value, which it
/// may change, the name and the caller's `data`. Returning 0 ends the
/// traversal.
using UT_SymFunction = int (*)(UT_Thing &value, const char *name, void *data);

// ---- One bucket: UT_SymList.cpp

/// A linked list of names with values, ascending as strcmp() orders names.
///
/// Look-ups take a null name as one that is absent; insertions must not be
/// given one. All searches are O(entries).
///
/// Thread-compatible.
class UT_API UT_SymList
{
public:
    /// One name and its value. The lists create the nodes, from a pool that all
    /// threads share and that lives as long as the process.
    struct UT_API UT_Sym
    {
        /// Frees the name.
        ~UT_Sym();

        UT_Sym(const UT_Sym &) = delete;
        UT_Sym &operator=(const UT_Sym &) = delete;

        /// Returns the node to the pool.
        static void operator delete(void *node, size_t size);

        // Order and size stay.
        UT_Thing value;         ///< what the name stands for
        const char *const name; ///< owned
        UT_Sym *next;           ///< null at the end

    private:
        friend class UT_SymList;
        friend class UT_SymbolTable;
        struct ut_Key;
        struct ut_Tail;

        UT_LOCAL explicit UT_Sym(const ut_Key &key);
        UT_LOCAL static void *operator new(size_t size, const ut_Key &key);
        UT_LOCAL static void operator delete(void *node, const ut_Key &key);
        UT_LOCAL static void destroy(UT_Sym *sym);
        [[nodiscard]] UT_LOCAL ut_Tail &tail() const;
        [[nodiscard]] UT_LOCAL uint32 hash() const;
        [[nodiscard]] UT_LOCAL bool has(const ut_Key &key) const;
        [[nodiscard]] UT_LOCAL uint64 start() const;
        [[nodiscard]] UT_LOCAL bool isBefore(const UT_Sym &other) const;
    };

    /// An empty list.
    constexpr UT_SymList() = default;

    /// Deletes all nodes.
    ~UT_SymList()
    {
        if (!empty())
            clear();
    }

    UT_SymList(const UT_SymList &) = delete;
    UT_SymList &operator=(const UT_SymList &) = delete;

    /// The node of `name`, created with the value 0 when it is absent. Sets
    /// `created`, unless that is null, to whether it was created. Borrowed
    /// until the name is deleted.
    UT_Sym *findOrCreate(const char *name, int *created);

    /// Another name of findOrCreate().
    UT_Sym *getEntry(const char *name, int *created);

    /// The list's copy of `name`, added as findOrCreate() does when it is
    /// absent. Borrowed until the name is deleted.
    const char *getStringReference(const char *name, int *created);

    /// Stores `value` under `name`. Returns 1 when the name is new, 0 when a
    /// value was replaced.
    int insertEntry(const char *name, const UT_Thing &value);

    /// Stores `value` as insertEntry() does and returns the list's copy of the
    /// name, borrowed until the name is deleted. Sets `created` to whether the
    /// name is new.
    const char *insertEntryAndGetReference(
        const char *name, const UT_Thing &value, int &created);

    /// Looks up `name`: returns 1 and sets `value`, unless that is null, when
    /// the list has it; otherwise returns 0 and leaves `value` alone.
    int findEntry(const char *name, UT_Thing *value) const;

    /// Deletes all nodes with the name `name` and returns their number. `name`
    /// may be the list's own copy.
    int deleteEntry(const char *name);

    /// Calls `function` for the nodes in order. The function may delete the
    /// node that it is called for, but no other. Returns 0 as soon as the
    /// function does; otherwise 1, also when the function is null.
    int traverse(UT_SymFunction function, void *data) const;

    /// Number of nodes. O(entries), under either name.
    [[nodiscard]] int count() const;
    [[nodiscard]] int entries() const { return count(); }

    /// Whether there are no nodes. O(1).
    [[nodiscard]] bool empty() const { return myFirst.isNull(); }

    /// Deletes all nodes.
    void clear();

    /// Prints each node with `format`, which must convert a string, the name,
    /// and an unsigned int, the value's integer, in that order.
    void dump(FILE *stream, const char *format) const;

    /// Unlinks the first node and returns it, with a null link; null when the
    /// list is empty. Caller deletes, or gives it to a list.
    [[nodiscard]] UT_Sym *removeFirstSym();

    /// Adds a node from removeFirstSym(), which the list then owns, before the
    /// first one whose name is not less. A list may thus hold a name twice.
    void insertSym(UT_Sym &sym);

    /// Bytes of the list's head and, unless `headOnly` is set, of all nodes and
    /// names.
    [[nodiscard]] int64 getMemUsage(bool headOnly) const;

private:
    friend class UT_SymbolTable;

    using ut_Key = UT_Sym::ut_Key;

    [[nodiscard]] UT_LOCAL UT_Sym *find(const ut_Key &key) const;
    UT_LOCAL UT_Sym *findOrCreate(const ut_Key &key, int &created);
    UT_LOCAL UT_Sym *remove(const ut_Key &key);
    UT_LOCAL void link(UT_Sym *sym);
    UT_LOCAL void push(UT_Sym *sym);
    [[nodiscard]] UT_LOCAL UT_Sym *secondOrFirst() const;
    UT_LOCAL int visit(UT_SymFunction function, void *data) const;

    // The pointer to the first node. On 64-bit systems its upper 16 bits, which
    // the system leaves 0 in addresses unless a program asks for others, are a
    // set: each name adds the bit that its hash selects. A name whose bit is
    // not there is not in the list, and no node has to be read for that. Bits
    // of deleted names may stay, but an empty list has none.
    class ut_First
    {
    public:
        constexpr ut_First() : myWord(0) {}
        [[nodiscard]] constexpr bool isNull() const { return myWord == 0; }
        [[nodiscard]] UT_LOCAL UT_Sym *get() const;
        [[nodiscard]] UT_LOCAL bool mayHave(uint32 hash) const;
        UT_LOCAL void set(UT_Sym *first);
        UT_LOCAL void add(uint32 hash);

    private:
        uintptr_t myWord;
    };

    ut_First myFirst;
};

static_assert(sizeof(UT_SymList) == sizeof(void *));

// ---- The table: UT_SymbolTable.cpp, UT_SymbolTableWalk.cpp

/// A hash table from names to values.
///
/// Names are compared byte by byte. The table has no buckets until the first
/// insertion; from then on their number is one of a list of primes, each about
/// 1.2 times the one before. An attempt to insert, also of an existing name,
/// first moves the table one step up when its load has reached the maximum; a
/// deletion moves it at most one step down when its load is below the minimum.
/// Values and names do not move: references to them are borrowed until the name
/// is deleted.
///
/// This number of buckets determines the order of traversals and is the one in
/// all reports. In memory there may be more: about twice as many after growth,
/// up to four times before they become fewer, and some dozens in the smallest
/// table. So a name changes its bucket only once in several steps, and nothing
/// is sorted until traverse() needs it. From a change of the number of buckets
/// to the next traverse() the table is not in order: whatever only reads all
/// names in order then sorts them, each time.
///
/// Look-ups take a null name as one that is absent; insertions must not be
/// given one. Insertions, look-ups and deletions are O(1) on average.
///
/// Thread-compatible. A table in static storage is initialised before the first
/// constructor runs.
class UT_API UT_SymbolTable
{
public:
    /// The direction for adjustTableSize(): to grow, or with any other value to
    /// shrink.
    enum UT_AdjustType : int
    {
        UT_ADJUST_GROW = 0,
        UT_ADJUST_SHRINK = 1
    };

    /// A table without names or buckets, with load factors 0.75 and 0.1.
    constexpr UT_SymbolTable()
        : myBuckets(nullptr), myTableSize(0), myEntries(0),
          myMaxLoadFactor(0.75f), myMinLoadFactor(0.1f),
          myTraversing(UT_TRAVERSING_NOT), myIsInOrder(false), mySizeIndex(0)
    {
    }

    /// Deletes all names, but not the objects that their values point at.
    virtual ~UT_SymbolTable();

    UT_SymbolTable(const UT_SymbolTable &) = delete;
    UT_SymbolTable &operator=(const UT_SymbolTable &) = delete;

    /// Number of names.
    [[nodiscard]] int entries() const { return myEntries; }

    /// Number of buckets, as the order of traversals and all reports have it.
    [[nodiscard]] int tableSize() const { return myTableSize; }

    /// Names per bucket at which the table grows, and below which it shrinks.
    [[nodiscard]] float maxLoadFactor() const { return myMaxLoadFactor; }
    [[nodiscard]] float minLoadFactor() const { return myMinLoadFactor; }

    /// The hash of a name: its bytes, as signed numbers, are the digits of a
    /// number in base 37. 0 for null. The hash modulo tableSize() is the name's
    /// bucket.
    static unsigned int hash(const char *name);

    /// Stores `value` under `name`. Returns 1 when the name is new, 0 when a
    /// value was replaced.
    int addSymbol(const char *name, UT_Thing value);

    /// Stores `value` under `name` and returns the table's copy of the name,
    /// borrowed until the name is deleted.
    const char *addSymbolAndGetReference(const char *name, UT_Thing value);

    /// The table's copy of `name`, borrowed until the name is deleted. A new
    /// name gets the value 0; the value of an existing one is unchanged.
    const char *getStringReference(const char *name);

    /// The value of `name`, borrowed until the name is deleted. A new name gets
    /// the value 0.
    UT_Thing &operator[](const char *name);

    /// Looks up `name`: returns 1 and sets `value`, unless that is null, when
    /// the table has it; otherwise returns 0 and leaves `value` alone.
    int findSymbol(const char *name, UT_Thing *value) const;

    /// Deletes a name, which may be the table's own copy, and returns the
    /// number of names deleted.
    int deleteSymbol(const char *name);

    /// Deletes all names and buckets. The load factors stay.
    void clear();

    /// Calls `function` for all names: the buckets in order, and in each one
    /// the names in the order of strcmp(). Returns 0 as soon as the function
    /// does, otherwise 1.
    ///
    /// The function may delete the name that it is called for, but no other,
    /// and may insert names. These are visited if their turn is still to come;
    /// the name that follows in the same bucket is determined before the call.
    /// The number of buckets does not change until the end, and is then checked
    /// once for shrinking. The function may traverse the same table in turn. If
    /// it throws, the traversal ends without that check.
    ///
    /// Puts the table in order first, and leaves it so until the number of
    /// buckets changes. Throws std::bad_alloc, without a call, when there is no
    /// memory for that.
    int traverse(UT_SymFunction function, void *data);

    /// Calls `function` for all names as traverse() does. The function must
    /// neither insert nor delete, because the number of buckets could change.
    ///
    /// Unless the table is in order, allocates some 30 bytes for each name and
    /// takes two to three times as long. Throws std::bad_alloc, without a call,
    /// when there is no memory for that. So may mergeTable(), outputStats() and
    /// dumpTable().
    int traverseConst(UT_SymFunction function, void *data) const;

    /// Adds all names of another table with their values, which replace the
    /// values here. Does nothing when `other` is this table.
    void mergeTable(const UT_SymbolTable &other);

    /// A name that is not in use: `name` without the digits at its end,
    /// followed by 1, or by one more than the largest number that follows this
    /// stem in any name, even if more text comes after the number. With box1
    /// and box7x in the table, "box3" gives "box8". Numbers of 2147483647 or
    /// more are ignored. Null for null. Caller frees with free(). O(entries).
    [[nodiscard]] char *newName(const char *name) const;

    /// Sets the load at which the table grows. A factor that is not above both
    /// 0 and the minimum is replaced by the larger of 0.75 and twice the
    /// minimum.
    void setMaxLoadFactor(float factor);

    /// Sets the load below which the table shrinks. A factor that is below 0,
    /// or not below the maximum, is replaced by half the maximum.
    void setMinLoadFactor(float factor);

    /// Bytes of this object and, unless `tableOnly` is set, of all buckets,
    /// nodes and names.
    [[nodiscard]] int64 getMemUsage(bool tableOnly) const;

    /// Prints how evenly the names are distributed over the buckets.
    void outputStats(FILE *stream) const;

    /// Prints all names, by bucket, with the integers of their values in
    /// hexadecimal.
    void dumpTable(FILE *stream) const;

    /// Moves the table one step up, or one down, if its load requires it. Does
    /// nothing during traverse().
    void adjustTableSize(UT_AdjustType type);

private:
    using UT_Sym = UT_SymList::UT_Sym;
    using ut_Key = UT_SymList::ut_Key;
    class ut_Order;

    // Whether traverse() runs, and whether names were inserted meanwhile.
    enum ut_Traversing : uint8
    {
        UT_TRAVERSING_NOT,
        UT_TRAVERSING,
        UT_TRAVERSING_INSERTS
    };
    class ut_TraversalGuard;

    [[nodiscard]] UT_LOCAL unsigned bucketCount() const;
    [[nodiscard]] UT_LOCAL UT_SymList &bucketOf(const ut_Key &key) const;
    [[nodiscard]] UT_LOCAL bool isLarge() const;
    template <class Function>
    UT_LOCAL void forRuns(Function function) const;
    UT_LOCAL UT_Sym *findOrCreate(const char *name, int &created);
    [[nodiscard]] UT_LOCAL uintptr_t usedBuckets(unsigned start) const;
    UT_LOCAL int walkBuckets(UT_SymFunction function, void *data) const;
    UT_LOCAL void settle();
    UT_LOCAL void adjust(UT_AdjustType type);
    UT_LOCAL void resize(int tableSize);
    UT_LOCAL void rehash(unsigned sizeIndex, bool sorts);

    // Programs derive from tables: order and size stay.
    UT_SymList *myBuckets; // null until the first insertion
    int32 myTableSize;     // buckets that callers see
    int32 myEntries;       // names
    float myMaxLoadFactor;
    float myMinLoadFactor;
    ut_Traversing myTraversing; // during one, the number of buckets stays
    // Undefined unless there are buckets.
    bool myIsInOrder;  // they are those that callers see, and sorted
    uint8 mySizeIndex; // of their number, in the list of sizes
};

static_assert(sizeof(void *) != 4 || sizeof(UT_SymList::UT_Sym) == 12);
static_assert(sizeof(void *) != 4 || sizeof(UT_SymbolTable) == 28);

/// A table whose state can be saved and restored; derived classes implement
/// how.
class UT_API UT_SnapshotTable : public UT_SymbolTable
{
public:
    /// An empty table without a saved state.
    UT_SnapshotTable();
    ~UT_SnapshotTable() override;

    /// Saves the current names and values, replacing any saved before.
    virtual void takeSnapshot() = 0;

    /// Restores the names and values that takeSnapshot() saved.
    virtual void restoreSnapshot() = 0;
};

// ---- Sizes: UT_SymbolTable.cpp

/// The smallest table size that is greater than `size`; `size` itself when it
/// is beyond the last but one of the list.
UT_API int UTbumpAllocToPrime(int size);

/// The largest table size that is less than `size`, but at least 5; `size`
/// itself when it is beyond the last of the list.
UT_API int UTdecreaseAllocToPrime(int size);
