#include "ut_Text.h"

#include "host/ut_Utf8.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

static unsigned
utByte(const std::string &text, size_t index)
{
    return static_cast<unsigned char>(text[index]);
}

// Bytes of the UTF-8 character at `start`; 1 when there is none.
static size_t
utCharacterLength(const std::string &text, size_t start)
{
    const auto rest = std::string_view(text).substr(start);
    return std::max<size_t>(utCharacterBytes(rest), 1);
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
