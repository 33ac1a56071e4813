#include "UT/UT_SymbolTable.h"

#include <cstdio>
#include <cstdlib>

static int
printCount(UT_Thing &count, const char *word, void *)
{
    printf("%s: %d\n", word, count.integer);
    return 1; // go on
}

static int
dropRare(UT_Thing &count, const char *word, void *table)
{
    if (count.integer == 1)
        static_cast<UT_SymbolTable *>(table)->deleteSymbol(word);
    return 1;
}

int
main()
{
    UT_SymbolTable counts;
    const char *const words[] = {"box1", "lamp", "box7", "box1"};
    for (const char *word : words)
        ++counts[word].integer; // a name that is new starts at 0
    counts.traverseConst(printCount, nullptr);

    char *name = counts.newName("box1");
    printf("the next box is %s\n", name);
    free(name);

    // One shared copy of a text.
    const char *shared = counts.getStringReference("box1");
    printf("shared: %d\n", shared == counts.getStringReference("box1"));

    counts.traverse(dropRare, &counts);
    UT_Thing count;
    if (!counts.findSymbol("lamp", &count))
        printf("%d word left\n", counts.entries());
}
