// The list of the settings that environment variables make.

#pragma once

#include <string>
#include <vector>

/// How utListSettings() writes.
enum class ut_SettingsLayout
{
    COLUMNS, ///< what holds here and now
    PAGE     ///< what holds everywhere, in Markdown
};

/// Writes the settings whose variables match `pattern`, a shell pattern in
/// which case does not count, to `output`; all of them when it is null. They
/// come from the first of `libraries` that can be loaded. False when there is
/// none, or it has no settings; `error`, empty at first, then tells. No match
/// leaves `output` empty.
bool utListSettings(
    const std::vector<std::string> &libraries, const char *pattern,
    ut_SettingsLayout layout, std::string &output, std::string &error);
