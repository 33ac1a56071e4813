// Editing: find, replace, strip, letters of the other case, relative paths.

#include "UT_String.h"

#include "UT_AllocImpl.h"
#include "UT_ByteBlockImpl.h"
#include "UT_CharImpl.h"
#include "UT_StringImpl.h"
#include "UT_TextSearchImpl.h"
#include "UT_WorkBuffer.h"

#include "SYS/SYS_Types.h"

#include <algorithm>
#include <cassert>
#include <climits>
#include <cstdlib>
#include <string>
#include <string_view>

#if defined(__i386__) && defined(__SSE2__)
#include <immintrin.h>
#endif

static const char *
utText(const char *text)
{
    return text ? text : "";
}

#if defined(__i386__) && defined(__SSE2__)
// The C library's strstr() goes byte by byte in 32 bits.
constexpr bool theStrstrIsSlow = true;

// Finds a text of 2 to 32 bytes among the `used` bytes from `begin`.
static const char *
utFindByBytes(const char *begin, size_t used, const char *text, size_t length)
{
    for (; used >= length; ++begin, --used)
        if (*begin == *text && memcmp(begin, text, length) == 0)
            return begin;
    return nullptr;
}

// Does the same, at sixteen places at a time. A candidate is a place that the
// first and the last byte of the text would fit.
static const char *
utFindShort(const char *begin, size_t used, const char *text, size_t length)
{
    if (used < length + 15)
        return utFindByBytes(begin, used, text, length);
    const char *const lastBlock = begin + (used - length + 1) - 16;
    const __m128i first = _mm_set1_epi8(text[0]);
    const __m128i last = _mm_set1_epi8(text[length - 1]);
    for (const char *block = begin;; block += 16)
    {
        block = std::min(block, lastBlock); // some places are looked at twice
        __m128i firsts;
        __m128i lasts;
        memcpy(&firsts, block, sizeof(firsts));
        memcpy(&lasts, block + length - 1, sizeof(lasts));
        unsigned candidates = unsigned(_mm_movemask_epi8(_mm_and_si128(
            _mm_cmpeq_epi8(firsts, first), _mm_cmpeq_epi8(lasts, last))));
        for (; candidates; candidates &= candidates - 1)
        {
            const char *const place = block + __builtin_ctz(candidates);
            if (memcmp(place, text, length) == 0)
                return place;
        }
        if (block == lastBlock)
            return nullptr;
    }
}
#else
constexpr bool theStrstrIsSlow = false;

static const char *
utFindShort(const char *begin, size_t, const char *text, size_t)
{
    return strstr(begin, text);
}
#endif

// The first `text` among the `used` bytes from `begin`, or null; "" is nowhere.
// A NUL comes at their end or later, and a match before it counts, too. A short
// text may take time in proportion to the product of both lengths, a longer one
// only to their sum.
static const char *
utFind(const char *begin, size_t used, const char *text, size_t length)
{
    // In 32 bits that is slower for near texts once the end is known.
    if (!theStrstrIsSlow && utHasTextVectors(length))
        return utFindByVectors(begin, text, length);
    const void *found = nullptr;
    if (length == 1)
        found = memchr(begin, *text, used);
    else if (length > 32)
        found = memmem(begin, used, text, length);
    else if (length > 0)
        found = utFindShort(begin, used, text, length);
    return static_cast<const char *>(found);
}

// The same in a text of unknown length. What lies after the match must not be
// scanned again and again, so the text is searched piece by piece, each from
// where the first byte occurs. A function of its own: a search by vectors,
// which may be short, need not save the registers that this one takes.
[[gnu::noinline]] static const char *
utFindInWindows(const char *begin, const char *text, size_t length)
{
    if (length <= 1)
        return length ? strchr(begin, *text) : nullptr;
    if (length <= 32 && !theStrstrIsSlow)
        return strstr(begin, text);
    for (size_t window = std::max<size_t>(128, 8 * length);; window *= 2)
    {
        const size_t used = utLengthWithin(begin, window);
        const char *const found = utFind(begin, used, text, length);
        if (found || used < window)
            return found;
        begin = strchr(begin + used - (length - 1), *text);
        if (!begin)
            return nullptr;
    }
}

static const char *
utFind(const char *begin, const char *text, size_t length)
{
    if (utHasTextVectors(length))
        return utFindByVectors(begin, text, length);
    return utFindInWindows(begin, text, length);
}

