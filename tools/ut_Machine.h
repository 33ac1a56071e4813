// The description of the machine as text.

#pragma once

#include <string>
#include <vector>

/// Writes the description to `output`, as text or, with `asJson`, as a JSON
/// object. Takes 0.2 s, during which the load of the machine is measured. The
/// library is the first of `libraries` that can be loaded. Returns false when
/// there is none, or it has no description; `error`, empty at first, then has
/// the reason.
bool utDescribeMachine(
    const std::vector<std::string> &libraries, bool asJson, std::string &output,
    std::string &error);
