// Command lines, read from a stream and cut into words.

#include "UT_WorkBuffer.h"

#include "UT_IStream.h"
#include "UT_String.h"
#include "UT_WorkArgs.h"

#include <cstring>

namespace
{

// The text of a work buffer, which is locked as long as the object is there.
class ut_LockedText
{
public:
    explicit ut_LockedText(UT_WorkBuffer &buffer)
        : myBuffer(buffer), myText(buffer.lock(/*offset=*/0, /*extra=*/0))
    {
    }
    ~ut_LockedText() { myBuffer.release(/*recomputeLength=*/0); }
    ut_LockedText(const ut_LockedText &) = delete;
    ut_LockedText &operator=(const ut_LockedText &) = delete;

    [[nodiscard]] char *get() const { return myText; }

private:
    UT_WorkBuffer &myBuffer;
    char *const myText;
};

} // namespace

// Takes the line in `buf` apart; whether it has arguments.
static bool
utSplitCommand(
    UT_WorkBuffer &buf, UT_WorkArgs &args, int &lineCount,
    const char *commentChars, const char *separators)
{
    const ut_LockedText text(buf);
    if (commentChars)
        text.get()[strcspn(text.get(), commentChars)] = '\0';
    ++lineCount;
    UT_String line(text.get());
    line.tokenizeInPlace(args, separators);
    return args.getArgc() > 0;
}

// A line of each kind of stream.
static bool
utGetLine(UT_WorkBuffer &buf, std::istream &in)
{
    return buf.getline(in);
}

static bool
utGetLine(UT_WorkBuffer &buf, UT_IStream &in)
{
    return in.getLine(buf, '\n');
}

template <class Stream>
static bool
utCommandLine(
    UT_WorkBuffer &buf, Stream *in, FILE *file, UT_WorkArgs &args,
    int &lineCount, const char *commentChars, const char *separators)
{
    if (!in && !file)
        return false;
    args.setArg(0, nullptr);
    const auto split = [&]
    { return utSplitCommand(buf, args, lineCount, commentChars, separators); };
    if (!in)
        return buf.getline(file) && split();
    while (utGetLine(buf, *in))
        if (split())
            return true;
    return false;
}

bool
UT_WorkBuffer::cmdGetLine(
    std::istream &in, UT_WorkArgs &args, int &lineCount,
    const char *commentChars, const char *separators)
{
    return utCmdGetLine(
        *this, &in, nullptr, args, lineCount, commentChars, separators);
}

bool
UT_WorkBuffer::cmdGetLine(
    UT_IStream &in, UT_WorkArgs &args, int &lineCount, const char *commentChars,
    const char *separators)
{
    return utCmdGetLine(
        *this, &in, nullptr, args, lineCount, commentChars, separators);
}

bool
UT_WorkBuffer::cmdGetLine(
    FILE *in, UT_WorkArgs &args, int &lineCount, const char *commentChars,
    const char *separators)
{
    std::istream *const noStream = nullptr;
    return utCmdGetLine(
        *this, noStream, in, args, lineCount, commentChars, separators);
}

bool
utCmdGetLine(
    UT_WorkBuffer &buf, std::istream *in, FILE *file, UT_WorkArgs &args,
    int &lineCount, const char *commentChars, const char *separators)
{
    return utCommandLine(
        buf, in, file, args, lineCount, commentChars, separators);
}

bool
utCmdGetLine(
    UT_WorkBuffer &buf, UT_IStream *in, FILE *file, UT_WorkArgs &args,
    int &lineCount, const char *commentChars, const char *separators)
{
    return utCommandLine(
        buf, in, file, args, lineCount, commentChars, separators);
}
