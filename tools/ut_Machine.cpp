#include "ut_Machine.h"

#include "SYS/SYS_Processor.h"
#include "UT/UT_MachineInfo.h"
#include "host/ut_ComponentHost.h"

#include <cstdio>
#include <cstring>

#include <unistd.h>

static const struct
{
    SYS_ProcessorFlag flag;
    const char *name;
} theFlags[] = {
    {SYS_PROCESSOR_MMX,             "MMX"            },
    {SYS_PROCESSOR_INT_SSE,         "integer SSE"    },
    {SYS_PROCESSOR_SSE,             "SSE"            },
    {SYS_PROCESSOR_SSE2,            "SSE2"           },
    {SYS_PROCESSOR_COND_MOVE,       "CMOV"           },
    {SYS_PROCESSOR_FP_COND_MOVE,    "FCMOV"          },
    {SYS_PROCESSOR_HYPER_THREADING, "hyper-threading"},
    {SYS_PROCESSOR_3DNOW,           "3DNow!"         },
};

// The names of the processor's features, each between `quote`s.
static std::string
utFlagNames(int flags, const char *quote)
{
    std::string names;
    for (const auto &row : theFlags)
        if (flags & row.flag)
            names += (names.empty() ? "" : ", ") +
                     (quote + std::string(row.name)) + quote;
    return names;
}

static std::string
utSize(int64 bytes)
{
    static const char *const theUnits[] = {"KiB", "MiB", "GiB", "TiB"};
    double size = double(bytes) / 1024;
    size_t unit = 0;
    for (; size >= 1024 && unit < 3; ++unit)
        size /= 1024;
    char text[32];
    snprintf(text, sizeof(text), "%.1f %s", size, theUnits[unit]);
    return text;
}

static std::string
utForPeople(const UT_MachineInfo &info)
{
    const auto line = [](const char *name, const std::string &text)
    {
        std::string row = name;
        row.resize(14, ' ');
        return row + text + '\n';
    };
    char load[64];
    snprintf(
        load, sizeof(load), "%.0f %% busy",
        100 * (1 - double(info.idleFraction)));
    const std::string flags = utFlagNames(info.processorFlags, "");
    return line(
               "System",
               info.system + std::string(", ") + info.operatingSystem) +
           line(
               "Processors", std::to_string(info.configuredProcessors) + ", " +
                                 std::to_string(info.usedProcessors) +
                                 " to use") +
           line("Features", flags.empty() ? "none known" : flags) +
           line("Load", load) +
           line(
               "Memory", utSize(info.memoryTotal) + ", " +
                             utSize(info.memoryFree) + " free") +
           line(
               "Swap", info.swapTotal ? utSize(info.swapTotal) + ", " +
                                            utSize(info.swapFree) + " free"
                                      : "none") +
           line(
               "This program",
               utSize(info.processData) + " of data, " + utSize(info.heapUsed) +
                   " of " + utSize(info.heapSize) + " of the heap in use");
}

// No text in it needs an escape.
static std::string
utForScripts(const UT_MachineInfo &info)
{
    char load[32];
    snprintf(load, sizeof(load), "%.3f", 1 - double(info.idleFraction));
    const auto number = [](int64 value) { return std::to_string(value); };
    return std::string("{\n  \"system\": \"") + info.system +
           "\",\n  \"operating_system\": \"" + info.operatingSystem +
           "\",\n  \"processors\": {\"configured\": " +
           number(info.configuredProcessors) +
           ", \"used\": " + number(info.usedProcessors) + ", \"features\": [" +
           utFlagNames(info.processorFlags, "\"") + "], \"busy\": " + load +
           "},\n  \"memory\": {\"total\": " + number(info.memoryTotal) +
           ", \"free\": " + number(info.memoryFree) +
           "},\n  \"swap\": {\"total\": " + number(info.swapTotal) +
           ", \"free\": " + number(info.swapFree) +
           "},\n  \"process\": {\"data\": " + number(info.processData) +
           ", \"heap\": " + number(info.heapSize) +
           ", \"heap_used\": " + number(info.heapUsed) + "}\n}\n";
}

bool
utDescribeMachine(
    const std::vector<std::string> &libraries, bool asJson, std::string &output,
    std::string &error)
{
    void *const symbol = utFindFunction(libraries, "UTdescribeMachine", error);
    if (!symbol)
        return false;
    decltype(UTdescribeMachine) *describe;
    static_assert(sizeof(describe) == sizeof(symbol));
    memcpy(&describe, &symbol, sizeof(symbol));

    UT_MachineInfo info;
    describe(info);
    usleep(200000); // the load is measured between the two calls
    describe(info);
    output = asJson ? utForScripts(info) : utForPeople(info);
    return true;
}
