// Ranges of indices, and names with ranges in brackets.

#include "UT_String.h"

#include "UT_AllocImpl.h"
#include "UT_CharImpl.h"
#include "UT_Pattern.h"
#include "UT_StringImpl.h"
#include "UT_WorkArgs.h"

#include "SYS/SYS_Types.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

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

namespace
{

// One end of a range, as it is written.
struct ut_RangeEnd
{
    int major = 0;
    int majorIsStar = 0;
    int minor = -1; // -1 without one
    int minorIsStar = 0;

    [[nodiscard]] bool isOfSameKind(const ut_RangeEnd &other) const
    {
        return majorIsStar == other.majorIsStar &&
               minorIsStar == other.minorIsStar &&
               (minor < 0) == (other.minor < 0);
    }
};

// A range, as it is written.
struct ut_Range
{
    int cycle = 1; // items that the selection repeats after
    int take = 1;  // how many of them, from the first, are selected
    bool negated = false;
    ut_RangeEnd first;
    ut_RangeEnd last; // of the same kind
};

} // namespace

static bool
utReadIndexPart(std::string_view text, int &index, int &isStar)
{
    isStar = text.find('*') != text.npos;
    index = isStar ? 0 : utNumber(text);
    return !text.empty();
}

// Reads MAJOR[.MINOR]. Returns false when a part is empty.
static bool
utReadRangeEnd(std::string_view text, ut_RangeEnd &end)
{
    std::string_view minor;
    if (utCut(text, '.', minor) &&
        !utReadIndexPart(minor, end.minor, end.minorIsStar))
        return false;
    return utReadIndexPart(text, end.major, end.majorIsStar);
}

int
utPatternMixed(
    const char *text, int &major, int &majorIsStar, int &minor,
    int &minorIsStar)
{
    ut_RangeEnd end;
    if (!text || !utReadRangeEnd(text, end))
        return 0;
    major = end.major;
    majorIsStar = end.majorIsStar;
    minor = end.minor;
    minorIsStar = end.minorIsStar;
    return 1;
}

// Returns false when the text is malformed.
static bool
utReadRange(std::string_view text, ut_Range &range)
{
    std::string_view selection;
    std::string_view last;
    std::string_view cycle;
    const bool hasSelection = utCut(text, ':', selection);
    range.negated = !text.empty() && text[0] == '!';
    text.remove_prefix(range.negated);
    const bool hasLast = utCut(text, '-', last);
    // The dash of "1:2-3" is invalid.
    if (!hasLast && selection.find('-') != selection.npos)
        return false;
    if (!utReadRangeEnd(text, range.first) ||
        !utReadRangeEnd(hasLast ? last : text, range.last) ||
        !range.first.isOfSameKind(range.last))
        return false;
    if (hasSelection && utCut(selection, ',', cycle))
    {
        range.take = utNumber(selection);
        range.cycle = utNumber(cycle);
    }
    else if (hasSelection)
        range.cycle = utNumber(selection);
    return range.take > 0 && range.cycle > 0;
}

