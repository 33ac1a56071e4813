// The load and the memory of the machine.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

/// The machine's state at the last update(). All objects of the process share
/// the counters from which it is calculated: one thread only.
class UT_API UT_SysResource
{
public:
    /// An unknown state: no memory, an empty description, all idle.
    UT_SysResource();

    /// Reads the current state from the system. The idle share covers the time
    /// since the last update of any object in this process; at the first one,
    /// the time since the machine started. `memoryOnly` leaves it unchanged.
    /// Without a /proc file system only the description is set. A size that is
    /// missing there keeps its value; the idle share is 0 where the times are
    /// missing.
    void update(bool memoryOnly);

    /// Sizes in KiB, at most UINT32_MAX: a machine with 4 TiB or more has that.
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

    /// The unused share of processor time, always from 0 to 1; 0 when no time
    /// had passed since the previous update.
    [[nodiscard]] float idleFraction() const { return myIdleFraction; }

    /// Updates the shares of `count` counters: sets each of `differences` to
    /// `now` less `old`, `old` to `now`, and each of `shares` to the
    /// difference's share of their sum in thousandths, to which 1/21 is added
    /// before it is truncated. A counter that decreased has a negative
    /// difference. A sum of 0 counts as 1. Differences of 1 and 3 give shares
    /// of 250 and 750.
    static void percentages(
        int count, int *shares, const uint32 *now, uint32 *old,
        uint32 *differences);

    /// Updates the shares of 64-bit counters, each from 0 to 1000. A counter
    /// that decreased counts as unchanged.
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
