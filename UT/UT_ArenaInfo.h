// How much memory the heap has, and how much of it is in use.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

#include <iosfwd>

/// The heap's own statistics, of its main arena and the blocks mapped apart.
/// Thread-safe; each walks the heap's free lists.
class UT_API UT_ArenaInfo
{
public:
    /// Bytes that the heap has from the system.
    static int64 arenaSize();

    /// Bytes of it that are handed out.
    static int64 totalInUse();

    /// Writes a line like "Memory:  1.25 MB of 1.50 MB arena size. VM Size:
    /// 8.00 MB"; the middle is left out when all is in use. The last is
    /// getProcMemUsage().
    static void outputUsage(std::ostream &out);
};
