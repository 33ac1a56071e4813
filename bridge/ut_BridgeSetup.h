// Whether all is in place for a page to reach the application.

#pragma once

#include "SYS/SYS_Types.h"

#include <string>

/// Where utCheckSetup() looks.
struct ut_SetupPlaces
{
    std::string root; ///< what "/" stands for; "" for "/" itself
    std::string home; ///< the user's folder; "" for none
    std::string path; ///< folders of programs, as in PATH
};

/// Prints, in plain words, whether the library, the application at `port`, the
/// browsers, their manifests and the extension are there, and what to do about
/// each that is not. True when a page in one of the browsers gets an answer.
bool utCheckSetup(int32 port, const ut_SetupPlaces &places);
