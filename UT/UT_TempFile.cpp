#include "UT_TempFile.h"

#include "UT_CancelImpl.h"
#include "UT_SpecialDir.h"
#include "UT_WorkBuffer.h"

#include <cerrno>
#include <cstring>
#include <istream>

#include <ext/stdio_filebuf.h>
#include <fcntl.h>
#include <unistd.h>

// A fresh file that only its owner may open, and its name; -1 with errno set.
static int
utOpenNamed(UT_WorkBuffer &path, const char *prefix)
{
    if (strchr(prefix, '/'))
    {
        errno = EINVAL;
        return -1;
    }
    path.sprintf("%s/%sXXXXXX", UTgetTmpDir(), prefix);
    const int file = mkostemp(path.lock(0, 0), O_CLOEXEC);
    path.release();
    return file;
}

// Opens a temporary file without a name.
static int
utOpenUnnamed()
{
    const int file =
        open(UTgetTmpDir(), O_TMPFILE | O_RDWR | O_CLOEXEC | O_EXCL, 0600);
    if (file >= 0)
        return file;
    // Not all file systems have such files.
    UT_WorkBuffer path;
    const int named = utOpenNamed(path, "");
    if (named >= 0)
        unlink(path.buffer());
    return named;
}

// Takes over `descriptor`.
static FILE *
utOpenStream(int descriptor)
{
    if (descriptor < 0)
        return nullptr;
    FILE *const file = fdopen(descriptor, "w+b");
    if (!file)
    {
        const int error = errno;
        ::close(descriptor);
        errno = error;
    }
    return file;
}

FILE *
UTtmpFile()
{
    const ut_CancelGuard guard;
    return utOpenStream(utOpenUnnamed());
}

namespace
{

class ut_TmpStream : public std::iostream
{
public:
    // Takes over `descriptor`; -1 makes a failed stream.
    explicit ut_TmpStream(int descriptor)
        : std::iostream(nullptr),
          myBuffer(descriptor, std::ios::in | std::ios::out | std::ios::binary)
    {
        if (descriptor >= 0)
            rdbuf(&myBuffer);
    }
    // Closed here: the buffer's own destructor would let itself be cancelled.
    ~ut_TmpStream() override
    {
        const ut_CancelGuard guard;
        myBuffer.close();
    }

    ut_TmpStream(const ut_TmpStream &) = delete;
    ut_TmpStream &operator=(const ut_TmpStream &) = delete;

private:
    __gnu_cxx::stdio_filebuf<char> myBuffer;
};

} // namespace

std::unique_ptr<std::iostream>
UTtmpStream()
{
    const ut_CancelGuard guard;
    return std::make_unique<ut_TmpStream>(utOpenUnnamed());
}

UT_TempFile::UT_TempFile(const char *prefix)
{
    const ut_CancelGuard guard;
    UT_WorkBuffer path;
    const int descriptor = utOpenNamed(path, prefix ? prefix : "");
    myFile = utOpenStream(descriptor);
    if (myFile)
        path.copyIntoString(myPath);
    else if (descriptor >= 0)
    {
        const int error = errno;
        unlink(path.buffer());
        errno = error;
    }
}

UT_TempFile::~UT_TempFile()
{
    close();
    if (isValid() && !myIsKept)
        unlink(myPath);
}

bool
UT_TempFile::close()
{
    const ut_CancelGuard guard; // the destructor comes here
    FILE *const file = myFile;
    myFile = nullptr;
    return !file || fclose(file) == 0;
}
