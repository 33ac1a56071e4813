// Nodes of symbol tables, and what finds, links and removes one in a bucket.

#pragma once

#include "UT_AllocImpl.h"
#include "UT_SmallObjectAllocator.h"
#include "UT_SymbolTable.h"

#include <atomic>
#include <cassert>
#include <cstdlib>
#include <cstring>

#include <endian.h>

#ifdef __x86_64__
#include <emmintrin.h>
#endif

// ---- Names

// The base to the power of eight, with which the digits before eight count.
inline constexpr uint32 theSteps = 37u * 37 * 37 * 37 * 37 * 37 * 37 * 37;

// The number whose digits in base 37 are eight bytes, the lowest first, as
// signed ones. With 128 more each, which the end takes off again, none is
// negative: neighbours are joined in 16 bits, and then in 32, side by side.
inline uint32
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
inline uint32
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

// ---- Nodes

// Never destroyed: tables in static storage free their nodes at exit. Null
// until the first use.
inline std::atomic<UT_SmallObjectAllocator *> theSymPool(nullptr);

UT_SmallObjectAllocator &utMakeSymPool();

inline UT_SmallObjectAllocator &
utSymPool()
{
    UT_SmallObjectAllocator *const pool =
        theSymPool.load(std::memory_order_acquire);
    return pool ? *pool : utMakeSymPool();
}

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
};

inline UT_SymList::UT_Sym::ut_Tail &
UT_SymList::UT_Sym::tail() const
{
    void *const end = const_cast<UT_Sym *>(this + 1);
    return *static_cast<ut_Tail *>(end);
}

inline uint32
UT_SymList::UT_Sym::hash() const
{
    return tail().hash;
}

inline UT_SymList::UT_Sym::UT_Sym(const ut_Key &key)
    : name(ut_Tail::fits(key) ? tail().hold(key) : key.copyTo(nullptr)),
      next(nullptr)
{
    tail().hash = key.hash;
    tail().size = ut_Tail::fits(key) ? uint8(key.length + 1) : 0;
}

inline void *
UT_SymList::UT_Sym::operator new(size_t, const ut_Key &key)
{
    return utSymPool().allocate(ut_Tail::blockSize(ut_Tail::fits(key)));
}

// When there is no memory for a name.
inline void
UT_SymList::UT_Sym::operator delete(void *node, const ut_Key &key)
{
    utSymPool().deallocate(node, ut_Tail::blockSize(ut_Tail::fits(key)));
}

// What `delete` does, without a call.
inline void
UT_SymList::UT_Sym::destroy(UT_Sym *sym)
{
    const bool isShort = sym->tail().size > 0;
    if (!isShort)
        free(const_cast<char *>(sym->name));
    utSymPool().deallocate(sym, ut_Tail::blockSize(isShort));
}

// Whether two texts of one length, which is usually from 4 to 16, are equal:
// words that may overlap, without a jump for each byte.
inline bool
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

// The first bytes of the name, as a number that orders as they do.
inline uint64
UT_SymList::UT_Sym::start() const
{
    uint64 bytes;
    memcpy(&bytes, name, sizeof(bytes));
    return be64toh(bytes);
}

// In the order of strcmp(). The first bytes nearly always decide.
inline bool
UT_SymList::UT_Sym::isBefore(const UT_Sym &other) const
{
    if (start() != other.start())
        return start() < other.start();
    return strcmp(name, other.name) < 0;
}

// ---- Lists

// Where a word has 64 bits, an address has this many of them.
inline constexpr bool theHasSet = sizeof(uintptr_t) == 8;
inline constexpr unsigned theAddressBits = 48;
inline constexpr uintptr_t theAddressMask =
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
inline uintptr_t
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
inline Object *
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

// Fetches the next node before the call, which may delete the one it is for.
inline int
UT_SymList::visit(UT_SymFunction function, void *data) const
{
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
