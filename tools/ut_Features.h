// Features of processors that came after those that the toolkit uses.

#pragma once

#include <string>
#include <vector>

/// Whether the processor is one whose features are known here.
bool utKnowsFeatures();

/// The newer features that this processor has, in the order of their coming;
/// those that need the system's support only with it.
std::vector<std::string> utNewerFeatures();
