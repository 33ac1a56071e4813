// What the text scanners of an input stream buffer find, byte by byte, and a
// source that hands its bytes out in blocks of any sizes.

#pragma once

#include "UT/UT_IStreamBuf.h"
#include "UT/UT_WorkBuffer.h"

#include <algorithm>
#include <cctype>
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
        const int count = advance(size_t(n));
        memcpy(buf, myText.data() + myAt - count, size_t(count));
        return count;
    }
    int streamPeek() override
    {
        return endOfBuffer() ? -1 : int8(myText[myAt]);
    }
    const char *loadBuffer(int &start, int &end) override
    {
        start = 0;
        end = advance(1 + ++mySeed * 2654435761u % myMost);
        return end ? myText.data() + myAt - end : nullptr;
    }
    int64 tellPos() const override { return int64(myAt); }
    bool seekPos(int64 offset, int whence) override
    {
        const bool isValid =
            whence == 0 && offset >= 0 && size_t(offset) <= myText.size();
        myAt = isValid ? size_t(offset) : myAt;
        return isValid;
    }
    bool endOfBuffer() const override { return myAt == myText.size(); }

private:
    int advance(size_t n)
    {
        const size_t left = std::min(myText.size(), myFailAt) - myAt;
        if (left == 0 && myAt == myFailAt)
        {
            errno = EIO;
            setError(nullptr);
        }
        n = std::min(n, left);
        myAt += n;
        return int(n);
    }

    std::string myText;
    unsigned myMost;
    size_t myFailAt;
    size_t myAt = 0;
    unsigned mySeed = 0;
};

// `text` as a zlib (15) or gzip (31) stream, or raw deflate data (-15).
inline std::string
utDeflated(const std::string &text, int windowBits)
{
    z_stream stream = {};
    deflateInit2(&stream, 6, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY);
    std::string out(deflateBound(&stream, uLong(text.size())), '\0');
    std::string in(text);
    stream.next_in = reinterpret_cast<Bytef *>(in.data());
    stream.avail_in = uInt(in.size());
    stream.next_out = reinterpret_cast<Bytef *>(out.data());
    stream.avail_out = uInt(out.size());
    deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

struct ut_ScanModel
{
    std::string text;
    size_t at = 0;
    bool isFloat = false;

    int peek() const { return at < text.size() ? uint8(text[at]) : -1; }
    bool is(const char *bytes) const
    {
        return peek() > 0 && strchr(bytes, peek());
    }
    void skipDigits()
    {
        while (is("0123456789"))
            ++at;
    }
    bool skipSpace()
    {
        while (at < text.size() && isspace(peek()))
            ++at;
        return at < text.size();
    }
    bool line(std::string &out, char delimiter)
    {
        const bool isLine = at < text.size();
        while (at < text.size() && text[at++] != delimiter)
            out += text[at - 1];
        if (delimiter == '\n' && !out.empty() && out.back() == '\r')
            out.pop_back();
        return isLine;
    }
    bool word(std::string &out)
    {
        const bool isWord = skipSpace();
        while (at < text.size() && !isspace(peek()))
            out += text[at++];
        return isWord;
    }
    bool number(std::string &out)
    {
        // By its grammar: a byte, digits, a fraction, an exponent.
        isFloat = false;
        skipSpace();
        if (!is("0123456789.+-"))
            return word(out);
        const size_t from = at++;
        skipDigits();
        for (const char *mark : {".", "eE"})
            if (is(mark))
            {
                isFloat = true;
                ++at;
                at += *mark == 'e' && is("+-");
                skipDigits();
            }
        out = text.substr(from, at - from);
        return true;
    }
    bool string(std::string &out)
    {
        if (!skipSpace() || peek() >= 128)
            return at < text.size() && (++at, false);
        const bool isQuoted = peek() == '"';
        if (text.compare(at, 2, "\\\"") == 0)
            ++at;
        if (isQuoted)
            ++at;
        else
            out += text[at++];
        for (; at < text.size(); ++at)
        {
            if (isQuoted ? peek() == '"' : isspace(peek()))
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
    for (;;)
    {
        const unsigned choice = next() % 256;
        const unsigned operation = choice % 10;
        UT_WorkBuffer out;
        out.append("old");
        const bool isLocked = choice >= 240;
        if (isLocked)
            out.lock(0, 0);
        std::string expected;
        const size_t from = model.at;
        int result = 0;
        int modelled = 0;
        if (operation == 0)
        {
            result = buffer.getLine(out);
            modelled = model.line(expected, '\n');
        }
        else if (operation == 1)
        {
            result = buffer.getLine(out, 0x80);
            modelled = model.line(expected, '\x80');
        }
        else if (operation == 2)
        {
            result = buffer.skipLine();
            modelled = model.line(expected, '\n');
        }
        else if (operation == 3)
        {
            result = buffer.skipLeadingWhitespace();
            modelled = model.skipSpace();
        }
        else if (operation == 4)
        {
            result = buffer.getWord(out);
            modelled = model.word(expected);
        }
        else if (operation == 5 || operation == 6)
        {
            bool isFloat = true;
            result = buffer.getNumber(out, isFloat);
            modelled = model.number(expected);
            if (isFloat != model.isFloat)
                return "isFloat at " + std::to_string(from);
        }
        else if (operation == 7)
        {
            result = buffer.getString(out);
            modelled = model.string(expected);
        }
        else if (operation == 8)
        {
            char bytes[64];
            result = buffer.bread(bytes, int(choice) / 4);
            expected = text.substr(from, choice / 4);
            modelled = int(expected.size());
            model.at += expected.size();
            out.clear();
            out.append(bytes, result);
            // Finding nothing more may be an error, which only this takes back.
            if (buffer.hasError() && !buffer.seekg(int64(model.at), 0))
                return "seekg";
        }
        else
        {
            modelled = int8(model.peek());
            result = buffer.peekc();
            if (result == modelled && (result = buffer.getc()) == modelled)
                model.at += model.at < text.size();
        }
        if (operation == 2 || operation == 3 || operation == 9 || isLocked)
            expected = "old";
        const std::string got(out.buffer(), size_t(out.length()));
        if (result != modelled || buffer.tellg() != int64(model.at) ||
            (got != expected && !(isLocked && operation == 8)))
            return "operation " + std::to_string(choice) + " at " +
                   std::to_string(from) + ": " + got;
        if (model.at == text.size())
            break;
    }
    // All is read; what can seek back shows it whole.
    UT_WorkBuffer all;
    if (!buffer.getAll(all) || all.length() != 0 || !buffer.seekg(0, 0) ||
        !buffer.getAll(all) ||
        std::string(all.buffer(), size_t(all.length())) != text)
        return "getAll: " + std::string(all.buffer());
    return "";
}