int
utRange(
    const char *text, int &cycle, int &take, int &negated, int &majorIsStar,
    int &minorIsStar, int &firstMajor, int &firstMinor, int &lastMajor,
    int &lastMinor)
{
    ut_Range range;
    if (!text || !utReadRange(text, range))
        return 0;
    cycle = range.cycle;
    take = range.take;
    negated = range.negated;
    majorIsStar = range.first.majorIsStar;
    minorIsStar = range.first.minorIsStar;
    firstMajor = range.first.major;
    firstMinor = range.first.minor;
    lastMajor = range.last.major;
    lastMinor = range.last.minor;
    return 1;
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
        if (range.first.majorIsStar || first == last)
            myMinorsAscend = range.first.minor <= range.last.minor;
    }

    [[nodiscard]] bool hasMinors() const { return myRange.first.minor >= 0; }
    [[nodiscard]] int lowest() const { return std::min(myFirst, myLast); }
    [[nodiscard]] int highest() const { return std::max(myFirst, myLast); }

    // Calls `emit` for the majors that a range without minors or a negation
    // selects, and touches no other: a cycle may be as long as the numbers go.
    // Returns false when `emit` does.
    template <class Emit>
    [[nodiscard]] bool emitMajors(Emit emit) const
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
    [[nodiscard]] bool eachMajor(int low, int high, Visit visit) const
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
        if (hasMinors() && !myRange.first.minorIsStar)
        {
            if (myRange.first.majorIsStar || major == myFirst)
                (myMinorsAscend ? low : high) = myRange.first.minor;
            if (myRange.first.majorIsStar || major == myLast)
                (myMinorsAscend ? high : low) = myRange.last.minor;
        }
        if (major < lowest() || major > highest())
            high = low - 1;

        const bool negated = myRange.negated;
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
    if (maximum == 0 || !myData || !utReadRange(myData, range) ||
        (range.first.minor >= 0 && !minorCount))
        return 0;
    // Deliberate: without a maximum, a star and a negation go over 0 alone.
    const int64 end = maximum < 0 ? int64(INT_MAX) + 1 : maximum;
    const int highest = maximum < 0 ? 0 : maximum - 1;
    int64 first = 0;
    int64 last = highest;
    if (!range.first.majorIsStar)
    {
        first = int64(range.first.major) + offset;
        last = int64(range.last.major) + offset;
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

static bool
utIsFull(const stResultData &result)
{
    // The analyzer does not follow a base that is an aggregate.
    // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult)
    return result.count >= result.maximum;
}

static void
utAdd(stResultData &result, const char *name)
{
    if (utIsFull(result))
        return;
    result.list[result.count] = utDuplicate(name);
    ++result.count;
}

// Adds the names that have `item` in the place of the group.
static void
utAddItem(const stExpandData &data, const std::string &item)
{
    if (utIsFull(*data.result))
        return;
    std::string name(data.prefix);
    name += item;
    name += data.suffix;
    if (!strchr(data.suffix, '[') || !stExpandArray(name.c_str(), data.result))
        utAdd(*data.result, name.c_str());
}

int
stAddName(int major, int, void *data)
{
    utAddItem(*static_cast<stExpandData *>(data), std::to_string(major));
    return 1;
}

// Deliberate: a dash between letters is not a range, "[a-c]" stands for a and
// c.
int
stExpandLetterPattern(const char *contents, stExpandData *data)
{
    for (; *contents && !utIsFull(*data->result); ++contents)
        if (utIsLetter(*contents))
            utAddItem(*data, std::string(1, *contents));
    return 1;
}

// A range may continue for billions of indices after the last one with room.
static int
utAddNameWhileRoom(int major, int minor, void *data)
{
    stAddName(major, minor, data);
    return !utIsFull(*static_cast<stExpandData *>(data)->result);
}

namespace
{

// A bracket group of a word.
struct ut_Group
{
    std::string_view prefix; // the text between the group before and this one
    std::string contents;
    std::vector<std::string> items; // what stands for it in a name, in order
    size_t room = 0;                // items that matter
    size_t repeat = 1;              // names in a row that have the same item

    [[nodiscard]] bool isLetters() const
    {
        return utIsLetter(contents.c_str()[0]);
    }
};

} // namespace

// Cuts a word into groups and the text after the last of them. An unclosed
// opening bracket is text.
static std::vector<ut_Group>
utSplitGroups(std::string_view &word)
{
    std::vector<ut_Group> groups;
    for (;;)
    {
        const size_t open = word.find('[');
        const size_t close = word.find(']', std::min(open, word.size()));
        if (close == word.npos)
            return groups;
        ut_Group group;
        group.prefix = word.substr(0, open);
        group.contents = word.substr(open + 1, close - open - 1);
        groups.push_back(std::move(group));
        word.remove_prefix(close + 1);
    }
}

// Stores the names of a word with one group straight away.
static void
utExpandGroup(const ut_Group &group, const char *suffix, stResultData *result)
{
    const std::string prefix(group.prefix);
    stExpandData data{prefix.c_str(), suffix, result};
    if (group.isLetters())
        stExpandLetterPattern(group.contents.c_str(), &data);
    else
        UT_String(group.contents.c_str())
            .traversePattern(
                /*maximum=*/-1, &data, utAddNameWhileRoom, nullptr,
                /*offset=*/0);
}

static int
utCollectItem(int major, int, void *data)
{
    ut_Group &group = *static_cast<ut_Group *>(data);
    group.items.push_back(std::to_string(major));
    return group.items.size() < group.room;
}

// Finds what each group stands for, no more of it than `room` names need, and
// returns the number of names. The later groups vary faster.
static size_t
utFillGroups(std::vector<ut_Group> &groups, size_t room)
{
    size_t names = 1;
    for (auto group = groups.rbegin(); group != groups.rend(); ++group)
    {
        group->repeat = names;
        group->room = (room + names - 1) / names;
        if (group->isLetters())
        {
            for (const char c : group->contents)
                if (utIsLetter(c) && group->items.size() < group->room)
                    group->items.emplace_back(1, c);
        }
        else
            UT_String(group->contents.c_str())
                .traversePattern(
                    /*maximum=*/-1, &*group, utCollectItem, nullptr,
                    /*offset=*/0);
        names = std::min(names * group->items.size(), room);
        if (names == 0)
            return 0;
    }
    return names;
}

// Stores the names of a word with several groups. To expand what follows the
// first group anew for each of its items would never end where a later group
// stands for nothing, and a word may have more groups than the stack is deep.
static void
utExpandGroups(
    std::vector<ut_Group> &groups, std::string_view suffix,
    stResultData *result)
{
    const size_t names =
        utFillGroups(groups, size_t(result->maximum - result->count));
    std::string name;
    for (size_t i = 0; i < names; ++i)
    {
        name.clear();
        for (const ut_Group &group : groups)
        {
            name += group.prefix;
            name += group.items[i / group.repeat % group.items.size()];
        }
        name += suffix;
        utAdd(*result, name.c_str());
    }
}

// Deliberate: a word with a group that is malformed gives no names at all.
int
stExpandArray(const char *word, stResultData *result)
{
    if (!word)
        return 0;
    std::string_view suffix(word);
    std::vector<ut_Group> groups = utSplitGroups(suffix);
    if (groups.empty())
        return 0;
    if (utIsFull(*result))
        return 1;
    if (groups.size() == 1)
        utExpandGroup(groups[0], suffix.data(), result);
    else
        utExpandGroups(groups, suffix, result);
    return 1;
}

namespace
{

// A result whose names are freed unless the caller gets them.
struct ut_GuardedResult : stResultData
{
    ut_GuardedResult(char **out, int room) : stResultData{out, 0, room} {}
    ~ut_GuardedResult()
    {
        for (int i = 0; i < count; ++i)
            free(list[i]);
    }
    ut_GuardedResult(const ut_GuardedResult &) = delete;
    ut_GuardedResult &operator=(const ut_GuardedResult &) = delete;

    int release() { return std::exchange(count, 0); }
};

} // namespace

int
UT_String::expandArrays(char **out, int maximum)
{
    harden();
    UT_WorkArgs words;
    parseInPlace(words);
    ut_GuardedResult result(out, maximum);
    for (int i = 0; i < words.getArgc() && i < maximum; ++i)
        if (!stExpandArray(words(i), &result))
            utAdd(result, words(i));
    return result.release();
}
