// Ranges of indices, and names with ranges in brackets.

#include "UT_String.h"

#include "SYS/SYS_Types.h"
#include "UT_StringImpl.h"
#include "UT_WorkArgs.h"
#include "UT_WorkBuffer.h"

#include <algorithm>
#include <climits>
#include <string>
#include <string_view>
#include <vector>

namespace
{
// A range as it is written.
struct ut_Range
{
    int cycle = 1; // items that the selection repeats after
    int take = 1;  // how many of them, from the first, are selected
    int negated = 0;
    int majorIsStar = 0;
    int minorIsStar = 0;
    int firstMajor = 0;
    int firstMinor = -1; // -1 without minors
    int lastMajor = 0;
    int lastMinor = -1;
};
} // namespace

static int
utNumber(std::string_view text)
{
    return utLeadingNumber(text.data(), text.data() + text.size());
}

// Cuts `text` at the first `c`, which is in neither half. Returns whether it
// is there; the rest is empty when it is not.
static bool
utCut(std::string_view &text, char c, std::string_view &rest)
{
    const size_t at = text.find(c);
    rest = at == text.npos ? std::string_view() : text.substr(at + 1);
    text = text.substr(0, at);
    return at != text.npos;
}

static bool
utReadIndexPart(std::string_view text, int &index, int &isStar)
{
    isStar = text.find('*') != text.npos;
    index = isStar ? 0 : utNumber(text);
    return !text.empty();
}

// Reads MAJOR[.MINOR]. Returns 0 when a part is empty.
static int
utPatternMixed(
    std::string_view text, int &major, int &majorIsStar, int &minor,
    int &minorIsStar)
{
    std::string_view rest;
    minor = -1;
    minorIsStar = 0;
    if (utCut(text, '.', rest) && !utReadIndexPart(rest, minor, minorIsStar))
        return 0;
    return utReadIndexPart(text, major, majorIsStar);
}

// Returns 0 when the text is malformed.
static int
utRange(std::string_view text, ut_Range &range)
{
    std::string_view last;
    std::string_view selection;
    std::string_view cycle;
    const bool hasSelection = utCut(text, ':', selection);
    range.negated = !text.empty() && text[0] == '!';
    text.remove_prefix(size_t(range.negated));
    const bool hasLast = utCut(text, '-', last);
    // The dash of "1:2-3" belongs to nothing.
    if (!hasLast && selection.find('-') != selection.npos)
        return 0;

    if (!utPatternMixed(
            text, range.firstMajor, range.majorIsStar, range.firstMinor,
            range.minorIsStar))
        return 0;
    int majorIsStar;
    int minorIsStar;
    if (!utPatternMixed(
            hasLast ? last : text, range.lastMajor, majorIsStar,
            range.lastMinor, minorIsStar) ||
        majorIsStar != range.majorIsStar || minorIsStar != range.minorIsStar ||
        (range.firstMinor < 0) != (range.lastMinor < 0))
        return 0;

    if (hasSelection && utCut(selection, ',', cycle))
    {
        range.take = utNumber(selection);
        range.cycle = utNumber(cycle);
    }
    else if (hasSelection)
        range.cycle = utNumber(selection);
    return range.take > 0 && range.cycle > 0;
}

namespace
{
// A walk over the indices of a range, once it is known which majors there are.
class ut_RangeWalk
{
public:
    ut_RangeWalk(const ut_Range &range, int first, int last)
        : myRange(range), myFirst(first), myLast(last),
          myMajorsAscend(first <= last), myMinorsAscend(myMajorsAscend)
    {
        if (range.majorIsStar || first == last)
            myMinorsAscend = range.firstMinor <= range.lastMinor;
    }

    bool hasMinors() const { return myRange.firstMinor >= 0; }
    int lowest() const { return std::min(myFirst, myLast); }
    int highest() const { return std::max(myFirst, myLast); }

