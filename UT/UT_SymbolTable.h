// Tables from names to one-word values. A table keeps its own copy of every
// name, so it also serves to keep one shared copy of texts that recur.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <cstddef>
#include <cstdio>

/// One machine word that holds an integer or a pointer. A value made from an
/// integer has no other bits set.
union UT_Thing
{
    /// 0, and null.
    constexpr UT_Thing() : pointer(nullptr) {}

    /// The one or the other.
    constexpr UT_Thing(void *value) : pointer(value) {}
    UT_Thing(int32 value) : pointer(nullptr) { integer = value; }

    int32 integer;
    void *pointer;
};

static_assert(sizeof(UT_Thing) == sizeof(void *));

/// What a traversal calls for each name: with the value, which it may change,
/// the name and the caller's `data`. 0 ends the traversal.
using UT_SymFunction = int (*)(UT_Thing &value, const char *name, void *data);

// ---- One bucket

/// A linked list of names with values, ascending as strcmp() orders names.
///
/// Look-ups take a null name as one that is absent; insertions must not be
/// given one. All searches are O(entries).
///
/// Thread-compatible.
class UT_API UT_SymList
{
public:
    /// One name and its value. The lists make nodes, from a pool that all
    /// threads share and that lives as long as the process.
    struct UT_API UT_Sym
    {
        /// Frees the name.
        ~UT_Sym();

        UT_Sym(const UT_Sym &) = delete;
        UT_Sym &operator=(const UT_Sym &) = delete;

        /// Gives the node back to the pool.
        static void operator delete(void *node, size_t size);

        // Order and size stay.
        UT_Thing value;
        const char *const name; // owned; from malloc()
        UT_Sym *next;           // null at the end

    private:
        friend class UT_SymList;
        friend class UT_SymbolTable;
        struct ut_Key;

        UT_LOCAL explicit UT_Sym(const ut_Key &key);
        UT_LOCAL static void *operator new(size_t size);
        [[nodiscard]] UT_LOCAL uint32 hash() const;
    };

    /// An empty list.
    constexpr UT_SymList() : myFirst(nullptr) {}

    /// Deletes all nodes.
    ~UT_SymList()
    {
        if (myFirst)
            clear();
    }

    UT_SymList(const UT_SymList &) = delete;
    UT_SymList &operator=(const UT_SymList &) = delete;

    /// The node of `name`, made with the value 0 when it is absent. Writes to
    /// `created`, unless that is null, whether it was made. Borrowed until the
    /// name is deleted.
    UT_Sym *findOrCreate(const char *name, int *created);

    /// Another name of findOrCreate().
    UT_Sym *getEntry(const char *name, int *created);

    /// As findOrCreate(), but returns the list's copy of the name.
    const char *getStringReference(const char *name, int *created);

    /// Stores `value` under `name`. Returns 1 when the name is new, 0 when a
    /// value was replaced.
    int insertEntry(const char *name, const UT_Thing &value);

    /// As insertEntry(), but returns the list's copy of the name, borrowed
    /// until the name is deleted, and writes whether it is new to `created`.
    const char *insertEntryAndGetReference(
        const char *name, const UT_Thing &value, int &created);

    /// Returns 1 and writes the value to `value`, unless that is null, when
    /// the list has the name; otherwise 0, and leaves `value` alone.
    int findEntry(const char *name, UT_Thing *value) const;

    /// Deletes all nodes with that name and returns their number. The name may
    /// be the list's own copy.
    int deleteEntry(const char *name);

    /// Calls `function` for the nodes in order. The function may delete the
    /// node that it is called for, but no other. Returns 0 as soon as the
    /// function does, 1 otherwise and when the function is null.
    int traverse(UT_SymFunction function, void *data) const;

    /// Number of nodes. O(entries), under either name.
    [[nodiscard]] int count() const;
    [[nodiscard]] int entries() const { return count(); }

    /// Whether there are no nodes. O(1).
    [[nodiscard]] bool empty() const { return !myFirst; }

    /// Deletes all nodes.
    void clear();

