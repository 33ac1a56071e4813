#include "UT/UT_String.h"
#include "UT/UT_StringArray.h"
#include "UT/UT_WorkArgs.h"
#include "UT/UT_WorkBuffer.h"

#include <cstdio>
#include <utility>

// A string that keeps whatever it is assigned.
struct Layer
{
    UT_String name{UT_ALWAYS_DEEP};
};

// A function that makes a text returns a string that owns it.
static UT_String
layerName(int number)
{
    UT_WorkBuffer text;
    text.sprintf("layer%d", number);
    UT_String name;
    text.copyIntoString(name);
    return name;
}

static void
showBorrowing()
{
    char line[] = "box 1 1 1";
    const UT_String borrowed(line);
    const UT_String owned(line, /*deep=*/1);
    line[0] = 'f';
    std::printf("%s, %s\n", borrowed.buffer(), owned.buffer());
}

static void
showKeeping()
{
    char line[] = "sky";
    UT_String name;
    name = line;   // borrows
    name.harden(); // owns a copy
    Layer layer;
    layer.name = line; // a copy at once
    line[0] = '-';
    std::printf("%s, %s\n", name.buffer(), layer.name.buffer());
}

static void
showResults()
{
    // The string takes over the text of the temporary.
    UT_String first = layerName(1);
    // An assignment would borrow it, and the text dies with the temporary.
    UT_String second = layerName(2);
    first.swap(second);
    const UT_String third = std::move(second);
    std::printf("%s, %s\n", first.buffer(), third.buffer());
}

static void
showSplitting()
{
    const char *const command = "render 'final shot'";
    UT_String line(command, /*deep=*/1); // the words are cut from this copy
    UT_WorkArgs words;                   // points into it
    line.parseInPlace(words);

    UT_StringArray kept; // owns copies
    for (int i = 0; i < words.getArgc(); ++i)
        kept.append(words[i]);
    line = "another line"; // frees the words
    std::printf("%s, %s\n", kept(0).buffer(), kept(1).buffer());
}

static void
showNull()
{
    const UT_String none;
    const UT_String empty("");
    std::printf(
        "%d %d, %s, %s\n", none.length(), empty.length(),
        none.isNull() ? "null" : "text", none == empty ? "equal" : "different");
}

int
main()
{
    showBorrowing();
    showKeeping();
    showResults();
    showSplitting();
    showNull();
    return 0;
}
