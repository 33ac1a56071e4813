// Modifiers of variables, such as `:h` and `:s/old/new/`.

#include "UT_String.h"

#include "UT_CharImpl.h"
#include "UT_WorkBuffer.h"

#include "SYS/SYS_Types.h"

#include <cassert>
#include <climits>

bool
UT_String::isValidModifier(char c, bool allowSlash)
{
    return utIsLetter(c) || utIsDigit(c) || c == '_' || c == ':' ||
           (allowSlash && c == '/');
}

int
UT_String::findModifiers(const char *text)
{
    if (!text)
        return 0;
    const char *end = text;
    int slashes = 0; // that may still come
    for (; isValidModifier(*end, slashes > 0); ++end)
    {
        if (*end == ':')
        {
            if (!utIsLetter(end[1]) && !utIsDigit(end[1]))
                break;
            slashes = 0;
        }
        else if (*end == 's')
            slashes = 3;
        else if (*end == '/')
            --slashes;
    }
    return SYSnarrow<int>(end - text);
}

void
UT_String::extractModifiers(UT_String &modifiers)
{
    assert(&modifiers != this);
    const int colon = find(':');
    if (colon < 0)
    {
        modifiers.harden("");
        return;
    }
    harden();
    modifiers.harden(myData + colon);
    myData[colon] = '\0';
}

static bool
utModifyWords(UT_String &string, const char *modifier, bool all)
{
    UT_WorkBuffer words;
    UT_String word;
    bool result = false;
    for (const char *read = string;;)
    {
        while (utIsSpace(*read))
            ++read;
        if (!*read)
            break;
        const char *end = read;
        while (*end && !utIsSpace(*end))
            ++end;
        word.harden(read, SYSnarrow<int>(end - read));
        result |= word.applyNextModifier(modifier, all);
        // The result would be too long: nothing changes.
        if (strlen(word) >= size_t(INT_MAX - 2 - words.length()))
            return false;
        words.append(word);
        if (*end)
            words.append(' ');
        read = end;
    }
    words.copyIntoString(string);
    return result;
}

bool
UT_String::applyModifiers(const UT_String &modifiers)
{
    if (modifiers.isNull() || modifiers[0] != ':' || !myData || !*myData)
        return false;
    // They may be a part of the text that changes.
    const UT_String list(modifiers.buffer(), /*deep=*/1);
    bool result = false;
    for (const char *colon = list; colon; colon = strchr(colon + 1, ':'))
    {
        bool global = false;
        bool all = false;
        const char *modifier = colon + 1;
        for (; *modifier == 'g' || *modifier == 'a'; ++modifier)
            (*modifier == 'g' ? global : all) = true;
        if (global)
            result = utModifyWords(*this, modifier, all) || result;
        else
            result = applyNextModifier(modifier, all);
    }
    return result;
}

// The modifier is s/old/new/ up to a colon, its last slash may be missing.
static bool
utSubstitute(UT_String &string, const char *modifier, bool all)
{
    if (modifier[1] != '/')
        return false;
    const char *const old = modifier + 2;
    const size_t oldLength = strcspn(old, "/:");
    if (old[oldLength] != '/')
        return false;
    const char *const by = old + oldLength + 1;
    const UT_String oldText(old, /*deep=*/1, SYSnarrow<int>(oldLength));
    const UT_String newText(by, /*deep=*/1, SYSnarrow<int>(strcspn(by, "/:")));
    return string.substitute(oldText, newText, all) > 0;
}

static bool
utChangeFirst(UT_String &string, char (*changed)(char))
{
    for (char *c = string.buffer(); *c; ++c)
        if (changed(*c) != *c)
        {
            *c = changed(*c);
            return true;
        }
    return false;
}

bool
UT_String::applyNextModifier(const char *modifier, bool all)
{
    harden();
    char *const slash = strrchr(myData, '/');
    char *const name = slash ? slash + 1 : myData;
    char *const dot = strrchr(name, '.');
    switch (modifier ? *modifier : '\0')
    {
    case 'h':
        if (slash)
            *slash = '\0';
        return slash;
    case 't':
        memmove(myData, name, strlen(name) + 1);
        return slash;
    case 'r':
        if (dot)
            *dot = '\0';
        return dot;
    case 'e':
        if (dot)
            memmove(myData, dot + 1, strlen(dot));
        return true;
    case 's':
        return utSubstitute(*this, modifier, all);
    case 'u':
        if (!all)
            return utChangeFirst(*this, utToUpper);
        toUpper();
        return true;
    case 'l':
        if (!all)
            return utChangeFirst(*this, utToLower);
        toLower();
        return false;
    default:
        return false;
    }
}
