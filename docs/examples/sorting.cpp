// Results of a race: sorted with their runners, as records, and their median.

#include "UT/UT_QuickSort.h"

#include <cstdio>

static const char *const theNames[] = {"Ada", "Bo", "Cy", "Di", "Eve"};

struct Finish
{
    float seconds; // the key comes first
    char name[8];
};

static int
compareInts(int a, int b)
{
    return (a > b) - (a < b);
}

int
main()
{
    // Keys with an index: the place that each came from.
    float seconds[] = {12.5f, 11.25f, 14.0f, 11.75f, 13.0f};
    UT_QuickSort sorter;
    sorter.sort(seconds, 5, /*makeIndex=*/1);
    for (unsigned i = 0; i < 5; i++)
        std::printf("%s %g\n", theNames[sorter.index()(i)], seconds[i]);

    // Records that begin with their key.
    Finish finishes[] = {
        {9.75f, "Fay"},
        {9.25f, "Gus"},
        {9.5f,  "Hal"}
    };
    sorter.sort(finishes, sizeof(Finish), 3, UT_QuickSort::UT_SORT_FLOAT);
    for (const Finish &finish : finishes)
        std::printf("%s %g\n", finish.name, finish.seconds);

    // The median needs no sort.
    int laps[] = {7, 3, 9, 1, 5};
    UTquickSelect(laps, 5, 2, compareInts);
    std::printf("median %d\n", laps[2]);
}
