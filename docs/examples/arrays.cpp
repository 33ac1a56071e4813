// Growable arrays: sorted sets, a heap of pointers, objects in place.

#include "UT/UT_IntArray.h"
#include "UT/UT_PtrArray.h"
#include "UT/UT_RefArray.h"

#include <cstdio>

// A job of a queue; the most urgent one is done first.
struct Job
{
    const char *name;
    int urgency;
};

// Has the sense of strcmp(); comparators get the addresses of elements.
static int
compareUrgency(Job *const *a, Job *const *b)
{
    return (*a)->urgency - (*b)->urgency;
}

// A layer keeps count of what is drawn on it.
struct Layer
{
    int strokes = 0;
};

int
main()
{
    // Points of two selections, in any order.
    UT_IntArray selected;
    UT_IntArray hidden;
    for (int point : {30, 10, 40, 20})
        selected.append(point);
    for (int point : {40, 50, 10})
        hidden.append(point);
    selected.sortAscending();
    hidden.sortAscending();

    // Which of the selected ones can be seen?
    UT_IntArray visible;
    selected.sortedSetDifference(hidden, visible);
    visible.display();
    std::printf("30 is at %d\n", visible.find(30));

    // The array does not own what it points at.
    Job jobs[] = {
        {"save", 2},
        {"stop", 9},
        {"draw", 5}
    };
    UT_PtrArray<Job *> queue;
    for (Job &job : jobs)
        queue.heapPush(&job, compareUrgency);
    while (queue.entries() > 0)
        std::printf("%s\n", queue.heapPop(compareUrgency)->name);

    // The array owns its elements, and makes those up to the index.
    UT_RefArray<Layer> layers;
    layers.insert(2);
    layers(1).strokes = 7;
    layers.removeAt(0);
    std::printf(
        "%d strokes on the first of %u\n", layers(0).strokes, layers.entries());
    return 0;
}
