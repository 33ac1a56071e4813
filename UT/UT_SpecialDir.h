// The directories for scratch files, and the one that users keep things on.

#pragma once

#include "UT_API.h"

class UT_String;

/// The user's desktop: "Desktop" in the directory that the environment
/// variable HOME names now. Caller frees with free(). One thread only.
[[nodiscard]] UT_API char *UTgetDesktopDir();

/// "/tmp". Caller frees with free(). Thread-safe.
[[nodiscard]] UT_API char *UTgetDefaultTmpDir();

/// The directory for scratch files of this process: the environment variable
/// VALDRIN_TEMP_DIR at the first call, without one slash at its end; "/tmp"
/// when it is unset or empty. Lives as long as the process: it must not be
/// freed, and later changes of the variable are not seen.
///
/// The first call reads the environment and is for one thread only; later ones
/// are thread-safe.
UT_API char *UTgetTmpDir();

/// Sets `result`, which owns it, to the path of a file that does not exist yet:
/// in the directory of UTgetTmpDir(), or in that of the environment variable
/// TMPDIR where there is one, with a name that starts with up to five
/// characters of `prefix`, which may be null. "" when there is no such
/// directory that can be written.
///
/// The name alone is made up. Another process may take it: create the file
/// with O_EXCL.
UT_API void UTgetTmpName(UT_String &result, const char *prefix);
