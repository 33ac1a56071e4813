#include "ut_SettingNotes.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numeric>

#include <strings.h>

// Read by others than the settings.
static const char *const theOtherNames[] = {
    "VALDRIN_PATH", // the main search path of the library
    "VALDRIN_PORT", // this program and the stand-in
};

// ---- Values

std::string
utNumber(const UT_ControlInfo &setting, double number)
{
    char text[32]; // the numbers are of 32 bits
    if (setting.kind == UT_CONTROL_FLOAT)
        snprintf(text, sizeof(text), "%g", number);
    else
        snprintf(text, sizeof(text), "%d", int(number));
    return text;
}

// The number at the start of a text, as the settings read it; `end` is set to
// what follows it.
static double
utNumberAt(const UT_ControlInfo &setting, const char *given, const char *&end)
{
    char *next = nullptr;
    const double number = setting.kind == UT_CONTROL_FLOAT
                              ? strtod(given, &next)
                              : double(strtoll(given, &next, 10));
    end = next;
    return number;
}

static std::string
utNumberOddity(const UT_ControlInfo &setting, const char *given)
{
    const char *end = nullptr;
    const double number = utNumberAt(setting, given, end);
    const char *oddity = nullptr;
    if (end == given)
        oddity = "not a number";
    else if (*end)
        oddity = "more than a number";
    else if (number < setting.minimum || number > setting.maximum)
        oddity = "out of range";
    else
        return "";
    return std::string(oddity) + ", and counts as " +
           utNumber(setting, setting.value);
}

static std::string
utSwitchOddity(const UT_ControlInfo &setting, const std::string &given)
{
    if (given == "0" || given == "1")
        return "";
    // The processor's features have a reader of their own.
    static const char theFeatures[] = "VALDRIN_DISABLE_";
    const char *end = nullptr;
    if (setting.isObeyed &&
        strncmp(setting.name, theFeatures, strlen(theFeatures)) == 0 &&
        utNumberAt(setting, given.c_str(), end) == 0)
        return "neither 0 nor 1, and disables nothing";
    return std::string("neither 0 nor 1, and turns it ") +
           (setting.value > 0 ? "on" : "off");
}

std::string
utOddity(const UT_ControlInfo &setting, const std::string &given)
{
    switch (setting.kind)
    {
    case UT_CONTROL_SWITCH:
        return utSwitchOddity(setting, given);
    case UT_CONTROL_INT:
    case UT_CONTROL_FLOAT:
        return utNumberOddity(setting, given.c_str());
    case UT_CONTROL_STRING:
        break;
    }
    return "";
}

// ---- Names

bool
utIsStray(const std::string &name, const std::vector<UT_ControlInfo> &settings)
{
    static const std::string theStart = "VALDRIN";
    if (strncasecmp(name.c_str(), theStart.c_str(), theStart.size()) != 0)
        return false;
    for (const char *other : theOtherNames)
        if (name == other)
            return false;
    return std::none_of(
        settings.begin(), settings.end(),
        [&](const UT_ControlInfo &setting) { return name == setting.name; });
}

// A name in small letters, without what divides its words.
static std::string
utLetters(const std::string &name)
{
    std::string letters;
    for (const char each : name)
        if (each != '_' && each != '-')
            letters += char(tolower(static_cast<unsigned char>(each)));
    return letters;
}

// Bytes to insert, remove or replace in `a` to make it `b`.
static size_t
utDistance(const std::string &a, const std::string &b)
{
    std::vector<size_t> row(b.size() + 1); // from a prefix of `a` to each of b
    std::iota(row.begin(), row.end(), size_t(0));
    for (size_t i = 0; i < a.size(); ++i)
    {
        size_t diagonal = row[0]++;
        for (size_t j = 0; j < b.size(); ++j)
        {
            const size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

std::string
utMeantBy(const std::string &name, const std::vector<UT_ControlInfo> &settings)
{
    const std::string letters = utLetters(name);
    std::string meant;
    size_t least = 3; // more edits than that are another name
    for (const UT_ControlInfo &setting : settings)
    {
        if (setting.formerName && name == setting.formerName)
            return setting.name;
        const size_t distance = utDistance(letters, utLetters(setting.name));
        if (distance >= least)
            continue;
        least = distance;
        meant = setting.name;
    }
    return meant;
}
