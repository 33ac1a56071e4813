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
        return int(myText.copy(buf, size_t(advance(size_t(n))), from));
    }
    int streamPeek() override
    {
        return myAt < myText.size() ? int8(myText[myAt]) : -1;
    }
    const char *loadBuffer(int &start, int &end) override
    {
        start = 0;
        end = advance(1 + ++mySeed * 2654435761u % myMost);
        return end ? myText.data() + myAt - end : nullptr;
    }
    int64 tellPos() const override { return int64(myAt); }
    bool seekPos(int64 offset, int) override
    {
        return (myAt = size_t(offset)) <= myText.size();
    }
    bool endOfBuffer() const override { return myAt == myText.size(); }

private:
    int advance(size_t n)
    {
        n = std::min(n, std::min(myText.size(), myFailAt) - myAt);
        myAt += n;
        errno = EIO;
        if (n == 0 && myAt == myFailAt)
            setError(nullptr);
        return int(n);
    }

    std::string myText;
    unsigned myMost;
    size_t myFailAt;
    size_t myAt = 0;
    unsigned mySeed = 0;
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

struct ut_ScanModel
{
    std::string text;
    size_t at = 0;
    bool isFloat = false;

    int peek() const { return at < text.size() ? uint8(text[at]) : -1; }
    bool is(const char *bytes) const
    {
        return text.find_first_of(bytes, at) == at;
    }
    bool skipSpace()
    {
        at = std::min(text.find_first_not_of(" \t\n\v\f\r", at), text.size());
        return at < text.size();
    }
    bool line(std::string &out, char delimiter)
    {
        out = text.substr(at, text.find(delimiter, at) - at);
        at = std::min(at + out.size() + 1, text.size());
        if (delimiter == '\n' && !out.empty() && out.back() == '\r')
            out.pop_back();
        return true;
    }
    bool word(std::string &out)
    {
        skipSpace();
        out = text.substr(at, text.find_first_of(" \t\n\v\f\r", at) - at);
        at += out.size();
        return !out.empty();
    }
    bool number(std::string &out)
    {
        // By its grammar: a byte, digits, a fraction, an exponent.
        isFloat = false;
        skipSpace();
        if (!is("0123456789.+-"))
            return word(out);
        const size_t from = at++;
        for (const char *mark : {"", ".", "eE"})
        {
            if (*mark && !is(mark))
                continue;
            isFloat = isFloat || *mark;
            at += *mark != 0;
            at += *mark == 'e' && is("+-");
            while (is("0123456789"))
                ++at;
        }
        out = text.substr(from, at - from);
        return true;
    }
    bool string(std::string &out)
    {
        if (!skipSpace() || peek() >= 128)
            return at < text.size() && (++at, false);
        const bool isQuoted = peek() == '"';
        at += isQuoted || text.compare(at, 2, "\\\"") == 0;
        if (!isQuoted)
            out += text[at++];
        for (; at < text.size(); ++at)
        {
            if (isQuoted ? peek() == '"' : is(" \t\n\v\f\r"))
                return at += isQuoted, true;
            const char next = at + 1 < text.size() ? text[at + 1] : '\0';
            if (peek() == '\\' && (next == '"' || next == '\\'))
                ++at;
            out += text[at];
        }
        return !isQuoted;
    }
};

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
        const unsigned operation = choice % 9;
        const bool isLocked = choice >= 240;
        const size_t from = model.at;
        std::string expected;
        bool isFloat = model.isFloat;
        UT_WorkBuffer out;
        out.append("old");
        if (isLocked)
            out.lock(0, 0);
        const char delimiter = operation == 1 ? '\x80' : '\n';
        int modelled = operation < 3    ? model.line(expected, delimiter)
                       : operation == 3 ? model.skipSpace()
                       : operation == 4 ? model.word(expected)
                       : operation == 5 ? model.number(expected)
                       : operation == 6 ? model.string(expected)
                                        : int8(model.peek());
        int result = operation < 2    ? buffer.getLine(out, delimiter)
                     : operation == 2 ? buffer.skipLine()
                     : operation == 3 ? buffer.skipLeadingWhitespace()
                     : operation == 4 ? buffer.getWord(out)
                     : operation == 5 ? buffer.getNumber(out, isFloat)
                     : operation == 6 ? buffer.getString(out)
                                      : buffer.peekc();
        if (operation == 7)
            model.at += size_t(buffer.getc() == modelled);
        if (operation == 8)
        {
            char bytes[64];
            result = buffer.bread(bytes, int(choice) / 4);
            modelled = int(text.substr(from, choice / 4).size());
            model.at += size_t(modelled);
            if (text.compare(from, choice / 4, bytes, size_t(result)) != 0)
                return "bread";
            // Finding nothing more may be an error, which only this takes back.
            if (buffer.hasError() && !buffer.seekg(int64(model.at), 0))
                return "seekg";
        }
        if (isLocked || operation == 2 || operation == 3 || operation > 6)
            expected = "old";
        if (result != modelled || buffer.tellg() != int64(model.at) ||
            expected.compare(
                0, expected.npos, out.buffer(), size_t(out.length())) ||
            isFloat != model.isFloat)
            return std::to_string(choice) + " at " + std::to_string(from);
    }
    // All is read; what can seek back shows it whole.
    UT_WorkBuffer all;
    const bool isRead = buffer.seekg(0, 0) && buffer.getAll(all);
    if (!isRead ||
        text.compare(0, text.npos, all.buffer(), size_t(all.length())))
        return "getAll";
    return "";
}