    /// Prints each node with `format`, which must convert a string, the name,
    /// and an unsigned int, the value's integer, in that order.
    void dump(FILE *stream, const char *format) const;

    /// Unlinks the first node and returns it, with a null link; null when the
    /// list is empty. Caller deletes, or gives it to a list.
    [[nodiscard]] UT_Sym *removeFirstSym();

    /// Links a node from removeFirstSym(), which the list then owns, in front
    /// of the first one whose name is not less. A name may so be there twice.
    void insertSym(UT_Sym &sym);

    /// Bytes of the list's head; and of all nodes and names too, unless
    /// `headOnly` is set.
    [[nodiscard]] int64 getMemUsage(bool headOnly) const;

private:
    friend class UT_SymbolTable;

    using ut_Key = UT_Sym::ut_Key;

    [[nodiscard]] UT_LOCAL UT_Sym *find(const ut_Key &key) const;
    UT_LOCAL UT_Sym *findOrCreate(const ut_Key &key, int &created);
    UT_LOCAL int deleteEntry(const ut_Key &key);
    UT_LOCAL void link(UT_Sym *sym);

    UT_Sym *myFirst;
};

// ---- The table

/// A hash table from names to values.
///
/// Names are compared byte by byte. The table has no buckets until the first
/// insertion, and from then on as many as a step in a list of primes, each
/// some 1.2 times the one before. An attempt to insert, also of a name that is
/// there, first moves the table one step up when its load has reached the
/// maximum; a deletion moves it at most one step down when its load is below
/// the minimum. Values and names stay where they are meanwhile: references to
/// them hold until the name is deleted.
///
/// Look-ups take a null name as one that is absent; insertions must not be
/// given one. Insertions, look-ups and deletions are O(1) on average.
///
/// Thread-compatible. A table in static storage is there before the first
/// constructor runs.
class UT_API UT_SymbolTable
{
public:
    /// What adjustTableSize() is asked for: to grow, or with any other value
    /// to shrink.
    enum UT_AdjustType : int
    {
        UT_ADJUST_GROW = 0,
        UT_ADJUST_SHRINK = 1
    };

    /// A table without names or buckets, with load factors 0.75 and 0.1.
    constexpr UT_SymbolTable()
        : myBuckets(nullptr), myTableSize(0), myEntries(0),
          myMaxLoadFactor(0.75f), myMinLoadFactor(0.1f), myTraversing(false)
    {
    }

    /// Deletes all names; what their values point at is the caller's.
    virtual ~UT_SymbolTable();

    UT_SymbolTable(const UT_SymbolTable &) = delete;
    UT_SymbolTable &operator=(const UT_SymbolTable &) = delete;

    /// Number of names.
    [[nodiscard]] int entries() const { return myEntries; }

    /// Number of buckets.
    [[nodiscard]] int tableSize() const { return myTableSize; }

    /// Names per bucket at which the table grows, and below which it shrinks.
    [[nodiscard]] float maxLoadFactor() const { return myMaxLoadFactor; }
    [[nodiscard]] float minLoadFactor() const { return myMinLoadFactor; }

    /// The hash of a name, of which the remainder by tableSize() is its bucket:
    /// its bytes, as signed numbers, are the digits of a number in base 37.
    /// 0 for null.
    static unsigned int hash(const char *name);

    /// Stores `value` under `name`. Returns 1 when the name is new, 0 when a
    /// value was replaced.
    int addSymbol(const char *name, UT_Thing value);

    /// As addSymbol(), but returns the table's copy of the name, borrowed until
    /// the name is deleted.
    const char *addSymbolAndGetReference(const char *name, UT_Thing value);

    /// The table's copy of `name`, borrowed until the name is deleted. A name
    /// that is new gets the value 0; that of another one stays.
    const char *getStringReference(const char *name);

    /// The value of `name`, borrowed until the name is deleted. A name that is
    /// new gets the value 0.
    UT_Thing &operator[](const char *name);

    /// Returns 1 and writes the value to `value`, unless that is null, when
    /// the table has the name; otherwise 0, and leaves `value` alone.
    int findSymbol(const char *name, UT_Thing *value) const;