    // Calls `emit` for the majors that a range without minors or a negation
    // selects, and touches no other: a cycle may be as long as the numbers go.
    // Returns false when `emit` does.
    template <class Emit>
    bool emitMajors(Emit emit) const
    {
        const int64 count = int64(highest()) - lowest() + 1;
        const int take = std::min(myRange.take, myRange.cycle);
        for (int64 cycle = 0; cycle < count; cycle += myRange.cycle)
        {
            const int64 end = std::min(cycle + take, count);
            for (int64 i = cycle; i < end; ++i)
                if (!emit(int(myMajorsAscend ? myFirst + i : myFirst - i)))
                    return false;
        }
        return true;
    }

    // Calls `visit` for the majors from `low` to `high`, in the order of the
    // range, until it returns false; whether it did not.
    template <class Visit>
    bool eachMajor(int low, int high, Visit visit) const
    {
        return each(myMajorsAscend, low, high, visit);
    }

    // Calls `emit` for the minors below one major that has `count`, or once
    // with -1 without minors. Returns false when `emit` does.
    template <class Emit>
    bool eachMinor(int major, int count, Emit emit)
    {
        if (hasMinors() && count < 1)
            return true;
        const int begin = hasMinors() ? 0 : -1;
        const int end = hasMinors() ? count - 1 : -1;
        int low = begin; // the minors in the range, where it has some
        int high = end;
        if (hasMinors() && !myRange.minorIsStar)
        {
            if (myRange.majorIsStar || major == myFirst)
                (myMinorsAscend ? low : high) = myRange.firstMinor;
            if (myRange.majorIsStar || major == myLast)
                (myMinorsAscend ? high : low) = myRange.lastMinor;
        }
        if (major < lowest() || major > highest())
            high = low - 1;

        const bool negated = myRange.negated != 0;
        const auto visit = [&](int minor)
        {
            const bool isSelected =
                minor >= low && minor <= high && selectNext();
            return isSelected == negated || emit(major, minor) != 0;
        };
        return negated ? each(myMinorsAscend, begin, end, visit)
                       : each(myMinorsAscend, low, std::min(high, end), visit);
    }

private:
    template <class Visit>
    static bool each(bool isAscending, int low, int high, Visit visit)
    {
        const int64 count = int64(high) - low + 1;
        for (int64 i = 0; i < count; ++i)
            if (!visit(int(isAscending ? low + i : high - i)))
                return false;
        return true;
    }

    // Whether the next item in the range is one that its cycle takes.
    bool selectNext()
    {
        const bool isSelected = myCounter < myRange.take;
        if (++myCounter == myRange.cycle)
            myCounter = 0;
        return isSelected;
    }

    const ut_Range &myRange;
    int myFirst; // majors
    int myLast;
    bool myMajorsAscend;
    bool myMinorsAscend;
    int myCounter = 0; // items in the range, modulo the cycle
};
} // namespace

int
UT_String::traversePattern(
    int maximum, void *data, int (*emit)(int major, int minor, void *data),
    unsigned (*minorCount)(int major, void *data), int offset) const
{
    ut_Range range;
    if (maximum == 0 || !myData || !utRange(myData, range) ||
        (range.firstMinor >= 0 && !minorCount))
        return 0;
    // Deliberate: without a maximum, a star and a negation go over 0 alone.
    const int64 end = maximum < 0 ? int64(INT_MAX) + 1 : maximum;
    const int highest = maximum < 0 ? 0 : maximum - 1;
    int64 first = 0;
    int64 last = highest;
    if (!range.majorIsStar)
    {
        first = int64(range.firstMajor) + offset;
        last = int64(range.lastMajor) + offset;
        if (first < 0 || last < 0)
            return 0;
        if (first >= end && last >= end)
            return 1;
        // Deliberate: the minor of a last major that is lowered stays.
        first = std::min(first, end - 1);
        last = std::min(last, end - 1);
    }
    ut_RangeWalk walk(range, int(first), int(last));
    if (!walk.hasMinors() && !range.negated)
        return walk.emitMajors([&](int major)
                               { return emit(major, -1, data) != 0; });
    const auto visit = [&](int major)
    {
        const int count = walk.hasMinors() ? int(minorCount(major, data)) : 1;
        return walk.eachMinor(
            major, count,
            [&](int aMajor, int minor) { return emit(aMajor, minor, data); });
    };
    return range.negated ? walk.eachMajor(0, highest, visit)
                         : walk.eachMajor(walk.lowest(), walk.highest(), visit);
}

