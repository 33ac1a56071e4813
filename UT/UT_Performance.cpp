#include "UT_Performance.h"

#include "UT_PtrArray.h"
#include "UT_String.h"
#include "UT_SymbolTable.h"
#include "UT_WorkBuffer.h"

#include "SYS/SYS_Types.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>

static const int theDepthLimit = 200;

// Nanoseconds since some time in the past.
static int64
utNanoseconds()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64(now.tv_sec) * 1000000000 + now.tv_nsec;
}

// The same in seconds, never 0.
static double
utNow()
{
    return double(utNanoseconds()) * 1e-9;
}

// Most names are short: a call takes longer than to look at a few bytes.
static bool
utIsSameName(const char *a, const char *b)
{
    for (int i = 0; i < 16; ++i, ++a, ++b)
    {
        if (*a != *b)
            return false;
        if (!*a)
            return true;
    }
    return strcmp(a, b) == 0;
}

// ---- An event under the one that it is part of

struct UT_Performance::ut_Event
{
    ut_Event(const char *text, ut_Event *outer) : name(text, 1), parent(outer)
    {
    }
    ~ut_Event()
    {
        for (unsigned i = 0; i < parts.entries(); ++i)
            delete parts(i);
    }
    ut_Event(const ut_Event &) = delete;
    ut_Event &operator=(const ut_Event &) = delete;

    // Most events are one after the other of the same name.
    ut_Event &getPart(const char *text)
    {
        if (!last || !utIsSameName(last->name, text))
            last = &findPart(text);
        return *last;
    }

    ut_Event &findPart(const char *text)
    {
        UT_Thing &found = partsByName[text];
        if (!found.pointer)
        {
            ut_Event *part = new ut_Event(text, this);
            parts.append(part);
            found.pointer = part;
        }
        return *static_cast<ut_Event *>(found.pointer);
    }

    void note(int times, double taken)
    {
        count += times;
        // One NaN or infinity would stay in the sum.
        if (taken < 0 || !std::isfinite(taken))
            return;
        hasTime = true;
        notedSeconds += taken;
    }

    void end(int64 now)
    {
        ++count;
        hasTime = true;
        nanoseconds += now - start;
        number = 0;
    }

    // All times together.
    [[nodiscard]] double seconds() const
    {
        return notedSeconds + double(nanoseconds) * 1e-9;
    }

    const UT_String name;
    ut_Event *const parent;        // null for the root
    UT_PtrArray<ut_Event *> parts; // owned, in the order of their coming
    UT_SymbolTable partsByName;    // the same
    ut_Event *last = nullptr;      // the one that was asked for last
    int64 count = 0;
    double notedSeconds = 0;
    int64 nanoseconds = 0; // measured
    bool hasTime = false;

    unsigned number = 0; // while it is open
    int64 start = 0;     // nanoseconds, while it is open
};

// ---- Recording

std::atomic<UT_Performance *> UT_Performance::theMonitor(nullptr);

UT_Performance::UT_Performance()
    : myIsRecording(false), myTakesErrors(false), myThread(pthread_self()),
      myRoot(nullptr), myLastNumber(0)
{
    clear();
}

UT_Performance::~UT_Performance()
{
    delete myRoot;
}

UT_Performance &
UT_Performance::makeMonitor()
{
    UT_Performance *monitor = getMonitor();
    if (monitor)
        return *monitor;
    // The first to be ready stays; another thread may have come first.
    UT_Performance *made = new UT_Performance;
    if (theMonitor.compare_exchange_strong(monitor, made))
        return *made;
    delete made;
    return *monitor;
}

bool
UT_Performance::records() const
{
    return isRecording() && pthread_equal(myThread, pthread_self());
}

void
UT_Performance::setRecording(bool on)
{
    // No other thread may end the events of the one that made it.
    if (!pthread_equal(myThread, pthread_self()))
        return;
    while (!on && myOpen != myRoot)
        endEvent(myOpen->number);
    myFrameStart = 0;
    myIsRecording.store(on, std::memory_order_relaxed);
}

