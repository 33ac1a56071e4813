#include "UT_Env.h"

#include "UT_AllocImpl.h"
#include "UT_EnvImpl.h"

#include "SYS/SYS_Types.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <utility>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

// Another name of `environ`. No header has it, and not every C library.
extern "C" __attribute__((weak)) char **_environ;

// One block holds four arrays of theCapacity + 1 elements. The slots are the
// process's environment, so other code can change them. What this unit last
// left in them shows whether others have changed them; and only what it has
// allocated itself may be freed.
static uint64 *theKeys;       // how the names begin; see utKey()
static char **theEnvironment; // the slots; null until the first use
static char **theSeen;        // the same, out of others' reach
static char **theOwned;       // the entry of the slot if it is ours, or null
static int32 theSize;         // entries, without the null that follows
static int32 theCapacity;     // entries that fit

// Whether all names are of bytes below 128 and different: then the order of
// the table is also the order of every search, and names that begin with the
// byte c lie from theFirst[c] up to theFirst[c + 1].
static bool theIsPlain;
static int32 theFirst[129];

// Keeps what is out of use but may still be read: by a thread that is inside
// getenv(), or by code that keeps a value or the whole array. It is
// not read here again; it is kept so that a leak checker finds it.
static void
utRetire(void *block)
{
    static auto *theRetired = new std::vector<void *>; // never destroyed
    theRetired->push_back(block);
}

static void
utInstall(char **slots)
{
    environ = slots;
    if (&_environ)
        _environ = slots;
}

// Room for more entries in a block that holds the first `size` of those there
// are. The old block may be in use in getenv() on another thread; doubling
// bounds what that costs.
static void
utMoveToBlock(int32 capacity, int32 size)
{
    const size_t stride = size_t(capacity) + 1;
    ut_BlockOwner<void> block(
        utAllocateZeros(stride, sizeof(uint64) + 3 * sizeof(char *)));
    uint64 *const keys = static_cast<uint64 *>(block.get());
    char **const slots =
        static_cast<char **>(static_cast<void *>(keys + stride));
    if (size > 0)
    {
        std::copy_n(theKeys, size, keys);
        std::copy_n(theEnvironment, size, slots);
        std::copy_n(theSeen, size, slots + stride);
        std::copy_n(theOwned, size, slots + 2 * stride);
    }
    if (theKeys)
        utRetire(theKeys);
    (void)block.release();
    theKeys = keys;
    theEnvironment = slots;
    theSeen = slots + stride;
    theOwned = slots + 2 * stride;
    theCapacity = capacity;
    theSize = size;
}

// The first bytes of a name, with an "=" at its end: names compare as their
// keys do where these differ. An entry gives the key of its name.
static uint64
utKey(const char *text)
{
    uint64 key = 0;
    for (int shift = 56; shift >= 0; shift -= 8)
    {
        const char c = *text++;
        key |= uint64(uint8(c ? c : '=')) << shift;
        if (!c || c == '=')
            break;
    }
    return key;
}

// Key of a name of known length: one read of a long one, two of most others.
static inline uint64
utKey(const char *name, size_t length)
{
    uint64 key = '=';
    uint32 halves[2];
    if (length >= sizeof(key))
        memcpy(&key, name, sizeof(key));
    else if (length >= sizeof(*halves))
    {
        memcpy(&halves[0], name, sizeof(*halves));
        memcpy(&halves[1], name + length - sizeof(*halves), sizeof(*halves));
        key = key << 8 * length | halves[0] |
              uint64(halves[1]) << 8 * (length - sizeof(*halves));
    }
    else
        for (size_t i = length; i-- > 0;)
            key = key << 8 | uint8(name[i]);
    // A key ends at the first "=", which may be one of the name.
    const uint64 ones = 0x0101010101010101u;
    const uint64 zeroIfEquals = key ^ ('=' * ones);
    const uint64 equals = (zeroIfEquals - ones) & ~zeroIfEquals & (0x80 * ones);
    const int last = equals ? __builtin_ctzll(equals) / 8 : 7;
    return __builtin_bswap64(key << 8 * (7 - last) >> 8 * (7 - last));
}

