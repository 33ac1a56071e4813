#include "UT_ArenaInfo.h"

#include "SYS/SYS_Memory.h"
#include "SYS/SYS_MemoryImpl.h"

#include <ostream>

int64
UT_ArenaInfo::arenaSize()
{
    const ut_HeapInfo heap = utHeapInfo();
    return int64(heap.arena) + int64(heap.hblkhd);
}

int64
UT_ArenaInfo::totalInUse()
{
    const ut_HeapInfo heap = utHeapInfo();
    return int64(heap.uordblks) + int64(heap.hblkhd);
}

void
UT_ArenaInfo::outputUsage(std::ostream &out)
{
    const int64 size = arenaSize();
    const int64 used = totalInUse();
    char text[32];
    SYSprintMemory(text, used);
    out << "Memory:  " << text;
    if (used != size)
    {
        SYSprintMemory(text, size);
        out << " of " << text << " arena size";
    }
    SYSprintMemory(text, intToBigMem(getProcMemUsage()));
    out << ". VM Size: " << text << std::endl;
}