unsigned
UT_Performance::startEvent(const char *name)
{
    if (!name || !records() || myDepth == theDepthLimit)
        return 0;
    ut_Event &event = myOpen->getPart(name);
    if (++myLastNumber == 0)
        ++myLastNumber;
    event.number = myLastNumber;
    myOpen = &event;
    ++myDepth;
    event.start = utNanoseconds();
    return event.number;
}

void
UT_Performance::endEvent(unsigned event)
{
    if (event == 0 || !records())
        return;
    const int64 now = utNanoseconds();
    const ut_Event *wanted = myOpen;
    while (wanted && wanted->number != event)
        wanted = wanted->parent;
    if (!wanted)
        return;
    for (const ut_Event *ended = nullptr; ended != wanted; --myDepth)
    {
        myOpen->end(now);
        ended = myOpen;
        myOpen = myOpen->parent;
    }
}

void
UT_Performance::markFrame()
{
    if (!records())
        return;
    const double now = utNow();
    if (myFrameStart > 0)
    {
        const double taken = now - myFrameStart;
        myQuickestFrame =
            myFrames == 0 ? taken : std::min(myQuickestFrame, taken);
        mySlowestFrame = std::max(mySlowestFrame, taken);
        myFrameSeconds += taken;
        ++myFrames;
    }
    myFrameStart = now;
}

void
UT_Performance::logMessage(
    const char *text, int count, double seconds, int isNested)
{
    if (text && records())
        (isNested ? myOpen : myRoot)->getPart(text).note(count, seconds);
}

void
UT_Performance::clear()
{
    delete myRoot;
    myRoot = new ut_Event(nullptr, nullptr);
    myOpen = myRoot;
    myDepth = 0;
    myFrameStart = 0;
    myFrames = 0;
    myFrameSeconds = 0;
    myQuickestFrame = 0;
    mySlowestFrame = 0;
}

// ---- Reports

// One line for each part of an event, and below it those of its own parts. Of
// a name of several lines the first is shown.
void
UT_Performance::reportParts(
    UT_WorkBuffer &out, const ut_Event &event, int depth, double total)
{
    for (unsigned i = 0; i < event.parts.entries(); ++i)
    {
        const ut_Event &part = *event.parts(i);
        const char *name = part.name;
        UT_WorkBuffer label;
        label.appendSprintf("%*s", 2 * depth, "");
        label.append(name, SYSnarrow<int>(strcspn(name, "\n")));
        const double seconds = part.seconds();
        if (part.count > 0 && part.hasTime)
            out.appendSprintf(
                "%-40s %9lld %12.6f %12.6f %6.1f%%\n", label.buffer(),
                static_cast<long long>(part.count), seconds,
                seconds * 1e3 / double(part.count),
                total > 0 ? seconds * 100 / total : 0.0);
        else if (part.count > 0)
            out.appendSprintf(
                "%-40s %9lld %12s %12s %7s\n", label.buffer(),
                static_cast<long long>(part.count), "-", "-", "-");
        reportParts(out, part, depth + 1, total);
    }
}

void
UT_Performance::report(UT_WorkBuffer &out) const
{
    double total = 0;
    for (unsigned i = 0; i < myRoot->parts.entries(); ++i)
        total += myRoot->parts(i)->seconds();

    out.appendSprintf(
        "%-40s %9s %12s %12s %7s\n", "Event", "Count", "Total s", "Mean ms",
        "Share");
    reportParts(out, *myRoot, 0, total);
    if (myFrames > 0)
        out.appendSprintf(
            "%d frames in %.3f s: %.3f ms each (%.3f to %.3f), %.1f a "
            "second\n",
            myFrames, myFrameSeconds, myFrameSeconds * 1e3 / myFrames,
            myQuickestFrame * 1e3, mySlowestFrame * 1e3,
            myFrames / std::max(myFrameSeconds, 1e-9));
}