static int
utIndex(const char *begin, const char *found)
{
    return found ? SYSnarrow<int>(found - begin) : -1;
}

// Where a search begins that may start after the first byte.
static const char *
utStart(const UT_String &string, int from)
{
    assert(from >= 0 && from <= string.length());
    return utText(string) + (string.isNull() ? 0 : from);
}

int
UT_String::find(const char *text, int from) const
{
    text = utText(text);
    const char *const start = utStart(*this, from);
    return utIndex(myData, utFind(start, text, strlen(text)));
}

int
UT_String::find(char byte, int from) const
{
    const char *const start = utStart(*this, from);
    return byte ? utIndex(myData, strchr(start, byte)) : -1;
}

int
UT_String::findAny(const char *bytes, int from) const
{
    return utIndex(myData, strpbrk(utStart(*this, from), utText(bytes)));
}

int
UT_String::findLast(const char *text) const
{
    // The first one from the end: to try each place backwards could take time
    // in proportion to the product of the lengths.
    const std::string_view forward(utText(myData));
    const std::string_view wanted(utText(text));
    const std::string backward(forward.rbegin(), forward.rend());
    const std::string wantedBackward(wanted.rbegin(), wanted.rend());
    const char *const found = utFind(
        backward.data(), backward.size(), wantedBackward.c_str(),
        wanted.size());
    if (!found)
        return -1;
    const size_t behind = size_t(found - backward.c_str()) + wanted.size();
    return SYSnarrow<int>(forward.size() - behind);
}

int
UT_String::findLast(char byte) const
{
    return byte ? utIndex(myData, strrchr(utText(myData), byte)) : -1;
}

int
UT_String::count(const char *text) const
{
    text = utText(text);
    const size_t length = strlen(text);
    int found = 0;
    const char *next = utText(myData);
    const char *const end = next + strlen(next);
    for (; (next = utFind(next, size_t(end - next), text, length));
         next += length)
        ++found;
    return found;
}

// The room for a text of `wanted` bytes whose first `searched` ones have grown
// by `growth`, if what is left grows as they did: at most twice as much, as it
// may not, and a quarter more than the present room, so that few blocks are
// needed.
static uint64
utGuessSize(
    uint64 wanted, uint64 growth, uint64 room, size_t searched, size_t left)
{
    const uint64 guess =
        std::min(wanted + growth * left / searched, wanted * 2);
    return std::min<uint64>(std::max(guess, room + room / 4), INT_MAX);
}

static void
utResize(ut_BlockOwner<char> &block, size_t size)
{
    char *const moved =
        static_cast<char *>(utChecked(realloc(block.get(), size)));
    (void)block.release();
    block.reset(moved);
}

int
UT_String::substitute(const char *text, const char *replacement, bool all)
{
    text = utText(text);
    replacement = utText(replacement);
    const size_t oldLength = strlen(text);
    const size_t newLength = strlen(replacement);
    if (oldLength == newLength && memcmp(text, replacement, oldLength) == 0)
        return all ? count(text) : int(find(text) >= 0);

    const char *read = utText(myData);
    const char *const end = read + strlen(read);
    const uint64 oldSize = uint64(end - read) + 1;
    const auto sizeWith = [=](uint64 replaced)
    { return oldSize + replaced * newLength - replaced * oldLength; };
    // What could become too long is measured first.
    if (all && oldLength > 0 && sizeWith(oldSize / oldLength) > INT_MAX &&
        sizeWith(uint64(count(text))) > INT_MAX)
        return 0;

    // The old block stays until the end: the arguments may lie in it.
    ut_BlockOwner<char> block;
    uint64 room = 0;
    size_t written = 0;
    uint64 found = 0;
    // So many at a time: to look for all of them first would be to look twice.
    constexpr int limit = 128;
    const char *places[limit];
    for (int batch = limit; batch == limit;)
    {
        const char *next = read;
        batch = 0;
        while (batch < limit &&
               (next = utFind(next, size_t(end - next), text, oldLength)))
        {
            places[batch++] = next;
            next += oldLength;
            if (!all)
                break;
        }
        found += uint64(batch);
        if (batch == 0)
            break;
        const uint64 wanted = sizeWith(found);
        if (wanted > INT_MAX)
            return 0;
        if (wanted > room)
        {
            room = batch < limit || newLength < oldLength
                       ? wanted
                       : utGuessSize(
                             wanted, wanted - sizeWith(found - limit), room,
                             size_t(next - read), size_t(end - next));
            utResize(block, size_t(room));
        }
        char *write = block.get() + written;
        for (int i = 0; i < batch; ++i)
        {
            write = static_cast<char *>(
                mempcpy(write, read, size_t(places[i] - read)));
            write = static_cast<char *>(mempcpy(write, replacement, newLength));
            read = places[i] + oldLength;
        }
        written = size_t(write - block.get());
    }
    if (!block)
        return 0;
    memcpy(block.get() + written, read, size_t(end - read) + 1);
    const uint64 size = sizeWith(found);
    if (size < room)
        utResize(block, size_t(size));
    freeData();
    myData = block.release();
    myIsReference = 0;
    return int(found);
}

