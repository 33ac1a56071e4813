// The list of the settings that come from environment variables.

#pragma once

#include <string>
#include <vector>

/// How utListSettings() writes.
enum class ut_SettingsLayout
{
    COLUMNS, ///< the current values on this machine
    PAGE     ///< the defaults of every machine, in Markdown
};

/// Writes the settings whose variables match `pattern`, a shell pattern without
/// regard to case, to `output`; all of them when it is null. They come from the
/// first of `libraries` that can be loaded. Returns false when there is none,
/// or it has no settings; `error`, empty at first, then has the reason. No
/// match leaves `output` empty.
bool utListSettings(
    const std::vector<std::string> &libraries, const char *pattern,
    ut_SettingsLayout layout, std::string &output, std::string &error);