static void
utPut(int32 index, char *entry)
{
    theKeys[index] = utKey(entry);
    theEnvironment[index] = theSeen[index] = theOwned[index] = entry;
}

static bool
utIsBefore(const char *a, const char *b)
{
    return strcmp(a, b) < 0;
}

static void
sortEnvironment(char **entries, int32 size)
{
    if (!std::is_sorted(entries, entries + size, utIsBefore))
        std::sort(entries, entries + size, utIsBefore);
}

// One name more or less begins with the byte.
static void
utCountName(char byte, int32 difference)
{
    const int32 first = uint8(byte);
    for (int32 c = 0; c < 128; ++c)
        theFirst[c + 1] += c >= first ? difference : 0;
}

static bool
utIsPlain(const char *entry)
{
    while (*entry != '=' && !(uint8(*entry) & 0x80))
        ++entry;
    return *entry == '=';
}

static bool
utHaveSameName(const char *a, const char *b)
{
    while (*a == *b && *a != '=')
        ++a, ++b;
    return *a == *b;
}

// Recomputes what searches rely on, after a change of the table other than an
// insertion.
static void
utIndexNames()
{
    theIsPlain = true;
    std::fill(std::begin(theFirst), std::end(theFirst), 0);
    for (int32 i = 0; i < theSize; ++i)
    {
        const char *const entry = theSeen[i];
        theKeys[i] = utKey(entry);
        theIsPlain = theIsPlain && utIsPlain(entry) &&
                     !(i > 0 && utHaveSameName(theSeen[i - 1], entry));
        utCountName(*entry, 1);
    }
}

// Another array is in force: a copy of all its entries becomes the table. The
// old array is left alone, for it may be the C library's, and so are the old
// table's entries, which the other array may hold. Of two entries with the
// same name both stay.
static void
initializeEnvironment()
{
    char **const source = environ;
    std::vector<ut_BlockOwner<char>> copies;
    for (char **slot = source; slot && *slot; ++slot)
        if (strchr(*slot, '='))
            copies.push_back(ut_BlockOwner<char>(utDuplicate(*slot)));
    // What follows does not fail after the table has changed.
    const int32 count = int32(copies.size());
    utMoveToBlock(count + count / 2, /*size=*/0);
    for (ut_BlockOwner<char> &copy : copies)
        theEnvironment[theSize++] = copy.release();
    sortEnvironment(theEnvironment, theSize);
    std::copy_n(theEnvironment, theSize, theSeen);
    std::copy_n(theEnvironment, theSize, theOwned);
    utIndexNames();
    utInstall(theEnvironment);
}

// Other code has changed the slots: the table follows. Entries of others
// still belong to them. An entry of ours that was removed from its slot is not
// freed: others may keep it, and put it back.
static void
utAdoptSlots()
{
    std::vector<char *> owned;
    std::copy_if(
        theOwned, theOwned + theSize, std::back_inserter(owned),
        [](char *entry) { return entry; });
    std::sort(owned.begin(), owned.end(), std::less<>());

    int32 size = 0;
    for (int32 i = 0; i < theCapacity && theEnvironment[i]; ++i)
        if (strchr(theEnvironment[i], '='))
            theEnvironment[size++] = theEnvironment[i];
    // By address: an entry that occurs twice would be freed twice.
    std::sort(theEnvironment, theEnvironment + size, std::less<>());
    size = int32(
        std::unique(theEnvironment, theEnvironment + size) - theEnvironment);
    std::vector<char *> gone;
    std::set_difference(
        owned.begin(), owned.end(), theEnvironment, theEnvironment + size,
        std::back_inserter(gone), std::less<>());
    std::for_each(gone.begin(), gone.end(), utRetire);

    std::fill(theEnvironment + size, theEnvironment + theCapacity + 1, nullptr);
    sortEnvironment(theEnvironment, size);
    std::copy_n(theEnvironment, theCapacity + 1, theSeen);
    for (int32 i = 0; i < theCapacity; ++i)
        theOwned[i] = std::binary_search(
                          owned.begin(), owned.end(), theSeen[i], std::less<>())
                          ? theSeen[i]
                          : nullptr;
    theSize = size;
    utIndexNames();
}

