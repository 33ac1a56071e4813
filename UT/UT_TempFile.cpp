#include "UT_TempFile.h"

#include "UT_CancelImpl.h"
#include "UT_FileImpl.h"
#include "UT_SpecialDir.h"
#include "UT_WorkBuffer.h"

#include <cerrno>
#include <cstring>
#include <istream>
#include <utility>

#include <ext/stdio_filebuf.h>
#include <fcntl.h>
#include <unistd.h>

// The name of a file to be, for mkostemp(); false with errno set.
static bool
utMakeTemplate(UT_WorkBuffer &path, const char *prefix)
{
    if (strchr(prefix, '/'))
    {
        errno = EINVAL;
        return false;
    }
    path.sprintf("%s/%sXXXXXX", UTgetTmpDir(), prefix);
    return true;
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
    utMakeTemplate(path, "");
    const int named = mkostemp(path.lock(0, 0), O_CLOEXEC);
    path.release();
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
    // Null makes a failed stream.
    explicit ut_TmpStream(ut_FileOwner file)
        : std::iostream(nullptr), myFile(std::move(file)),
          myBuffer(
              myFile.get(), std::ios::in | std::ios::out | std::ios::binary)
    {
        if (myBuffer.is_open())
            rdbuf(&myBuffer);
    }
    // Closed here: the members' own destructors would let themselves be
    // cancelled.
    ~ut_TmpStream() override
    {
        const ut_CancelGuard guard;
        myBuffer.close();
        myFile.reset();
    }

    ut_TmpStream(const ut_TmpStream &) = delete;
    ut_TmpStream &operator=(const ut_TmpStream &) = delete;

private:
    ut_FileOwner myFile; // or null
    __gnu_cxx::stdio_filebuf<char> myBuffer;
};

} // namespace

std::unique_ptr<std::iostream>
UTtmpStream()
{
    const ut_CancelGuard guard;
    ut_FileOwner file(utOpenStream(utOpenUnnamed()));
    return std::make_unique<ut_TmpStream>(std::move(file));
}

UT_TempFile::UT_TempFile(const char *prefix)
{
    const ut_CancelGuard guard;
    UT_WorkBuffer path;
    if (!utMakeTemplate(path, prefix ? prefix : ""))
        return;
    // All memory is there before there is a file.
    path.copyIntoString(myPath);
    const int descriptor = mkostemp(myPath.buffer(), O_CLOEXEC);
    myFile = utOpenStream(descriptor);
    if (myFile)
        return;
    const int error = errno;
    if (descriptor >= 0)
        unlink(myPath);
    myPath = nullptr;
    errno = error;
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
