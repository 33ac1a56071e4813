#include "UT_MachineInfo.h"

#include "UT_ArenaInfo.h"
#include "UT_Compat.h"
#include "UT_SysResource.h"
#include "UT_Thread.h"

#include "SYS/SYS_Memory.h"
#include "SYS/SYS_Processor.h"

void
UTdescribeMachine(UT_MachineInfo &info)
{
    UT_SysResource resource;
    resource.update(/*memoryOnly=*/false);
    info.system = resource.systemDescription();
    info.operatingSystem = SYSgetOsProc();
    int type;
    SYSgetProcessor(type, info.processorFlags);
    info.configuredProcessors = sysmp(0);
    info.usedProcessors = UT_Thread::getNumProcessors();
    info.idleFraction = resource.idleFraction();
    info.memoryTotal = int64(resource.memoryTotal()) * 1024;
    info.memoryFree = int64(resource.memoryFree()) * 1024;
    info.swapTotal = int64(resource.swapTotal()) * 1024;
    info.swapFree = int64(resource.swapFree()) * 1024;
    info.processData = intToBigMem(getProcMemUsage());
    info.heapSize = UT_ArenaInfo::arenaSize();
    info.heapUsed = UT_ArenaInfo::totalInUse();
}
