#include "ut_Settings.h"

#include "ut_Text.h"

#include "UT/UT_EnvControl.h"
#include "host/ut_ComponentHost.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <set>

#include <fnmatch.h>
#include <unistd.h>

using ut_Settings = std::vector<UT_ControlInfo>;

// ---- Their values

static std::string
utNumber(const UT_ControlInfo &setting, double number)
{
    char text[32]; // the numbers are of 32 bits
    if (setting.kind == UT_CONTROL_FLOAT)
        snprintf(text, sizeof(text), "%g", number);
    else
        snprintf(text, sizeof(text), "%d", int(number));
    return text;
}

// On one line: a newline and a tab are spelled out too.
static std::string
utQuoted(const char *text)
{
    if (!text)
        return "-";
    std::string quoted = "\"";
    for (const char *next = text; *next; ++next)
    {
        if (*next == '\n')
            quoted += "\\x0a";
        else if (*next == '\t')
            quoted += "\\x09";
        else if (*next == '"' || *next == '\\')
            (quoted += '\\') += *next;
        else
            quoted += *next;
    }
    return utVisible(quoted) + '"';
}

static std::string
utValue(const UT_ControlInfo &setting)
{
    return setting.kind == UT_CONTROL_STRING ? utQuoted(setting.text)
                                             : utNumber(setting, setting.value);
}

static std::string
utDefault(const UT_ControlInfo &setting)
{
    return setting.kind == UT_CONTROL_STRING
               ? utQuoted(setting.defaultText)
               : utNumber(setting, setting.defaultValue);
}

static std::string
utRange(const UT_ControlInfo &setting)
{
    if (setting.kind == UT_CONTROL_STRING)
        return "-";
    return utNumber(setting, setting.minimum) +
           (setting.kind == UT_CONTROL_SWITCH ? " or " : " to ") +
           utNumber(setting, setting.maximum);
}

// ---- The layouts

// A column is as wide as its texts, but one that is too long does not push all
// the others away.
static const size_t theMaxWidth = 40;

static std::string
utColumns(const ut_Settings &settings, const std::set<std::string> &given)
{
    using ut_Row = std::array<std::string, 6>;
    std::vector<ut_Row> rows = {
        {"VARIABLE", "VALUE", "DEFAULT", "SOURCE", "RANGE", "USE"}
    };
    for (const UT_ControlInfo &setting : settings)
        rows.push_back(
            {setting.name, utValue(setting), utDefault(setting),
             given.count(setting.name) ? "environment" : "default",
             utRange(setting), setting.use});

    std::array<size_t, 5> widths = {};
    for (const ut_Row &row : rows)
        for (size_t i = 0; i < widths.size(); ++i)
            widths[i] =
                std::max(widths[i], std::min(row[i].size(), theMaxWidth) + 2);
    std::string text;
    for (const ut_Row &row : rows)
    {
        for (size_t i = 0; i < widths.size(); ++i)
        {
            const size_t length = row[i].size();
            text += row[i];
            text.append(std::max(widths[i], length + 2) - length, ' ');
        }
        text += row.back() + '\n';
    }
    return text;
}

static const char thePageHead[] = R"(# Settings

Each of these environment variables makes one setting. They are read once, when
the first setting is read. `valdrin env` lists the current values; this page is
the output of `valdrin env --page`.
)";

static const struct
{
    UT_ControlKind kind;
    const char *text;
} thePageSections[] = {
    {UT_CONTROL_SWITCH,
     "\n## Switches\n\n"
     "`0` turns a switch off, `1` turns it on, and any other value sets it to\n"
     "the opposite of its default.\n"                                        },
    {UT_CONTROL_INT,    "\n## Whole numbers\n\n"
                     "Text that is not a number counts as 0. A number out of "
                     "range is moved to\n"
                     "the nearest one that is allowed.\n"},
    {UT_CONTROL_FLOAT,
     "\n## Numbers with a fraction\n\n"
     "They have a point between the digits, whatever the language. Otherwise\n"
     "the rules are those of whole numbers.\n"                               },
    {UT_CONTROL_STRING,
     "\n## Texts\n\n"
     "Each backslash becomes a slash, in the variable too. `HOME`, `USER`,\n"
     "`VALDRIN_TEMP_DIR` and `VALDRIN_DESKTOP_DIR` are set for child "
     "processes\n"
     "where they are missing.\n"                                             },
};

static std::string
utPageRow(const UT_ControlInfo &setting)
{
    std::string text = std::string("| `") + setting.name + "` | ";
    if (setting.isComputed)
        text += "*computed*";
    else if (setting.kind == UT_CONTROL_STRING && !setting.defaultText)
        text += "*none*";
    else
        text += "`" + utDefault(setting) + "`";
    if (setting.kind != UT_CONTROL_STRING)
        text += " | " + utRange(setting);
    text += std::string(" | ") + setting.use;
    if (setting.formerName)
        text += std::string(" (once `") + setting.formerName + "`)";
    return text += " |\n";
}

static std::string
utPage(const ut_Settings &settings)
{
    std::string text = thePageHead;
    for (const auto &section : thePageSections)
    {
        text += section.text;
        text += section.kind == UT_CONTROL_STRING
                    ? "\n| Variable | Default | Use |\n|---|---|---|\n"
                    : "\n| Variable | Default | Range | Use |\n"
                      "|---|---|---|---|\n";
        for (const UT_ControlInfo &setting : settings)
            if (setting.kind == section.kind)
                text += utPageRow(setting);
    }
    return text;
}

// ---- The settings

static ut_Settings
utSettings(decltype(UTdescribeControl) *describe, const char *pattern)
{
    ut_Settings settings;
    UT_ControlInfo setting;
    for (int i = 0; describe(i, setting); ++i)
        if (!pattern || fnmatch(pattern, setting.name, FNM_CASEFOLD) == 0)
            settings.push_back(setting);
    std::sort(
        settings.begin(), settings.end(),
        [](const UT_ControlInfo &a, const UT_ControlInfo &b)
        { return strverscmp(a.name, b.name) < 0; });
    return settings;
}

bool
utListSettings(
    const std::vector<std::string> &libraries, const char *pattern,
    ut_SettingsLayout layout, std::string &output, std::string &error)
{
    // Reading the settings adds to the environment.
    std::set<std::string> given;
    for (char **entry = environ; entry && *entry; ++entry)
        given.insert(std::string(*entry, strcspn(*entry, "=")));

    void *const symbol = utFindFunction(libraries, "UTdescribeControl", error);
    if (!symbol)
        return false;
    decltype(UTdescribeControl) *describe;
    static_assert(sizeof(describe) == sizeof(symbol));
    memcpy(&describe, &symbol, sizeof(symbol));

    const ut_Settings settings = utSettings(describe, pattern);
    if (settings.empty())
        return true;
    output = layout == ut_SettingsLayout::PAGE ? utPage(settings)
                                               : utColumns(settings, given);
    return true;
}
