// A description of the machine, from the library.

#pragma once

#include <string>
#include <vector>

/// Writes a description of the machine to `output`, as text or, with `asJson`,
/// as a JSON object. Takes 0.2 s, over which the load is measured. The library
/// is the first of `libraries` that can be loaded. False when there is none, or
/// it lacks the function; `error`, which must be empty, then says why.
bool utDescribeMachine(
    const std::vector<std::string> &libraries, bool asJson, std::string &output,
    std::string &error);
