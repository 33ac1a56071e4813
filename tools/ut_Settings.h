// The list of the settings that environment variables make.

#pragma once

#include <string>
#include <vector>

/// How utListSettings() writes.
enum class ut_SettingsLayout
{
    COLUMNS, ///< the current values, in columns
    PAGE     ///< what is the same everywhere, in Markdown
};

/// Writes the settings whose variables match `pattern`, a shell pattern in
/// which case is not significant, to `output`; all of them when it is null.
/// They come from the first of `libraries` that can be loaded. False when there
/// is none, or it has no settings; `error`, which must be empty, then says why.
/// No match leaves `output` empty.
bool utListSettings(
    const std::vector<std::string> &libraries, const char *pattern,
    ut_SettingsLayout layout, std::string &output, std::string &error);
