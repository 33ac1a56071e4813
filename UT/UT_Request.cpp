// The envelope of requests.

#include "UT_RequestImpl.h"
#include "UT_WorkBuffer.h"

#include "SYS/SYS_Types.h"

#include <cstring>

// Most texts have few brackets, so looking for those is the quickest; a run of
// them is passed at once. `bracket` is the first one, or `end`. No byte there
// or after it is read.
static void
utAppendCData(
    const char *text, const char *bracket, const char *end, UT_WorkBuffer &out)
{
    out.strcat("<![CDATA[");
    while (bracket != end)
    {
        const char *next = bracket + 1;
        while (next != end && *next == ']')
            ++next;
        if (next != end && *next == '>' && next - bracket >= 2)
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

static void
utBuildXML(
    const char *text, const char *bracket, const char *end, const char *tag,
    UT_WorkBuffer &out)
{
    out.clear();
    // A text that may be split arrives in pieces, and all of them have room
    // when there are few. Another grows the storage once anyway.
    if (bracket != end)
    {
        const size_t length = size_t(end - text);
        out.reserve(
            SYSnarrow<unsigned>(length + length / 8 + 2 * strlen(tag) + 64));
    }
    out.strcat("<?xml version=\"1.0\"?>\n<");
    out.strcat(tag);
    out.strcat(">");
    utAppendCData(text, bracket, end, out);
    out.strcat("</");
    out.strcat(tag);
    out.strcat(">\n");
}

// The first bracket of a text, or its end, and that. In 32 bits the C library
// takes longer to look for two bytes at once than for one after the other.
static const char *
utFindBracket(const char *text, const char *&end)
{
#ifdef __i386__
    end = text + strlen(text);
    const void *const found = memchr(text, ']', size_t(end - text));
    return found ? static_cast<const char *>(found) : end;
#else
    const char *const bracket = strchrnul(text, ']');
    end = bracket + strlen(bracket);
    return bracket;
#endif
}

void
encodeAsCData(const char *text, UT_WorkBuffer &out)
{
    const char *end;
    const char *const bracket = utFindBracket(text, end);
    out.clear();
    utAppendCData(text, bracket, end, out);
}

void
buildXML(const char *text, const char *tag, UT_WorkBuffer &out)
{
    const char *end;
    const char *const bracket = utFindBracket(text, end);
    utBuildXML(text, bracket, end, tag, out);
}

void
buildXML(const char *text, size_t length, const char *tag, UT_WorkBuffer &out)
{
    const char *const end = text + length;
    const void *const found = memchr(text, ']', length);
    utBuildXML(
        text, found ? static_cast<const char *>(found) : end, end, tag, out);
}
