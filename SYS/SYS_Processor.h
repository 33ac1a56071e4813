// What the machine's processors are and can do.

#pragma once

#include "SYS_API.h"

/// What SYSgetProcessor() tells, a bit for each.
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

/// The pieces that SYSgetProcessor() puts together: what the processor has,
/// and what the user allows. On processors that are no x86 there is nothing.
/// Thread-safe.
class SYS_API SYS_Processor
{
public:
    /// Whether the processor has the feature. Each asks the processor anew,
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
    /// or reads as the number 0. What is no number reads as 0.
    static bool checkEnv(const char *name);

    /// Whether the user allows the feature: VALDRIN_DISABLE_MMX takes all of
    /// them away, VALDRIN_DISABLE_XMMX all but MMX, VALDRIN_DISABLE_SSE and
    /// VALDRIN_DISABLE_3DNOW their own. The first call decides for the life of
    /// the process.
    static bool checkMMX();
    static bool checkXMMX();
    static bool checkSSE();
    static bool check3DNow();

    /// Tells on standard error, once per process, that the processor is too
    /// old.
    static void obsoleteWarning();
};

/// Stores the processor's features in `flags`, as SYS_ProcessorFlag bits. MMX
/// is told whether allowed or not; the other vector instructions need MMX and
/// the user's permission. The type is -1 at the process's first call, and 3
/// from then on; parts of the toolkit call it too. Thread-safe; cheap but for
/// the first call.
SYS_API void SYSgetProcessor(int &type, int &flags);

/// "linux_intel".
SYS_API const char *SYSgetOsProc();

/// Number of processors that /proc/cpuinfo lists, 0 when it cannot be read.
/// Reads the whole file at each call.
SYS_API int parse_cpuinfo_for_nprocs();

/// The same for another file of that form; null reads as a missing file.
SYS_API int parse_cpuinfo_for_nprocs(const char *path);
