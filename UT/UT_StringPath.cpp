// Path text: numbers and extensions, directories, `.` and `..`.

#include "UT_String.h"

#include "SYS/SYS_Types.h"

UT_String *
UT_String::base() const
{
    const char *const digits = suffix();
    const int length = digits ? SYSnarrow<int>(digits - myData) : 0;
    return new UT_String(myData, /*deep=*/1, length);
}

UT_String
UT_String::pathUpToExtension() const
{
    const char *const text = myData ? myData : "";
    const char *const dot = strrchr(text, '.');
    const char *const end =
        dot && !strchr(dot, '/') ? dot : text + strlen(text);
    return UT_String(text, /*deep=*/1, SYSnarrow<int>(end - text));
}

// An always deep string would take "" for null in an exchange.
static void
utTake(UT_String &to, UT_String &from)
{
    if (from.isNull())
        to.freeData();
    else
        to.swap(from);
}

void
UT_String::splitPath(UT_String &directory, UT_String &file) const
{
    const char *const text = myData ? myData : "";
    const char *const slash = strrchr(text, '/');
    const char *const name = slash ? slash + 1 : text;
    // A null text stays null, one of a given length does not.
    UT_String before(nullptr);
    if (slash)
        before.harden(text, slash > text ? SYSnarrow<int>(slash - text) : 1);
    UT_String behind(*name ? name : nullptr, /*deep=*/1);
    utTake(directory, before);
    utTake(file, behind);
}

bool
UT_String::collapseAbsolutePath(bool)
{
    if (!myData || *myData != '/')
        return false;
    harden();
    const char *read = myData;
    char *write = myData;
    for (;;)
    {
        while (*read == '/')
            ++read;
        if (!*read)
            break;
        // A slash at least lies before the component, so there is room for
        // the one written.
        const size_t length = size_t(strchrnul(read, '/') - read);
        if (length == 2 && read[0] == '.' && read[1] == '.')
        {
            if (write == myData)
                return false;
            while (*--write != '/')
            {
            }
        }
        else if (length != 1 || *read != '.')
        {
            *write++ = '/';
            memmove(write, read, length);
            write += length;
        }
        read += length;
    }
    if (write == myData)
        *write++ = '/';
    *write = '\0';
    return true;
}
