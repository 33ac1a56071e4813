// Files for a while: without a name, or with one that goes with its object.
// They lie in the directory of UTgetTmpDir() and only their owner may open
// them.

#pragma once

#include "UT_API.h"
#include "UT_String.h"

#include <cstdio>
#include <iosfwd>
#include <memory>

/// A file without a name, open for reading and writing, which is gone when it
/// is closed. The caller closes it with fclose(). Null on failure, with errno
/// set. Programs that are started do not inherit it. Threads: as UTgetTmpDir().
UT_API FILE *UTtmpFile();

/// The same as a standard stream; it is in a failed state when there is no
/// file. The caller deletes it.
[[nodiscard]] UT_API std::unique_ptr<std::iostream> UTtmpStream();

/// An open file with a fresh name, which others may be told, and which is
/// removed with the object. Programs that are started do not inherit it. A
/// child of fork() must call keep(), or its copy of the object removes the
/// parent's file.
///
/// Thread-compatible.
class UT_API UT_TempFile
{
public:
    /// Creates a file whose name starts with `prefix`, which holds no slash
    /// ("" for null). Look at isValid().
    explicit UT_TempFile(const char *prefix = nullptr);

    /// Closes the file, and removes it unless it is to be kept.
    ~UT_TempFile();

    UT_TempFile(const UT_TempFile &) = delete;
    UT_TempFile &operator=(const UT_TempFile &) = delete;

    /// Whether the file could be made; errno tells why not, right after the
    /// construction.
    [[nodiscard]] bool isValid() const { return !myPath.isNull(); }

    /// The file's name with its directory; null when it could not be made.
    /// Borrowed until the object goes.
    [[nodiscard]] const char *getPath() const { return myPath; }

    /// The file, open for reading and writing; null after close() or when it
    /// could not be made. Not to be closed by others.
    [[nodiscard]] FILE *getFile() const { return myFile; }

    /// Closes the file, so that others find in it what was written. False, with
    /// errno set, when not all of it could be; true when it was closed before.
    bool close();

    /// Leaves the file where it is when the object goes, for a caller who
    /// renames it, say.
    void keep() { myIsKept = true; }

private:
    UT_String myPath; // owned, or null
    FILE *myFile = nullptr;
    bool myIsKept = false;
};
