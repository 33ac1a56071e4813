#include "ut_Settings.h"

#include "ut_SettingNotes.h"
#include "ut_Text.h"

#include "UT/UT_EnvControl.h"
#include "host/ut_ComponentHost.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <map>

#include <fnmatch.h>
#include <unistd.h>

using ut_Settings = std::vector<UT_ControlInfo>;
using ut_Environment = std::map<std::string, std::string>;

// ---- Their values

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

static const char *
utReader(const UT_ControlInfo &setting)
{
    return setting.isObeyed ? "library" : "application";
}

// ---- The layouts

// A column is as wide as its texts, but one that is too long does not push all
// the others away.
static const size_t theMaxWidth = 40;

static std::string
utColumns(const ut_Settings &settings, const ut_Environment &given)
{
    using ut_Row = std::array<std::string, 7>;
    std::vector<ut_Row> rows = {
        {"VARIABLE", "VALUE", "DEFAULT", "SOURCE", "RANGE", "READER", "USE"}
    };
    for (const UT_ControlInfo &setting : settings)
        rows.push_back(
            {setting.name, utValue(setting), utDefault(setting),
             given.count(setting.name) ? "environment" : "default",
             utRange(setting), utReader(setting), setting.use});

    std::array<size_t, 6> widths = {};
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

// A number, or a text or null.
static std::string
utJsonValue(const UT_ControlInfo &setting, double number, const char *text)
{
    if (setting.kind != UT_CONTROL_STRING)
        return utNumber(setting, number);
    return text ? utJsonText(text) : "null";
}

static std::string
utJson(
    const ut_Settings &settings, const ut_Environment &given,
    const std::vector<std::string> &notes)
{
    static const char *const theKinds[] = {"switch", "int", "float", "text"};
    std::string text = "{\n  \"settings\": [";
    const char *separator = "\n";
    for (const UT_ControlInfo &setting : settings)
    {
        text += separator;
        text += "    {\"name\": " + utJsonText(setting.name) +
                ", \"kind\": \"" + theKinds[setting.kind] + "\", \"value\": " +
                utJsonValue(setting, setting.value, setting.text) +
                ", \"default\": " +
                utJsonValue(setting, setting.defaultValue, setting.defaultText);
        if (setting.kind != UT_CONTROL_STRING)
            text += ", \"minimum\": " + utNumber(setting, setting.minimum) +
                    ", \"maximum\": " + utNumber(setting, setting.maximum);
        text += std::string(", \"source\": \"") +
                (given.count(setting.name) ? "environment" : "default") +
                "\", \"reader\": \"" + utReader(setting) +
                "\", \"use\": " + utJsonText(setting.use) + "}";
        separator = ",\n";
    }
    text += "\n  ],\n  \"notes\": [";
    separator = "\n";
    for (const std::string &note : notes)
    {
        text += separator + ("    " + utJsonText(note));
        separator = ",\n";
    }
    return text += notes.empty() ? "]\n}\n" : "\n  ]\n}\n";
}

static const char thePageHead[] = R"(# Settings

Each of these environment variables makes one setting. They are read once, when
the first setting is read. `valdrin env` lists the current values; this page is
the output of `valdrin env --page`.

The library itself obeys the settings in **bold**. It keeps the others for the
application.

Names must match exactly: `VALDRIN_MAX_THREADS` is not a setting, and nothing
reads it. `valdrin env` notes such variables, and values that may not do what was
meant, such as `off` for a switch.

The connection has no setting. A page calls `SetSocketPortNum`, a program passes
the port to `UT_Connection`, and `valdrin` and `valdrin-standin` have the option
`--port` and the variable `VALDRIN_PORT`. `VALDRIN_SOCKET_PORT` is the
application's own.
`VALDRIN_PATH` is not a setting either, but the library's main search path
([paths.md](paths.md)).
)";

static const struct
{
    UT_ControlKind kind;
    const char *text;
} thePageSections[] = {
    {UT_CONTROL_SWITCH,
     "\n## Switches\n\n"
     "`0` turns a switch off, `1` turns it on, and any other value sets it to\n"
     "the opposite of its default: `off` turns on one that is off by default.\n"
     "`VALDRIN_DISABLE_SSE` and its kind disable a processor feature only with "
     "a\n"
     "number other than 0.\n"                                                },
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
    const char *const mark = setting.isObeyed ? "**" : "";
    std::string text =
        std::string("| ") + mark + "`" + setting.name + "`" + mark + " | ";
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

// ---- The notes

static ut_Environment
utEnvironment()
{
    ut_Environment variables;
    for (char **entry = environ; entry && *entry; ++entry)
    {
        const size_t length = strcspn(*entry, "=");
        const char *const value = *entry + length;
        variables[std::string(*entry, length)] = *value ? value + 1 : value;
    }
    return variables;
}

static bool
utMatches(const char *pattern, const char *name)
{
    return !pattern || fnmatch(pattern, name, FNM_CASEFOLD) == 0;
}

// `all` settings, of which those whose variables match are noted.
static std::vector<std::string>
utNotes(
    const ut_Settings &all, const ut_Environment &given, const char *pattern)
{
    std::vector<std::string> notes;
    for (const auto &[name, value] : given)
    {
        if (!utMatches(pattern, name.c_str()))
            continue;
        const auto setting = std::find_if(
            all.begin(), all.end(),
            [&name = name](const UT_ControlInfo &each)
            { return name == each.name; });
        if (setting != all.end())
        {
            const std::string oddity = utOddity(*setting, value);
            if (!oddity.empty())
            {
                std::string note = name;
                note += ": ";
                note += utQuoted(value.c_str());
                note += " is ";
                note += oddity;
                notes.push_back(note);
            }
            continue;
        }
        if (!utIsStray(name, all))
            continue;
        const std::string meant = utMeantBy(name, all);
        notes.push_back(
            utVisible(name) + ": not a setting, and nothing reads it" +
            (meant.empty() ? "" : "; did you mean " + meant + "?"));
    }
    return notes;
}

// ---- The settings

static ut_Settings
utSettings(decltype(UTdescribeControl) *describe)
{
    ut_Settings settings;
    UT_ControlInfo setting;
    for (int i = 0; describe(i, setting); ++i)
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
    ut_SettingsLayout layout, ut_SettingsList &list, std::string &error)
{
    // Reading the settings adds to the environment.
    const ut_Environment given = utEnvironment();

    void *const symbol = utFindFunction(libraries, "UTdescribeControl", error);
    if (!symbol)
        return false;
    decltype(UTdescribeControl) *describe;
    static_assert(sizeof(describe) == sizeof(symbol));
    memcpy(&describe, &symbol, sizeof(symbol));

    ut_Settings settings = utSettings(describe);
    if (layout != ut_SettingsLayout::PAGE)
        list.notes = utNotes(settings, given, pattern);
    settings.erase(
        std::remove_if(
            settings.begin(), settings.end(),
            [&](const UT_ControlInfo &setting)
            { return !utMatches(pattern, setting.name); }),
        settings.end());
    if (settings.empty())
        return true;
    switch (layout)
    {
    case ut_SettingsLayout::COLUMNS:
        list.output = utColumns(settings, given);
        break;
    case ut_SettingsLayout::JSON:
        list.output = utJson(settings, given, list.notes);
        break;
    case ut_SettingsLayout::PAGE:
        list.output = utPage(settings);
        break;
    }
    return true;
}
