// A monitor that counts and times events and frames.

#pragma once

#include "UT_API.h"

#include <atomic>

#include <pthread.h>

class UT_WorkBuffer;

/// Counts and times what a program does, and reports it.
///
/// An event is a period of time with a name. Events nest: one that begins while
/// another is open is a part of that one, and is counted under it. Frames
/// follow each other without a gap. Nothing is recorded until a monitor is
/// created and switched on; a UT_PerformanceEvent then costs two reads of the
/// clock, and before that the check of a pointer.
///
/// A monitor records the thread that created it, and ignores the events of
/// others. Everything except what is marked as thread-safe is for that one
/// thread only.
class UT_API UT_Performance
{
public:
    /// The process's monitor; null until it is created. Thread-safe.
    static UT_Performance *getMonitor()
    {
        return theMonitor.load(std::memory_order_acquire);
    }

    /// The process's monitor, created by the first call: switched off, for the
    /// calling thread. Lives as long as the process. Thread-safe.
    static UT_Performance &makeMonitor();

    UT_Performance(const UT_Performance &) = delete;
    UT_Performance &operator=(const UT_Performance &) = delete;

    /// Whether events, frames and messages are recorded. Thread-safe.
    [[nodiscard]] bool isRecording() const
    {
        return myIsRecording.load(std::memory_order_relaxed);
    }

    /// Whether errors are recorded too, as messages. Thread-safe.
    [[nodiscard]] bool isRecordingErrors() const
    {
        return isRecording() && myTakesErrors.load(std::memory_order_relaxed);
    }

    /// Appends a table of all events that have ended and all messages to `out`:
    /// name, count, total in seconds, mean in milliseconds, and share of the
    /// time of all outermost events. The parts of an event follow it, indented,
    /// in the order of their first occurrence. An unknown time is "-". A line
    /// about the frames follows, if there are any.
    void report(UT_WorkBuffer &out) const;

    /// Switches recording on or off. Switching it off ends the open events and
    /// the frame. Does nothing in any thread except the one that created the
    /// monitor.
    void setRecording(bool on);

    /// Chooses whether errors are recorded; off at first.
    void setRecordErrors(bool on)
    {
        myTakesErrors.store(on, std::memory_order_relaxed);
    }

    /// Begins an event and returns its number for endEvent(); 0 when nothing is
    /// recorded, `name` is null or 200 events are open. `name` is copied the
    /// first time. O(1) on average.
    unsigned startEvent(const char *name);

    /// Ends an event, and those that began in it and are still open. Does
    /// nothing for 0 and for an event that has ended or was cleared.
    void endEvent(unsigned event);

    /// Ends a frame and begins the next. The first call only begins a frame.
    void markFrame();

    /// Counts `text` like an event that occurred `count` times and took
    /// `seconds` in all; the time is unknown when that is negative, infinite or
    /// a NaN. It is a part of the open event when `isNested` is non-zero, and
    /// outermost otherwise. Does nothing when nothing is recorded or `text` is
    /// null.
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
    ut_Event *myRoot;         // owned; outermost events are its parts
    ut_Event *myOpen;         // the innermost open event, or the root
    int myDepth;              // events open
    unsigned myLastNumber;    // of the event begun last
    double myFrameStart;      // seconds; 0 between frames
    int myFrames;
    double myFrameSeconds; // of all frames, the fastest and the slowest
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
