// Kinds of paths, and absolute paths from relative ones.
//
// Not every path names a file: "op:" begins a path to one of the application's
// nodes, "file:" begins one that always names a file, and programs may add
// prefixes of their own.

#pragma once

#include "UT_API.h"

class UT_String;
class UT_StringArray;

/// The prefixes that programs have added. Lives as long as the process. One
/// thread only, as are all functions for absolute paths while it may change.
UT_API UT_StringArray &UTgetAbsolutePathPrefixes();

/// Makes every path that begins with `prefix` absolute, and `prefix` itself a
/// root. Returns its index among the added prefixes, also when it was added
/// before; -1 for null and for "", with which every path would begin.
UT_API int UTaddAbsolutePathPrefix(const char *prefix);

/// Whether `path` begins with an added prefix, with "op:", or, after any
/// "file:", with a slash. False for null and "".
[[nodiscard]] UT_API bool UTisAbsolutePath(const char *path);

/// Whether `path` is "", "op:", "file:" or an added prefix, with or without a
/// slash after it. False for null.
[[nodiscard]] UT_API bool UTisRootPath(const char *path);

/// Whether `path` gives the location of its file, so that no search path
/// applies: it begins with "/", "./" or "../". False for null. Deliberate: also
/// false for "op:" and "file:". Thread-safe.
[[nodiscard]] UT_API bool UTfullPathSpecified(const char *path);

/// Another name of UTfullPathSpecified().
[[nodiscard]] UT_API bool UTunixFullPathSpecified(const char *path);

/// Whether `path` is a directory that this process's real user may list and
/// enter. A slash is added to a text that is empty or ends in a colon. False
/// for null. Two system calls. Thread-safe.
[[nodiscard]] UT_API bool UTisValidDirectory(const char *path);

/// Puts a directory before `path` unless it is null, "" or absolute, and
/// removes "." and ".." from the result: "../c" from "/a/b" becomes "/a/c". The
/// directory is `base`, or the working directory when `base` is null or "". The
/// result begins with "file:" when either did.
///
/// With a `base` that is not absolute, or a result that would climb above the
/// root, "." and ".." are not removed.
UT_API void UTmakeAbsoluteFilePath(UT_String &path, const char *base = nullptr);
