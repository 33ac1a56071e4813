// The buckets: lists of names with values.

#include "UT_SymListImpl.h"
#include "UT_SymbolTable.h"

#include <cassert>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// Made without waiting: the thread that makes it may not be there in a child of
// fork().
UT_SmallObjectAllocator &
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

UT_SymList::UT_Sym::~UT_Sym()
{
    if (tail().size == 0)
        free(const_cast<char *>(name));
}

void
UT_SymList::UT_Sym::operator delete(void *node, size_t)
{
    // The tail outlives the node.
    const bool isShort = static_cast<UT_Sym *>(node)->tail().size > 0;
    utSymPool().deallocate(node, ut_Tail::blockSize(isShort));
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
    return function ? visit(function, data) : 1;
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
        UT_Sym::destroy(sym);
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

int64
UT_SymList::getMemUsage(bool headOnly) const
{
    size_t bytes = sizeof(*this);
    if (!headOnly)
        for (const UT_Sym *sym = myFirst.get(); sym; sym = sym->next)
            bytes += sizeof(*sym) + strlen(sym->name) + 1;
    return int64(bytes);
}
