// Temporary files: without a name, or with a name that is removed with its
// object. They are in the directory of UTgetTmpDir(), and only their owner may
// open them.

#pragma once

#include "UT_API.h"
#include "UT_String.h"

#include <cstdio>
#include <iosfwd>
#include <memory>

/// A temporary file without a name, open for reading and writing, which is
/// removed when the caller closes it with fclose(). Null on failure, with errno
/// set. Programs that the process starts do not inherit it. As thread-safe as
/// UTgetTmpDir().
UT_API FILE *UTtmpFile();

/// A temporary file without a name as a standard stream, which is in a failed
/// state when the file cannot be created. Caller deletes.
[[nodiscard]] UT_API std::unique_ptr<std::iostream> UTtmpStream();

/// An open temporary file with a unique name, which may be passed on to others
/// and is removed with the object. Programs that the process starts do not
/// inherit the open file. A child of fork() must call keep(), or its copy of
/// the object removes the parent's file.
///
/// Thread-compatible.
class UT_API UT_TempFile
{
public:
    /// Creates a file whose name starts with `prefix`, which contains no slash
    /// (null counts as ""). Check isValid().
    explicit UT_TempFile(const char *prefix = nullptr);

    /// Closes the file, and removes it unless keep() was called.
    ~UT_TempFile();

    UT_TempFile(const UT_TempFile &) = delete;
    UT_TempFile &operator=(const UT_TempFile &) = delete;

    /// Whether the file was created; if not, errno has the reason directly
    /// after the construction.
    [[nodiscard]] bool isValid() const { return !myPath.isNull(); }

    /// The file's name with its directory; null when the file was not created.
    /// Borrowed until the object is destroyed.
    [[nodiscard]] const char *getPath() const { return myPath; }

    /// The file, open for reading and writing; null after close() or when the
    /// file was not created. The object closes it.
    [[nodiscard]] FILE *getFile() const { return myFile; }

    /// Closes the file, so that others can read what was written. False, with
    /// errno set, when not all of it could be written; true when the file was
    /// closed before.
    bool close();

    /// Keeps the file when the object is destroyed: for a caller who renames
    /// it, for example.
    void keep() { myIsKept = true; }

private:
    UT_String myPath; // owned, or null
    FILE *myFile = nullptr;
    bool myIsKept = false;
};
