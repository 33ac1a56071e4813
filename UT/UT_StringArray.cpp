#include "UT_StringArray.h"

#include "UT_ArrayImpl.h"
#include "UT_CharImpl.h"
#include "UT_StringImpl.h"

#include <algorithm>
#include <memory>
#include <utility>

using ut_Base = UT_PtrArray<UT_String *>;

// ---- The four orders

static int
cmpForward(UT_String *const *a, UT_String *const *b)
{
    return (*a)->compare((*b)->buffer());
}

static int
cmpForwardNumbered(UT_String *const *a, UT_String *const *b)
{
    return UT_String::compareNumberedString((*a)->buffer(), (*b)->buffer());
}

static int
cmpBackward(UT_String *const *a, UT_String *const *b)
{
    return cmpForward(b, a);
}

static int
cmpBackwardNumbered(UT_String *const *a, UT_String *const *b)
{
    return cmpForwardNumbered(b, a);
}

static ut_Base::Compare
utComparator(bool forward, bool numbered)
{
    if (forward)
        return numbered ? cmpForwardNumbered : cmpForward;
    return numbered ? cmpBackwardNumbered : cmpBackward;
}

// A string on its way into an array, which releases it once it has room.
static std::unique_ptr<UT_String>
utNewString(const char *text)
{
    return std::make_unique<UT_String>(UT_ALWAYS_DEEP, text);
}

UT_StringArray::UT_StringArray(const char *const *list)
{
    for (; list && *list; ++list)
        append(*list);
}

UT_StringArray::UT_StringArray(const UT_StringArray &source) : UT_StringArray()
{
    *this = source;
}

UT_StringArray::~UT_StringArray()
{
    clear();
}

UT_StringArray &
UT_StringArray::operator=(const UT_StringArray &source)
{
    if (this == &source)
        return *this;
    UT_StringArray copy;
    copy.ut_Base::resize(unsigned(source.entries()));
    for (int i = 0; i < source.entries(); ++i)
        copy.append(source(i));
    swap(copy);
    return *this;
}

int
UT_StringArray::find(const char *text) const
{
    for (int i = 0; i < entries(); ++i)
        if (data()[i] && *data()[i] == text)
            return i;
    return -1;
}

int
UT_StringArray::sortedFind(const char *text, bool forward, bool numbered) const
{
    UT_String wanted(text);
    return ut_Base::find(&wanted, utComparator(forward, numbered));
}

bool
UT_StringArray::operator==(const UT_StringArray &other) const
{
    return std::equal(
        data(), data() + entries(), other.data(),
        other.data() + other.entries(),
        [](const UT_String *a, const UT_String *b)
        { return a && b && *a == *b; });
}

int
UT_StringArray::getLongestPrefixLength() const
{
    if (entries() == 0)
        return 0;
    const UT_String &first = (*this)(0);
    int length = first.length();
    for (int i = 1; i < entries() && length > 0; ++i)
    {
        const char *const text = (*this)(i);
        int shared = 0;
        while (text && shared < length && text[shared] == first[shared])
            ++shared;
        length = shared;
    }
    return length;
}

int
UT_StringArray::toStdVectorOfStrings(std::vector<std::string> &out) const
{
    if (out.empty())
        out.reserve(size_t(entries()));
    for (int i = 0; i < entries(); ++i)
    {
        const char *const text = (*this)(i);
        out.emplace_back(text ? text : "");
    }
    return entries();
}

void
UT_StringArray::fromStdVectorOfStrings(const std::vector<std::string> &texts)
{
    UT_StringArray others;
    for (const std::string &text : texts)
        others.append(text.c_str());
    utReserveAppends<ut_Base>(*this, texts.size());
    clear();
    merge(others);
}

int
UT_StringArray::append(const char *text)
{
    auto string = utNewString(text);
    const unsigned index = ut_Base::append(string.get());
    (void)string.release();
    return int(index);
}

int
UT_StringArray::insert(const char *text, int index)
{
    if (index < 0)
        return -1;
    auto string = utNewString(text);
    ut_Base::insert(string.get(), unsigned(index));
    (void)string.release();
    return index;
}

int
UT_StringArray::sortedInsert(const char *text, bool forward, bool numbered)
{
    auto string = utNewString(text);
    const unsigned index =
        ut_Base::sortedInsert(string.get(), utComparator(forward, numbered));
    (void)string.release();
    return int(index);
}

int
UT_StringArray::merge(UT_StringArray &other)
{
    if (this == &other)
        return 0;
    const int count = other.entries();
    utReserveAppends<ut_Base>(*this, size_t(entries()) + size_t(count));
    for (int i = 0; i < count; ++i)
        ut_Base::append(std::exchange(other.data()[i], nullptr));
    other.setEntries(0);
    return count;
}

int
UT_StringArray::remove(int index)
{
    if (index < 0 || index >= entries())
        return -1;
    delete data()[index];
    ut_Base::removeAt(unsigned(index));
    data()[entries()] = nullptr;
    return index;
}

int
UT_StringArray::removeLast()
{
    return entries() == 0 ? 0 : remove(entries() - 1);
}

void
UT_StringArray::clear()
{
    for (int i = entries(); i-- > 0;)
        delete std::exchange(data()[i], nullptr);
    setEntries(0);
}

void
UT_StringArray::resize(int count)
{
    const int before = entries();
    if (count < 0 || count == before)
        return;
    UT_StringArray added;
    for (int i = before; i < count; ++i)
        added.append("");
    for (int i = count; i < before; ++i)
        delete std::exchange(data()[i], nullptr);
    ut_Base::resize(unsigned(count));
    merge(added);
}

namespace
{

struct ut_SortEntry
{
    uint64 key; // orders the texts, except for equal keys
    UT_String *string;
};

} // namespace

// As much of a text as 64 bits hold, in the order of strcmp().
static uint64
utPlainKey(const char *text)
{
    uint64 key = 0;
    for (int bits = 56; text && *text && bits >= 0; bits -= 8)
        key |= uint64(uint8(*text++)) << bits;
    return key;
}

// The texts are scattered in memory, so a sort takes longer to fetch them than
// to compare them: keys decide most comparisons. They begin after what all
// texts share, but not within a number.
void
UT_StringArray::sort(bool forward, bool numbered)
{
    if (entries() < 2)
        return;
    const char *const first = (*this)(0);
    int shared = getLongestPrefixLength();
    while (numbered && shared > 0 && utIsDigit(first[shared - 1]))
        --shared;
    const auto key = numbered ? utNumberedKey : utPlainKey;
    std::vector<ut_SortEntry> order;
    order.reserve(size_t(entries()));
    for (int i = 0; i < entries(); ++i)
    {
        const char *const text = (*this)(i);
        order.push_back({key(text ? text + shared : text), data()[i]});
    }

    const Compare compare = utComparator(/*forward=*/true, numbered);
    const auto isLess = [compare](const ut_SortEntry &a, const ut_SortEntry &b)
    {
        return a.key != b.key ? a.key < b.key
                              : compare(&a.string, &b.string) < 0;
    };
    if (forward)
        std::sort(order.begin(), order.end(), isLess);
    else
        std::sort(order.rbegin(), order.rend(), isLess);
    for (int i = 0; i < entries(); ++i)
        data()[i] = order[size_t(i)].string;
}

void
UT_StringArray::sort(Compare compare)
{
    ut_Base::sort(compare);
}
