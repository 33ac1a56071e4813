// A description of the machine and this process in one struct.

#pragma once

#include "UT_API.h"

#include "SYS/SYS_Types.h"

/// The machine and this process; see UTdescribeMachine(). Sizes are in bytes;
/// the texts live as long as the process.
struct UT_MachineInfo
{
    const char *system;          ///< "Linux (little endian)"
    const char *operatingSystem; ///< and processor: "linux_intel"
    int32 processorFlags;        ///< SYS_ProcessorFlag bits
    int32 configuredProcessors;  ///< of the machine
    int32 usedProcessors;        ///< UT_Thread::getNumProcessors()
    float idleFraction;          ///< 0 to 1, since the last time; see
                                 ///< UT_SysResource::update()
    int64 memoryTotal;           ///< of the machine
    int64 memoryFree;            ///< of it, unused
    int64 swapTotal;             ///< of the machine
    int64 swapFree;              ///< of it, unused
    int64 processData;           ///< getProcMemUsage()
    int64 heapSize;              ///< UT_ArenaInfo::arenaSize()
    int64 heapUsed;              ///< UT_ArenaInfo::totalInUse()
};

extern "C"
{
    /// Fills in `info` from the system. One thread only. The name is plain, for
    /// programs that load the library.
    UT_API void UTdescribeMachine(UT_MachineInfo &info);
}
