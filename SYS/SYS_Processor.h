// The number and the features of the machine's processors.

#pragma once

#include "SYS_API.h"

/// Features that SYSgetProcessor() reports, a bit for each.
enum SYS_ProcessorFlag
{
    SYS_PROCESSOR_MMX = 1,
    SYS_PROCESSOR_INT_SSE = 2, ///< the integer part of SSE
    SYS_PROCESSOR_SSE = 4,
    SYS_PROCESSOR_SSE2 = 8,
    SYS_PROCESSOR_COND_MOVE = 16,
    SYS_PROCESSOR_FP_COND_MOVE = 32,
    SYS_PROCESSOR_HYPER_THREADING = 64,
    SYS_PROCESSOR_3DNOW = 128
};

/// The parts of SYSgetProcessor(): the features that the processor has, and
/// those that the user allows. Other processors than x86 have none.
/// Thread-safe.
class SYS_API SYS_Processor
{
public:
    /// Whether the processor has the feature. Each call queries the processor,
    /// which may take some microseconds in a virtual machine.
    static bool hasMMX();
    static bool hasIntSSE();
    static bool hasSSE();
    static bool hasSSE2();
    static bool has3DNow();
    static bool hasCondMov();
    static bool hasFPCondMov();
    static bool hasHyperThreading();

    /// Whether the environment allows a feature: the variable `name` is unset
    /// or reads as the number 0. A text that is not a number reads as 0.
    static bool checkEnv(const char *name);

    /// Whether the user allows the feature: VALDRIN_DISABLE_MMX disables all of
    /// them, VALDRIN_DISABLE_XMMX all except MMX, VALDRIN_DISABLE_SSE and
    /// VALDRIN_DISABLE_3DNOW only their own. The first call decides for the
    /// life of the process.
    static bool checkMMX();
    static bool checkXMMX();
    static bool checkSSE();
    static bool check3DNow();

    /// Prints on standard error, once per process, that the processor is too
    /// old.
    static void obsoleteWarning();
};

/// Stores the processor's features in `flags`, as SYS_ProcessorFlag bits. MMX
/// is reported whether allowed or not; the other vector instructions need MMX
/// and the user's permission. `type` is set to -1 by the process's first call,
/// and to 3 by all later ones; parts of the toolkit call it too. Thread-safe;
/// cheap except for the first call.
SYS_API void SYSgetProcessor(int &type, int &flags);

/// "linux_intel".
SYS_API const char *SYSgetOsProc();

/// Number of processors that /proc/cpuinfo lists, 0 when it cannot be read.
/// Reads the whole file at each call.
SYS_API int parse_cpuinfo_for_nprocs();

/// Number of processors that the file `path`, in the format of /proc/cpuinfo,
/// lists; 0 when it cannot be read, and for null.
SYS_API int parse_cpuinfo_for_nprocs(const char *path);
