// The envelope of requests.

#include "UT_RequestImpl.h"
#include "UT_WorkBuffer.h"

#include "SYS/SYS_Types.h"

#include <cstring>

// Most texts have few brackets, so looking for those is the quickest; a run of
// them is passed at once.
static void
utAppendCData(const char *text, size_t length, UT_WorkBuffer &out)
{
    const char *const end = text + length;
    const char *next = text;
    out.strcat("<![CDATA[");
    while (const void *bracket = memchr(next, ']', size_t(end - next)))
    {
        const char *const run = static_cast<const char *>(bracket);
        for (next = run + 1; next < end && *next == ']';)
            ++next;
        if (next == end || *next != '>' || next - run < 2)
            continue;
        out.strcat(text, SYSnarrow<int>(next - 2 - text));
        out.strcat("]]]]><![CDATA[>");
        text = ++next;
    }
    out.strcat(text, SYSnarrow<int>(end - text));
    out.strcat("]]>");
}

void
encodeAsCData(const char *text, UT_WorkBuffer &out)
{
    out.clear();
    utAppendCData(text, strlen(text), out);
}

void
buildXML(const char *text, const char *tag, UT_WorkBuffer &out)
{
    buildXML(text, strlen(text), tag, out);
}

void
buildXML(const char *text, size_t length, const char *tag, UT_WorkBuffer &out)
{
    out.clear();
    // All at once, for a text that has nothing to split.
    out.reserve(SYSnarrow<unsigned>(length + 2 * strlen(tag) + 64));
    out.strcat("<?xml version=\"1.0\"?>\n<");
    out.strcat(tag);
    out.strcat(">");
    utAppendCData(text, length, out);
    out.strcat("</");
    out.strcat(tag);
    out.strcat(">\n");
}
