// How much memory the heap has, and how much of it is in use.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <iosfwd>

/// The heap's own statistics: the main arena and the blocks that are mapped
/// separately. Thread-safe; each call walks the heap's free lists.
class UT_API UT_ArenaInfo
{
public:
    /// Bytes that the heap has obtained from the system.
    static int64 arenaSize();

    /// Bytes of the heap that are in use.
    static int64 totalInUse();

    /// Writes a line like "Memory:  1.25 MB of 1.50 MB arena size. VM Size:
    /// 8.00 MB"; the middle part is left out when all of the heap is in use.
    /// The last figure is getProcMemUsage().
    static void outputUsage(std::ostream &out);
};
