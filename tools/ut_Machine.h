// What the library knows of the machine, in words.

#pragma once

#include <string>
#include <vector>

/// Writes it to `output`, for people or, with `asJson`, for scripts. Takes a
/// moment, in which it watches how busy the machine is. The library is the
/// first of `libraries` that can be loaded. False when there is none, or it
/// does not know; `error`, empty at first, then tells.
bool utDescribeMachine(
    const std::vector<std::string> &libraries, bool asJson, std::string &output,
    std::string &error);
