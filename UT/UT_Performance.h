// Where the time goes: events and frames, counted and timed.

#pragma once

#include "UT_API.h"

#include <atomic>

#include <pthread.h>

class UT_WorkBuffer;

/// Counts and times what a program does, and reports it.
///
/// An event is a stretch of time with a name. Events nest: one that begins
/// while another is open is a part of that one, and is counted under it. Frames
/// follow each other without a gap. Nothing is recorded until somebody makes a
/// monitor and switches it on; a UT_PerformanceEvent then costs two reads of
/// the clock, and before that a look at a pointer.
///
/// A monitor records the thread that made it, and takes no notice of what
/// others tell it. Everything but getMonitor(), the questions and what ignores
/// other threads is for that one thread only.
class UT_API UT_Performance
{
public:
    /// The process's monitor; null as long as nobody made it. Thread-safe.
    static UT_Performance *getMonitor()
    {
        return theMonitor.load(std::memory_order_acquire);
    }

    /// The same, made by the first call: switched off, for the thread that
    /// calls. Lives as long as the process. Thread-safe.
    static UT_Performance &makeMonitor();

    UT_Performance(const UT_Performance &) = delete;
    UT_Performance &operator=(const UT_Performance &) = delete;

    /// Whether events, frames and messages are recorded. Thread-safe.
    [[nodiscard]] bool isRecording() const
    {
        return myIsRecording.load(std::memory_order_relaxed);
    }

    /// Whether errors are recorded, too, as messages. Thread-safe.
    [[nodiscard]] bool isRecordingErrors() const
    {
        return isRecording() && myTakesErrors.load(std::memory_order_relaxed);
    }

    /// Appends a table of all events that have ended and all messages to
    /// `out`: name, count, total in seconds, mean in milliseconds, and share of
    /// the time of all outermost events. Parts follow what they are part of,
    /// indented, in the order of their first coming. What has no time has "-"
    /// there. A line about the frames follows, if there are any.
    void report(UT_WorkBuffer &out) const;

    /// Switches recording on or off. Off ends the open events and the frame.
    /// Does nothing in another thread than the one that made the monitor.
    void setRecording(bool on);

    /// Chooses whether errors are recorded; off at first.
    void setRecordErrors(bool on)
    {
        myTakesErrors.store(on, std::memory_order_relaxed);
    }

    /// Begins an event and returns what endEvent() needs to end it; 0 when
    /// nothing is recorded, `name` is null or 200 events are open. `name` is
    /// copied the first time. O(1) on average.
    unsigned startEvent(const char *name);

    /// Ends an event, and those that began in it and are open still. Does
    /// nothing for 0 and for an event that has ended or was cleared.
    void endEvent(unsigned event);

    /// Ends a frame and begins the next. The first call only begins one.
    void markFrame();

    /// Counts `text` like an event that came `count` times and took `seconds`
    /// together, or no time that is known when that is negative, infinite or a
    /// NaN. It is a part of the open event when `isNested` is non-zero, and
    /// outermost otherwise.
    /// Does nothing when nothing is recorded or `text` is null.
    void logMessage(const char *text, int count, double seconds, int isNested);

    /// Forgets everything, open events and the frame included.
    void clear();

private:
    struct ut_Event;

    UT_LOCAL UT_Performance();
    UT_LOCAL ~UT_Performance();
    [[nodiscard]] UT_LOCAL bool records() const;
    UT_LOCAL static void reportParts(
        UT_WorkBuffer &out, const ut_Event &event, int depth, double total);

    static std::atomic<UT_Performance *> theMonitor;

    std::atomic<bool> myIsRecording;
    std::atomic<bool> myTakesErrors;
    const pthread_t myThread; // the one that is recorded
    ut_Event *myRoot;         // owned; what is outermost is part of it
    ut_Event *myOpen;         // the innermost open event, or the root
    int myDepth;              // events open
    unsigned myLastNumber;    // of the event begun last
    double myFrameStart;      // seconds; 0 between frames
    int myFrames;
    double myFrameSeconds; // of all frames, the quickest and the slowest
    double myQuickestFrame;
    double mySlowestFrame;
};

/// An event that lasts as long as the object.
class UT_PerformanceEvent
{
public:
    /// `name` is as for UT_Performance::startEvent().
    explicit UT_PerformanceEvent(const char *name) : myEvent(0)
    {
        UT_Performance *monitor = UT_Performance::getMonitor();
        if (monitor && monitor->isRecording())
            myEvent = monitor->startEvent(name);
    }
    ~UT_PerformanceEvent()
    {
        if (myEvent)
            UT_Performance::getMonitor()->endEvent(myEvent);
    }
    UT_PerformanceEvent(const UT_PerformanceEvent &) = delete;
    UT_PerformanceEvent &operator=(const UT_PerformanceEvent &) = delete;

private:
    unsigned myEvent; // 0 when nothing is recorded
};