bool
UT_String::replace(int start, int length, const char *text)
{
    const char *const old = utText(myData);
    const size_t oldLength = strlen(old);
    if (start < 0 || size_t(start) > oldLength)
        return false;
    const size_t before = size_t(start);
    const size_t gone = length < 0
                            ? oldLength - before
                            : std::min(size_t(length), oldLength - before);
    text = utText(text);
    const size_t come = strlen(text);
    if (come == gone && memcmp(old + before, text, come) == 0)
        return true;
    const size_t behind = oldLength - before - gone;
    if (uint64(before) + come + behind >= INT_MAX)
        return false;
    const size_t size = before + come + behind + 1;
    // The text may lie in the old block, which then stays until the end.
    const bool isOwn = uintptr_t(text) - uintptr_t(old) <= uintptr_t(oldLength);
    if (myData && !myIsReference && !isOwn)
    {
        if (come > gone)
            myData = static_cast<char *>(utChecked(realloc(myData, size)));
        char *const place = myData + before;
        memmove(place + come, place + gone, behind + 1); // with the NUL
        std::copy(text, text + come, place);
        if (come < gone)
            if (void *const shorter = realloc(myData, size))
                myData = static_cast<char *>(shorter);
        return true;
    }
    char *const block = static_cast<char *>(utAllocate(size));
    char *write = static_cast<char *>(mempcpy(block, old, before));
    write = static_cast<char *>(mempcpy(write, text, come));
    memcpy(write, old + before + gone, behind + 1);
    freeData();
    myData = block;
    myIsReference = 0;
    return true;
}

namespace
{

// Changes of bytes, single ones and blocks: one byte to another ...
struct ut_ByteChange
{
    char from;
    char to;

    char operator()(char byte) const { return byte == from ? to : byte; }
    ut_Block operator()(ut_Block bytes) const
    {
        const auto isFrom = ut_Block(bytes == ut_Block{} + uint8(from));
        return (bytes & ~isFrom) | (isFrom & uint8(to));
    }
};

// ... or letters of one case, of which `first` is the first, to the other.
struct ut_CaseChange
{
    char first;

    char operator()(char byte) const
    {
        return uint8(byte - first) < 26 ? char(byte ^ 0x20) : byte;
    }
    ut_Block operator()(ut_Block bytes) const
    {
        const auto isLetter =
            ut_Block(bytes - uint8(first) < ut_Block{} + uint8(26));
        return bytes ^ (isLetter & uint8(0x20));
    }
};

} // namespace

// Changes `length` bytes and returns how many became others. Those of blocks
// are first counted for each place in a block, where a byte has room for 255.
template <class Change>
static int
utChangeBytes(char *bytes, size_t length, const Change &change)
{
    char *const end = bytes + length;
    int count = 0;
    while (size_t(end - bytes) >= sizeof(ut_Block))
    {
        const size_t blocks = size_t(end - bytes) / sizeof(ut_Block);
        char *const last =
            bytes + std::min<size_t>(blocks, 255) * sizeof(ut_Block);
        ut_Block changed{};
        for (; bytes < last; bytes += sizeof(ut_Block))
        {
            const ut_Block from = utLoadBlock(bytes);
            const ut_Block to = change(from);
            changed -= ut_Block(from != to);
            memcpy(bytes, &to, sizeof(to));
        }
        for (size_t i = 0; i < sizeof(changed); ++i)
            count += changed[i];
    }
    for (; bytes < end; ++bytes)
    {
        const char to = change(*bytes);
        count += to != *bytes;
        *bytes = to;
    }
    return count;
}

