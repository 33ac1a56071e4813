#include "UT/UT_FixedAllocator.h"

#include <cstdio>

// Events come and go all the time, so they come from a pool of their own.
struct Event
{
    static void *operator new(size_t) { return thePool.allocate(); }
    static void operator delete(void *event) { thePool.deallocate(event); }

    double time = 0;
    Event *next = nullptr;

    static UT_FixedAllocator thePool;
};

// It reclaims pages, of 100 events each.
UT_FixedAllocator Event::thePool(sizeof(Event), /*reclaim=*/true, 100);

int
main()
{
    Event *first = nullptr;
    for (int i = 0; i < 250; ++i)
    {
        Event *event = new Event;
        event->next = first;
        first = event;
    }
    printf(
        "%d events in %u pages\n", Event::thePool.allocated(),
        Event::thePool.pageSlots());

    while (first)
    {
        Event *event = first;
        first = event->next;
        delete event;
    }
    printf(
        "%d events, %d pages given back\n", Event::thePool.allocated(),
        Event::thePool.freedSlots());
}
