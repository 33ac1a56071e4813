#include "ValdrinRequest.h"

#include "SYS/SYS_Types.h"
#include "UT/UT_WorkBuffer.h"

#include <cstring>

// Most texts have few brackets, so looking for those is the quickest; a run of
// them is passed at once. The NUL after the text ends a run. Starts at the
// first bracket, or at the NUL when there is none.
static void
utAppendCData(
    const char *text, const char *bracket, size_t length, UT_WorkBuffer &out)
{
    const char *const end = text + length;
    out.strcat("<![CDATA[");
    while (bracket != end)
    {
        const char *next = bracket + 1;
        while (*next == ']')
            ++next;
        if (*next == '>' && next - bracket >= 2)
        {
            out.strcat(text, SYSnarrow<int>(next - 2 - text));
            out.strcat("]]]]><![CDATA[>");
            text = ++next;
        }
        const void *const found = memchr(next, ']', size_t(end - next));
        bracket = found ? static_cast<const char *>(found) : end;
    }
    out.strcat(text, SYSnarrow<int>(end - text));
    out.strcat("]]>");
}

void
encodeAsCData(const char *text, UT_WorkBuffer &out)
{
    out.clear();
    const char *const bracket = strchrnul(text, ']');
    utAppendCData(text, bracket, size_t(bracket - text) + strlen(bracket), out);
}

void
buildXML(const char *text, const char *tag, UT_WorkBuffer &out)
{
    const char *const bracket = strchrnul(text, ']');
    const size_t length = size_t(bracket - text) + strlen(bracket);
    out.clear();
    // A text that may be split arrives in pieces, and all of them have room
    // when there are few. Another grows the storage once anyway.
    if (*bracket)
        out.reserve(
            SYSnarrow<unsigned>(length + length / 8 + 2 * strlen(tag) + 64));
    out.strcat("<?xml version=\"1.0\"?>\n<");
    out.strcat(tag);
    out.strcat(">");
    utAppendCData(text, bracket, length, out);
    out.strcat("</");
    out.strcat(tag);
    out.strcat(">\n");
}
