// The list of the settings that come from environment variables.

#pragma once

#include <string>
#include <vector>

/// How utListSettings() writes.
enum class ut_SettingsLayout
{
    COLUMNS, ///< the current values on this machine
    JSON,    ///< the same for programs, with the notes
    PAGE     ///< the defaults of every machine, in Markdown
};

/// What utListSettings() writes.
struct ut_SettingsList
{
    std::string output;             ///< the settings; empty without a match
    std::vector<std::string> notes; ///< a line for each variable that may not
                                    ///< do what its user wants
};

/// Writes the settings whose variables match `pattern`, a shell pattern without
/// regard to case, to `list`, which is empty at first; all of them when it is
/// null. They come from the first of `libraries` that can be loaded. Returns
/// false when there is none, or it has no settings; `error`, empty at first,
/// then has the reason.
bool utListSettings(
    const std::vector<std::string> &libraries, const char *pattern,
    ut_SettingsLayout layout, ut_SettingsList &list, std::string &error);
