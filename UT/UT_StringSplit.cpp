// Splitting a text into words and tokens in place.

#include "UT_String.h"

#include "UT_WorkArgs.h"

#include "SYS/SYS_Types.h"

#include <algorithm>
#include <array>
#include <cstring>

// What each splitter does with a byte, by its value.
using ut_ByteClasses = std::array<uint8, 256>;

enum : uint8
{
    UT_BYTE_PLAIN,
    UT_BYTE_QUOTE,
    UT_BYTE_SPACE,
    UT_BYTE_END
};

// The spaces are the bytes for which isspace() holds: these in every locale.
static constexpr ut_ByteClasses
utWordClasses()
{
    ut_ByteClasses classes = {};
    classes['"'] = classes['\''] = UT_BYTE_QUOTE;
    classes[' '] = UT_BYTE_SPACE;
    for (unsigned char space = '\t'; space <= '\r'; ++space)
        classes[space] = UT_BYTE_SPACE;
    classes[0] = UT_BYTE_END;
    return classes;
}

static constexpr ut_ByteClasses theWordClasses = utWordClasses();

static uint8
utWordClass(char byte)
{
    return theWordClasses[uint8(byte)];
}

namespace
{

// The destination of the words: a UT_WorkArgs, or an array that ends in a null.
class ut_ArgsSink
{
public:
    explicit ut_ArgsSink(UT_WorkArgs &args) : myArgs(args)
    {
        myArgs.setArg(0, nullptr);
    }

    // Whether another word may follow.
    bool add(char *word)
    {
        myArgs.setArg(myArgs.getArgc(), word);
        return true;
    }

    int close() { return myArgs.getArgc(); }

private:
    UT_WorkArgs &myArgs;
};

class ut_ArraySink
{
public:
    ut_ArraySink(char **argv, int slots)
        : myArgv(argv), mySlots(std::max(slots, 0))
    {
    }

    bool add(char *word)
    {
        if (myCount < mySlots - 1)
            myArgv[myCount++] = word;
        return myCount < mySlots - 1;
    }

    int close()
    {
        if (myCount < mySlots)
            myArgv[myCount] = nullptr;
        return myCount;
    }

private:
    char **myArgv;
    int mySlots;
    int myCount = 0;
};

// Takes a text apart into words, which it packs at the text's front: what is
// written never overtakes what is read.
class ut_WordPacker
{
public:
    explicit ut_WordPacker(char *text) : myRead(text), myWrite(text) {}

    // The next word, with its NUL; null when there is none.
    char *next()
    {
        while (utWordClass(*myRead) == UT_BYTE_SPACE)
            ++myRead;
        if (!*myRead)
            return nullptr;
        char *const word = myWrite;
        myBefore = '\0';
        while (takeRun(), utWordClass(*myRead) == UT_BYTE_QUOTE)
            takeQuote();
        // The space may lie where its word's NUL is written.
        if (*myRead)
            ++myRead;
        *myWrite++ = '\0';
        return word;
    }

private:
    void take(const char *end)
    {
        const size_t count = size_t(end - myRead);
        if (!count)
            return;
        myBefore = end[-1];
        if (myWrite != myRead)
            memmove(myWrite, myRead, count);
        myRead += count;
        myWrite += count;
    }

    void takeRun()
    {
        const char *end = myRead;
        while (utWordClass(*end) == UT_BYTE_PLAIN)
            ++end;
        take(end);
    }

    // Deliberate: only the byte before a quote counts, so a second backslash
    // does not protect the first.
    void takeQuote()
    {
        const char quote = *myRead++;
        if (myBefore == '\\')
        {
            myWrite[-1] = quote;
            myBefore = quote;
            return;
        }
        const char *end = myRead;
        while ((end = strchrnul(end, quote)), *end && end[-1] == '\\')
            ++end;
        take(end);
        if (*myRead)
            ++myRead;
        myBefore = quote;
    }

    char *myRead;
    char *myWrite;
    char myBefore = '\0'; // what was read before, in this word
};

} // namespace

template <class Sink>
static int
utParse(char *text, Sink sink)
{
    if (text)
    {
        ut_WordPacker packer(text);
        while (char *word = packer.next())
            sink.add(word);
    }
    return sink.close();
}

int
UT_String::parseInPlace(UT_WorkArgs &args)
{
    return utParse(myData, ut_ArgsSink(args));
}

int
UT_String::parseInPlace(char **argv, int max)
{
    return utParse(myData, ut_ArraySink(argv, max));
}

template <class Sink>
static int
utTokenize(char *text, char separator, Sink sink)
{
    while (text && *text)
    {
        char *const end = strchrnul(text, separator);
        const bool isLast = !*end;
        *end = '\0';
        if (!sink.add(text) || isLast)
            break;
        text = end + 1;
    }
    return sink.close();
}

int
UT_String::tokenizeInPlace(UT_WorkArgs &args, char separator)
{
    return utTokenize(myData, separator, ut_ArgsSink(args));
}

int
UT_String::tokenizeInPlace(char **argv, int max, char separator)
{
    ut_ArraySink sink(argv, max);
    return max < 2 ? sink.close() : utTokenize(myData, separator, sink);
}

template <class Sink>
static int
utTokenize(char *text, const char *separators, Sink sink)
{
    if (!text || !*text)
        return sink.close();
    ut_ByteClasses classes = {};
    for (; separators && *separators; ++separators)
        classes[uint8(*separators)] = UT_BYTE_SPACE;
    classes[0] = UT_BYTE_END;
    for (;;)
    {
        while (classes[uint8(*text)] == UT_BYTE_SPACE)
            ++text;
        if (!*text)
            break;
        char *const token = text;
        while (classes[uint8(*text)] == UT_BYTE_PLAIN)
            ++text;
        const bool isLast = !*text;
        *text = '\0';
        if (!sink.add(token) || isLast)
            break;
        ++text;
    }
    return sink.close();
}

int
UT_String::tokenizeInPlace(UT_WorkArgs &args, const char *separators)
{
    return utTokenize(myData, separators, ut_ArgsSink(args));
}

int
UT_String::tokenizeInPlace(char **argv, int max, const char *separators)
{
    // Deliberate: the first token is stored even where its null has no slot.
    if (max != 1)
        return utTokenize(myData, separators, ut_ArraySink(argv, max));
    char *token[2];
    utTokenize(myData, separators, ut_ArraySink(token, 2));
    argv[0] = token[0];
    return token[0] != nullptr;
}