// Whether the process has another environment than the table.
static bool
NEED_RESET()
{
    return environ != theEnvironment || (&_environ && _environ != environ) ||
           !theEnvironment;
}

// Whether other code has changed one of the first `count` slots.
static bool
utIsMeddledWith(int32 count)
{
    return memcmp(
               theEnvironment, theSeen,
               size_t(count) * sizeof(*theEnvironment)) != 0;
}

// At any slot, or at the null after them.
static bool
utIsMeddledWith()
{
    return utIsMeddledWith(theSize + 1);
}

static void
utUpdate()
{
    if (NEED_RESET())
        initializeEnvironment();
    else if (utIsMeddledWith())
        utAdoptSlots();
}

// Negative, 0 or positive, as the variable belongs before, at or after the
// entry.
static int
cmpVarName(const char *name, size_t length, const char *entry)
{
    for (size_t i = 0; i < length; ++i)
        if (name[i] != entry[i])
            // Deliberate: signed, unlike the order of the table.
            return int8(name[i]) - int8(entry[i]);
    return '=' - int8(entry[length]);
}

// An entry that has left its slot is not read, for it may be freed: the
// variable then counts as absent.
static int32
utFindPlain(const char *name, size_t length)
{
    const uint8 first = uint8(length > 0 ? *name : '=');
    if (first >= 128)
        return -1;
    int32 low = theFirst[first];
    int32 end = theFirst[first + 1];
    if (low == end)
        return -1;
    const uint64 key = utKey(name, length);
    // What equal keys leave to compare. One with an "=" after the name has all
    // of it; one without "=" is of eight bytes that belong to both names.
    const uint8 last = uint8(key);
    size_t done = last && last != '=' ? sizeof(key) : 0;
    if (length < sizeof(key) && uint8(key >> (56 - 8 * length)) == '=')
        done = length;
    while (low < end)
    {
        const int32 middle = (low + end) >> 1;
        bool isBehind = key > theKeys[middle];
        if (key == theKeys[middle])
        {
            const char *const entry = theEnvironment[middle];
            if (entry != theSeen[middle])
                return -1;
            const int order =
                cmpVarName(name + done, length - done, entry + done);
            if (order == 0)
                return middle;
            isBehind = order > 0;
        }
        if (isBehind)
            low = middle + 1;
        else
            end = middle;
    }
    return -1;
}

// The order of the search is not that of the table: what it finds depends on
// each step here.
static int32
utFindBySteps(const char *name, size_t length)
{
    if (theSize == 0)
        return -1;
    int32 low = 0;
    int32 high = theSize - 1;
    if (cmpVarName(name, length, theEnvironment[low]) == 0)
        return low;
    if (cmpVarName(name, length, theEnvironment[high]) == 0)
        return high;
    while (high - low > 1)
    {
        const int32 middle = (low + high) >> 1;
        const int order = cmpVarName(name, length, theEnvironment[middle]);
        if (order == 0)
            return middle;
        (order > 0 ? low : high) = middle;
    }
    return -1;
}

// The index of a variable's entry, -1 when there is none.
static int32
findVariable(const char *name, size_t length)
{
    return theIsPlain ? utFindPlain(name, length) : utFindBySteps(name, length);
}

static void
utInsert(ut_BlockOwner<char> owner)
{
    char *const entry = owner.get();
    const int32 index = int32(
        std::upper_bound(
            theEnvironment, theEnvironment + theSize, entry, utIsBefore) -
        theEnvironment);
    if (theSize == theCapacity)
    {
        utMoveToBlock(2 * theCapacity + 4, theSize);
        utInstall(theEnvironment);
    }
    std::copy_backward(
        theKeys + index, theKeys + theSize, theKeys + theSize + 1);
    for (char **slots : {theEnvironment, theSeen, theOwned})
        std::copy_backward(slots + index, slots + theSize, slots + theSize + 1);
    utPut(index, owner.release());
    ++theSize;
    utCountName(*entry, 1);
    const bool isRepeated =
        (index > 0 && utHaveSameName(theSeen[index - 1], entry)) ||
        (index + 1 < theSize && utHaveSameName(theSeen[index + 1], entry));
    theIsPlain = theIsPlain && utIsPlain(entry) && !isRepeated;
    // Replacing one of several entries of a name may have left them unsorted.
    if (!theIsPlain)
        utAdoptSlots();
}

