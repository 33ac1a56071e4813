#include "ut_Text.h"

#include <cstdio>

static unsigned
utByte(const std::string &text, size_t index)
{
    return static_cast<unsigned char>(text[index]);
}

// Bytes of the UTF-8 character of several bytes at `start`; 1 when there is
// none.
static size_t
utCharacterLength(const std::string &text, size_t start)
{
    const unsigned lead = utByte(text, start);
    size_t length = 1;
    if (lead >= 0xc2 && lead <= 0xdf)
        length = 2;
    else if (lead >= 0xe0 && lead <= 0xef)
        length = 3;
    else if (lead >= 0xf0 && lead <= 0xf4)
        length = 4;
    if (length == 1 || start + length > text.size())
        return 1;
    // What the second byte may be keeps out overlong forms, surrogates and
    // numbers that are too large.
    const unsigned second = utByte(text, start + 1);
    const unsigned low = lead == 0xe0 ? 0xa0 : lead == 0xf0 ? 0x90 : 0x80;
    const unsigned high = lead == 0xed ? 0x9f : lead == 0xf4 ? 0x8f : 0xbf;
    if (second < low || second > high)
        return 1;
    for (size_t i = 2; i < length; ++i)
        if ((utByte(text, start + i) & 0xc0) != 0x80)
            return 1;
    return length;
}

// Whether a terminal acts on the character, of `length` bytes.
static bool
utIsControl(const std::string &text, size_t start, size_t length)
{
    const unsigned byte = utByte(text, start);
    if (length == 2)
        return byte == 0xc2 && utByte(text, start + 1) <= 0x9f;
    if (length > 2 || byte == '\n' || byte == '\t')
        return false;
    return byte < ' ' || (byte >= 0x7f && byte <= 0x9f);
}

std::string
utVisible(const std::string &text)
{
    std::string visible;
    for (size_t start = 0; start < text.size();)
    {
        const size_t length = utCharacterLength(text, start);
        if (!utIsControl(text, start, length))
            visible.append(text, start, length);
        else
            for (size_t i = start; i < start + length; ++i)
            {
                char code[8];
                snprintf(code, sizeof(code), "\\x%02x", utByte(text, i));
                visible += code;
            }
        start += length;
    }
    return visible;
}

std::string
utJsonText(const std::string &text)
{
    std::string json = "\"";
    for (size_t start = 0; start < text.size();)
    {
        const size_t length = utCharacterLength(text, start);
        const unsigned byte = utByte(text, start);
        if (byte == '"' || byte == '\\')
            json += '\\';
        if (length == 1 && (byte < ' ' || byte >= 0x7f))
        {
            char code[8];
            snprintf(code, sizeof(code), "\\u%04x", byte);
            json += code;
        }
        else
            json.append(text, start, length);
        start += length;
    }
    return json += '"';
}
