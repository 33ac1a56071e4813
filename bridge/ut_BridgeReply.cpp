#include "ut_BridgeReply.h"

#include "host/ut_Utf8.h"

#include <algorithm>
#include <array>
#include <cstring>

// ---- UTF-8

// Whether `text` is UTF-8 throughout.
static bool
utIsUtf8(std::string_view text)
{
    while (!text.empty())
    {
        // Most of a reply is ASCII.
        uint64 eight = 0;
        if (text.size() >= sizeof(eight))
        {
            memcpy(&eight, text.data(), sizeof(eight));
            if (!(eight & 0x8080808080808080))
            {
                text.remove_prefix(sizeof(eight));
                continue;
            }
        }
        const size_t length =
            uint8(text[0]) < 0x80 ? 1 : utCharacterBytes(text);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

// ---- Escapes

// What stands for each byte in a JSON text; an empty row for the byte itself.
using ut_Escapes = std::array<std::string, 256>;

static ut_Escapes
utMakeEscapes(bool isLatin1)
{
    static const char theDigits[] = "0123456789abcdef";
    ut_Escapes escapes;
    for (size_t byte = 0; byte < 0x20; byte++)
        escapes[byte] =
            std::string("\\u00") + theDigits[byte / 16] + theDigits[byte % 16];
    escapes['\n'] = "\\n";
    escapes['\r'] = "\\r";
    escapes['\t'] = "\\t";
    escapes['"'] = "\\\"";
    escapes['\\'] = "\\\\";
    for (size_t byte = 0x80; isLatin1 && byte < 0x100; byte++)
        escapes[byte] = {char(0xc0 | byte / 64), char(0x80 | byte % 64)};
    return escapes;
}

static const ut_Escapes &
utEscapesFor(std::string_view text)
{
    static const ut_Escapes theUtf8Escapes = utMakeEscapes(/*isLatin1=*/false);
    static const ut_Escapes theLatin1Escapes = utMakeEscapes(/*isLatin1=*/true);
    return utIsUtf8(text) ? theUtf8Escapes : theLatin1Escapes;
}

// Appends what fits `room` bytes of `text`, up to the end of a character.
// Returns how much of `text` that was.
static size_t
utAppendEscaped(
    std::string_view text, const ut_Escapes &escapes, size_t room,
    std::string &out)
{
    const size_t limit = out.size() + room;
    size_t next = 0;
    while (next < text.size())
    {
        const size_t farthest =
            std::min(text.size(), next + (limit - out.size()));
        size_t end = next;
        while (end < farthest && escapes[uint8(text[end])].empty())
            ++end;
        const bool isCut = end == farthest && end < text.size();
        while (isCut && end > next && escapes[uint8(text[end])].empty() &&
               utIsContinuation(text[end]))
            --end;
        out.append(text, next, end - next);
        next = end;
        if (isCut || next == text.size())
            break;
        const std::string &escape = escapes[uint8(text[next])];
        if (out.size() + escape.size() > limit)
            break;
        out += escape;
        ++next;
    }
    return next;
}

// ---- Frames

// A frame without its JSON has room for the length only.
static std::string
utStartFrame(int64 id, std::string_view member)
{
    std::string frame(sizeof(uint32), '\0');
    frame += "{\"id\":";
    frame += std::to_string(id);
    frame += ",\"";
    frame += member;
    frame += "\":\"";
    return frame;
}

static void
utFillInLength(std::string &frame)
{
    const uint32 length = SYSnarrow<uint32>(frame.size() - sizeof(uint32));
    memcpy(frame.data(), &length, sizeof(length));
}

bool
utSendReply(
    int64 id, std::string_view reply, const ut_FrameSink &send, size_t maxBytes)
{
    static constexpr std::string_view theEnd = "\"}";
    static constexpr std::string_view theLastEnd = "\",\"last\":true}";
    const std::string start = utStartFrame(id, "part");
    const size_t room =
        maxBytes + sizeof(uint32) - start.size() - theLastEnd.size();
    const ut_Escapes &escapes = utEscapesFor(reply);
    std::string frame;
    bool isLast = false;
    while (!isLast)
    {
        frame = start;
        reply.remove_prefix(utAppendEscaped(reply, escapes, room, frame));
        isLast = reply.empty();
        frame += isLast ? theLastEnd : theEnd;
        utFillInLength(frame);
        if (!send(frame))
            return false;
    }
    return true;
}

bool
utSendError(
    int64 id, std::string_view error, std::string_view message,
    const ut_FrameSink &send)
{
    std::string frame = utStartFrame(id, "error");
    frame += error;
    frame += "\",\"message\":\"";
    static constexpr std::string_view theEnd = "\"}";
    const size_t room =
        theMaxReplyBytes + sizeof(uint32) - frame.size() - theEnd.size();
    utAppendEscaped(message, utEscapesFor(message), room, frame);
    frame += theEnd;
    utFillInLength(frame);
    return send(frame);
}
