// The environment table beside a plain list of texts, under changes by the
// toolkit, by the C library and of the array itself. Each line of the input is
// a byte that chooses the change, and what it is about.

#include "ut_FuzzCheck.h"

#include "SYS/SYS_Types.h"
#include "UT/UT_Env.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <list>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

using ut_Texts = std::vector<std::string>;
using ut_Slots = std::vector<char *>;

static ut_Slots
utSlots()
{
    ut_Slots slots;
    for (char **slot = environ; slot && *slot; ++slot)
        slots.push_back(*slot);
    return slots;
}

// Compares as signed numbers, as the table's search does.
static int
utOrder(const std::string &name, const std::string &entry)
{
    const std::string start = name + '=';
    for (size_t i = 0; i < start.size(); ++i)
    {
        const int difference = int8(start[i]) - int8(entry.c_str()[i]);
        if (difference != 0)
            return difference;
    }
    return 0;
}

// Index of the entry that the search finds, which is not every entry where
// names have bytes from 128 on; -1 for none.
static int
utFind(const ut_Texts &entries, const std::string &name)
{
    if (entries.empty())
        return -1;
    size_t low = 0;
    size_t high = entries.size() - 1;
    if (utOrder(name, entries[low]) == 0)
        return int(low);
    if (utOrder(name, entries[high]) == 0)
        return int(high);
    while (high - low > 1)
    {
        const size_t middle = (low + high) / 2;
        const int order = utOrder(name, entries[middle]);
        if (order == 0)
            return int(middle);
        if (order > 0)
            low = middle;
        else
            high = middle;
    }
    return -1;
}

static void
utSet(ut_Texts &entries, const std::string &name, const std::string &value)
{
    const int index = utFind(entries, name);
    const std::string entry = name + '=' + value;
    if (index >= 0)
    {
        entries[size_t(index)] = entry;
        return;
    }
    entries.push_back(entry);
    std::sort(entries.begin(), entries.end());
}

// What other code left in the array, which is sorted once it has changed. The C
// library may use one block for two entries; it counts once.
static void
utAdopt(ut_Texts &entries)
{
    const ut_Slots slots = utSlots();
    entries.clear();
    for (char *entry : std::set<char *>(slots.begin(), slots.end()))
    {
        if (strchr(entry, '='))
            entries.push_back(entry);
    }
    std::sort(entries.begin(), entries.end());
}

// The array becomes one of the texts in the list, with commas between them.
static void
utReplaceArray(
    const std::string &list, std::list<ut_Texts> &texts, ut_Slots &out)
{
    std::istringstream in(list);
    texts.emplace_back();
    for (std::string text; std::getline(in, text, ',');)
        texts.back().push_back(text);
    out.clear();
    for (std::string &text : texts.back())
        out.push_back(text.data());
    out.push_back(nullptr);
    environ = out.data();
}

// The search finds the last entry whatever its name is.
static void
utRemoveAll()
{
    for (ut_Slots slots = utSlots(); !slots.empty(); slots = utSlots())
    {
        const std::string entry = slots.back();
        ValdrinUnsetenv(entry.substr(0, entry.find('=')).c_str());
    }
}

// Makes a buffer of the caller's an entry. It may be freed as soon as it is no
// longer in the array.
static void
utPutBuffer(const std::string &entry)
{
    static std::list<std::vector<char>> theBuffers;
    const ut_Slots slots = utSlots();
    theBuffers.remove_if(
        [&](const std::vector<char> &buffer)
        {
            return std::find(slots.begin(), slots.end(), buffer.data()) ==
                   slots.end();
        });
    theBuffers.emplace_back(entry.c_str(), entry.c_str() + entry.size() + 1);
    putenv(theBuffers.back().data());
}

// Replaces an entry of the table, puts it back, and swaps the first and the
// last.
static void
utExchangeEntries()
{
    static char theOther[] = "B0=x";
    char **const table = ValdrinGetenvlist();
    if (!*table)
        return;
    const size_t size = utSlots().size();
    char *const entry = std::exchange(table[size / 2], theOther);
    char **const changed = ValdrinGetenvlist();
    *std::find(changed, changed + size, theOther) = entry;
    std::swap(changed[0], changed[size - 1]);
}

static void
utCheck(const ut_Texts &entries, const std::string &name)
{
    const int index = utFind(entries, name);
    const char *const value = ValdrinGetenv(name.c_str());
    utRequire((value != nullptr) == (index >= 0));
    if (value)
        utRequire(name + '=' + value == entries[size_t(index)]);
    char **const table = ValdrinGetenvlist();
    utRequire(table == environ);
    const ut_Slots slots = utSlots();
    utRequire(ut_Texts(slots.begin(), slots.end()) == entries);
}

extern "C" int
LLVMFuzzerTestOneInput(const uint8 *data, size_t size)
{
    if (size > 1000)
        return 0;
    utRemoveAll();
    ut_Texts entries;
    std::list<ut_Texts> texts; // the array may hold them until the end
    ut_Slots array;
    std::istringstream in(std::string(data, data + size));
    for (std::string line; std::getline(in, line);)
    {
        const unsigned choice = uint8(line[0]) % 16;
        const unsigned change = choice < 11 ? choice : choice - 8;
        const std::string rest = std::string(line, !line.empty()).c_str();
        const size_t equals = change % 2 ? rest.find('=') : rest.rfind('=');
        const std::string name = rest.substr(0, equals);
        const std::string value =
            equals == rest.npos ? "" : rest.substr(equals + 1);
        const ut_Slots before = utSlots();
        switch (change)
        {
        case 0:
        case 1:
            ValdrinSetenv(name.c_str(), value.c_str());
            utSet(entries, name, value);
            break;
        case 2:
            ValdrinPutenv(rest.c_str());
            if (equals != rest.npos)
                utSet(
                    entries, rest.substr(0, rest.find('=')),
                    rest.substr(rest.find('=') + 1));
            break;
        case 3:
        case 4:
            ValdrinUnsetenv(name.c_str());
            if (const int index = utFind(entries, name); index >= 0)
                entries.erase(entries.begin() + index);
            break;
        case 5:
            setenv(name.c_str(), value.c_str(), /*overwrite=*/1);
            break;
        case 6:
            unsetenv(name.c_str());
            break;
        case 7:
            utReplaceArray(rest, texts, array);
            break;
        case 8:
            if (equals != rest.npos)
                utPutBuffer(rest);
            break;
        case 9: // the value of a variable, perhaps its own
            if (const char *const other = ValdrinGetenv(value.c_str()))
            {
                utSet(entries, name, other);
                ValdrinSetenv(name.c_str(), other);
            }
            break;
        default:
            utExchangeEntries();
        }
        if (change > 4 && change != 9 && utSlots() != before)
            utAdopt(entries);
        utCheck(entries, name);
    }
    return 0;
}