namespace
{
// The names that words expand to, in the caller's array.
struct stResultData
{
    char **list;
    int count;
    int maximum;

    int room() const { return maximum - count; }
    void add(const char *name)
    {
        if (room() > 0)
            list[count++] = strdup(name);
    }
};

// A bracket group of a word.
struct stExpandData
{
    std::string_view prefix; // the text between the group before and this one
    std::string_view contents;
    std::vector<std::string> items; // what stands for it in a name, in order
    size_t room = 0;                // items that matter
    size_t repeat = 1;              // names in a row that have the same item
};
} // namespace

static int
stAddName(int major, int, void *data)
{
    stExpandData &group = *static_cast<stExpandData *>(data);
    group.items.push_back(std::to_string(major));
    return group.items.size() < group.room;
}

// Deliberate: a dash between letters is no range, "[a-c]" stands for a and c.
static int
stExpandLetterPattern(std::string_view contents, stExpandData *data)
{
    for (const char c : contents)
        if (utIsLetter(c) && data->items.size() < data->room)
            data->items.emplace_back(1, c);
    return 1;
}

// Cuts a word into groups and the text behind the last of them. An opening
// bracket that nothing closes is text.
static std::vector<stExpandData>
utSplitGroups(std::string_view &word)
{
    std::vector<stExpandData> groups;
    for (;;)
    {
        const size_t open = word.find('[');
        const size_t close = word.find(']', std::min(open, word.size()));
        if (close == word.npos)
            return groups;
        stExpandData group;
        group.prefix = word.substr(0, open);
        group.contents = word.substr(open + 1, close - open - 1);
        groups.push_back(std::move(group));
        word.remove_prefix(close + 1);
    }
}

// Finds what each group stands for, no more of it than `room` names need, and
// returns the number of names. The later groups vary faster.
static size_t
utFillGroups(std::vector<stExpandData> &groups, size_t room)
{
    size_t names = 1;
    for (auto group = groups.rbegin(); group != groups.rend(); ++group)
    {
        group->repeat = names;
        group->room = (room + names - 1) / names;
        if (!group->contents.empty() && utIsLetter(group->contents[0]))
            stExpandLetterPattern(group->contents, &*group);
        else
        {
            const UT_String range(
                group->contents.data(), 0,
                SYSnarrow<int>(group->contents.size()));
            range.traversePattern(
                /*maximum=*/-1, &*group, stAddName, nullptr, /*offset=*/0);
        }
        names = std::min(names * group->items.size(), room);
        if (names == 0)
            return 0;
    }
    return names;
}

// Returns 0 when the word has no group; it is then no name yet.
//
// Deliberate: a word with a group that is malformed gives no names at all.
static int
stExpandArray(const char *word, stResultData *result)
{
    std::string_view rest(word);
    std::vector<stExpandData> groups = utSplitGroups(rest);
    if (groups.empty())
        return 0;
    if (result->room() <= 0)
        return 1;
    const size_t names = utFillGroups(groups, size_t(result->room()));
    std::string name;
    for (size_t i = 0; i < names; ++i)
    {
        name.clear();
        for (const stExpandData &group : groups)
        {
            name += group.prefix;
            name += group.items[i / group.repeat % group.items.size()];
        }
        name += rest;
        result->add(name.c_str());
    }
    return 1;
}

int
UT_String::expandArrays(char **out, int maximum)
{
    harden();
    UT_WorkArgs words;
    parseInPlace(words);
    stResultData result{out, 0, maximum};
    for (int i = 0; i < words.getArgc() && i < maximum; ++i)
        if (!stExpandArray(words(i), &result))
            result.add(words(i));
    return result.count;
}
