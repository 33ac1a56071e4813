// Values of settings as text, and variables that may not do what their user
// wants.

#pragma once

#include "UT/UT_EnvControl.h"

#include <string>
#include <vector>

/// A value, default or bound of a setting that is not a text.
std::string utNumber(const UT_ControlInfo &setting, double number);

/// What is odd about the text `given` for a setting: "neither 0 nor 1, and
/// turns it on". "" when nothing is.
std::string utOddity(const UT_ControlInfo &setting, const std::string &given);

/// Whether a variable looks like a setting and is none: its name begins as
/// theirs do, in any case. `settings` are all there are.
bool
utIsStray(const std::string &name, const std::vector<UT_ControlInfo> &settings);

/// The setting that a stray name may mean, "" when none resembles it.
std::string
utMeantBy(const std::string &name, const std::vector<UT_ControlInfo> &settings);
