// Counts the words of standard input, and prints those that occur most often.

#include <UT/UT_IStream.h>
#include <UT/UT_SymbolTable.h>
#include <UT/UT_WorkBuffer.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

struct Word
{
    const char *text; // the table's copy
    int count;
};

// For traverse(): adds a word to the list that `words` points at.
static int
addWord(UT_Thing &count, const char *text, void *words)
{
    static_cast<std::vector<Word> *>(words)->push_back({text, count.integer});
    return 1;
}

static bool
isBefore(const Word &a, const Word &b)
{
    if (a.count != b.count)
        return a.count > b.count;
    return std::strcmp(a.text, b.text) < 0;
}

int
main(int argc, char **argv)
{
    UT_IStream in(stdin, UT_ISTREAM_ASCII);
    UT_WorkBuffer word;
    UT_SymbolTable table;
    while (in.getWord(word))
        table[word.buffer()].integer++;

    std::vector<Word> words;
    table.traverse(addWord, &words);
    std::sort(words.begin(), words.end(), isBefore);
    if (argc > 1)
        words.resize(std::min(words.size(), size_t(std::atoi(argv[1]))));
    for (const Word &each : words)
        std::printf("%5d %s\n", each.count, each.text);
    return 0;
}
