// What the text scanners of an input stream buffer find, byte by byte, and a
// source that hands its bytes out in blocks of any sizes.

#pragma once

#include "UT/UT_IStreamBuf.h"
#include "UT/UT_WorkBuffer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <string>
#include <utility>

#include <zlib.h>

// Blocks of 1 to `most` bytes; fails with EIO instead of going past `failAt`.
class ut_ChunkStreamBuf : public UT_IStreamBuf
{
public:
    explicit ut_ChunkStreamBuf(
        std::string text, unsigned most = 3, size_t failAt = std::string::npos)
        : myText(std::move(text)), myMost(most), myFailAt(failAt)
    {
    }

    int read(char *buf, int n) override
    {
        const size_t from = myAt;
        const int count = advance(size_t(n));
        myText.copy(buf, size_t(count), from);
        return count;
    }
    int streamPeek() override
    {
        return myAt < myText.size() ? int8(myText[myAt]) : -1;
    }
    const char *loadBuffer(int &start, int &end) override
    {
        // A multiplicative hash: the same sizes in each run.
        ++myBlocks;
        const unsigned size = 1 + myBlocks * 2654435761u % myMost;
        const char *const block = myText.data() + myAt;
        start = 0;
        end = advance(size);
        return end > 0 ? block : nullptr;
    }
    int64 tellPos() const override { return int64(myAt); }
    bool seekPos(int64 offset, int) override
    {
        myAt = size_t(offset);
        return myAt <= myText.size();
    }
    bool endOfBuffer() const override { return myAt == myText.size(); }

private:
    // Steps over up to `n` bytes and returns how many there were.
    int advance(size_t n)
    {
        const size_t end = std::min(myText.size(), myFailAt);
        const size_t count = std::min(n, end - myAt);
        myAt += count;
        errno = EIO;
        if (count == 0 && myAt == myFailAt)
            setError(nullptr);
        return int(count);
    }

    std::string myText;
    unsigned myMost;
    size_t myFailAt;
    size_t myAt = 0;
    unsigned myBlocks = 0;
};

// `text` as a zlib stream.
inline std::string
utDeflated(const std::string &text)
{
    uLongf size = compressBound(uLong(text.size()));
    std::string out(size, '\0');
    compress(
        reinterpret_cast<Bytef *>(out.data()), &size,
        reinterpret_cast<const Bytef *>(text.data()), uLong(text.size()));
    return out.substr(0, size);
}

// A text and a place in it. Each operation does what the one of the buffer
// does, and returns the same.
struct ut_ScanModel
{
    std::string text;
    size_t at = 0;
    bool isFloat = false;

    // The next byte, from 0 to 255; -1 at the end.
    int peek() const { return at < text.size() ? uint8(text[at]) : -1; }
    // Whether the next byte is one of these.
    bool is(const char *bytes) const
    {
        return text.find_first_of(bytes, at) == at;
    }
    bool isNext(const std::string &bytes) const
    {
        return text.compare(at, bytes.size(), bytes) == 0;
    }
    bool isSpace() const { return is(" \t\n\v\f\r"); }

    int get()
    {
        const int next = int8(peek());
        ++at;
        return next;
    }
    int take(std::string &out, size_t count)
    {
        out = text.substr(at, count);
        at += out.size();
        return int(out.size());
    }
    bool skipSpace()
    {
        while (isSpace())
            ++at;
        return at < text.size();
    }
    bool line(std::string &out, char delimiter)
    {
        const size_t end = std::min(text.find(delimiter, at), text.size());
        out = text.substr(at, end - at);
        at = std::min(end + 1, text.size()); // the delimiter goes with it
        if (delimiter == '\n' && !out.empty() && out.back() == '\r')
            out.pop_back();
        return true;
    }
    bool skipLine()
    {
        std::string ignored;
        return line(ignored, '\n');
    }
    bool word(std::string &out)
    {
        skipSpace();
        out.clear();
        while (at < text.size() && !isSpace())
            out += text[at++];
        return !out.empty();
    }
    void skipDigits()
    {
        while (is("0123456789"))
            ++at;
    }
    // A first byte of any number, digits, a fraction, an exponent; or a word.
    bool number(std::string &out)
    {
        isFloat = false;
        skipSpace();
        if (!is("0123456789.+-"))
            return word(out);
        const size_t from = at;
        ++at;
        skipDigits();
        if (is("."))
        {
            isFloat = true;
            ++at;
            skipDigits();
        }
        if (is("eE"))
        {
            isFloat = true;
            ++at;
            if (is("+-"))
                ++at;
            skipDigits();
        }
        out = text.substr(from, at - from);
        return true;
    }
    // A text in quotes, or a word; a backslash before a quote or another
    // backslash is removed.
    bool string(std::string &out)
    {
        out.clear();
        if (!skipSpace())
            return false;
        if (peek() >= 128)
        {
            ++at;
            return false;
        }
        const bool isQuoted = is("\"");
        if (isQuoted || isNext("\\\""))
            ++at;
        // A word's first byte is taken whatever it is.
        if (!isQuoted)
            out += text[at++];
        while (at < text.size())
        {
            if (isQuoted && is("\""))
            {
                ++at;
                return true;
            }
            if (!isQuoted && isSpace())
                return true;
            if (isNext("\\\"") || isNext("\\\\"))
                ++at;
            out += text[at++];
        }
        return !isQuoted; // a quote that is left open
    }
};

