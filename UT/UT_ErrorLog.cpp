#include "UT_ErrorLog.h"

#include "UT_CancelImpl.h"
#include "UT_Date.h"
#include "UT_DateImpl.h"
#include "UT_EnvControl.h"
#include "UT_ErrorImpl.h"
#include "UT_ForkImpl.h"
#include "UT_LockImpl.h"
#include "UT_WorkBuffer.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace
{

// The log file, open while one error is written.
class ut_LogFile
{
public:
    explicit ut_LogFile(const char *path)
        : myFile(open(
              path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_LARGEFILE,
              0666))
    {
    }
    ~ut_LogFile()
    {
        if (isOpen())
            close(myFile);
    }
    ut_LogFile(const ut_LogFile &) = delete;
    ut_LogFile &operator=(const ut_LogFile &) = delete;

    [[nodiscard]] bool isOpen() const { return myFile >= 0; }

    // In one write: what others append then comes before or after all of it.
    // Only a full disk or a signal takes it apart.
    void append(const char *bytes, size_t count) const
    {
        while (count > 0)
        {
            const ssize_t written = ::write(myFile, bytes, count);
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0)
                return;
            bytes += written;
            count -= size_t(written);
        }
    }

private:
    const int myFile;
};

} // namespace

// A text is a repetition for so long, and the texts are kept for so long after
// the last one. Deliberate: one second more.
static const int theRepeatSeconds = 2;
static const int theMemorySeconds = 3;

// This many texts are kept whatever their age.
static const int theUsualTexts = 1000;

// The seconds from one time to another, which may go back. Texts' times are
// stored with 32 bits.
static int
utSecondsBetween(int32 earlier, int64 later)
{
    return int(unsigned(later) - unsigned(earlier));
}

// For traverse(): forgets a text that would be written again by now.
struct ut_OldTexts
{
    UT_SymbolTable &texts;
    const int64 now;

    static int forget(UT_Thing &time, const char *text, void *data)
    {
        const ut_OldTexts &old = *static_cast<ut_OldTexts *>(data);
        if (utSecondsBetween(time.integer, old.now) > theRepeatSeconds)
            old.texts.deleteSymbol(text);
        return 1;
    }
};

UT_ErrorLog::UT_ErrorLog()
    : myLevel(UT_EnvControl::getInt(UT_VALDRIN_ERRORLOG_LEVEL)),
      myEnabled(false), myLastLogTime(0)
{
    const char *name = UT_EnvControl::getString(UT_VALDRIN_ERRORLOG_FILENAME);
    if (!name)
        return;
    myFileName.harden(name);
    myFileName.expandVariables();
    myEnabled = !myFileName.isNull() && *myFileName.buffer();
}

// Whether a text is left out; and notes that it came.
bool
UT_ErrorLog::isRepeated(const char *text, int64 now)
{
    bool isOld = false;
    // A time_t of 32 bits wraps round, and so does the difference.
    if (time_t(now - myLastLogTime) < theMemorySeconds)
    {
        UT_Thing previous;
        isOld = myRecentMessages.findSymbol(text, &previous) &&
                utSecondsBetween(previous.integer, now) <= theRepeatSeconds;
        // A flood of ever different texts ends up here: the memory is never
        // cleared.
        if (time_t(now) != myLastLogTime &&
            myRecentMessages.entries() > theUsualTexts)
        {
            ut_OldTexts old = {myRecentMessages, now};
            myRecentMessages.traverse(ut_OldTexts::forget, &old);
        }
    }
    else
        myRecentMessages.clear();
    myRecentMessages.addSymbol(text, UT_Thing(int32(now)));
    myLastLogTime = time_t(now);
    return isOld;
}

void
UT_ErrorLog::write(const UT_Error *error)
{
    const ut_ErrnoKeeper keeper;
    // Before the lock is taken: an error class of a program may add errors
    // while it builds its message.
    const bool isWanted = error && error->getSeverity() >= myLevel;
    UT_String message;
    if (isWanted)
        error->getErrorMessage(message, UT_ERROR_NONE, /*prefixes=*/1);
    const char *text = message.isNull() ? "" : message.buffer();

    const ut_LockGuard guard(&myLock, utLockNap);
    // A thread that is being ended writes its whole line before.
    const ut_CancelGuard cancelGuard;
    const ut_LogFile file(myFileName);
    if (!isWanted || !file.isOpen())
        return;
    const int64 now = utCurrentTime();
    if (isRepeated(text, now))
        return;
    char stamp[512];
    tm parts;
    UT_Date::dprintf(stamp, "%Y-%m-%d %T: ", utLocalTime(now, parts));
    UT_WorkBuffer line;
    line.append(stamp);
    line.append(text);
    line.append('\n');
    file.append(line.buffer(), size_t(line.length()));
}

UT_ErrorLog *
UTgetErrorLog()
{
    static UT_ErrorLog *theLog = []
    {
        const ut_CancelGuard guard; // settings are read
        return new UT_ErrorLog;     // never destroyed
    }();
    static ut_ForkLock theForkLock(theLog->myLock, UT_FORK_LOG);
    theForkLock.join();
    return theLog;
}
