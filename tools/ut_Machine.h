// The description of the machine as text.

#pragma once

#include <string>
#include <vector>

/// Writes the description to `output`, for people or, with `asJson`, for
/// scripts. Waits a moment to measure the load of the machine. The library is
/// the first of `libraries` that can be loaded. Returns false when there is
/// none, or it has no description; `error`, empty at first, then has the
/// reason.
bool utDescribeMachine(
    const std::vector<std::string> &libraries, bool asJson, std::string &output,
    std::string &error);
