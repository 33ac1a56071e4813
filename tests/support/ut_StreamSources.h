// A source that hands its bytes out in blocks of any sizes, and whether a
// source scans as the same bytes in memory do.

#pragma once

#include "UT/UT_IStreamBuf.h"
#include "UT/UT_WorkBuffer.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
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

inline std::string
utTextOf(const UT_WorkBuffer &buffer)
{
    return std::string(buffer.buffer(), size_t(buffer.length()));
}

// What a scanner returned and took, whether it was a float, and where the
// scanner left the buffer.
using ut_Scan = std::tuple<int, std::string, bool, int64>;

enum ut_Scanner
{
    UT_GET_LINE,
    UT_GET_TO_128, // up to a byte of that value
    UT_SKIP_LINE,
    UT_SKIP_SPACE,
    UT_GET_WORD,
    UT_GET_NUMBER,
    UT_GET_STRING,
    UT_PEEK_AND_GET,
    UT_READ_BYTES,
    UT_SCANNER_COUNT
};

inline int
utScanBy(
    ut_Scanner scanner, UT_IStreamBuf &buffer, UT_WorkBuffer &out,
    bool &isFloat)
{
    switch (scanner)
    {
    case UT_GET_LINE:
        return buffer.getLine(out);
    case UT_GET_TO_128:
        return buffer.getLine(out, '\x80');
    case UT_SKIP_LINE:
        return buffer.skipLine();
    case UT_SKIP_SPACE:
        return buffer.skipLeadingWhitespace();
    case UT_GET_WORD:
        return buffer.getWord(out);
    case UT_GET_NUMBER:
        return buffer.getNumber(out, isFloat);
    case UT_GET_STRING:
        return buffer.getString(out);
    case UT_PEEK_AND_GET:
        return buffer.peekc() == buffer.getc();
    default:
        break;
    }
    const int64 start = buffer.tellg();
    char bytes[40];
    const int found = buffer.bread(bytes, 40);
    out.append(bytes, found);
    // Finding less may be an error, which only a seek takes back.
    if (buffer.hasError())
        buffer.seekg(start + found, 0);
    return found;
}

inline ut_Scan
utScan(UT_IStreamBuf &buffer, ut_Scanner scanner, bool isLocked)
{
    UT_WorkBuffer out;
    out.append("old");
    if (isLocked)
        out.lock(0, 0);
    bool isFloat = false;
    const int result = utScanBy(scanner, buffer, out, isFloat);
    return {result, utTextOf(out), isFloat, buffer.tellg()};
}

// Has `buffer`, which is at the front of `text`, scanned as `next` chooses, and
// returns what was not as from memory: nothing.
inline std::string
utScanMismatch(
    UT_IStreamBuf &buffer, const std::string &text,
    const std::function<unsigned()> &next)
{
    const std::unique_ptr<UT_IStreamBuf, void (*)(UT_IStreamBuf *)> memory(
        UT_IStreamBuf::memoryBuf(text.data(), int(text.size())),
        [](UT_IStreamBuf *released) { released->release(); });
    for (int64 place = 0; place < int64(text.size()); place = memory->tellg())
    {
        const unsigned choice = next() % 256;
        const bool isLocked = choice >= 240;
        const auto scanner = ut_Scanner(choice % UT_SCANNER_COUNT);
        const ut_Scan expected = utScan(*memory, scanner, isLocked);
        if (utScan(buffer, scanner, isLocked) != expected)
            return "scanner " + std::to_string(scanner) + " at " +
                   std::to_string(place) + " of " + text;
    }
    // All is read; what can seek back shows it whole.
    UT_WorkBuffer all;
    const bool isRead = buffer.seekg(0, 0) && buffer.getAll(all);
    return isRead && utTextOf(all) == text ? ""
                                           : "all after a seek to the front";
}