// Whether any byte changes.
template <class Change>
static bool
utChangesAny(const char *bytes, size_t length, const Change &change)
{
    const char *const end = bytes + length;
    for (; size_t(end - bytes) >= sizeof(ut_Block); bytes += sizeof(ut_Block))
    {
        const ut_Block block = utLoadBlock(bytes);
        if (utHasAny(ut_Block(block != change(block))))
            return true;
    }
    return std::any_of(
        bytes, end, [&change](char byte) { return change(byte) != byte; });
}

// A text that is borrowed is not copied unless a byte changes.
template <class Change>
static int
utChangeText(UT_String &string, bool isBorrowed, const Change &change)
{
    const char *const text = utText(string);
    const size_t length = strlen(text);
    if (length == 0)
        return 0;
    if (isBorrowed)
    {
        if (!utChangesAny(text, length, change))
            return 0;
        string.harden();
    }
    return utChangeBytes(string.buffer(), length, change);
}

int
UT_String::change(char from, char to)
{
    if (!from || !to)
        return 0;
    return utChangeText(*this, myIsReference, ut_ByteChange{from, to});
}

int
UT_String::toUpper()
{
    return utChangeText(*this, myIsReference, ut_CaseChange{'a'});
}

int
UT_String::toLower()
{
    return utChangeText(*this, myIsReference, ut_CaseChange{'A'});
}

namespace
{

// A set of bytes, which stays when the text that listed them changes. NUL is
// none of them.
class ut_ByteSet
{
public:
    explicit ut_ByteSet(const char *bytes)
    {
        for (; *bytes; ++bytes)
            myHas[uint8(*bytes)] = true;
    }

    [[nodiscard]] bool has(char byte) const { return myHas[uint8(byte)]; }

private:
    bool myHas[256] = {};
};

} // namespace

// Cuts the text down to the `length` bytes from `start` on.
static void
utKeep(UT_String &string, size_t start, size_t length)
{
    string.harden();
    char *const text = string.buffer();
    memmove(text, text + start, length);
    text[length] = '\0';
}

int
UT_String::strip(const char *bytes)
{
    bytes = utText(bytes);
    const int first = findAny(bytes);
    if (first < 0)
        return 0;
    const ut_ByteSet gone(bytes);
    harden();
    char *write = myData + first;
    const char *read = write;
    for (; *read; ++read)
        if (!gone.has(*read))
            *write++ = *read;
    *write = '\0';
    return SYSnarrow<int>(read - write);
}

int
UT_String::stripStart(const char *bytes)
{
    const size_t gone = strspn(utText(myData), utText(bytes));
    if (gone)
        utKeep(*this, gone, strlen(myData + gone));
    return SYSnarrow<int>(gone);
}

int
UT_String::stripEnd(const char *bytes)
{
    const ut_ByteSet set(utText(bytes));
    const size_t length = strlen(utText(myData));
    size_t kept = length;
    while (kept > 0 && set.has(myData[kept - 1]))
        --kept;
    if (kept < length)
        utKeep(*this, 0, kept);
    return SYSnarrow<int>(length - kept);
}

// The path without the slash that it begins with: "" for the root.
static bool
utComponents(UT_String &path)
{
    if (!path.collapseAbsolutePath())
        return false;
    path.erase(0, 1);
    return true;
}

// Length of the components that two lists of them begin with.
static size_t
utCommonLength(const char *a, const char *b)
{
    size_t common = 0;
    for (size_t i = 0;; ++i)
    {
        const bool end = !a[i] || !b[i];
        if ((!a[i] || a[i] == '/') && (!b[i] || b[i] == '/'))
            common = i;
        if (end || a[i] != b[i])
            return common;
    }
}

bool
UT_String::makeRelativePath(const char *directory)
{
    UT_String to(myData);
    UT_String from(directory);
    if (!utComponents(to) || !utComponents(from))
        return false;
    const size_t common = utCommonLength(to, from);
    UT_WorkBuffer relative;
    const char *up = from.buffer() + common;
    while (*up)
    {
        up = strchrnul(up + 1, '/');
        relative.append(relative.length() ? "/.." : "..");
    }
    const char *down = to.buffer() + common;
    down += *down == '/';
    if (*down && relative.length())
        relative.append('/');
    relative.append(down);
    harden(relative.length() ? relative.buffer() : ".");
    return true;
}