static void
utSet(const char *name, size_t nameLength, const char *value)
{
    const size_t valueSize = strlen(value) + 1;
    ut_BlockOwner<char> owner(
        static_cast<char *>(utAllocate(nameLength + 1 + valueSize)));
    char *const entry = owner.get();
    memcpy(entry, name, nameLength);
    // Cut here for a moment, the entry is the name.
    entry[nameLength] = '\0';
    const int32 index = findVariable(entry, nameLength);
    entry[nameLength] = '=';
    memcpy(entry + nameLength + 1, value, valueSize);
    if (index < 0)
        return utInsert(std::move(owner));
    // Not before: name and value may have come from there.
    char *const replaced = theOwned[index];
    utPut(index, owner.release());
    free(replaced);
}

void
ValdrinSetenv(const char *name, const char *value)
{
    if (!name)
        return;
    utUpdate();
    utSet(name, strlen(name), value ? value : "");
}

void
ValdrinPutenv(const char *assignment)
{
    const char *const equals = assignment ? strchr(assignment, '=') : nullptr;
    if (!equals)
        return;
    utUpdate();
    utSet(assignment, size_t(equals - assignment), equals + 1);
}

char *
ValdrinGetenv(const char *name)
{
    return name ? utGetenv(name, strlen(name)) : nullptr;
}

char *
utGetenv(const char *name, size_t length)
{
    if (NEED_RESET() || !theIsPlain)
        utUpdate();
    int32 index = findVariable(name, length);
    // The C library sees what comes first: the array may have been cut off
    // anywhere before the slot, or have another entry there. Only a variable
    // that is not found needs a look at all slots.
    const bool isThere = index >= 0 && !utIsMeddledWith(index + 1);
    if (!isThere && utIsMeddledWith())
    {
        utAdoptSlots();
        index = findVariable(name, length);
    }
    return index < 0 ? nullptr : theEnvironment[index] + length + 1;
}

void
ValdrinUnsetenv(const char *name)
{
    if (!name)
        return;
    utUpdate();
    const int32 index = findVariable(name, strlen(name));
    if (index < 0)
        return;
    char *const removed = theOwned[index];
    utCountName(*theSeen[index], -1);
    std::copy(theKeys + index + 1, theKeys + theSize, theKeys + index);
    for (char **slots : {theEnvironment, theSeen, theOwned})
    {
        std::copy(slots + index + 1, slots + theSize, slots + index);
        slots[theSize - 1] = nullptr;
    }
    --theSize;
    free(removed);
}

char **
ValdrinGetenvlist()
{
    utUpdate();
    return theEnvironment;
}

// One level.
static bool
makeDirectory(const char *path, mode_t mode)
{
    struct stat status;
    if (stat(path, &status) == 0)
        return S_ISDIR(status.st_mode);
    if (mkdir(path, mode) == 0)
        return true;
    // Another process may have come first.
    return errno == EEXIST && stat(path, &status) == 0 &&
           S_ISDIR(status.st_mode);
}

int
ValdrinMakeDirectory(char *path, mode_t mode)
{
    if (!path)
        return 0;
    // Most are there already, and then so are their parents.
    struct stat status;
    if (stat(path, &status) == 0)
        return S_ISDIR(status.st_mode);
    for (char *c = path; *c; ++c)
    {
        if (*c != '/' || c == path)
            continue;
        *c = '\0';
        const bool isThere = makeDirectory(path, mode);
        *c = '/';
        if (!isThere)
            return 0;
    }
    return makeDirectory(path, mode);
}
