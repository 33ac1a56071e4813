// How busy the machine is, and how much memory it has.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

/// The machine's state at the last update(). What it is calculated from is
/// shared by all objects of the process: one thread only.
class UT_API UT_SysResource
{
public:
    /// Nothing known: no memory, an empty description, all idle.
    UT_SysResource();

    /// Asks the system. The idle share is that of the time since the last
    /// update in this process, of any object; at the first one, since the
    /// machine started. `memoryOnly` leaves it as it is. Without a /proc file
    /// system only the description is set; a figure that is missing there
    /// keeps its value.
    void update(bool memoryOnly);

    /// In KiB.
    [[nodiscard]] uint32 memoryTotal() const { return myMemoryTotal; }
    [[nodiscard]] uint32 memoryFree() const { return myMemoryFree; }
    [[nodiscard]] uint32 swapTotal() const { return mySwapTotal; }
    [[nodiscard]] uint32 swapFree() const { return mySwapFree; }

    /// "Linux (little endian)" after an update, "" before. Lives as long as
    /// the process.
    [[nodiscard]] const char *systemDescription() const
    {
        return mySystemDescription;
    }

    /// The share of processor time that nothing used, from 0 to 1 whatever the
    /// system's counters do; 0 when no time had passed since the update before.
    [[nodiscard]] float idleFraction() const { return myIdleFraction; }

    /// Takes a step of `count` counters: each of `differences` becomes what
    /// `now` is above `old`, `old` becomes `now`, and `shares` each difference
    /// as a part of their sum in thousandths, plus a 21st of one before it is
    /// cut to a whole number. A counter that went back counts negative. When
    /// nothing changed, the sum counts as 1.
    static void percentages(
        int count, int *shares, const uint32 *now, uint32 *old,
        uint32 *differences);

    /// The same for counters of any size, with shares from 0 to 1000: one that
    /// went back counts as unchanged.
    static void percentages(
        int count, int *shares, const uint64 *now, uint64 *old,
        uint64 *differences);

private:
    uint32 myMemoryTotal;
    uint32 myMemoryFree;
    uint32 mySwapTotal;
    uint32 mySwapFree;
    const char *mySystemDescription;
    float myIdleFraction;
};

// Programs hold these by value.
static_assert(sizeof(void *) != 4 || sizeof(UT_SysResource) == 24);
