// The directory for temporary files, and the user's desktop.

#pragma once

#include "UT_API.h"

class UT_String;

/// The user's desktop: "Desktop" in the directory that the environment variable
/// HOME names at the call. Caller frees with free(). One thread only.
[[nodiscard]] UT_API char *UTgetDesktopDir();

/// "/tmp". Caller frees with free(). Thread-safe.
[[nodiscard]] UT_API char *UTgetDefaultTmpDir();

/// The directory for temporary files of this process: the environment variable
/// VALDRIN_TEMP_DIR at the first call, without one slash at its end; "/tmp"
/// when it is unset or empty. Lives as long as the process; later changes of
/// the variable have no effect.
///
/// The first call reads the environment and is for one thread only; later ones
/// are thread-safe.
UT_API char *UTgetTmpDir();

/// Sets `result`, which owns its text, to the path of a file that does not
/// exist yet, whose name starts with up to five characters of `prefix`, which
/// may be null. The file is in the directory of UTgetTmpDir(), or in that of
/// the environment variable TMPDIR if it is set. "" when no such directory can
/// be written to.
///
/// The file is not created, and another process may take the name first: create
/// it with O_EXCL.
UT_API void UTgetTmpName(UT_String &result, const char *prefix);
