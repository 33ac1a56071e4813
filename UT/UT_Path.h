// What kind of path a text is, and absolute paths from relative ones.
//
// Not every path names a file: "op:" begins a path to one of the application's
// nodes, "file:" one that is a file's beyond doubt, and programs may add
// prefixes of their own.

#pragma once

#include "UT_API.h"

class UT_String;
class UT_StringArray;

/// The prefixes that programs have added. Lives as long as the process. One
/// thread only, like all questions about absolute paths while it may change.
UT_API UT_StringArray &UTgetAbsolutePathPrefixes();

/// Makes every path that begins with `prefix` absolute, and `prefix` itself a
/// root. Returns its index among the added prefixes; that of the first call
/// when it is there already. Null and "", with which every path would begin,
/// are refused: -1.
UT_API int UTaddAbsolutePathPrefix(const char *prefix);

/// Whether `path` begins with an added prefix, with "op:", or, once any
/// "file:" are taken off, with a slash. Not so for null and "".
[[nodiscard]] UT_API bool UTisAbsolutePath(const char *path);

/// Whether `path` is "", "op:", "file:" or an added prefix, with or without a
/// slash behind it. Not so for null.
[[nodiscard]] UT_API bool UTisRootPath(const char *path);

/// Whether `path` says where its file is, so that it is not to be searched
/// for: it begins with "/", "./" or "../". Not so for null. Deliberate: "op:"
/// and "file:" say nothing here. Thread-safe.
[[nodiscard]] UT_API bool UTfullPathSpecified(const char *path);

/// The same.
[[nodiscard]] UT_API bool UTunixFullPathSpecified(const char *path);

/// Whether `path` is a directory that this process's real user may list and
/// enter. A text that is empty or ends in a colon stands for the root behind
/// it. Not so for null. Two system calls. Thread-safe.
[[nodiscard]] UT_API bool UTisValidDirectory(const char *path);

/// Puts a directory in front of `path` unless it is null, "" or absolute, and
/// takes "." and ".." out of the result: `base`, or the working directory when
/// `base` is null or "". The result begins with "file:" when either did.
///
/// A `base` that is not absolute stays as it is, and so does a result that
/// would climb above the root.
UT_API void UTmakeAbsoluteFilePath(UT_String &path, const char *base = nullptr);