    /// Deletes a name, which may be the table's own copy, and returns the
    /// number of names deleted.
    int deleteSymbol(const char *name);

    /// Deletes all names and buckets. The load factors stay.
    void clear();

    /// Calls `function` for all names: the buckets in order, and in each one
    /// the names in the order of strcmp(). Returns 0 as soon as the function
    /// does, 1 otherwise.
    ///
    /// The function may insert names, which may or may not be visited, and
    /// delete the one that it is called for, but no other one: the size of the
    /// table stays as it is until the end, and is then checked once for
    /// shrinking. It may traverse the same table in turn. An exception of its
    /// own ends the traversal, without that check.
    int traverse(UT_SymFunction function, void *data);

    /// As traverse(), but the function must neither insert nor delete: nothing
    /// keeps the size of the table.
    int traverseConst(UT_SymFunction function, void *data) const;

    /// Adds all names of another table with their values, which win over the
    /// values here. Does nothing when given this table.
    void mergeTable(const UT_SymbolTable &other);

    /// A name that is not in use: `name` without the digits at its end,
    /// followed by 1 or by one more than the largest number that follows these
    /// letters in any name, also if more text comes after it. Numbers of
    /// 2147483647 or more are ignored. Null for null. Caller frees with free().
    /// O(entries).
    [[nodiscard]] char *newName(const char *name) const;

    /// Sets the load at which the table grows. When that is not above 0 and
    /// above the minimum, sets the larger of 0.75 and twice the minimum.
    void setMaxLoadFactor(float factor);

    /// Sets the load below which the table shrinks. When that is below 0 or
    /// not below the maximum, sets half the maximum.
    void setMinLoadFactor(float factor);

    /// Bytes of this object; and of all buckets, nodes and names too, unless
    /// `tableOnly` is set.
    [[nodiscard]] int64 getMemUsage(bool tableOnly) const;

    /// Prints how evenly the names are spread over the buckets.
    void outputStats(FILE *stream) const;

    /// Prints all names, by bucket, with the integers of their values in
    /// hexadecimal.
    void dumpTable(FILE *stream) const;

    /// Moves the table one step up, or one down, if its load asks for it. Does
    /// nothing during traverse().
    void adjustTableSize(UT_AdjustType type);

private:
    using ut_Key = UT_SymList::ut_Key;

    [[nodiscard]] UT_LOCAL UT_SymList &bucketOf(const ut_Key &key) const;
    UT_LOCAL UT_SymList::UT_Sym *findOrCreate(const char *name, int &created);
    UT_LOCAL void adjust(UT_AdjustType type);
    UT_LOCAL void rehash(int tableSize);

    // Programs derive from tables: order and size stay.
    UT_SymList *myBuckets; // myTableSize of them, or null
    int32 myTableSize;
    int32 myEntries; // names
    float myMaxLoadFactor;
    float myMinLoadFactor;
    bool myTraversing; // the table's size stays
};

static_assert(sizeof(void *) != 4 || sizeof(UT_SymList::UT_Sym) == 12);
static_assert(sizeof(void *) != 4 || sizeof(UT_SymbolTable) == 28);

/// A table whose state can be set aside and brought back; how is up to the
/// classes derived from it.
class UT_API UT_SnapshotTable : public UT_SymbolTable
{
public:
    /// An empty table, of which nothing is set aside.
    UT_SnapshotTable();
    ~UT_SnapshotTable() override;

    /// Sets the present names and values aside, in place of any set before.
    virtual void takeSnapshot() = 0;

    /// Brings back what takeSnapshot() set aside.
    virtual void restoreSnapshot() = 0;
};

// ---- Sizes

/// The first size of a table that is greater than `size`; `size` itself when
/// it is beyond the last but one.
UT_API int UTbumpAllocToPrime(int size);

/// The last size of a table that is less than `size`, but at least 5; `size`
/// itself when it is beyond the last.
UT_API int UTdecreaseAllocToPrime(int size);