inline std::string
utTextOf(const UT_WorkBuffer &buffer)
{
    return std::string(buffer.buffer(), size_t(buffer.length()));
}

// Reads `count` bytes, or what there is, into `out`.
inline int
utReadBytes(UT_IStreamBuf &buffer, UT_WorkBuffer &out, int count)
{
    const int64 start = buffer.tellg();
    char bytes[64];
    const int found = buffer.bread(bytes, count);
    out.clear();
    out.append(bytes, found);
    // Finding less may be an error, which only a seek takes back.
    if (buffer.hasError())
        buffer.seekg(start + found, 0);
    return found;
}

// What an operation returned, and what that of the model did.
struct ut_ScanResult
{
    const char *name;
    int result;
    int modelled;
};

static constexpr unsigned theScanOperations = 9;

// Does operation `number` with both, which put what they read into `out` and
// `expected`, or leave these alone. `count` is for reading by bytes.
inline ut_ScanResult
utScanBoth(
    unsigned number, int count, UT_IStreamBuf &buffer, UT_WorkBuffer &out,
    bool &isFloat, ut_ScanModel &model, std::string &expected)
{
    switch (number)
    {
    case 0:
        return {"getLine", buffer.getLine(out), model.line(expected, '\n')};
    case 1:
        return {
            "getLine up to a byte of 128", buffer.getLine(out, '\x80'),
            model.line(expected, '\x80')};
    case 2:
        return {"skipLine", buffer.skipLine(), model.skipLine()};
    case 3:
        return {
            "skipLeadingWhitespace", buffer.skipLeadingWhitespace(),
            model.skipSpace()};
    case 4:
        return {"getWord", buffer.getWord(out), model.word(expected)};
    case 5:
        return {
            "getNumber", buffer.getNumber(out, isFloat),
            model.number(expected)};
    case 6:
        return {"getString", buffer.getString(out), model.string(expected)};
    case 7:
    {
        const int next = buffer.peekc();
        const int differs = -1000;
        const int got = buffer.getc() == next ? next : differs;
        return {"peekc and getc", got, model.get()};
    }
    default:
        return {
            "bread", utReadBytes(buffer, out, count),
            model.take(expected, size_t(count))};
    }
}

// Has `buffer`, which is at the front of `text`, scanned as `next` chooses, and
// returns what was not as modelled: nothing.
inline std::string
utScanMismatch(
    UT_IStreamBuf &buffer, const std::string &text,
    const std::function<unsigned()> &next)
{
    ut_ScanModel model{text};
    while (model.at < text.size())
    {
        const unsigned choice = next() % 256;
        const int count = int(choice / 4);
        const size_t from = model.at;
        // A locked buffer takes nothing.
        const bool isLocked = choice >= 240;
        UT_WorkBuffer out;
        out.append("old");
        if (isLocked)
            out.lock(0, 0);
        bool isFloat = model.isFloat;
        std::string expected = "old";
        const ut_ScanResult step = utScanBoth(
            choice % theScanOperations, count, buffer, out, isFloat, model,
            expected);
        if (isLocked)
            expected = "old";

        const char *difference = nullptr;
        if (step.result != step.modelled)
            difference = "the result";
        else if (buffer.tellg() != int64(model.at))
            difference = "the place";
        else if (utTextOf(out) != expected)
            difference = "the text";
        else if (isFloat != model.isFloat)
            difference = "the kind of number";
        if (difference)
            return step.name + std::string(" at ") + std::to_string(from) +
                   ": " + difference;
    }
    // All is read; what can seek back shows it whole.
    UT_WorkBuffer all;
    if (!buffer.seekg(0, 0))
        return "seekg to the front";
    if (!buffer.getAll(all))
        return "getAll";
    return utTextOf(all) == text ? "" : "the text of getAll";
}
